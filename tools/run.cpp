// bauble run: builds the application, starts a thread on a script and runs
// the task loop until `quit`, until no thread is valid any more, or until
// the tick limit.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/baublecore.h"
#include "commands.h"

namespace bauble {
namespace {

const char kRunUsage[] =
    "usage: bauble run [--headless] [--tick-ms N] [--max-ticks N] [--seed N] [--trace] SCRIPT\n";

// Writes each statement about to run: thread, index, command and its
// operands. A plain variable shows its value; every other term shows its
// source text, since reading it would evaluate it (and draw on the random
// generator), and tracing must not change the run.
void trace(const YThread& t, int statement, void*) {
    const YStatement& s = t.jumps[statement];
    const char* command = baublecore::commandName(s.command);
    std::fprintf(stderr, "%s #%d %s", t.getName()[0] ? t.getName() : "(stream)", statement,
                 command ? command : "?");
    switch (s.command) {
        case ycJump:
        case ycBranch:
            std::fprintf(stderr, " -> %d", s.operand);
            break;
        case ycEnd:
        case ycNop:
        case ycReturn:
            break;  // their operand is never read
        default:
            for (int i = s.operand; i >= 0 && i < t.codeWordCount && t.code[i] != -1; ++i) {
                YVariable* v = YHeap::theHeap[t.code[i]];
                if (!v) continue;
                int len = 0;
                const char* text = v->type == YVT_Plain ? v->value(len) : v->getName();
                if (v->type != YVT_Plain) len = static_cast<int>(std::strlen(text));
                std::fprintf(stderr, " [%.*s]", len < 0 ? -len : len, text);
            }
            break;
    }
    std::fputc('\n', stderr);
}

// Ends the run once no thread is valid any more (and no window is open).
void watch() {
    for (PXListWalk<YThread> walk(YThread::threadList); YThread* t = walk.next();)
        if (*t) return;
    if (PXApp::theApp) PXApp::theApp->stop();
}

}  // namespace

int runCommand(int argc, char** argv) {
    long tickMs = 10, maxTicks = 0, seed = -1;
    bool tracing = false;
    bool headless = false;
    const char* script = nullptr;
    for (int i = 0; i < argc; ++i) {
        const char* a = argv[i];
        auto value = [&](long& out) {
            if (i + 1 >= argc) return usageError("missing value for", a) == 0;
            return numberOption(a, argv[++i], out);
        };
        if (!std::strcmp(a, "--headless")) {
            headless = true;
        } else if (!std::strcmp(a, "--tick-ms")) {
            if (!value(tickMs) || tickMs < 0) return kExitUsage;
        } else if (!std::strcmp(a, "--max-ticks")) {
            if (!value(maxTicks) || maxTicks < 0) return kExitUsage;
        } else if (!std::strcmp(a, "--seed")) {
            if (!value(seed)) return kExitUsage;
            if (seed < 0 || seed > 0xFFFFFFFFL) return usageError("not a seed (0 to 4294967295)", argv[i]);
        } else if (!std::strcmp(a, "--trace")) {
            tracing = true;
        } else if (!std::strcmp(a, "--help")) {
            std::fputs(kRunUsage, stdout);
            return kExitOk;
        } else if (a[0] == '-' && a[1]) {
            return usageError("unknown option", a);
        } else if (script) {
            return usageError("unexpected argument", a);
        } else {
            script = a;
        }
    }
    if (!script) {
        std::fputs(kRunUsage, stderr);
        return kExitUsage;
    }

    // The real display when there is one and it is wanted; pxbase falls back
    // to the headless backend, with its virtual clock, otherwise.
    PXSysChooseBackend(headless ? "headless" : "sdl");
    PXHeadlessSetTickMs(static_cast<uint32_t>(tickMs));
    PXApp app;
    if (seed >= 0) std::srand(static_cast<unsigned>(seed));
    if (tracing) baublecore::setTraceHook(trace, nullptr);

    auto* thread = new YThread(script);
    if (!*thread) {
        delete thread;
        return kExitCompile;
    }
    PXLinkToFct watcher(watch);
    PXTask watchTask(&watcher, 0);
    app.addTask(&watchTask);
    thread->go();
    app.run(static_cast<uint64_t>(maxTicks));
    app.removeTask(&watchTask);
    delete thread;
    return kExitOk;
}

}  // namespace bauble
