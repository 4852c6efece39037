// Memory canvases: layouts, blits with colour keys and clip regions,
// stretched blits, fills and frames, palettes, and bad arguments.
#include "pxbase/mem_canvas.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace {

struct Layout {
    const char* name;
    int depth;
    uint32_t r, g, b;  // 0: the default of the depth
    int32_t code;
};

const Layout kLayouts[] = {
    {"8", 8, 0, 0, 0, 0},
    {"565", 16, 0, 0, 0, 0x565},
    {"555", 16, 0x7C00, 0x03E0, 0x001F, 0x555},
    {"bgr565", 16, 0x001F, 0x07E0, 0xF800, 0x10565},
    {"24", 24, 0, 0, 0, 0x888},
    {"32", 32, 0, 0, 0, 0x8888},
};

void PrintTo(const Layout& l, std::ostream* os) { *os << l.name; }

std::unique_ptr<PXMemCanvas> make(const Layout& l, int w, int h) {
    if (l.r) return std::make_unique<PXMemCanvas>(w, h, l.depth, 1, l.r, l.g, l.b);
    return std::make_unique<PXMemCanvas>(w, h, l.depth, 1);
}

// Random pixels that are whole values of the layout (no stray top byte).
void scramble(PXMemCanvas& c, std::mt19937& gen) {
    uint32_t valid = c.depth == 8 ? 0xFF : c.redMask | c.greenMask | c.blueMask;
    void* bits;
    long pitch;
    ASSERT_TRUE(c.getPointerToMemory(&bits, &pitch));
    int bpp = c.bytesPerPixel();
    for (int y = 0; y < c.getHeight(); ++y)
        for (int x = 0; x < c.getWidth(); ++x) {
            uint32_t v = gen() & valid;
            std::memcpy(static_cast<uint8_t*>(bits) + y * pitch + x * bpp, &v, bpp);
        }
    c.releasePointerToMemory();
}

std::vector<uint32_t> pixels(const PXCanvas& c) {
    std::vector<uint32_t> out;
    for (int y = 0; y < c.getHeight(); ++y)
        for (int x = 0; x < c.getWidth(); ++x) out.push_back(c.getPixel(x, y));
    return out;
}

class EveryLayout : public ::testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Canvas, EveryLayout, ::testing::ValuesIn(kLayouts),
                         [](const auto& info) { return std::string("L") + info.param.name; });

TEST_P(EveryLayout, ChannelFieldsDescribeThePixelsSdlWrites) {
    const Layout& l = GetParam();
    auto c = make(l, 5, 3);
    ASSERT_TRUE(c->valid());
    EXPECT_EQ(c->depth, l.depth);
    EXPECT_EQ(c->pixelFormat, l.code);
    EXPECT_TRUE(c->directMemory);
    void* bits;
    long pitch;
    ASSERT_TRUE(c->getPointerToMemory(&bits, &pitch));
    c->releasePointerToMemory();
    EXPECT_LE(int64_t{c->memoryWidth} * c->memoryHeight * c->bytesPerPixel(), int64_t{pitch} * 3);
    EXPECT_GE(c->memoryWidth, 5);
    if (l.depth == 8) {
        EXPECT_EQ(c->redMask | c->greenMask | c->blueMask, 0u);
        return;
    }
    // A 32-bit source of known colours, converted by SDL's blitter onto the
    // canvas; then each channel is read back through the fields alone.
    PXMemCanvas src(5, 3, 32, 1);
    const PXColor colors[] = {{0xFFFF, 0, 0}, {0, 0xFFFF, 0}, {0, 0, 0xFFFF}, {0xFFFF, 0xFFFF, 0xFFFF}, {0, 0, 0}};
    for (int i = 0; i < 5; ++i) {
        src.fillColor = colors[i];
        src.draw(PXRect(i, 0, i + 1, 3));
    }
    c->blt(&src, 0, 0, 5, 3, 0, 0, kPXRopCopy, nullptr);
    ASSERT_TRUE(c->getPointerToMemory(&bits, &pitch));
    for (int i = 0; i < 5; ++i) {
        uint32_t v = 0;
        std::memcpy(&v, static_cast<uint8_t*>(bits) + 2 * pitch + i * c->bytesPerPixel(), c->bytesPerPixel());
        auto channel = [&](uint32_t mask, int shift, int nbits) {
            EXPECT_EQ(mask, ((1u << nbits) - 1) << shift);
            return (v & mask) >> shift;
        };
        uint32_t r = channel(c->redMask, c->redShift, c->redBits);
        uint32_t g = channel(c->greenMask, c->greenShift, c->greenBits);
        uint32_t b = channel(c->blueMask, c->blueShift, c->blueBits);
        EXPECT_EQ(r, colors[i].red ? (1u << c->redBits) - 1 : 0u) << i;
        EXPECT_EQ(g, colors[i].green ? (1u << c->greenBits) - 1 : 0u) << i;
        EXPECT_EQ(b, colors[i].blue ? (1u << c->blueBits) - 1 : 0u) << i;
    }
    c->releasePointerToMemory();
    EXPECT_EQ(c->isTopDown(), 1);
}

TEST_P(EveryLayout, RowZeroIsAtTheLowestAddress) {
    auto c = make(GetParam(), 4, 4);
    c->fillColor = PXColor(0xFFFF, 0xFFFF, 0xFFFF, 255);
    c->draw(PXRect(0, 0, 1, 1));
    void* bits;
    long pitch;
    ASSERT_TRUE(c->getPointerToMemory(&bits, &pitch));
    uint32_t first = 0, last = 0;
    std::memcpy(&first, bits, c->bytesPerPixel());
    std::memcpy(&last, static_cast<uint8_t*>(bits) + 3 * pitch, c->bytesPerPixel());
    c->releasePointerToMemory();
    EXPECT_NE(first, 0u);
    EXPECT_EQ(last, 0u);
    EXPECT_EQ(first, c->getPixel(0, 0));
}

TEST_P(EveryLayout, KeyedBltLeavesTheKeysPixelsOfTheTargetAlone) {
    std::mt19937 gen(5);
    const Layout& l = GetParam();
    auto src = make(l, 23, 17), dst = make(l, 30, 20);
    scramble(*src, gen);
    scramble(*dst, gen);
    // A third of the source is the key colour.
    uint32_t key = src->getPixel(3, 3);
    void* bits;
    long pitch;
    ASSERT_TRUE(src->getPointerToMemory(&bits, &pitch));
    for (int y = 0; y < 17; ++y)
        for (int x = (y % 3); x < 23; x += 3)
            std::memcpy(static_cast<uint8_t*>(bits) + y * pitch + x * src->bytesPerPixel(), &key,
                        src->bytesPerPixel());
    src->releasePointerToMemory();
    PXColor keyColor = src->colorOf(key);
    src->setColorKey(keyColor);
    ASSERT_EQ(src->colorKeyPixel(), key);
    std::vector<uint32_t> before = pixels(*dst);
    dst->blt(src.get(), 0, 0, 23, 17, 4, 2, kPXRopCopyKeyed, nullptr);
    int kept = 0;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x) {
            bool inside = x >= 4 && x < 27 && y >= 2 && y < 19;
            uint32_t s = inside ? src->getPixel(x - 4, y - 2) : 0;
            uint32_t want = !inside || s == key ? before[y * 30 + x] : s;
            ASSERT_EQ(dst->getPixel(x, y), want) << x << "," << y;
            kept += inside && s == key;
        }
    EXPECT_GT(kept, 100);
    // The plain copy takes the key's pixels too.
    dst->blt(src.get(), 0, 0, 23, 17, 4, 2, kPXRopCopy, nullptr);
    EXPECT_EQ(dst->getPixel(4 + 3, 2 + 3), key);
}

TEST_P(EveryLayout, RegionClippedBltWritesExactlyInsideTheRegion) {
    std::mt19937 gen(9);
    const Layout& l = GetParam();
    auto src = make(l, 40, 30), dst = make(l, 40, 30);
    scramble(*src, gen);
    for (int round = 0; round < 20; ++round) {
        scramble(*dst, gen);
        std::uniform_int_distribution<int> pos(-5, 35), size(1, 15);
        PXRegion clip;
        for (int k = 0; k < 3; ++k) {
            int x = pos(gen), y = pos(gen);
            clip += PXRect(x, y, x + size(gen), y + size(gen));
        }
        dst->clipRgn.set();
        if (round % 2) {
            int x = pos(gen), y = pos(gen);
            dst->clipRgn.set(PXRect(x, y, x + 20, y + 20));
        }
        int sx = pos(gen), sy = pos(gen), tx = pos(gen), ty = pos(gen);
        std::vector<uint32_t> before = pixels(*dst);
        dst->blt(src.get(), sx, sy, 25, 25, tx, ty, kPXRopCopy, &clip);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                int fx = x - tx + sx, fy = y - ty + sy;
                bool fromSource = x >= tx && x < tx + 25 && y >= ty && y < ty + 25 && fx >= 0 &&
                                  fx < 40 && fy >= 0 && fy < 30;
                bool in = fromSource && clip.contains(x, y) &&
                          (dst->clipRgn.isEmpty() || dst->clipRgn.contains(x, y));
                ASSERT_EQ(dst->getPixel(x, y), in ? src->getPixel(fx, fy) : before[y * 40 + x])
                    << "round " << round << " at " << x << "," << y;
            }
    }
}

TEST_P(EveryLayout, StretchedBltCoversTheTargetRectangleAndNothingElse) {
    std::mt19937 gen(13);
    const Layout& l = GetParam();
    auto src = make(l, 7, 5), dst = make(l, 40, 30);
    scramble(*src, gen);
    const PXRect tos[] = {{3, 2, 38, 27}, {10, 10, 13, 12}, {-20, -5, 25, 50}};
    for (const PXRect& to : tos) {
        scramble(*dst, gen);
        std::vector<uint32_t> before = pixels(*dst);
        dst->bltScale(src.get(), PXRect(0, 0, 7, 5), to, kPXRopCopy, nullptr);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                if (!to.contains(x, y)) {
                    ASSERT_EQ(dst->getPixel(x, y), before[y * 40 + x]) << x << "," << y;
                    continue;
                }
                // The nearest source pixel to the target pixel's centre.
                int64_t fx = (int64_t{x - to.left} * 2 + 1) * 7 / (2 * to.width());
                int64_t fy = (int64_t{y - to.top} * 2 + 1) * 5 / (2 * to.height());
                ASSERT_EQ(dst->getPixel(x, y), src->getPixel(int(fx), int(fy))) << x << "," << y;
            }
    }
    // Clipped to a region, it equals the unclipped result inside the region.
    auto whole = make(l, 40, 30), part = make(l, 40, 30);
    scramble(*whole, gen);
    part->blt(whole.get(), 0, 0, 40, 30, 0, 0, kPXRopCopy, nullptr);
    std::vector<uint32_t> before = pixels(*part);
    PXRegion clip(PXRect(0, 0, 12, 30));
    clip += PXRect(20, 5, 33, 9);
    whole->bltScale(src.get(), PXRect(1, 1, 6, 4), PXRect(2, 2, 37, 29), kPXRopCopy, nullptr);
    part->bltScale(src.get(), PXRect(1, 1, 6, 4), PXRect(2, 2, 37, 29), kPXRopCopy, &clip);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            ASSERT_EQ(part->getPixel(x, y), clip.contains(x, y) ? whole->getPixel(x, y) : before[y * 40 + x]);
}

TEST_P(EveryLayout, FillAndFrameFollowTheSwitches) {
    auto c = make(GetParam(), 20, 20);
    PXColor fill(0, 0xFFFF, 0, 20), frame(0xFFFF, 0, 0, 200);
    uint32_t fillPx = c->mapColor(fill), framePx = c->mapColor(frame), none = c->getPixel(0, 0);
    ASSERT_NE(fillPx, framePx);
    ASSERT_NE(fillPx, none);
    c->fillColor = fill;
    c->frameColor = frame;
    c->fillOn = 1;
    c->frameOn = 1;
    c->frameWidth = 2;
    c->draw(PXRect(2, 3, 12, 15));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x) {
            bool in = x >= 2 && x < 12 && y >= 3 && y < 15;
            bool band = in && (x < 4 || x >= 10 || y < 5 || y >= 13);
            ASSERT_EQ(c->getPixel(x, y), band ? framePx : in ? fillPx : none) << x << "," << y;
        }
    // An L-shaped region: the outline follows the inner corner too, and
    // clipRgn cuts the drawing.
    auto d = make(GetParam(), 20, 20);
    d->fillOn = 0;
    d->frameOn = 1;
    d->frameWidth = 1;
    d->frameColor = frame;
    d->clipRgn.set(PXRect(0, 0, 20, 8));
    PXRegion l(PXRect(0, 0, 10, 10));
    l += PXRect(0, 10, 4, 16);
    d->draw(l);
    EXPECT_EQ(d->getPixel(9, 5), framePx);  // right edge
    EXPECT_EQ(d->getPixel(5, 5), none);     // inside
    EXPECT_EQ(d->getPixel(5, 9), none);     // bottom edge, but clipped away
    EXPECT_EQ(d->getPixel(3, 12), none);    // clipped away
    d->clipRgn.set();
    d->draw(l);
    EXPECT_EQ(d->getPixel(5, 9), framePx);
    EXPECT_EQ(d->getPixel(3, 12), framePx);
    EXPECT_EQ(d->getPixel(2, 12), none);
}

TEST_P(EveryLayout, ColoursGoInAndComeBackAtTheCanvasPrecision) {
    auto c = make(GetParam(), 2, 2);
    if (c->depth == 8) {
        EXPECT_EQ(c->mapColor(PXColor(0, 0, 0, 77)), 77u);
        EXPECT_EQ(c->colorOf(77).index, 77);
        return;
    }
    EXPECT_EQ(c->colorOf(c->mapColor(PXColor(0xFFFF, 0xFFFF, 0xFFFF))), PXColor(0xFFFF, 0xFFFF, 0xFFFF));
    EXPECT_EQ(c->mapColor(PXColor(0, 0, 0)), 0u);
    uint32_t red = c->mapColor(PXColor(0xFFFF, 0, 0));
    EXPECT_EQ(red, c->redMask);
    PXColor back = c->colorOf(c->mapColor(PXColor(0x1234, 0x8888, 0xF0F0)));
    EXPECT_EQ(c->mapColor(back), c->mapColor(PXColor(0x1234, 0x8888, 0xF0F0)));
    EXPECT_LE(std::abs(back.red - 0x1234), 0x0800);
}

TEST(Canvas, EightBitPalettesColourTheirIndices) {
    PXMemCanvas eight(4, 1, 8, 1), deep(4, 1, 32, 1);
    PXColor pal[256];
    eight.getPalette(pal);
    EXPECT_EQ(pal[200], PXColor(200 * 0x101, 200 * 0x101, 200 * 0x101, 200));
    pal[5] = PXColor(0xFFFF, 0, 0, -1);
    pal[6] = PXColor(0, 0, 0xFFFF, -1);
    eight.setPalette(pal, true);
    PXColor got[256];
    eight.getPalette(got);
    EXPECT_EQ(got[5], PXColor(0xFFFF, 0, 0, 5));
    eight.fillColor = PXColor(0, 0, 0, 5);
    eight.draw(PXRect(0, 0, 2, 1));
    eight.fillColor = PXColor(0, 0, 0, 6);
    eight.draw(PXRect(2, 0, 4, 1));
    EXPECT_EQ(eight.getPixel(1, 0), 5u);
    // Onto a deeper canvas the indices become their colours.
    deep.blt(&eight, 0, 0, 4, 1, 0, 0, kPXRopCopy, nullptr);
    EXPECT_EQ(deep.getPixel(0, 0), 0xFF0000u);
    EXPECT_EQ(deep.getPixel(3, 0), 0x0000FFu);
    // A colour without a slot goes to the nearest one.
    EXPECT_EQ(eight.mapColor(PXColor(0xFF00, 0x0100, 0)), 5u);
    // The key of an 8-bit canvas is an index.
    eight.setColorKey(PXColor(0, 0, 0, 6));
    PXMemCanvas target(4, 1, 8, 1);
    target.setPalette(pal, true);
    target.blt(&eight, 0, 0, 4, 1, 0, 0, kPXRopCopyKeyed, nullptr);
    EXPECT_EQ(target.getPixel(0, 0), 5u);
    EXPECT_EQ(target.getPixel(3, 0), 0u);

    // Between 8-bit canvases with different palettes the indices go over as
    // they are, plainly, keyed and stretched: a picture drawn as raw indices
    // keeps them on the canvas it lands on.
    PXMemCanvas grey(4, 1, 8, 1), other(8, 2, 8, 1);
    PXColor reversed[256];
    for (int i = 0; i < 256; ++i) reversed[i] = PXColor((255 - i) * 0x101, (255 - i) * 0x101, (255 - i) * 0x101, -1);
    other.setPalette(reversed, true);
    for (int x = 0; x < 4; ++x) {
        grey.fillColor = PXColor(0, 0, 0, 6 + x);
        grey.draw(PXRect(x, 0, x + 1, 1));
    }
    other.blt(&grey, 0, 0, 4, 1, 0, 0, kPXRopCopy, nullptr);
    EXPECT_EQ(other.getPixel(0, 0), 6u);
    EXPECT_EQ(other.getPixel(3, 0), 9u);
    grey.setColorKey(PXColor(0, 0, 0, 7));
    other.blt(&grey, 0, 0, 4, 1, 4, 0, kPXRopCopyKeyed, nullptr);
    EXPECT_EQ(other.getPixel(4, 0), 6u);
    EXPECT_EQ(other.getPixel(5, 0), 0u);  // the key's pixel is left alone
    EXPECT_EQ(other.getPixel(6, 0), 8u);
    other.bltScale(&grey, PXRect(0, 0, 4, 1), PXRect(0, 1, 8, 2), kPXRopCopy, nullptr);
    EXPECT_EQ(other.getPixel(0, 1), 6u);
    EXPECT_EQ(other.getPixel(7, 1), 9u);
}

TEST(Canvas, DefaultSixteenBitLayoutCanBeChangedAndFifteenMeansFiveFiveFive) {
    EXPECT_EQ(PXMemCanvas(2, 2, 15, 1).pixelFormat, 0x555);
    EXPECT_EQ(PXMemCanvas(2, 2, 16, 1).pixelFormat, 0x565);
    EXPECT_EQ(PXMemCanvas::setDefault16BitMasks(0x7C00, 0x03E0, 0x001F), 1);
    EXPECT_EQ(PXMemCanvas(2, 2, 16, 1).pixelFormat, 0x555);
    EXPECT_EQ(PXMemCanvas::setDefault16BitMasks(0xF000, 0x0FF0, 0x000F), 0) << "not a layout SDL has";
    EXPECT_EQ(PXMemCanvas::setDefault16BitMasks(0xF800, 0x07E0, 0x001F), 1);
    EXPECT_EQ(PXMemCanvas(2, 2, 16, 1).pixelFormat, 0x565);
}

TEST(Canvas, BadSizesAndLayoutsGiveAnInvalidCanvasThatDoesNothing) {
    PXMemCanvas good(8, 8, 16, 1);
    good.fillColor = PXColor(0xFFFF, 0, 0);
    good.draw(PXRect(0, 0, 8, 8));
    const uint32_t red = good.getPixel(0, 0);
    PXMemCanvas zero(0, 8, 16, 1), huge(PXCanvas::kMaxSide + 1, 2, 16, 1), negative(-5, -5, 32, 1);
    PXMemCanvas overlap(8, 8, 16, 1, 0xFF00, 0x0FF0, 0x000F), oddDepth(8, 8, 12, 1, 0xF00, 0xF0, 0xF);
    for (PXMemCanvas* c : {&zero, &huge, &negative, &overlap, &oddDepth}) {
        EXPECT_FALSE(c->valid());
        EXPECT_EQ(c->getWidth(), 0);
        EXPECT_EQ(c->depth, 0);
        void* bits = &good;
        long pitch = 7;
        EXPECT_EQ(c->getPointerToMemory(&bits, &pitch), 0);
        EXPECT_EQ(bits, nullptr);
        c->releasePointerToMemory();
        c->draw(PXRect(0, 0, 5, 5));
        c->blt(&good, 0, 0, 8, 8, 0, 0, kPXRopCopy, nullptr);
        good.blt(c, 0, 0, 8, 8, 0, 0, kPXRopCopy, nullptr);
        good.bltScale(c, PXRect(0, 0, 1, 1), PXRect(0, 0, 8, 8), kPXRopCopy, nullptr);
    }
    EXPECT_EQ(good.getPixel(7, 7), red);
}

TEST(Canvas, WildBltArgumentsAreCutNotFollowed) {
    std::mt19937 gen(1);
    PXMemCanvas a(16, 16, 32, 1), b(16, 16, 32, 1);
    scramble(a, gen);
    scramble(b, gen);
    std::vector<uint32_t> before = pixels(b);
    b.blt(&a, INT_MAX - 3, INT_MAX - 3, INT_MAX, INT_MAX, 0, 0, kPXRopCopy, nullptr);
    b.blt(&a, 0, 0, INT_MAX, INT_MAX, INT_MIN, INT_MIN, kPXRopCopy, nullptr);
    b.blt(&a, INT_MIN, INT_MIN, 10, 10, 0, 0, kPXRopCopy, nullptr);
    b.blt(&a, 0, 0, -4, 8, 0, 0, kPXRopCopy, nullptr);
    b.blt(&a, 0, 0, 8, 8, 0, 0, 0x00EE0086, nullptr);  // a raster operation we do not know
    b.blt(nullptr, 0, 0, 8, 8, 0, 0, kPXRopCopy, nullptr);
    b.bltScale(&a, PXRect(0, 0, 16, 16), PXRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX), 0x1234, nullptr);
    b.bltScale(&a, PXRect(5, 5, 2, 2), PXRect(0, 0, 16, 16), kPXRopCopy, nullptr);
    EXPECT_EQ(pixels(b), before);
    // A source area hanging off the top left: only the part that exists is
    // copied, to where it belongs.
    b.blt(&a, -3, -2, 6, 6, 5, 5, kPXRopCopy, nullptr);
    EXPECT_EQ(b.getPixel(8, 7), a.getPixel(0, 0));
    EXPECT_EQ(b.getPixel(7, 7), before[7 * 16 + 7]);
    // A huge stretch target is cut to the canvas and still maps exactly.
    b.bltScale(&a, PXRect(0, 0, 16, 16), PXRect(-16, -16, 32, 32), kPXRopCopy, nullptr);
    EXPECT_EQ(b.getPixel(0, 0), a.getPixel(5, 5));
}

TEST(Canvas, BltOntoItselfCopiesAsIfThroughABuffer) {
    std::mt19937 gen(2);
    PXMemCanvas c(20, 10, 16, 1), copy(20, 10, 16, 1);
    scramble(c, gen);
    copy.blt(&c, 0, 0, 20, 10, 0, 0, kPXRopCopy, nullptr);
    c.blt(&c, 0, 0, 15, 10, 3, 1, kPXRopCopy, nullptr);
    for (int y = 1; y < 10; ++y)
        for (int x = 3; x < 18; ++x) ASSERT_EQ(c.getPixel(x, y), copy.getPixel(x - 3, y - 1));
}

TEST(Canvas, BackgroundColourIsWhatEraseFillsWith) {
    PXMemCanvas c(3, 3, 24, 1);
    EXPECT_EQ(c.getPixel(1, 1), 0u) << "a new canvas is black";
    c.setBkgdColor(PXColor(0, 0xFFFF, 0));
    EXPECT_EQ(c.getPixel(1, 1), 0u) << "setting the colour leaves the pixels";
    c.erase();
    EXPECT_EQ(c.getPixel(2, 2), 0x00FF00u);
    EXPECT_EQ(c.getBkgdColor(), PXColor(0, 0xFFFF, 0));
}

}  // namespace
