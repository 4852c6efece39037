#include "frame/byte_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using bcframe::ByteOrder;
using bcframe::ByteReader;

const unsigned char kBytes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09};

TEST(ByteReader, ReadsBothOrdersWhateverTheDefault) {
    for (ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        ByteReader r(kBytes, sizeof kBytes, order);
        const bool big = order == ByteOrder::kBig;
        EXPECT_EQ(r.u8(), 0x01);
        EXPECT_EQ(r.u16(), big ? 0x0203 : 0x0302);
        EXPECT_EQ(r.u32(), big ? 0x04050607u : 0x07060504u);
        EXPECT_EQ(r.position(), 7u);
        ASSERT_TRUE(r.seek(1));
        EXPECT_EQ(r.u16le(), 0x0302);
        EXPECT_EQ(r.u16be(), 0x0405);
        EXPECT_EQ(r.u32le(), 0x09080706u);
        ASSERT_TRUE(r.seek(0));
        EXPECT_EQ(r.u32be(), 0x01020304u);
        EXPECT_EQ(r.remaining(), 5u);
        EXPECT_TRUE(r.ok());
    }
    unsigned char negative[] = {0xFE, 0xFF, 0xFF, 0xFF};
    ByteReader r(negative, sizeof negative);
    EXPECT_EQ(r.i16(), -2);
    ASSERT_TRUE(r.seek(0));
    EXPECT_EQ(r.i32(), -2);
}

// A read that does not fit reads nothing, and every later read fails too,
// even one that would fit.
TEST(ByteReader, AFailureSticks) {
    ByteReader r(kBytes, sizeof kBytes);
    ASSERT_TRUE(r.skip(6));
    EXPECT_EQ(r.u32(), 0u);
    EXPECT_FALSE(r.ok());
    EXPECT_EQ(r.position(), 6u);
    EXPECT_EQ(r.remaining(), 0u);
    EXPECT_EQ(r.cursor(), nullptr);
    EXPECT_EQ(r.u8(), 0);
    EXPECT_FALSE(r.seek(0));
    unsigned char out = 0xAA;
    EXPECT_FALSE(r.bytes(&out, 1));
    EXPECT_EQ(out, 0xAA);

    ByteReader past(kBytes, sizeof kBytes);
    EXPECT_TRUE(past.seek(sizeof kBytes));  // the end itself is a place
    EXPECT_FALSE(past.seek(sizeof kBytes + 1));
    ByteReader empty;
    EXPECT_FALSE(empty.skip(1));
}

TEST(ByteReader, PartsStayInsideTheBlock) {
    ByteReader r(kBytes, sizeof kBytes, ByteOrder::kBig);
    r.skip(1);
    ByteReader part = r.sub(4);
    EXPECT_EQ(r.position(), 5u);
    EXPECT_EQ(part.u32(), 0x02030405u);  // in the parent's order
    EXPECT_FALSE(part.skip(1));          // the part ends where it was cut
    EXPECT_TRUE(r.ok());

    EXPECT_EQ(r.range(7, 2).u16(), 0x0809);
    EXPECT_EQ(r.position(), 5u);  // range does not move the reader
    EXPECT_TRUE(r.range(9, 0).ok());
    EXPECT_FALSE(r.range(8, 2).ok());
    EXPECT_FALSE(r.range(10, 0).ok());
    EXPECT_FALSE(r.range(2, std::numeric_limits<size_t>::max()).ok());  // no wrap-around

    EXPECT_FALSE(r.sub(5).ok());  // four remain
    EXPECT_FALSE(r.ok());
}

}  // namespace
