// Tracing for tools such as `bauble run --trace` and `bauble inspect`. This
// is the library's own addition beside the scripting interface, and the
// only one: its names live in the namespace baublecore so that they are
// never taken for the interface's own.
#pragma once

#include "baublecore/api.h"

class YThread;

namespace baublecore {

// Called with every statement about to run (the thread and its index). Null
// removes it.
using TraceHook = void (*)(const YThread& thread, int statement, void* context);
BC_API void setTraceHook(TraceHook hook, void* context);

// The name of a statement command, as "ycAssign"; null for a number that
// names no command.
BC_API const char* commandName(int command);

}  // namespace baublecore
