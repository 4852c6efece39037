// Script values on the interpreter's path: reading a variable, evaluating an
// expression entry, and piling terms while a large script compiles.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

#include "baublecore/heap.h"
#include "baublecore/variable.h"
#include "values/values_internal.h"

namespace {

using bcvalues::ValuesAccess;

YHeap& freshHeap() {
    ValuesAccess::reset(YHeap::theHeap);
    return YHeap::theHeap;
}

YVariable* term(YHeap& heap, const char* text) {
    bcvalues::compileError = 0;
    return heap[ValuesAccess::attach(heap, text, static_cast<int>(std::strlen(text)))];
}

void BM_ReadPlainVariable(benchmark::State& state) {
    YHeap& heap = freshHeap();
    YVariable* v = heap[heap.pile("greeting", 8, "hello, world")];
    for (auto _ : state) {
        int len = 0;
        const char* t = v->value(len);
        benchmark::DoNotOptimize(t);
        benchmark::DoNotOptimize(len);
    }
    ValuesAccess::kill(heap);
}
BENCHMARK(BM_ReadPlainVariable);

void BM_EvaluateArithmetic(benchmark::State& state) {
    YHeap& heap = freshHeap();
    heap[heap.pile("a", 1, "17")];
    heap[heap.pile("b", 1, "4.5")];
    YVariable* e = term(heap, "a+b*2");
    char out[bcvalues::kValueBufferSize];
    for (auto _ : state) {
        e->value(out);
        benchmark::DoNotOptimize(out);
    }
    if (std::strcmp(out, "26") != 0) state.SkipWithError("a+b*2 gave the wrong answer");
    ValuesAccess::kill(heap);
}
BENCHMARK(BM_EvaluateArithmetic);

void BM_EvaluateStringComparison(benchmark::State& state) {
    YHeap& heap = freshHeap();
    heap.pile("s", 1, "apple");
    heap.pile("t", 1, "apricot");
    YVariable* e = term(heap, "s<t='1'#'x'>'0'");
    char out[bcvalues::kValueBufferSize];
    for (auto _ : state) {
        e->value(out);
        benchmark::DoNotOptimize(out);
    }
    if (std::strcmp(out, "1") != 0) state.SkipWithError("the comparison gave the wrong answer");
    ValuesAccess::kill(heap);
}
BENCHMARK(BM_EvaluateStringComparison);

// A new name piled into a heap of range(0) entries; the heap is refilled to
// that size whenever it has grown by a tenth.
void BM_PileNewName(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0));
    char name[32];
    int next = 0;
    auto refill = [&] {
        YHeap& heap = freshHeap();
        while (heap.size() < size) {
            int n = std::snprintf(name, sizeof name, "v%d", heap.size());
            heap.pile(name, n, static_cast<const char*>(nullptr));
        }
    };
    refill();
    for (auto _ : state) {
        if (YHeap::theHeap.size() >= size + size / 10) {
            state.PauseTiming();
            refill();
            state.ResumeTiming();
        }
        int n = std::snprintf(name, sizeof name, "new%d", next++);
        benchmark::DoNotOptimize(YHeap::theHeap.pile(name, n, static_cast<const char*>(nullptr)));
    }
    ValuesAccess::kill(YHeap::theHeap);
}
BENCHMARK(BM_PileNewName)->Arg(1000)->Arg(10000)->Arg(25000);

}  // namespace
