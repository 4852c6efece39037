// bauble run: builds the application, starts a thread on a script and runs
// the task loop until `quit`, until no thread is valid any more, until the
// tick limit, or until the timeout.
#include <CLI/CLI.hpp>

#include <chrono>
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
    double timeout = 0;  // seconds of wall time, 0 for none
    bool trace = false;
    std::string script;
};

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

// What ends a run from outside the script, without changing what the script
// computes. The tick limit counts passes of the task loop; a script in status
// 1 (after `yield 1` or a bare `yield`) runs every statement it can inside
// one pass, so a pass that runs more statements than the limit ends the run
// too. The timeout is wall time, looked at after every pass and every 1024
// statements inside one. Either stops the thread that is stepping: the
// statement it is about to run is its last.
class Guard {
public:
    explicit Guard(const RunOptions& o) : o_(o), start_(Clock::now()) {}

    // Sees every statement when there is something to see it for.
    void install() {
        if (o_.trace || o_.maxTicks > 0 || o_.timeout > 0) baublecore::setTraceHook(onStatement, this);
    }
    ~Guard() { baublecore::setTraceHook(nullptr, nullptr); }

    // Once a pass, after the threads: the next pass starts its count afresh,
    // and the run ends once no thread is valid any more.
    void pass() {
        statementsThisPass_ = 0;
        if (!stopped_ && timedOut()) {
            YThread* t = YThread::getCurrent();
            stop(t, t ? t->pc : -1, kTimedOut);
        }
        if (stopped_) return;
        for (PXListWalk<YThread> walk(YThread::threadList); YThread* t = walk.next();)
            if (*t) return;
        if (PXApp::theApp) PXApp::theApp->stop();
    }

    // The status the run ends with; what stopped it on standard error.
    int report() const {
        if (!stopped_) return kExitOk;
        if (stopped_ == kTimedOut)
            std::fprintf(stderr, "bauble run: timed out after %g s (--timeout): %s\n", o_.timeout, where_.c_str());
        else
            std::fprintf(stderr, "bauble run: more than %lld statements in one pass (--max-ticks): %s\n",
                         static_cast<long long>(o_.maxTicks), where_.c_str());
        return stopped_ == kTimedOut ? kExitTimeout : kExitOk;
    }

private:
    using Clock = std::chrono::steady_clock;
    enum Stop { kRunning, kTimedOut, kTooManyStatements };

    static void onStatement(const YThread& t, int statement, void* self) {
        auto* g = static_cast<Guard*>(self);
        if (g->o_.trace) trace(t, statement, nullptr);
        if (g->stopped_) return g->stop(g->stepping(t), statement, g->stopped_);
        if (g->o_.maxTicks > 0 && ++g->statementsThisPass_ > g->o_.maxTicks)
            return g->stop(g->stepping(t), statement, kTooManyStatements);
        if (g->o_.timeout > 0 && (++g->sinceClock_ & 1023) == 0 && g->timedOut())
            g->stop(g->stepping(t), statement, kTimedOut);
    }

    bool timedOut() const {
        return o_.timeout > 0 && std::chrono::duration<double>(Clock::now() - start_).count() >= o_.timeout;
    }

    // The hook sees a thread as const; the list holds it as it is.
    static YThread* stepping(const YThread& t) {
        for (PXListWalk<YThread> walk(YThread::threadList); YThread* each = walk.next();)
            if (each == &t) return each;
        return nullptr;
    }

    void stop(YThread* t, int statement, Stop why) {
        if (!stopped_) {
            stopped_ = why;
            where_ = describe(t, statement);
        }
        if (t) t->stop();
        if (PXApp::theApp) PXApp::theApp->stop();
    }

    static std::string describe(const YThread* t, int statement) {
        if (!t) return "no script";
        std::string s = t->getName()[0] ? t->getName() : "(stream)";
        s += ", statement #" + std::to_string(statement);
        if (t->jumps && statement >= 0 && statement <= t->jumpCount) {
            const char* command = baublecore::commandName(t->jumps[statement].command);
            s += std::string(" (") + (command ? command : "?") + ")";
        }
        return s;
    }

    const RunOptions& o_;
    Clock::time_point start_;
    int64_t statementsThisPass_ = 0;
    uint32_t sinceClock_ = 0;
    Stop stopped_ = kRunning;
    std::string where_;
};

int run(const RunOptions& o) {
    // The real display when there is one and it is wanted; pxbase falls back
    // to the headless backend, with its virtual clock, otherwise.
    PXSysChooseBackend(o.headless ? "headless" : "sdl");
    PXHeadlessSetTickMs(static_cast<uint32_t>(o.tickMs));
    PXApp app;
    if (o.seed >= 0) std::srand(static_cast<unsigned>(o.seed));
    Guard guard(o);

    auto* thread = new YThread(o.script.c_str());
    if (!*thread) {
        delete thread;
        return kExitCompile;
    }
    guard.install();
    PXLinkToMember<Guard> watcher(&guard, &Guard::pass);
    PXTask watchTask(&watcher, 0);
    app.addTask(&watchTask);
    thread->go();
    app.run(static_cast<uint64_t>(o.maxTicks));
    app.removeTask(&watchTask);
    delete thread;
    return guard.report();
}

}  // namespace

void addRunCommand(CLI::App& app) {
    CLI::App* run = app.add_subcommand("run", "Run a script until it quits, no thread is valid, or the tick limit");
    auto o = std::make_shared<RunOptions>();
    run->add_flag("--headless", o->headless, "Use the headless backend even with a display");
    addNumber(*run, "--tick-ms", o->tickMs, 0, 60000, "Milliseconds the headless clock moves each pass, 10 unless given");
    addNumber(*run, "--max-ticks", o->maxTicks, 0, INT64_MAX, "Passes of the task loop at most, 0 for no limit");
    addNumber(*run, "--seed", o->seed, 0, UINT32_MAX, "Seed of the random term ? instead of the clock");
    // Seconds in decimal, more than 0; a day at most, so that a mistyped
    // value does not leave a run going for ever.
    CLI::Validator seconds(
        [](std::string& text) -> std::string {
            size_t digits = text.find_first_not_of("0123456789");
            bool decimal = !text.empty() && text[0] != '.' && text.back() != '.' &&
                           (digits == std::string::npos ||
                            (text[digits] == '.' && text.find_first_not_of("0123456789", digits + 1) == std::string::npos));
            double v = decimal ? std::strtod(text.c_str(), nullptr) : 0;
            if (!decimal || !(v > 0 && v <= 86400)) return "'" + text + "' is not a number of seconds from 0 to 86400, above 0";
            return {};
        },
        "");
    run->add_option("--timeout", o->timeout, "Seconds of wall time before the run is stopped, with status 4")
        ->type_name("SECONDS")
        ->check(seconds);
    run->add_flag("--trace", o->trace, "Write each statement about to run to standard error");
    addFileName(*run, "SCRIPT", o->script, "The script, source or compiled, named from the current folder")
        ->required();
    run->callback([o] { setExitStatus(bauble::run(*o)); });
}

}  // namespace bauble
