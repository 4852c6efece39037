// The stress build (cmake -DBC_STRESS=ON). In it, code takes on every call
// the rare path it could take, wherever that leaves what the library does
// unchanged: a call out re-enters the way the language lets it, a lookup
// checks its index against the table, a text always moves to a new block.
// And BC_ASSERT checks the invariants the code relies on, aborting with the
// condition, file and line when one is broken.
//
// In any other build both cost nothing: stress() is a constant false, and a
// BC_ASSERT condition is compiled (so it stays correct) but never run.
#pragma once

#ifndef BC_STRESS
#define BC_STRESS 0
#endif

namespace bcframe {

// True in a stress build: callers take their rare path every time.
constexpr bool stress() { return BC_STRESS != 0; }

// Reports a broken invariant on standard error and aborts the process.
[[noreturn]] void assertionFailed(const char* condition, const char* file, int line);

}  // namespace bcframe

#if BC_STRESS
#define BC_ASSERT(condition) \
    ((condition) ? static_cast<void>(0) : ::bcframe::assertionFailed(#condition, __FILE__, __LINE__))
#else
#define BC_ASSERT(condition) static_cast<void>(sizeof((condition) ? 1 : 0))
#endif
