// Runs the start-up steps once, at load, before any other code of the library
// can be reached; runs the exit actions in reverse at unload. What must hold:
// the class registry exists before anything registers (a plug-in's records
// find it in place), the heap's fields are zero before the first thread, and
// the script scratch exists before the first compile.
#include "frame/startup.h"

#include <cstdlib>
#include <ctime>

#include "objects/objects_shared.h"
#include "threads/threads_internal.h"
#include "values/values_internal.h"

namespace bcframe {
namespace {

// Step 7 is shared: the expression compiler's scratch, then the lists of
// the script side.
void startScriptStatics() {
    bcvalues::startScriptScratch();
    bcthreads::startEventRecords();
    bcthreads::startScriptStack();
}
void stopScriptStatics() {
    bcthreads::stopScriptStack();
    bcthreads::stopEventRecords();
    bcvalues::stopScriptScratch();
}

// The random generator is seeded once for the life of the library, with a
// resolution of one second: two loads in the same second give the same `?`.
void startKeywordsAndSeed() {
    bcthreads::startCustomKeywords();
    std::srand(static_cast<unsigned>(std::time(nullptr)));
}

// Steps whose subsystem is not part of this build yet keep their place with
// null actions, so the order stays the one the library is built around.
const StartupStep kSteps[kStartupSteps] = {
    {"class registry and parameter channel", bcobjects::startClassRegistry,
     bcobjects::stopClassRegistry},
    {"animation list", nullptr, nullptr},
    {"last mouse point", nullptr, nullptr},
    {"bauble regions", nullptr, nullptr},
    {"user event point", nullptr, nullptr},
    {"script heap", bcvalues::startScriptHeap, bcvalues::stopScriptHeap},
    {"script scratch and lists", startScriptStatics, stopScriptStatics},
    {"thread list", nullptr, bcthreads::stopThreadList},
    {"custom keywords and random seed", startKeywordsAndSeed, bcthreads::stopCustomKeywords},
    {"keyword cursor", bcthreads::startKeywordCursor, nullptr},
};

int stepsRun = 0;
void (*exitActions[kStartupSteps])() = {};
int exitCount = 0;

struct Loader {
    Loader() {
        for (const StartupStep& step : kSteps) {
            if (step.start) step.start();
            if (step.exit) exitActions[exitCount++] = step.exit;
            ++stepsRun;
        }
        // There is no per-thread work to switch off: one thread runs everything.
    }
    ~Loader() {
        while (exitCount > 0) exitActions[--exitCount]();
    }
};

// Highest priority: this runs before any other static initialiser of the
// library, should one ever appear.
__attribute__((init_priority(101))) Loader loader;

}  // namespace

const StartupStep* startupSteps() { return kSteps; }
int startupStepsRun() { return stepsRun; }
int exitActionsRegistered() { return exitCount; }

}  // namespace bcframe
