// The AO animation file as free functions over bytes: the checker that
// walks a whole file before anything of it is trusted, the in-place reader
// of animations and pictures, the palette file, the row encoder and the
// writers. `PXAnimation` wraps these; the `bauble ao` tools use them too.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "baublecore/ao_sequence.h"
#include "pxbase/color.h"

class PXMemCanvas;
class PXRect;

namespace bcanim {

// Sequences are used in place as host-order entries once the file is read.
static_assert(std::endian::native == std::endian::little, "loaded AO files are little-endian in memory");

inline constexpr size_t kAOHeaderBytes = 10;
inline constexpr size_t kAOCelHeaderBytes = 6;
inline constexpr int kAORunLimit = 250;
// Playback can neither pass nor leave this command, so no file may hold it.
inline constexpr int16_t kAOStuck = -5;
inline constexpr int16_t kAOFirstUserCommand = -500;
inline constexpr size_t kAOPictureHeaderBytes = 52;
inline constexpr size_t kAOPaletteBytes = 1536;
inline constexpr int kAOPaletteWords = 768;

// Why a file was refused: one short text, empty when the file is sound.
struct AOProblem {
    char text[160] = "";
    explicit operator bool() const { return text[0] != 0; }
};

// What an animation keeps of its file. Every pointer is into the file's own
// bytes except `sequences`, the one array the reader allocates (new[]; the
// caller deletes it). Cel offsets stand at an offset that is not 4-aligned:
// read them with aoCelOffset.
struct AOData {
    int32_t numSeqs = 0;
    int32_t numCels = 0;
    int32_t framesPerSecond = 0;
    int32_t embeddedX = 0, embeddedY = 0, embeddedZ = 0;
    uint8_t* celOffsets = nullptr;
    uint8_t* celBase = nullptr;
    PXAOSequence** sequences = nullptr;
};

// Checks a whole animation file in either byte order without changing it.
AOProblem aoCheckFile(const void* data, size_t size);
// Checks, then reads the file where it lies: a file in the other byte order
// is converted in place and its flag cleared, so that a second reader of the
// same bytes takes them as they are. A refused file is left untouched and
// `out` unchanged. Memory for the pointer array that cannot be had is a
// refusal too.
AOProblem aoLoadFile(void* data, size_t size, AOData& out);

// The same for a picture file (one sequence, its only cel right behind it):
// `cel` points at the cel's header.
AOProblem aoCheckPicture(const void* data, size_t size);
AOProblem aoLoadPicture(void* data, size_t size, uint8_t*& cel);

// The 12-bit embedded coordinate: above 2048 it stands for 2048 - v.
inline int32_t aoDecodeEmbedded(uint32_t v) {
    return v > 2048 ? 2048 - static_cast<int32_t>(v) : static_cast<int32_t>(v);
}

// Readers of a loaded (host-order, checked) file.
inline uint32_t aoCelOffset(const uint8_t* celOffsets, int32_t cel) {
    const uint8_t* p = celOffsets + 4 * static_cast<size_t>(cel);
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}
// The cel's header, or null for a number outside 0 to numCels - 1.
inline uint8_t* aoCel(const AOData& d, int32_t cel) {
    return cel >= 0 && cel < d.numCels ? d.celBase + aoCelOffset(d.celOffsets, cel) : nullptr;
}
inline int32_t aoCelWidth(const uint8_t* cel) { return static_cast<int16_t>(cel[2] | cel[3] << 8); }
inline int32_t aoCelHeight(const uint8_t* cel) { return static_cast<int16_t>(cel[4] | cel[5] << 8); }

// Walks the runs of a checked cel: run(row, control, first, n) for each run,
// with control 0x00 (transparent), 0xFF (fill, *first is the index) or the
// literal count (first points at the indices).
template <class Run>
void aoWalkRuns(const uint8_t* cel, Run&& run) {
    const int32_t w = aoCelWidth(cel), h = aoCelHeight(cel);
    const uint8_t* p = cel + kAOCelHeaderBytes;
    for (int32_t row = 0; row < h; ++row) {
        for (int32_t left = w; left > 0;) {
            uint8_t control = *p++;
            int32_t n = control;
            if (control == 0x00) {
                n = *p++;
                run(row, control, p, n);
            } else if (control == 0xFF) {
                n = p[1];
                run(row, control, p, n);
                p += 2;
            } else {
                run(row, control, p, n);
                p += n;
            }
            left -= n;
        }
    }
}

// Palette files: 256 entries of big-endian 16-bit red, green, blue. Both
// readers refuse a block that is not exactly a palette file and then leave
// the output alone. The colour form keeps the high byte of each value, with
// `index` -1.
AOProblem aoReadPalette(const void* data, size_t size, PXColor* colors);
// All 16 bits of the 768 values, red, green, blue for each entry in turn.
AOProblem aoReadPaletteWords(const void* data, size_t size, uint16_t* words);
// Writes the 1536 bytes of a palette file.
void aoWritePalette(const PXColor* colors, uint8_t* out);
// The side file holding an animation file's palette: the name with its
// extension (from its last '.') replaced by ".rgb", or ".rgb" appended.
std::string aoPaletteFileName(const char* animationFile);

// Encodes one row of n pixels; returns the bytes written, at most 2 x n.
size_t aoEncodeRow(const uint8_t* pixels, int32_t n, int transparent, uint8_t* out);
// Encodes a cel, header included, from rows `pitch` bytes apart (negative
// for rows that go upwards in memory).
std::vector<uint8_t> aoEncodeCel(const uint8_t* pixels, int32_t width, int32_t height, ptrdiff_t pitch,
                                 int transparent);

// What the writer lays out: every sequence closed by its kAOEnd entry, cels
// as aoEncodeCel makes them.
struct AOFileContents {
    uint8_t framesPerSecond = 8;
    int32_t embeddedX = 0, embeddedY = 0, embeddedZ = 0;
    std::vector<std::vector<PXAOSequence>> sequences;
    std::vector<std::vector<uint8_t>> cels;
};
// The file's bytes: little-endian for flag 0, else every 16- and 32-bit
// field in the other order and the flag stored as given. Empty when the
// contents do not fit the format's 16-bit counts.
std::vector<uint8_t> aoWriteFile(const AOFileContents& contents, uint8_t swapFlag = 0);

// pack: an 8-bit canvas, or the part under `rect` (PXRect::zero for all of
// it), as a picture file in a block from malloc that the caller frees.
// Refused with size 0 and null.
void* aoPack(int32_t& size, PXMemCanvas* canvas, const PXRect& rect, int transparent);

// The one message a refused file gets, naming it; `kind` is "animation
// file", "picture file" or "palette file".
void aoShowRefusal(const char* kind, const char* fileName, const AOProblem& problem);

}  // namespace bcanim
