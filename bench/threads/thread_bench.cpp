// The script side's hot paths: compiling a large script (the heap's lookup
// index keeps this linear), and statements per second in three loops that
// scripts write all the time. bench/lua_loops.lua runs the same loops in Lua
// for comparison.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "baublecore/baublecore.h"

namespace {

// About 60,000 bytes of mixed statements (assignments, tests, loops,
// output, comments) with many distinct names.
std::string largeScript() {
    std::string text;
    char line[320];
    for (int i = 0; text.size() < 60000; ++i) {
        std::snprintf(line, sizeof line,
                      "; round %d of the generated script\r\n"
                      "value%d=%d+weight%d*2-offset%d\r\n"
                      "if value%d>%d\r\nsay \"value number\" value%d \"is large\"\r\n"
                      "for counter%d 1 3\r\ntable.counter%d=counter%d*value%d\r\n",
                      i, i, i, i % 50, i % 13, i, i / 2, i, i % 7, i % 7, i % 7, i);
        text += line;
    }
    return text;
}

void BM_CompileLargeScript(benchmark::State& state) {
    std::string text = largeScript();
    for (auto _ : state) {
        PXIStreamMemory stream(text.data(), text.size());
        YThread thread(&stream);  // the last thread: the heap goes with it
        if (!thread) state.SkipWithError("did not compile");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_CompileLargeScript)->Unit(benchmark::kMillisecond);

// Runs the loop of a script to its `wait` once per iteration, in status 1.
void runLoop(benchmark::State& state, const char* body, int rounds, int statementsPerRound) {
    char text[512];
    std::snprintf(text, sizeof text, "yield off\r\n%s", body);
    PXIStreamMemory stream(text, std::strlen(text));
    YThread thread(&stream);
    if (!thread) {
        state.SkipWithError("did not compile");
        return;
    }
    thread.go();
    for (auto _ : state) {
        thread.pc = 0;
        thread.sleeping = 0;
        thread.forTop = -1;
        thread.advance();
    }
    state.counters["rounds/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * rounds,
                                                    benchmark::Counter::kIsRate);
    state.counters["statements/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * rounds * statementsPerRound, benchmark::Counter::kIsRate);
}

void BM_NumericLoop(benchmark::State& state) {
    runLoop(state, "x=0\r\nfor i 1 10000\r\nx=x+1\r\nwait\r\n", 10000, 4);
}
BENCHMARK(BM_NumericLoop)->Unit(benchmark::kMillisecond);

void BM_ProcedureLoop(benchmark::State& state) {
    runLoop(state,
            "r=0\r\nfor i 1 10000\r\ncall add i 2\r\nwait\r\nprocedure add a b\r\nr=a+b\r\n", 10000, 7);
}
BENCHMARK(BM_ProcedureLoop)->Unit(benchmark::kMillisecond);

void BM_TextLoop(benchmark::State& state) {
    runLoop(state,
            "for i 1 10000\r\n[\r\ns=\"item\"+i\r\nif s=\"item5000\"\r\nhit=i\r\n]\r\nwait\r\n", 10000, 7);
}
BENCHMARK(BM_TextLoop)->Unit(benchmark::kMillisecond);

}  // namespace
