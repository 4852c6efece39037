// The library's start-up order. C++ gives no order to static initialisers
// across files, so the library has none that matter: one routine runs the
// steps below in this order when the library is loaded, each step's own
// subsystem doing the work, and each exit action is registered as its step
// runs. Unloading runs the exit actions in reverse.
#pragma once

namespace bcframe {

struct StartupStep {
    const char* name;
    void (*start)();  // null: nothing to set up in this build
    void (*exit)();   // null: nothing to undo
};

inline constexpr int kStartupSteps = 10;

// For tests: the steps in their fixed order, and how many have run.
const StartupStep* startupSteps();
int startupStepsRun();
// Exit actions registered so far, in order of registration.
int exitActionsRegistered();

}  // namespace bcframe
