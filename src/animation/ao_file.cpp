// The AO animation file: checking, reading in place, writing, and the
// palette side file. All numbers are in the order the swap flag names
// (0: little-endian, anything else: the other order):
//
//   i16 numSeqs, i16 numCels, u8 framesPerSecond, u8 swapFlag, 4 bytes reserved
//   numCels x u32   offset of each cel from the cel base
//   numSeqs x 4     sequence slots; only the first four bytes are read, the
//                   embedded position, never swapped: x low 8 bits, y low 8
//                   bits, x bits 8-11 | y bits 8-11 << 4, z
//   numSeqs x       i16 entry count, then count x (i16 x, y, cel, param),
//                   the last entry kAOEnd
//   cel base        cels: i16 reserved, width, height, then height rows of
//                   runs, each row covering exactly width pixels:
//                   00 n (n transparent), FF v n (n of index v), k v1..vk
//
// The file has no magic, so a buffer is an AO file because the caller says
// so. The checker walks all of it, in either byte order and without
// changing a byte, before any pointer into it is kept: every count and
// offset against the size, every sequence to its end entry, every cel's rows
// to exactly their width and inside the buffer. Playback and the drawing
// loops then trust the data because the loader walked it; what they may
// still meet is a frame naming a cel past numCels, which playback shows as
// nothing.
#include "animation/ao_file_internal.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "baublecore/frame.h"
#include "pxbase/mem_canvas.h"
#include "pxbase/rect.h"
#include "pxbase/sys.h"
#include "frame/byte_reader.h"

namespace bcanim {
namespace {

using bcframe::ByteOrder;
using bcframe::ByteReader;

// The file's order: a non-zero swap flag means big-endian.
ByteOrder orderOf(uint8_t swapFlag) { return swapFlag ? ByteOrder::kBig : ByteOrder::kLittle; }

constexpr unsigned kMessageFlags = 0x3000;

[[gnu::format(printf, 2, 3)]] bool refuse(AOProblem& why, const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::vsnprintf(why.text, sizeof why.text, format, args);
    va_end(args);
    return false;
}

// Where the regions of a checked file begin, as offsets from its start.
struct Layout {
    int32_t numSeqs = 0;
    int32_t numCels = 0;
    uint8_t swapFlag = 0;
    size_t slots = 0;     // the sequence slot table, led by the embedded position
    size_t seqStart = 0;  // the first sequence's count
    size_t celBase = 0;
};

bool checkHeader(const uint8_t* b, size_t size, Layout& l, AOProblem& why) {
    if (size < kAOHeaderBytes)
        return refuse(why, "it is %zu bytes, too short for the %zu-byte header", size, kAOHeaderBytes);
    l.swapFlag = b[5];
    ByteReader in(b, size, orderOf(l.swapFlag));
    int16_t seqs = in.i16();
    int16_t cels = in.i16();
    // Playback always stands in some sequence, so a file needs one.
    if (seqs < 1) return refuse(why, "it has %d sequences; it needs at least one", seqs);
    if (cels < 0) return refuse(why, "its cel count %d is negative", cels);
    l.numSeqs = seqs;
    l.numCels = cels;
    l.slots = kAOHeaderBytes + 4 * static_cast<size_t>(cels);
    l.seqStart = l.slots + 4 * static_cast<size_t>(seqs);
    if (l.seqStart > size)
        return refuse(why, "its tables of %d cels and %d sequences end past its %zu bytes", cels, seqs, size);
    return true;
}

// Checks sequence s at the reader's position and steps over it; `first` (when given) takes
// the address of its first entry.
bool checkSequence(ByteReader& in, int32_t s, AOProblem& why, PXAOSequence** first) {
    int16_t count = in.i16();
    if (!in.ok()) return refuse(why, "it ends before the entry count of sequence %d", s);
    if (count < 1)
        return refuse(why, "sequence %d has %d entries; it needs at least its end entry", s, count);
    if (8 * static_cast<size_t>(count) > in.remaining())
        return refuse(why, "the %d entries of sequence %d run past the end of the file", count, s);
    // Only aoLoadFile asks for the address, and its bytes are writable.
    if (first) *first = reinterpret_cast<PXAOSequence*>(const_cast<unsigned char*>(in.cursor()));
    int16_t cel = 0;
    for (int16_t e = 0; e < count; ++e) {
        in.skip(4);
        cel = in.i16();
        in.skip(2);
        // Playback could never leave this entry: refused rather than hung on.
        if (cel == kAOStuck) return refuse(why, "sequence %d, entry %d holds the command -5", s, e);
    }
    // The count includes the closing end entry. An end entry before it just
    // ends the sequence early: playback stops at the first one.
    if (cel != kAOEnd) return refuse(why, "sequence %d does not close with its end entry", s);
    return true;
}

// Checks the cel at `at` and gives the offset just behind its last row.
bool checkCel(const uint8_t* b, size_t size, size_t at, int32_t c, uint8_t swapFlag, size_t& end,
              AOProblem& why) {
    ByteReader in = ByteReader(b, size, orderOf(swapFlag)).range(at, size - at);
    in.skip(2);  // reserved
    int16_t width = in.i16();
    int16_t height = in.i16();
    if (!in.ok())
        return refuse(why, "the header of cel %d runs past the end of the file", c);
    if (width < 0 || height < 0) return refuse(why, "cel %d has the size %d x %d", c, width, height);
    for (int32_t row = 0; row < height; ++row) {
        for (int32_t left = width; left > 0;) {
            uint8_t n = 0;
            uint8_t control = in.u8();
            if (control == 0x00) {
                n = in.u8();
            } else if (control == 0xFF) {
                in.skip(1);
                n = in.u8();
            } else {
                n = control;
                in.skip(n);
            }
            if (!in.ok()) return refuse(why, "cel %d, row %d runs past the end of the file", c, row);
            // No writer makes an empty run, and the drawing loops need not
            // care for one.
            if (n == 0) return refuse(why, "cel %d, row %d holds an empty run", c, row);
            if (n > left)
                return refuse(why, "cel %d, row %d: a run of %d crosses the row's end, %d pixels on", c, row,
                              n, left);
            left -= n;
        }
    }
    end = at + in.position();
    return true;
}

// The whole file. `seqs`, when given, takes the address of each sequence's
// first entry.
bool checkFile(const uint8_t* b, size_t size, Layout& l, PXAOSequence** seqs, AOProblem& why) {
    if (!b) return refuse(why, "it has no bytes");
    if (!checkHeader(b, size, l, why)) return false;
    ByteReader in = ByteReader(b, size, orderOf(l.swapFlag)).range(l.seqStart, size - l.seqStart);
    for (int32_t s = 0; s < l.numSeqs; ++s)
        if (!checkSequence(in, s, why, seqs ? &seqs[s] : nullptr)) return false;
    l.celBase = l.seqStart + in.position();
    // Cels lie in the order of the table, none inside another: the in-place
    // swap of one cel's header must never rewrite a byte of another cel, nor
    // swap a shared header twice.
    ByteReader table = ByteReader(b, size, orderOf(l.swapFlag)).range(kAOHeaderBytes, l.slots - kAOHeaderBytes);
    size_t previousEnd = l.celBase;
    for (int32_t c = 0; c < l.numCels; ++c) {
        uint32_t offset = table.u32();
        size_t at = l.celBase + offset;
        if (offset > size - l.celBase) return refuse(why, "cel %d starts past the end of the file", c);
        if (at < previousEnd) return refuse(why, "cel %d starts inside the cel before it", c);
        if (!checkCel(b, size, at, c, l.swapFlag, previousEnd, why)) return false;
    }
    return true;
}

void decodeEmbedded(const uint8_t* p, AOData& out) {
    out.embeddedX = aoDecodeEmbedded(p[0] | (p[2] & 0x0Fu) << 8);
    out.embeddedY = aoDecodeEmbedded(p[1] | (p[2] & 0xF0u) << 4);
    out.embeddedZ = p[3];
}

uint32_t encodeEmbedded(int32_t v) {
    // Outside what 12 bits can say the nearest value is kept.
    if (v > 2048) v = 2048;
    if (v < -2047) v = -2047;
    return static_cast<uint32_t>(v >= 0 ? v : 2048 - v);
}

bool pictureShape(const Layout& l, AOProblem& why) {
    // The picture reader takes what follows the first sequence as the cel:
    // behind any other first sequence there stands another sequence.
    if (l.numSeqs != 1) return refuse(why, "a picture file has one sequence; this one has %d", l.numSeqs);
    return true;
}

bool checkPicture(const uint8_t* b, size_t size, Layout& l, AOProblem& why) {
    if (!b) return refuse(why, "it has no bytes");
    if (!checkHeader(b, size, l, why) || !pictureShape(l, why)) return false;
    ByteReader in = ByteReader(b, size, orderOf(l.swapFlag)).range(l.seqStart, size - l.seqStart);
    if (!checkSequence(in, 0, why, nullptr)) return false;
    l.celBase = l.seqStart + in.position();
    size_t end = 0;
    return checkCel(b, size, l.celBase, 0, l.swapFlag, end, why);
}

// Little- or big-endian field writers over a byte vector.
struct Writer {
    std::vector<uint8_t>& out;
    bool big;
    void u16(uint16_t v) {
        out.push_back(static_cast<uint8_t>(big ? v >> 8 : v));
        out.push_back(static_cast<uint8_t>(big ? v : v >> 8));
    }
    void u32(uint32_t v) {
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> 8 * (big ? 3 - i : i)));
    }
};

}  // namespace

AOProblem aoCheckFile(const void* data, size_t size) {
    AOProblem why;
    Layout l;
    checkFile(static_cast<const uint8_t*>(data), size, l, nullptr, why);
    return why;
}

AOProblem aoLoadFile(void* data, size_t size, AOData& out) {
    AOProblem why;
    auto* b = static_cast<uint8_t*>(data);
    if (!b) {
        refuse(why, "it has no bytes");
        return why;
    }
    // Entries are used where they lie, as 16-bit fields.
    if (reinterpret_cast<uintptr_t>(b) % alignof(PXAOSequence)) {
        refuse(why, "its bytes do not start at an even address");
        return why;
    }
    Layout l;
    if (!checkHeader(b, size, l, why)) return why;
    auto* seqs = new (std::nothrow) PXAOSequence*[static_cast<size_t>(l.numSeqs)];
    if (!seqs) {
        refuse(why, "no memory for its %d sequences", l.numSeqs);
        return why;
    }
    if (!checkFile(b, size, l, seqs, why)) {
        delete[] seqs;
        return why;
    }
    if (l.swapFlag) {
        SwapNWords(b, 2);
        b[5] = 0;
        SwapN32s(b + kAOHeaderBytes, l.numCels);
        // The sequences are 16-bit fields from the first count to the cel
        // base: counts and entries turn in one sweep.
        SwapNWords(b + l.seqStart, static_cast<int>((l.celBase - l.seqStart) / 2));
        for (int32_t c = 0; c < l.numCels; ++c)
            SwapNWords(b + l.celBase + aoCelOffset(b + kAOHeaderBytes, c), 3);
    }
    out.numSeqs = l.numSeqs;
    out.numCels = l.numCels;
    out.framesPerSecond = b[4];
    decodeEmbedded(b + l.slots, out);
    out.celOffsets = b + kAOHeaderBytes;
    out.celBase = b + l.celBase;
    out.sequences = seqs;
    return why;
}

AOProblem aoCheckPicture(const void* data, size_t size) {
    AOProblem why;
    Layout l;
    checkPicture(static_cast<const uint8_t*>(data), size, l, why);
    return why;
}

AOProblem aoLoadPicture(void* data, size_t size, uint8_t*& cel) {
    AOProblem why;
    auto* b = static_cast<uint8_t*>(data);
    Layout l;
    if (!checkPicture(b, size, l, why)) return why;
    if (l.swapFlag) {
        SwapNWords(b, 2);
        b[5] = 0;
        SwapWord(b + l.seqStart);
        SwapNWords(b + l.celBase, 3);
    }
    cel = b + l.celBase;
    return why;
}

AOProblem aoReadPaletteWords(const void* data, size_t size, uint16_t* words) {
    AOProblem why;
    // No magic either: the size is all that tells a palette file.
    if (!data || size != kAOPaletteBytes) {
        refuse(why, "it is %zu bytes; a palette file has %zu", data ? size : 0, kAOPaletteBytes);
        return why;
    }
    ByteReader in(data, size, ByteOrder::kBig);
    for (int i = 0; i < kAOPaletteWords; ++i) words[i] = in.u16();
    return why;
}

AOProblem aoReadPalette(const void* data, size_t size, PXColor* colors) {
    uint16_t words[kAOPaletteWords];
    AOProblem why = aoReadPaletteWords(data, size, words);
    if (why) return why;
    for (int i = 0; i < kPXPaletteSize; ++i) {
        const uint16_t* e = words + 3 * i;
        colors[i] = PXColor(e[0] & 0xFF00, e[1] & 0xFF00, e[2] & 0xFF00, -1);
    }
    return why;
}

void aoWritePalette(const PXColor* colors, uint8_t* out) {
    for (int i = 0; i < kPXPaletteSize; ++i) {
        const uint16_t rgb[3] = {colors[i].red, colors[i].green, colors[i].blue};
        for (uint16_t v : rgb) {
            *out++ = static_cast<uint8_t>(v >> 8);
            *out++ = static_cast<uint8_t>(v);
        }
    }
}

std::string aoPaletteFileName(const char* animationFile) {
    // Built in a string of its own, so a name of any length finds its side
    // file as a short one does, rather than being cut at 255 bytes.
    std::string name = animationFile ? animationFile : "";
    size_t dot = name.rfind('.');
    if (dot != std::string::npos) name.erase(dot);
    return name + ".rgb";
}

size_t aoEncodeRow(const uint8_t* px, int32_t n, int transparent, uint8_t* out) {
    uint8_t* o = out;
    uint8_t* literal = nullptr;  // control byte of the literal run in progress
    // Runs of one value: a new run opens when one reaches the limit.
    auto repeats = [&](int32_t& i, bool fill) {
        const uint8_t v = px[i];
        while (i < n && px[i] == v) {
            uint8_t k = 0;
            while (i < n && px[i] == v && k < kAORunLimit) ++k, ++i;
            *o++ = fill ? 0xFF : 0x00;
            if (fill) *o++ = v;
            *o++ = k;
        }
        literal = nullptr;
    };
    for (int32_t i = 0; i < n;) {
        const uint8_t v = px[i];
        // An index outside 0 to 255 (such as -1) makes no pixel transparent.
        if (v == transparent) {
            repeats(i, false);
        } else if (n - i >= 4 && px[i + 1] == v && px[i + 2] == v) {
            repeats(i, true);
        } else {
            if (!literal || *literal == kAORunLimit) {
                literal = o++;
                *literal = 0;
            }
            *o++ = v;
            ++*literal;
            ++i;
        }
    }
    return static_cast<size_t>(o - out);
}

std::vector<uint8_t> aoEncodeCel(const uint8_t* pixels, int32_t width, int32_t height, ptrdiff_t pitch,
                                 int transparent) {
    std::vector<uint8_t> cel(kAOCelHeaderBytes +
                             2 * static_cast<size_t>(width) * static_cast<size_t>(height));
    const uint16_t head[3] = {0, static_cast<uint16_t>(width), static_cast<uint16_t>(height)};
    for (int i = 0; i < 3; ++i) {
        cel[2 * i] = static_cast<uint8_t>(head[i]);
        cel[2 * i + 1] = static_cast<uint8_t>(head[i] >> 8);
    }
    size_t used = kAOCelHeaderBytes;
    for (int32_t y = 0; y < height; ++y)
        used += aoEncodeRow(pixels + y * pitch, width, transparent, cel.data() + used);
    cel.resize(used);
    return cel;
}

std::vector<uint8_t> aoWriteFile(const AOFileContents& c, uint8_t swapFlag) {
    const size_t seqs = c.sequences.size(), cels = c.cels.size();
    if (seqs < 1 || seqs > 0x7FFF || cels > 0x7FFF) return {};
    for (const auto& s : c.sequences)
        if (s.empty() || s.size() > 0x7FFF) return {};
    size_t celBytes = 0;
    for (const auto& cel : c.cels) celBytes += cel.size();
    // Cel offsets are 32-bit.
    if (celBytes > 0xFFFFFFFFu) return {};

    std::vector<uint8_t> out;
    Writer w{out, swapFlag != 0};
    w.u16(static_cast<uint16_t>(seqs));
    w.u16(static_cast<uint16_t>(cels));
    out.push_back(c.framesPerSecond);
    out.push_back(swapFlag);
    out.insert(out.end(), 4, 0);
    uint32_t offset = 0;
    for (const auto& cel : c.cels) {
        w.u32(offset);
        offset += static_cast<uint32_t>(cel.size());
    }
    const uint32_t x = encodeEmbedded(c.embeddedX), y = encodeEmbedded(c.embeddedY);
    out.push_back(static_cast<uint8_t>(x));
    out.push_back(static_cast<uint8_t>(y));
    out.push_back(static_cast<uint8_t>((x >> 8 & 0x0F) | (y >> 8 & 0x0F) << 4));
    out.push_back(static_cast<uint8_t>(c.embeddedZ));
    out.insert(out.end(), 4 * (seqs - 1), 0);
    for (const auto& s : c.sequences) {
        w.u16(static_cast<uint16_t>(s.size()));
        for (const PXAOSequence& e : s)
            for (int16_t f : {e.x, e.y, e.cel, e.param}) w.u16(static_cast<uint16_t>(f));
    }
    for (const auto& cel : c.cels) {
        size_t at = out.size();
        out.insert(out.end(), cel.begin(), cel.end());
        // Cels come little-endian from the encoder.
        if (swapFlag && cel.size() >= kAOCelHeaderBytes) SwapNWords(out.data() + at, 3);
    }
    return out;
}

void* aoPack(int32_t& size, PXMemCanvas* canvas, const PXRect& rect, int transparent) {
    size = 0;
    if (!canvas || canvas->depth != 8) return nullptr;
    const int32_t cw = canvas->getWidth(), ch = canvas->getHeight();
    const PXRect area = rect == PXRect::zero ? PXRect(0, 0, cw, ch) : rect;
    // A rectangle anywhere selects the pixels under it; one that is empty
    // or reaches outside the canvas is refused rather than read past it.
    if (area.isEmpty() || area.left < 0 || area.top < 0 || area.right > cw || area.bottom > ch)
        return nullptr;
    void* bits = nullptr;
    long pitch = 0;
    if (!canvas->getPointerToMemory(&bits, &pitch)) return nullptr;
    // The top row is encoded first whichever way the rows run in memory.
    auto* base = static_cast<const uint8_t*>(bits);
    ptrdiff_t step = pitch;
    if (!canvas->isTopDown()) {
        base += (ch - 1) * static_cast<ptrdiff_t>(pitch);
        step = -step;
    }
    const uint8_t* first = base + area.top * step + area.left;
    AOFileContents picture;
    picture.cels.push_back(aoEncodeCel(first, static_cast<int32_t>(area.width()),
                                       static_cast<int32_t>(area.height()), step, transparent));
    canvas->releasePointerToMemory();
    picture.sequences.push_back({{0, 0, kAOHold, 0}, {0, 0, 0, 0}, {0, 0, kAOLoop, 0}, {0, 0, kAOEnd, 0}});
    std::vector<uint8_t> bytes = aoWriteFile(picture);
    void* block = std::malloc(bytes.size());
    if (!block) return nullptr;
    std::memcpy(block, bytes.data(), bytes.size());
    size = static_cast<int32_t>(bytes.size());
    return block;
}

void aoShowRefusal(const char* kind, const char* fileName, const AOProblem& problem) {
    char text[400];
    std::snprintf(text, sizeof text, "%.160s: %s refused: %s", fileName && *fileName ? fileName : "a stream",
                  kind, problem.text);
    PXSysUserMessage(text, kMessageFlags, nullptr);
}

}  // namespace bcanim
