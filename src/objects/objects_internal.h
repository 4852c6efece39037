// What the files of the objects subsystem share among themselves and with
// their tests. The rest of the library goes through objects_shared.h.
#pragma once

#include <cstdarg>

#include "baublecore/scriptable_object.h"
#include "objects/objects_shared.h"

class PXSR;

namespace bcobjects {

// Byte comparison ignoring ASCII case only, whatever the locale.
bool sameIgnoringCase(const char* a, const char* b);

// The first record of that name, ignoring case; never loads a module.
PXSR* findClass(const char* name);
// The class lookup behind isXtor, create and setBornHandler: findClass, and
// when that fails and dynamic loading is on, the module of that name and a
// second try. Sets PXSR::currentClass to the result.
PXSR* lookupClass(const char* name);

// The first property of that name (of that kind), or null.
PXScriptableObjectProperty* findProperty(const PXScriptableObject& object, const char* name);
PXScriptableObjectProperty* findProperty(const PXScriptableObject& object, const char* name,
                                         PXScriptableObjectPropertyType type);
// Gives an event its watcher and its clone link (copies of both; null clears).
void setWatcher(PXSobEventProperty& event, const PXLink* watcher, const PXLink* onClone);

// The parameters of a call with variable arguments: the strings from
// `first` up to one whose first byte is 0x01 replace the channel's content,
// unless `first` is that marker itself, which keeps what the caller put there.
void takeParameters(const char* first, va_list rest);
// Parameters in the channel.
int parameterCount();

// The parameter channel is made with the first class record and goes with
// the last one.
void ensureParameterChannel();
void dropParameterChannel();

// 1 while sobSet(name, value) or sobPlay runs a property: events raised then
// do not reach their watchers.
extern int inPropertyCall;

}  // namespace bcobjects
