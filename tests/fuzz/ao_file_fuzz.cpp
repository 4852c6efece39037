// libFuzzer target for the animation file and palette readers. Every input
// is taken as an animation file, as a picture file and as a palette file,
// each in a block of exactly its size. Whatever a reader accepts is walked
// the way playback and drawing walk it (ASan watches), and an animation
// read in place must then be a sound little-endian file itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "animation/ao_file_internal.h"

using namespace bcanim;

namespace {

void walkCel(const uint8_t* cel) {
    long pixels = 0;
    aoWalkRuns(cel, [&](int32_t, uint8_t, const uint8_t*, int32_t n) { pixels += n; });
    if (pixels != static_cast<long>(aoCelWidth(cel)) * aoCelHeight(cel)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<uint8_t> file(data, data + size);
    AOData d;
    if (!aoLoadFile(file.data(), file.size(), d)) {
        for (int32_t s = 0; s < d.numSeqs; ++s)
            for (const PXAOSequence* e = d.sequences[s]; e->cel != kAOEnd; ++e)
                if (e->cel == kAOStuck) std::abort();
        for (int32_t n = 0; n < d.numCels; ++n) walkCel(aoCel(d, n));
        delete[] d.sequences;
        if (aoCheckFile(file.data(), file.size()) || file[5] != 0) std::abort();
    }
    std::vector<uint8_t> picture(data, data + size);
    uint8_t* cel = nullptr;
    if (!aoLoadPicture(picture.data(), picture.size(), cel)) walkCel(cel);
    PXColor colors[256];
    uint16_t words[kAOPaletteWords];
    if (!aoReadPalette(data, size, colors) != !aoReadPaletteWords(data, size, words)) std::abort();
    return 0;
}
