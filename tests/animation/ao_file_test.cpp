// The AO file: the encoder's exact bytes, files written and read back in
// both byte orders, pictures from pack, palettes, and the refusal of every
// cut or damaged file without a read past its end (run under ASan).
#include "animation/ao_file_internal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pxbase/mem_canvas.h"
#include "pxbase/png.h"
#include "pxbase/rect.h"

namespace {

using namespace bcanim;
using Bytes = std::vector<uint8_t>;

Bytes hex(const char* text) {
    Bytes out;
    for (char* end = nullptr;; text = end) {
        unsigned long v = std::strtoul(text, &end, 16);
        if (end == text) return out;
        out.push_back(static_cast<uint8_t>(v));
    }
}

// A cel's pixels row by row, -1 where it is transparent.
std::vector<int> decode(const uint8_t* cel) {
    const int w = aoCelWidth(cel);
    std::vector<int> px(static_cast<size_t>(w * aoCelHeight(cel)), -1);
    int x = 0, lastRow = -1;
    aoWalkRuns(cel, [&](int row, uint8_t control, const uint8_t* p, int n) {
        if (row != lastRow) x = 0, lastRow = row;
        for (int k = 0; k < n; ++k)
            if (control) px[static_cast<size_t>(row * w + x + k)] = control == 0xFF ? *p : p[k];
        x += n;
    });
    return px;
}

std::vector<int> expected(const Bytes& pixels, int transparent) {
    std::vector<int> px;
    for (uint8_t v : pixels) px.push_back(v == transparent ? -1 : v);
    return px;
}

// Long runs of few values, or short ones of many; transparent 0 among them.
Bytes randomPixels(std::mt19937& gen, size_t n) {
    const unsigned values = gen() % 2 ? 3 : 256;
    Bytes px(n);
    for (size_t i = 0; i < n; ++i) px[i] = i && gen() % 4 ? px[i - 1] : static_cast<uint8_t>(gen() % values);
    return px;
}

Bytes readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

TEST(AORowEncoder, WritesTheRunsOfTheExamples) {
    Bytes fill251(251, 9), alternating(251), literal = hex("FA");
    fill251.push_back(3);
    for (size_t i = 0; i < 251; ++i) alternating[i] = static_cast<uint8_t>(1 + i % 2);
    literal.insert(literal.end(), alternating.begin(), alternating.end() - 1);
    literal.insert(literal.end(), {1, alternating.back()});
    const struct {
        Bytes row;
        int transparent;
        Bytes encoded;
    } cases[] = {
        {{0, 0, 7, 7, 7, 7, 5, 0}, 0, hex("00 02 FF 07 04 01 05 00 01")},
        {Bytes(600, 0), 0, hex("00 FA 00 FA 00 64")},
        {fill251, 0, hex("FF 09 FA FF 09 01 01 03")},
        {{1, 5, 5, 5}, 0, hex("04 01 05 05 05")},  // three equal at the end stay literal
        {{7, 7, 7, 5}, 0, hex("FF 07 03 01 05")},  // a fourth pixel behind makes a fill
        {{0, 0, 2}, -1, hex("03 00 00 02")},       // no transparent index
        {alternating, 0, literal},
    };
    for (const auto& c : cases) {
        Bytes out(2 * c.row.size());
        out.resize(aoEncodeRow(c.row.data(), static_cast<int32_t>(c.row.size()), c.transparent, out.data()));
        EXPECT_EQ(out, c.encoded) << c.row.size() << " pixels";
    }
}

TEST(AORowEncoder, DecodesBackToTheRowWithinTheLimits) {
    std::mt19937 gen(5);
    for (int round = 0; round < 300; ++round) {
        const int32_t n = static_cast<int32_t>(gen() % 700);
        Bytes row = randomPixels(gen, static_cast<size_t>(n));
        Bytes cel = aoEncodeCel(row.data(), n, 1, n, 0);
        ASSERT_LE(cel.size() - kAOCelHeaderBytes, 2u * static_cast<size_t>(n));
        const Bytes picture = aoWriteFile({8, 0, 0, 0, {{{0, 0, kAOEnd, 0}}}, {cel}});
        ASSERT_FALSE(aoCheckPicture(picture.data(), picture.size()));
        aoWalkRuns(cel.data(), [](int, uint8_t, const uint8_t*, int k) { ASSERT_LE(k, kAORunLimit); });
        ASSERT_EQ(decode(cel.data()), expected(row, 0)) << "round " << round;
    }
}

// Three sequences with every kind of entry (a frame past the cels
// included); a cel with transparency, one 600 wide with split runs, an
// empty one.
AOFileContents sample() {
    std::mt19937 gen(11);
    AOFileContents c{12, -1, 2048, 200, {}, {}};
    c.sequences = {{{0, 0, kAOHold, 0}, {3, 4, 0, 40}, {0, 0, kAOSound, 7}, {-2, 5, 1, 0}, {10, 20, -600, 30},
                    {0, 0, -7, 0}, {0, 0, 9, 0}, {0, 0, kAOLoop, 0}, {0, 0, kAOEnd, 0}},
                   {{0, 0, 2, 0}, {0, 0, kAOEnd, 0}},
                   {{0, 0, kAOEnd, 0}}};
    Bytes cel0 = randomPixels(gen, 37 * 5), cel1(1200, 0);
    std::fill(cel1.begin() + 600, cel1.end(), 4);
    c.cels = {aoEncodeCel(cel0.data(), 37, 5, 37, 0), aoEncodeCel(cel1.data(), 600, 2, 600, 0),
              aoEncodeCel(nullptr, 0, 0, 0, 0)};
    return c;
}

TEST(AOFile, EitherByteOrderReadsBackAsWrittenAndSwapsOnce) {
    const AOFileContents c = sample();
    const Bytes little = aoWriteFile(c);
    for (uint8_t flag : {0, 1, 2, 0x80, 0xFF}) {
        Bytes file = aoWriteFile(c, flag);
        ASSERT_EQ(file[5], flag);
        for (int pass = 0; pass < 2; ++pass) {
            AOData d;
            ASSERT_FALSE(aoLoadFile(file.data(), file.size(), d)) << int(flag);
            // Read in place, the file is now its little-endian form.
            EXPECT_EQ(file, little) << "flag " << int(flag) << " pass " << pass;
            EXPECT_TRUE(d.numSeqs == 3 && d.numCels == 3 && d.framesPerSecond == 12);
            EXPECT_TRUE(d.embeddedX == -1 && d.embeddedY == 2048 && d.embeddedZ == 200);
            EXPECT_TRUE(aoDecodeEmbedded(2049) == -1 && aoDecodeEmbedded(4095) == -2047);
            for (size_t s = 0; s < 3; ++s)
                EXPECT_EQ(std::memcmp(d.sequences[s], c.sequences[s].data(), 8 * c.sequences[s].size()), 0)
                    << s;
            for (int32_t n = 0; n < 3; ++n)
                EXPECT_TRUE(std::equal(c.cels[static_cast<size_t>(n)].begin(),
                                       c.cels[static_cast<size_t>(n)].end(), aoCel(d, n)));
            EXPECT_TRUE(aoCel(d, 3) == nullptr && aoCel(d, -1) == nullptr);
            delete[] d.sequences;
        }
    }
}

TEST(AOFile, EveryPrefixIsRefusedAndLeftAsItWas) {
    const Bytes big = aoWriteFile(sample(), 1);
    for (size_t n = 0; n < big.size(); ++n) {
        Bytes cut(big.begin(), big.begin() + static_cast<long>(n));
        AOData d;
        ASSERT_TRUE(aoLoadFile(cut.data(), cut.size(), d)) << n << " bytes";
        ASSERT_TRUE(std::equal(cut.begin(), cut.end(), big.begin()) && d.sequences == nullptr) << n;
        ASSERT_TRUE(aoCheckPicture(cut.data(), cut.size())) << n;
    }
}

TEST(AOFile, RefusesEachDamagedFieldWithItsReason) {
    const Bytes good = aoWriteFile(sample());
    const size_t seq0 = 10 + 4 * 6, celBase = seq0 + 2 + 8 * 9 + 18 + 10;
    const size_t cel1 = celBase + sample().cels[0].size(), cel2 = cel1 + sample().cels[1].size();
    const struct {
        size_t at;
        Bytes put;
        const char* reason;
    } cases[] = {
        {0, {0, 0}, "0 sequences"},
        {2, {0xFF, 0xFF}, "cel count -1 is negative"},
        {2, {0xFF, 0x7F}, "end past"},
        {seq0, {0, 0}, "sequence 0 has 0 entries"},
        {seq0, {0xFF, 0x7F}, "entries of sequence 0 run past"},
        {seq0, {8, 0}, "sequence 0 does not close"},
        {seq0 + 2 + 8 * 5 + 4, {0xFB, 0xFF}, "sequence 0, entry 5 holds the command -5"},
        {14, {0, 0, 0, 0x40}, "cel 1 starts past the end"},
        {14, {0, 0, 0, 0}, "cel 1 starts inside the cel before it"},
        {celBase + 2, {0xFF, 0xFF}, "cel 0 has the size -1 x 5"},
        {cel1 + 7, {0}, "cel 1, row 0 holds an empty run"},
        {cel1 + 11, {0x65}, "cel 1, row 0: a run of 101 crosses"},
        {cel2 + 2, {5, 0, 1, 0}, "cel 2, row 0 runs past the end"},
    };
    for (const auto& c : cases) {
        Bytes bad = good;
        std::copy(c.put.begin(), c.put.end(), bad.begin() + static_cast<long>(c.at));
        AOData d;
        EXPECT_NE(std::string(aoLoadFile(bad.data(), bad.size(), d).text).find(c.reason), std::string::npos)
            << c.reason;
    }
}

TEST(AOPack, WritesThePictureOfTheCanvasOrOfARectangleOfIt) {
    std::mt19937 gen(3);
    const Bytes pixels = randomPixels(gen, 23 * 17);
    PXMemCanvas canvas(23, 17, 8, 1), deep(4, 4, 16, 1);
    void* bits;
    long pitch;
    ASSERT_TRUE(canvas.getPointerToMemory(&bits, &pitch));
    for (int y = 0; y < 17; ++y) std::copy_n(&pixels[23u * y], 23, static_cast<uint8_t*>(bits) + y * pitch);
    canvas.releasePointerToMemory();
    int32_t size = 0;
    auto* file = static_cast<uint8_t*>(aoPack(size, &canvas, PXRect::zero, 0));
    ASSERT_NE(file, nullptr);
    const Bytes cel = aoEncodeCel(pixels.data(), 23, 17, 23, 0);
    Bytes want =
        hex("01 00 01 00 08 00 00 00 00 00 00 00 00 00 00 00 00 00 04 00 00 00 00 00 FC FF 00 00 "
            "00 00 00 00 00 00 00 00 00 00 00 00 FE FF 00 00 00 00 00 00 FF FF 00 00");
    want.insert(want.end(), cel.begin(), cel.end());
    EXPECT_EQ(Bytes(file, file + size), want);
    // Its big-endian form, fixed by hand, through the picture reader.
    Bytes big = aoWriteFile(
        {8, 0, 0, 0, {{{0, 0, kAOHold, 0}, {0, 0, 0, 0}, {0, 0, kAOLoop, 0}, {0, 0, kAOEnd, 0}}}, {cel}}, 1);
    EXPECT_EQ(Bytes(big.begin(), big.begin() + 58),
              hex("00 01 00 01 08 01 00 00 00 00 00 00 00 00 00 00 00 00 00 04 "
                  "00 00 00 00 FF FC 00 00 00 00 00 00 00 00 00 00 "
                  "00 00 00 00 FF FE 00 00 00 00 00 00 FF FF 00 00 00 00 00 17 00 11"));
    uint8_t* bigCel = nullptr;
    ASSERT_FALSE(aoLoadPicture(big.data(), big.size(), bigCel));
    EXPECT_TRUE(bigCel == big.data() + 52 && big[5] == 0);
    EXPECT_EQ(decode(bigCel), expected(pixels, 0));
    std::free(file);

    file = static_cast<uint8_t*>(aoPack(size, &canvas, PXRect(2, 3, 9, 11), 0));
    ASSERT_NE(file, nullptr);
    Bytes part;
    for (int y = 3; y < 11; ++y) part.insert(part.end(), &pixels[23u * y + 2], &pixels[23u * y + 9]);
    uint8_t* partCel = nullptr;
    ASSERT_FALSE(aoLoadPicture(file, static_cast<size_t>(size), partCel));
    EXPECT_EQ(decode(partCel), expected(part, 0));
    std::free(file);

    const std::pair<PXMemCanvas*, PXRect> refused[] = {
        {&deep, PXRect::zero}, {&canvas, {20, 0, 24, 5}}, {&canvas, {-1, 0, 3, 3}}, {&canvas, {5, 5, 5, 9}}};
    for (auto [target, rect] : refused) {
        size = -1;
        EXPECT_EQ(aoPack(size, target, rect, 0), nullptr);
        EXPECT_EQ(size, 0);
    }
}

// Writing is pinned by the tool test against walk.rgb.
TEST(AOPalette, ReadsHighBytesAsColoursAndAllBitsAsWords) {
    Bytes file(kAOPaletteBytes);
    for (size_t i = 0; i < file.size(); ++i) file[i] = static_cast<uint8_t>(i * 7 + i / 256);
    PXColor colors[256];
    uint16_t words[kAOPaletteWords];
    ASSERT_FALSE(aoReadPalette(file.data(), file.size(), colors));
    ASSERT_FALSE(aoReadPaletteWords(file.data(), file.size(), words));
    for (int i = 0; i < 256; ++i) {
        const uint8_t* e = &file[static_cast<size_t>(6 * i)];
        EXPECT_EQ(colors[i], PXColor(e[0] << 8, e[2] << 8, e[4] << 8, -1)) << i;
        EXPECT_EQ(words[3 * i + 1], e[2] << 8 | e[3]) << i;
    }
    for (size_t n : {size_t{0}, kAOPaletteBytes - 1, kAOPaletteBytes + 1})
        EXPECT_TRUE(aoReadPalette(Bytes(n, 1).data(), n, colors)) << n;
}

TEST(AOPalette, SideFileReplacesTheLastExtension) {
    const std::string longName(300, 'a');
    const std::pair<std::string, std::string> cases[] = {{"walk.ao", "walk.rgb"},
                                                         {"dir/walk", "dir/walk.rgb"},
                                                         {"a.b.c", "a.b.rgb"},
                                                         {longName + ".ao", longName + ".rgb"}};
    for (const auto& [file, side] : cases) EXPECT_EQ(aoPaletteFileName(file.c_str()), side);
}

// walk.ao is what `bauble ao build` makes of walk0.png to walk5.png (the
// tool test checks that it still does): each frame's cel at its offset is
// the frame's picture, and equal pictures share a cel.
TEST(AOBuild, TheBuiltFileGivesEveryFrameBack) {
    Bytes file = readFile(AO_DATA_DIR "/walk.ao");
    AOData d;
    ASSERT_FALSE(aoLoadFile(file.data(), file.size(), d));
    EXPECT_EQ(d.numCels, 4);
    for (int f = 0; f < 6; ++f) {
        const PXAOSequence& e = d.sequences[0][f];
        std::string name = AO_DATA_DIR "/walk" + std::to_string(f) + ".png";
        std::unique_ptr<PXMemCanvas> png(PXPngLoad(name.c_str(), 0));
        ASSERT_TRUE(png && png->depth == 8) << name;
        const int w = png->getWidth(), h = png->getHeight();
        Bytes want(static_cast<size_t>(w * h));
        for (int i = 0; i < w * h; ++i)
            want[static_cast<size_t>(i)] = static_cast<uint8_t>(png->getPixel(i % w, i / w));
        std::vector<int> got(want.size(), -1);
        const uint8_t* cel = aoCel(d, e.cel);
        const std::vector<int> px = decode(cel);
        for (size_t i = 0; i < px.size(); ++i)
            got[static_cast<size_t>((e.y + i / aoCelWidth(cel)) * w + e.x + i % aoCelWidth(cel))] = px[i];
        EXPECT_EQ(got, expected(want, 0)) << name;
    }
    EXPECT_EQ(d.sequences[0][6].cel, kAOLoop);
    delete[] d.sequences;
}

// Inputs that broke a reader whose checks were weakened: each is refused.
TEST(AOBadFiles, EachIsRefused) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(AO_DATA_DIR "/bad")) {
        Bytes bytes = readFile(entry.path());
        AOData d;
        EXPECT_TRUE(aoLoadFile(bytes.data(), bytes.size(), d)) << entry.path();
        ++files;
    }
    EXPECT_GT(files, 0);
}

}  // namespace
