// The window's blit is on every dirty tick's path: a collector copied to the
// window canvas through a clip region of a few rectangles, and the keyed
// copy of premade pictures, at the usual depths.
#include <benchmark/benchmark.h>

#include "pxbase/mem_canvas.h"

namespace {

void BM_BltThroughRegion(benchmark::State& state) {
    int depth = static_cast<int>(state.range(0));
    PXMemCanvas collector(640, 480, depth, 1), window(640, 480, depth, 1);
    PXRegion clip;
    for (int i = 0; i < 8; ++i) clip += PXRect(i * 70, i * 50, i * 70 + 120, i * 50 + 90);
    for (auto _ : state) window.blt(&collector, 0, 0, 640, 480, 0, 0, kPXRopCopy, &clip);
    state.SetItemsProcessed(state.iterations() * clip.rectCount());
}
BENCHMARK(BM_BltThroughRegion)->Arg(8)->Arg(16)->Arg(32);

void BM_KeyedPicture(benchmark::State& state) {
    int depth = static_cast<int>(state.range(0));
    PXMemCanvas picture(64, 64, depth, 2), collector(640, 480, depth, 1);
    picture.fillColor = PXColor(0xFFFF, 0, 0, 1);
    picture.draw(PXRect(8, 8, 56, 56));
    picture.setColorKey(PXColor(0, 0, 0, 0));
    for (auto _ : state) collector.blt(&picture, 0, 0, 64, 64, 100, 100, kPXRopCopyKeyed, nullptr);
}
BENCHMARK(BM_KeyedPicture)->Arg(8)->Arg(16)->Arg(32);

}  // namespace
