// The one bounds-checked reader for the files the library reads: compiled
// scripts and their heap records today, animation and background files as
// they come. A reader walks a block of bytes it does not own. A read that
// does not fit in what remains fails, reads nothing, and leaves the reader
// failed: every later read fails too and gives 0, so a decoder may read a
// run of fields and check ok() once behind them. Nothing here ever reads
// outside the block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace bcframe {

enum class ByteOrder { kLittle, kBig };

// Decodes the bytes at p, which must hold them.
constexpr uint16_t loadU16(const unsigned char* p, ByteOrder order) {
    return order == ByteOrder::kBig ? static_cast<uint16_t>(p[0] << 8 | p[1])
                                    : static_cast<uint16_t>(p[1] << 8 | p[0]);
}
constexpr uint32_t loadU32(const unsigned char* p, ByteOrder order) {
    return order == ByteOrder::kBig
               ? uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3]
               : uint32_t{p[3]} << 24 | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
}

class ByteReader {
public:
    // An empty block: every read fails.
    ByteReader() = default;
    // `order` serves the reads that name none (u16, i16, u32, i32).
    ByteReader(const void* data, size_t size, ByteOrder order = ByteOrder::kLittle)
        : data_(static_cast<const unsigned char*>(data)), size_(data ? size : 0), order_(order) {}

    bool ok() const { return ok_; }
    ByteOrder order() const { return order_; }
    size_t size() const { return size_; }
    // Bytes read so far (where a failed reader stopped).
    size_t position() const { return pos_; }
    // Bytes left to read; none once failed.
    size_t remaining() const { return ok_ ? size_ - pos_ : 0; }
    // The next byte to read, for a caller that hands the rest on; null once failed.
    const unsigned char* cursor() const { return ok_ && data_ ? data_ + pos_ : nullptr; }

    bool skip(size_t n) {
        const unsigned char* p = nullptr;
        return take(n, p);
    }
    bool bytes(void* dst, size_t n) {
        const unsigned char* p = nullptr;
        if (!take(n, p)) return false;
        if (n) std::memcpy(dst, p, n);
        return true;
    }
    // Moves to a position inside the block (its end included).
    bool seek(size_t position) {
        if (!ok_ || position > size_) return fail();
        pos_ = position;
        return true;
    }

    uint8_t u8() {
        const unsigned char* p = nullptr;
        return take(1, p) ? p[0] : 0;
    }
    uint16_t u16() { return u16(order_); }
    uint32_t u32() { return u32(order_); }
    int16_t i16() { return static_cast<int16_t>(u16()); }
    int32_t i32() { return static_cast<int32_t>(u32()); }
    uint16_t u16le() { return u16(ByteOrder::kLittle); }
    uint16_t u16be() { return u16(ByteOrder::kBig); }
    uint32_t u32le() { return u32(ByteOrder::kLittle); }
    uint32_t u32be() { return u32(ByteOrder::kBig); }

    // A reader over the next n bytes, positioned at their start, in this
    // reader's order; this reader moves past them. A failed reader (and this
    // one failed) when fewer remain.
    ByteReader sub(size_t n) {
        const unsigned char* p = nullptr;
        return take(n, p) ? ByteReader(p, n, order_) : failed();
    }
    // A reader over the n bytes at `offset` of the whole block; this reader
    // does not move. A failed reader when they are not all inside it.
    ByteReader range(size_t offset, size_t n) const {
        if (!data_ || offset > size_ || n > size_ - offset) return failed();
        return ByteReader(data_ + offset, n, order_);
    }

private:
    const unsigned char* data_ = nullptr;
    size_t size_ = 0;
    size_t pos_ = 0;
    ByteOrder order_ = ByteOrder::kLittle;
    bool ok_ = true;

    bool fail() { return ok_ = false; }
    ByteReader failed() const {
        ByteReader r(nullptr, 0, order_);
        r.ok_ = false;
        return r;
    }
    // The n bytes at the position (in p), which moves past them; false, and
    // failed, when they do not all remain.
    bool take(size_t n, const unsigned char*& p) {
        if (!ok_ || n > size_ - pos_) return fail();
        p = data_ ? data_ + pos_ : nullptr;
        pos_ += n;
        return true;
    }
    uint16_t u16(ByteOrder order) {
        const unsigned char* p = nullptr;
        return take(2, p) ? loadU16(p, order) : 0;
    }
    uint32_t u32(ByteOrder order) {
        const unsigned char* p = nullptr;
        return take(4, p) ? loadU32(p, order) : 0;
    }
};

}  // namespace bcframe
