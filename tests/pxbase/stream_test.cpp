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

TEST_F(FileStream, GetDataBringsTheWholeContentFromTheOffset) {
    PXIStreamFile stream(path.c_str());
    EXPECT_STREQ(stream.isA(), "PXIStreamFile");
    EXPECT_EQ(stream.isA(), PXIStreamFile::className);
    EXPECT_EQ(stream.getFilename(), path);
    ASSERT_EQ(stream.getData(0), 10u);
    EXPECT_EQ(std::memcmp(stream.data, "0123456789", 10), 0);

    stream.setSrcOffset(4);
    ASSERT_EQ(stream.getData(0), 6u);
    EXPECT_EQ(std::memcmp(stream.data, "456789", 6), 0);
}

TEST_F(FileStream, NeverReadsPastTheEnd) {
    PXIStreamFile stream(path.c_str());
    stream.setSrcOffset(8);
    EXPECT_EQ(stream.getData(100), 2u);  // asked for more than is left
    EXPECT_EQ(std::memcmp(stream.data, "89", 2), 0);
    stream.setSrcOffset(10);
    EXPECT_EQ(stream.getData(0), 0u);
    EXPECT_EQ(stream.data, nullptr);
    stream.setSrcOffset(0xFFFFFFF0u);
    EXPECT_EQ(stream.getData(0), 0u);
    stream.setSrcOffset(2);
    EXPECT_EQ(stream.getData(3), 3u);
    EXPECT_EQ(std::memcmp(stream.data, "234", 3), 0);
}

TEST_F(FileStream, CopyIsIndependent) {
    auto stream = std::make_unique<PXIStreamFile>(path.c_str());
    stream->setSrcOffset(3);
    std::unique_ptr<PXIStream> twin(stream->copy());
    stream.reset();  // the copy must not lean on the original
    ASSERT_EQ(twin->getData(0), 7u);
    EXPECT_EQ(std::memcmp(twin->data, "3456789", 7), 0);
}

TEST(MemoryStream, HoldsItsOwnCopyOfTheBytes) {
    char bytes[] = "abcdef";
    PXIStreamMemory stream(bytes, 6, "inline");
    std::memset(bytes, 'x', 6);
    EXPECT_STREQ(stream.isA(), "PXIStreamMemory");
    EXPECT_STREQ(stream.getFilename(), "inline");
    ASSERT_EQ(stream.getData(0), 6u);
    EXPECT_EQ(std::memcmp(stream.data, "abcdef", 6), 0);
    stream.setSrcOffset(5);
    ASSERT_EQ(stream.getData(0), 1u);
    EXPECT_EQ(stream.data[0], 'f');
    stream.setSrcOffset(6);
    EXPECT_EQ(stream.getData(0), 0u);
    stream.reset();
    EXPECT_EQ(stream.data, nullptr);
    EXPECT_EQ(stream.size, 0u);
}

TEST(MemoryStream, EmptySourceGivesNoData) {
    PXIStreamMemory stream(nullptr, 0);
    EXPECT_EQ(stream.getData(0), 0u);
    EXPECT_EQ(stream.data, nullptr);
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
}

TEST(ResourceId, RoundTripsSixteenBits) {
    PXRscID id(static_cast<short>(-2));
    PXRscID copy(id);
    EXPECT_EQ(static_cast<int>(copy), -2);
    EXPECT_EQ(static_cast<int>(PXRscID(1234)), 1234);
}

}  // namespace
