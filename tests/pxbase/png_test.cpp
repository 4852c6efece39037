// PNG round trips at every depth, and files that are refused.
#include "pxbase/png.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "pxbase/mem_canvas.h"

namespace {

namespace fs = std::filesystem;

class Png : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() /
              ("pxpng-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }
    std::string file(const char* name) { return (dir / name).string(); }
    fs::path dir;
};

// Random whole pixels of the canvas's layout.
void scramble(PXMemCanvas& c, unsigned seed) {
    std::mt19937 gen(seed);
    uint32_t valid = c.depth == 8 ? 0xFF : c.redMask | c.greenMask | c.blueMask;
    void* bits;
    long pitch;
    ASSERT_TRUE(c.getPointerToMemory(&bits, &pitch));
    for (int y = 0; y < c.getHeight(); ++y)
        for (int x = 0; x < c.getWidth(); ++x) {
            uint32_t v = gen() & valid;
            std::memcpy(static_cast<uint8_t*>(bits) + y * pitch + x * c.bytesPerPixel(), &v, c.bytesPerPixel());
        }
    c.releasePointerToMemory();
}

TEST_F(Png, EveryDepthComesBackPixelForPixel) {
    for (int depth : {8, 15, 16, 24, 32}) {
        PXMemCanvas c(13, 7, depth, 1);
        if (depth == 8) {
            PXColor pal[256];
            for (int i = 0; i < 256; ++i) pal[i] = PXColor::fromRGB8(i, 255 - i, (i * 37) & 0xFF);
            c.setPalette(pal, true);
        }
        scramble(c, depth);
        std::string path = file("round.png");
        ASSERT_EQ(PXPngSave(&c, path.c_str()), 1);
        std::unique_ptr<PXMemCanvas> back(PXPngLoad(path.c_str(), depth));
        ASSERT_TRUE(back) << depth;
        ASSERT_EQ(back->getWidth(), 13);
        ASSERT_EQ(back->getHeight(), 7);
        EXPECT_EQ(back->pixelFormat, c.pixelFormat);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 13; ++x) ASSERT_EQ(back->getPixel(x, y), c.getPixel(x, y)) << depth << " " << x << "," << y;
        if (depth == 8) {
            PXColor a[256], b[256];
            c.getPalette(a);
            back->getPalette(b);
            for (int i = 0; i < 256; ++i) ASSERT_EQ(a[i], b[i]) << i;
        }
        // Loaded at 32 bits, each pixel has the colour that maps back to it.
        std::unique_ptr<PXMemCanvas> deep(PXPngLoad(path.c_str(), 32));
        ASSERT_TRUE(deep);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 13; ++x) {
                PXColor got = deep->getPixelColor(x, y);
                if (depth == 8) {
                    PXColor want = c.getPixelColor(x, y);
                    ASSERT_EQ(got.red >> 8, want.red >> 8);
                    ASSERT_EQ(got.blue >> 8, want.blue >> 8);
                } else {
                    ASSERT_EQ(c.mapColor(got), c.getPixel(x, y)) << depth << " " << x << "," << y;
                }
            }
    }
}

TEST_F(Png, MissingDamagedAndOversizedFilesAreRefused) {
    char why[128] = "";
    EXPECT_EQ(PXPngLoad(file("none.png").c_str(), 0, why, sizeof why), nullptr);
    EXPECT_NE(std::string(why).find("cannot read PNG"), std::string::npos) << why;
    std::ofstream(file("text.png")) << "plain text, no picture";
    EXPECT_EQ(PXPngLoad(file("text.png").c_str(), 0, why, sizeof why), nullptr);
    // A good file cut short.
    PXMemCanvas c(40, 40, 24, 1);
    scramble(c, 3);
    ASSERT_EQ(PXPngSave(&c, file("good.png").c_str()), 1);
    std::ifstream in(file("good.png"), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    std::ofstream(file("cut.png"), std::ios::binary) << bytes.substr(0, bytes.size() / 2);
    EXPECT_EQ(PXPngLoad(file("cut.png").c_str(), 0, why, sizeof why), nullptr);
    // A header that claims a picture larger than any canvas.
    std::string huge = bytes.substr(0, 33);
    huge[16] = 0x7F;  // width's top byte
    std::ofstream(file("huge.png"), std::ios::binary) << huge;
    EXPECT_EQ(PXPngLoad(file("huge.png").c_str(), 0, why, sizeof why), nullptr);
    EXPECT_EQ(PXPngLoad(nullptr, 0), nullptr);
    // Saving refuses an invalid canvas and a place that cannot be written.
    PXMemCanvas invalid(0, 0, 16, 1);
    EXPECT_EQ(PXPngSave(&invalid, file("x.png").c_str()), 0);
    EXPECT_EQ(PXPngSave(&c, (dir / "no" / "such" / "dir.png").string().c_str()), 0);
    EXPECT_EQ(PXPngSave(nullptr, file("y.png").c_str()), 0);
}

}  // namespace
