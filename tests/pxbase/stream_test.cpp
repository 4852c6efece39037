#include "pxbase/stream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

namespace fs = std::filesystem;

class FileStream : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() /
              ("pxstream-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
               "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir);
        path = (dir / "content.bin").string();
        std::ofstream(path, std::ios::binary) << "0123456789";
    }
    void TearDown() override { fs::remove_all(dir); }
    fs::path dir;
    std::string path;
};

TEST_F(FileStream, MissingFileIsToldByGetInfoFirst) {
    std::string missing = (dir / "nope.mps").string();
    EXPECT_EQ(PXIStreamFile::getInfo(missing.c_str()).exists, 0u);
    EXPECT_EQ(PXIStreamFile::getInfo(dir.string().c_str()).exists, 0u);  // a folder is no file
    PXIStreamInfo info = PXIStreamFile::getInfo(path.c_str());
    EXPECT_EQ(info.exists, 1u);
    EXPECT_EQ(info.size, 10u);
    PXIStreamFile stream(missing.c_str(), static_cast<unsigned long>(-1), nullptr);
    EXPECT_EQ(stream.getData(0), 0u);
    EXPECT_EQ(stream.data, nullptr);
    EXPECT_EQ(stream.size, 0u);
}

// The bytes a stream gives after setSrcOffset(offset) and getData(most).
std::string read(PXIStream& stream, uint32_t offset, int most = 0) {
    stream.setSrcOffset(offset);
    uint32_t n = stream.getData(most);
    if (n == 0) return stream.data == nullptr ? "<none>" : "<data left behind>";
    return std::string(reinterpret_cast<const char*>(stream.data), n);
}

TEST_F(FileStream, GetDataBringsTheContentFromTheOffsetAndNeverPastTheEnd) {
    auto stream = std::make_unique<PXIStreamFile>(path.c_str());
    EXPECT_STREQ(stream->isA(), "PXIStreamFile");
    EXPECT_EQ(stream->getFilename(), path);
    const struct {
        uint32_t offset;
        int most;
        const char* want;
    } cases[] = {{0, 0, "0123456789"}, {4, 0, "456789"}, {8, 100, "89"},     {10, 0, "<none>"},
                 {0xFFFFFFF0u, 0, "<none>"}, {2, 3, "234"},  {3, 0, "3456789"}};
    for (const auto& c : cases) EXPECT_EQ(read(*stream, c.offset, c.most), c.want) << c.offset << "+" << c.most;
    std::unique_ptr<PXIStream> twin(stream->copy());
    stream.reset();  // the copy must not lean on the original, and keeps its offset
    ASSERT_EQ(twin->getData(0), 7u);
    EXPECT_EQ(std::memcmp(twin->data, "3456789", 7), 0);
}

TEST(MemoryStream, HoldsItsOwnCopyOfTheBytes) {
    char bytes[] = "abcdef";
    PXIStreamMemory stream(bytes, 6, "inline");
    std::memset(bytes, 'x', 6);
    EXPECT_STREQ(stream.isA(), "PXIStreamMemory");
    EXPECT_STREQ(stream.getFilename(), "inline");
    EXPECT_EQ(read(stream, 0), "abcdef");
    EXPECT_EQ(read(stream, 5), "f");
    EXPECT_EQ(read(stream, 6), "<none>");
    stream.reset();
    EXPECT_EQ(stream.data, nullptr);
    EXPECT_EQ(stream.size, 0u);
    PXIStreamMemory empty(nullptr, 0);
    EXPECT_EQ(read(empty, 0), "<none>");
}

TEST(Resource, LocksNestAndUnlockIsRefusedWhenNotLocked) {
    const char bytes[] = "res";
    PXRes res(bytes, 3);
    void* p = nullptr;
    EXPECT_EQ(res.lock(&p), PXResOK);
    EXPECT_EQ(res.lock(&p), PXResOK);
    EXPECT_EQ(std::memcmp(p, "res", 3), 0);
    EXPECT_EQ(res.lockCount(), 2);
    EXPECT_EQ(res.unlock(), PXResOK);
    EXPECT_EQ(res.unlock(), PXResOK);
    EXPECT_EQ(res.unlock(), PXResNotLocked);
    EXPECT_EQ(res.lockCount(), 0);
    PXRes empty(nullptr, 0);
    EXPECT_EQ(empty.lock(&p), PXResNoData);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(empty.lockCount(), 0);
    // A resource id keeps sixteen signed bits.
    EXPECT_EQ(static_cast<int>(PXRscID(PXRscID(static_cast<short>(-2)))), -2);
    EXPECT_EQ(static_cast<int>(PXRscID(1234)), 1234);
}

}  // namespace
