// bauble run: builds the application, starts a thread on a script and runs
// the task loop until `quit`, until no thread is valid any more, or until
// the tick limit.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "baublecore/baublecore.h"
#include "commands.h"

namespace bauble {
namespace {

struct RunOptions {
    bool headless = false;
    int64_t tickMs = 10;
    int64_t maxTicks = 0;
    int64_t seed = -1;
    bool trace = false;
    std::string script;
};

// Writes each statement about to run: thread, index, command and its
// operands. A plain variable shows its value; every other term shows its
// source text, since reading it would evaluate it (and draw on the random
// generator), and tracing must not change the run.
void trace(const YThread& t, int statement, void*) {
    const YStatement& s = t.jumps[statement];
    const char* command = YCommandName(s.command);
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

int run(const RunOptions& o) {
    // The real display when there is one and it is wanted; pxbase falls back
    // to the headless backend, with its virtual clock, otherwise.
    PXSysChooseBackend(o.headless ? "headless" : "sdl");
    PXHeadlessSetTickMs(static_cast<uint32_t>(o.tickMs));
    PXApp app;
    if (o.seed >= 0) std::srand(static_cast<unsigned>(o.seed));
    if (o.trace) YThread::setTraceHook(trace, nullptr);

    auto* thread = new YThread(o.script.c_str());
    if (!*thread) {
        delete thread;
        return kExitCompile;
    }
    PXLinkToFct watcher(watch);
    PXTask watchTask(&watcher, 0);
    app.addTask(&watchTask);
    thread->go();
    app.run(static_cast<uint64_t>(o.maxTicks));
    app.removeTask(&watchTask);
    delete thread;
    return kExitOk;
}

}  // namespace

void addRunCommand(CLI::App& app) {
    CLI::App* run = app.add_subcommand("run", "Run a script until it quits, no thread is valid, or the tick limit");
    auto o = std::make_shared<RunOptions>();
    run->add_flag("--headless", o->headless, "Use the headless backend even with a display");
    addNumber(*run, "--tick-ms", o->tickMs, 0, 60000, "Milliseconds the headless clock moves each pass, 10 unless given");
    addNumber(*run, "--max-ticks", o->maxTicks, 0, INT64_MAX, "Passes of the task loop at most, 0 for no limit");
    addNumber(*run, "--seed", o->seed, 0, UINT32_MAX, "Seed of the random term ? instead of the clock");
    run->add_flag("--trace", o->trace, "Write each statement about to run to standard error");
    addFileName(*run, "SCRIPT", o->script, "The script, source or compiled, named from the current folder")
        ->required();
    run->callback([o] { setExitStatus(bauble::run(*o)); });
}

}  // namespace bauble
