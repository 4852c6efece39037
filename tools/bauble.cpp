// bauble: the command-line host. It only calls the public API.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/baublecore.h"
#include "commands.h"

using bauble::usageError;

namespace {

const char kUsage[] =
    "usage: bauble [--help] [--version] COMMAND [ARGS]\n"
    "\n"
    "Runs scripted 2D scenes.\n"
    "\n"
    "commands:\n"
    "  run         run a script: bauble run [--headless] [--tick-ms N] [--max-ticks N]\n"
    "              [--seed N] [--trace] SCRIPT\n"
    "  demo        run the embedded demo\n"
    "\n"
    "options:\n"
    "  --help      show this text and exit\n"
    "  --version   show the library version and exit\n";

// The embedded demo: the library's version, then a short run of the task
// loop on the headless backend, checked against the virtual clock.
int demo() {
    std::printf("baublecore %s\n", BCSysGetVersion());
    PXApp app;
    struct Counter {
        int passes = 0;
        void tick() {
            if (++passes == 50) PXApp::theApp->stop();
        }
    } counter;
    PXLinkToMember<Counter> link(&counter, &Counter::tick);
    PXTask task(&link, 0);
    uint32_t start = PXSysMilliSecCount();
    app.addTask(&task);
    app.run();
    uint32_t elapsed = PXSysMilliSecCount() - start;
    std::printf("task loop: %d passes, %u ms on the %s clock\n", counter.passes, elapsed,
                PXSysBackend().name());
    bool ok = counter.passes == 50 && elapsed == 50 * PXHeadlessTickMs();
    std::printf("smoke check: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}

}  // namespace

namespace bauble {

int usageError(const char* what, const char* arg) {
    std::fprintf(stderr, "bauble: %s '%s'\n", what, arg);
    std::fprintf(stderr, "Try 'bauble --help' for more information.\n");
    return kExitUsage;
}

bool numberOption(const char* option, const char* text, long& out) {
    char* end = nullptr;
    out = std::strtol(text, &end, 10);
    if (!*text || *end) {
        usageError("not a number for", option);
        return false;
    }
    return true;
}

}  // namespace bauble

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const char* cmd = argv[1];
    if (!std::strcmp(cmd, "--help") || !std::strcmp(cmd, "-h")) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (!std::strcmp(cmd, "--version")) {
        std::printf("bauble %s\n", BCSysGetVersion());
        return 0;
    }
    if (!std::strcmp(cmd, "run")) return bauble::runCommand(argc - 2, argv + 2);
    if (!std::strcmp(cmd, "demo")) {
        if (argc > 2) return usageError("unexpected argument", argv[2]);
        return demo();
    }
    if (cmd[0] == '-') return usageError("unknown option", cmd);
    return usageError("unknown command", cmd);
}
