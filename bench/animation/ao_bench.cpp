// Loading an animation file where it lies: the check of every count, offset,
// sequence and run, then the pointer array (and, for the other byte order,
// the in-place swap). A file of about 1 MB with 500 cels; memcpy of the same
// bytes is the peer, and is part of the big-endian case, which must start
// from unswapped bytes each time.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "animation/ao_file_internal.h"

namespace {

using namespace bcanim;

// 500 cels of 52 x 48 pixels in runs of random length, and ten sequences
// that show them all.
std::vector<uint8_t> makeFile(uint8_t swapFlag) {
    std::mt19937 gen(1);
    AOFileContents c;
    c.framesPerSecond = 15;
    for (int n = 0; n < 500; ++n) {
        std::vector<uint8_t> px(52 * 48);
        for (size_t i = 0; i < px.size(); ++i)
            px[i] = i && gen() % 3 ? px[i - 1] : static_cast<uint8_t>(gen() % 40);
        c.cels.push_back(aoEncodeCel(px.data(), 52, 48, 52, 0));
    }
    for (int s = 0; s < 10; ++s) {
        std::vector<PXAOSequence> seq;
        for (int16_t f = 0; f < 50; ++f) seq.push_back({f, 0, static_cast<int16_t>(s * 50 + f), 0});
        seq.push_back({0, 0, kAOEnd, 0});
        c.sequences.push_back(seq);
    }
    return aoWriteFile(c, swapFlag);
}

void BM_AOLoad(benchmark::State& state) {
    std::vector<uint8_t> file = makeFile(0);
    for (auto _ : state) {
        AOData d;
        if (aoLoadFile(file.data(), file.size(), d)) state.SkipWithError("refused");
        benchmark::DoNotOptimize(d.sequences);
        delete[] d.sequences;
    }
    state.counters["file_bytes"] = static_cast<double>(file.size());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.size()));
}
BENCHMARK(BM_AOLoad)->Unit(benchmark::kMicrosecond);

void BM_AOLoadBigEndian(benchmark::State& state) {
    const std::vector<uint8_t> pristine = makeFile(1);
    std::vector<uint8_t> file(pristine.size());
    for (auto _ : state) {
        std::memcpy(file.data(), pristine.data(), file.size());
        AOData d;
        if (aoLoadFile(file.data(), file.size(), d)) state.SkipWithError("refused");
        benchmark::DoNotOptimize(d.sequences);
        delete[] d.sequences;
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.size()));
}
BENCHMARK(BM_AOLoadBigEndian)->Unit(benchmark::kMicrosecond);

void BM_AOFileMemcpy(benchmark::State& state) {
    const std::vector<uint8_t> pristine = makeFile(0);
    std::vector<uint8_t> file(pristine.size());
    for (auto _ : state) {
        std::memcpy(file.data(), pristine.data(), file.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.size()));
}
BENCHMARK(BM_AOFileMemcpy)->Unit(benchmark::kMicrosecond);

}  // namespace
