// What the objects subsystem offers the rest of the library: the one door
// through which values and threads reach it. Everything else of objects
// stays in objects_internal.h, for its own files and its tests.
#pragma once

class PXScriptableObject;

namespace bcobjects {

// Called at the start of every ~PXScriptableObject, so that whoever refers to
// objects by pointer (the script heap, the event records) can let go of it
// before it is gone. Handlers run in the order they were added; adding one
// twice keeps one.
using ObjectGoneHandler = void (*)(PXScriptableObject* object);
void addObjectGoneHandler(ObjectGoneHandler handler);

// Start-up step 1 and its exit action: the class registry and the parameter
// channel exist before anything can register or pass a parameter.
void startClassRegistry();
void stopClassRegistry();

}  // namespace bcobjects
