// What the thread subsystem shares between its files and with the start-up
// order: the numbers of the status word, the command table, the helpers of
// YThread that are not its own operations, and the one door to the private
// operations of YThread and eventRecord.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "baublecore/event_record.h"
#include "baublecore/thread.h"

class PXLink;
class PXScriptableObject;

namespace bcthreads {

// The status word `yield` beside 0 and 1. Both stop the thread like 0 and
// stay until something else writes the word.
// Refused: a step on a thread that is not running or is blocked, or the end
// of the code reached while yieldEventsOff is set.
inline constexpr int kYieldRefused = 333;
// Events off: an event given to a thread whose events are off, or a return
// from a handler while yieldEventsOff is set.
inline constexpr int kYieldEventsOff = 777;

// The name of a command, as "ycAssign"; null for a number that names none.
// No default: a command added to YCMND without a name here does not compile.
constexpr const char* commandName(YCMND command) {
    switch (command) {
        case ycEnd: return "ycEnd";
        case ycIf: return "ycIf";
        case ycFor: return "ycFor";
        case ycBreak: return "ycBreak";
        case ycProcedure: return "ycProcedure";
        case ycContinue: return "ycContinue";
        case ycCall: return "ycCall";
        case ycEntry: return "ycEntry";
        case ycForStart: return "ycForStart";
        case ycForNext: return "ycForNext";
        case ycBranch: return "ycBranch";
        case ycJump: return "ycJump";
        case ycTest: return "ycTest";
        case ycNop: return "ycNop";
        case ycSay: return "ycSay";
        case ycReturn: return "ycReturn";
        case ycElse: return "ycElse";
        case ycAssign: return "ycAssign";
        case ycDrop: return "ycDrop";
        case ycCustom: return "ycCustom";
        case ycWait: return "ycWait";
        case ycIdle: return "ycIdle";
        case ycSchedule: return "ycSchedule";
        case ycExit: return "ycExit";
        case ycSuspend: return "ycSuspend";
        case ycResume: return "ycResume";
        case ycPause: return "ycPause";
        case ycDebug: return "ycDebug";
        case ycSet: return "ycSet";
        case ycGet: return "ycGet";
        case ycYield: return "ycYield";
        case ycPlay: return "ycPlay";
        case ycRelay: return "ycRelay";
        case ycQuit: return "ycQuit";
    }
    return nullptr;
}
// Any 32-bit number converts to YCMND (its underlying type is int32_t).
constexpr bool isCommand(int command) { return commandName(static_cast<YCMND>(command)) != nullptr; }

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

// Asleep, stopped, blocked or resting at the end: another step would change
// nothing.
bool cannotMove(const YThread& t);
// The stress build's check of what a step, a handler's start and end, and a
// call out rely on: the interrupt flags and the stacks within their bounds.
void checkInterruptState(const YThread& t);

// The key that watcher links carry as their data, and the record of a key
// (null when it is gone).
const void* recordKey(const eventRecord& record);
eventRecord* recordByKey(const void* key);

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

// The private operations of YThread and eventRecord, for the free functions
// of the thread files. Both classes name this door their friend.
struct ThreadsAccess {
    static char* getToken(YThread& t, int acrossLines) { return t.getToken(acrossLines); }
    static int advancePastSeparator(YThread& t, char*& p, int keepEquals) {
        return t.advancePastSeparator(p, keepEquals);
    }
    static int fillTextBuffer(YThread& t, const char* name, int offset) {
        return t.fillTextBuffer(name, offset);
    }
    static int checkDrop(YThread& t, int& index) { return t.checkDrop(index, nullptr); }
    // A binding made by `set`, on the list of records.
    static eventRecord* bind(const char* name, int32_t entry, PXScriptableObject* object,
                             const char* property) {
        return new eventRecord(name, entry, object, property);
    }
    // The method that gives a copied object's watcher a record of its own.
    static constexpr void (eventRecord::*cloneMethod)(const void*) = &eventRecord::clone;
    static const char* bindingName(PXScriptableObject* object) { return eventRecord::getName(object); }
};

}  // namespace bcthreads
