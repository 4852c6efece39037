// What the objects subsystem offers the rest of the library and nobody else.
#pragma once

#include <cstdarg>

#include "baublecore/api.h"

class PXScriptableObject;
class PXSR;

namespace bcobjects {

// Called at the start of every ~PXScriptableObject, so that whoever refers to
// objects by pointer (the script heap, the event records) can let go of it
// before it is gone. Handlers run in the order they were added; adding one
// twice keeps one.
using ObjectGoneHandler = void (*)(PXScriptableObject* object);
void addObjectGoneHandler(ObjectGoneHandler handler);
inline void setObjectGoneHandler(ObjectGoneHandler handler) { addObjectGoneHandler(handler); }

// Start-up step 1 and its exit action: the class registry and the parameter
// channel exist before anything can register or pass a parameter.
void startClassRegistry();
void stopClassRegistry();

// Byte comparison ignoring ASCII case only, whatever the locale.
bool sameIgnoringCase(const char* a, const char* b);

// The first record of that name, ignoring case; never loads a module.
PXSR* findClass(const char* name);

// The parameters of a call with variable arguments: the strings from
// `first` up to one whose first byte is 0x01 replace the channel's content,
// unless `first` is that marker itself, which keeps what the caller put there.
void takeParameters(const char* first, va_list rest);

// The parameter channel is made with the first class record and goes with
// the last one.
void ensureParameterChannel();
void dropParameterChannel();

// 1 while sobSet(name, value) or sobPlay runs a property: events raised then
// do not reach their watchers.
extern int inPropertyCall;

}  // namespace bcobjects
