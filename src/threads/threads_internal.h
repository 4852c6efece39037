// What the thread subsystem shares between its files and with the start-up
// order.
#pragma once

#include <cstddef>
#include <cstdio>

#include "baublecore/thread.h"

class PXScriptableObject;

namespace bcthreads {

// Opens a file for reading only when it is a regular file. Null when it is
// not: `why` is then empty when nothing of that name exists, or says what
// stands there instead ("it is a directory", "it is a FIFO", ...) or why it
// could not be opened.
std::FILE* openRegularFile(const char* path, char* why, size_t whySize);

// The keyword table's own text for a command ("schedule", "idle", ...): the
// timers' event names, compared by address.
const char* keywordText(YCMND command);

// One tick of all threads: the task of all threads fires this.
void serviceThreads();
// Forgets the time of the last age tick.
void resetScheduler();

// Start-up step 7: the event records, the script stack (the compiler's
// scratch is the values subsystem's part of the same step).
void startEventRecords();
void stopEventRecords();
void startScriptStack();
void stopScriptStack();
// Start-up step 8: the thread list (empty); its exit action empties it.
void stopThreadList();
// Start-up steps 9 and 10: the custom keywords and the keyword cursor.
void startCustomKeywords();
void stopCustomKeywords();
void startKeywordCursor();

// An object is being destroyed: its bindings go with it.
void objectGone(PXScriptableObject* object);

// Names to return to, last in first out (call of a script).
void pushScriptName(const char* name);
// The last name pushed, taken off (the caller frees it); null when empty.
char* popScriptName();
void clearScriptStack();
int scriptStackDepth();

// The custom keyword of that name; its link (which may be null) in *link.
bool findCustomKeyword(const char* name, const PXLink** link);

}  // namespace bcthreads
