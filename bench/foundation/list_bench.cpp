// The list walk is on every tick's path (tasks, baubles, threads): its cost
// per visited node, and that of removing the visited node mid-walk.
#include <benchmark/benchmark.h>

#include <vector>

#include "pxbase/list.h"

namespace {

struct Node {
    int value;
};

void BM_ListWalk(benchmark::State& state) {
    std::vector<Node> items(static_cast<size_t>(state.range(0)));
    PXList<Node> list;
    for (Node& n : items) list.append(&n);
    for (auto _ : state) {
        int sum = 0;
        for (PXListWalk<Node> walk(list); Node* n = walk.next();) sum += n->value;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ListWalk)->Arg(16)->Arg(1024);

void BM_ListAppendRemoveDuringWalk(benchmark::State& state) {
    std::vector<Node> items(static_cast<size_t>(state.range(0)));
    PXList<Node> list;
    for (auto _ : state) {
        for (Node& n : items) list.append(&n);
        for (PXListWalk<Node> walk(list); Node* n = walk.next();) list.remove(n);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ListAppendRemoveDuringWalk)->Arg(16)->Arg(1024);

}  // namespace
