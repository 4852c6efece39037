// The byte level of saved script state, shared by the heap record (values)
// and the compiled-script file around it (threads): explicit little-endian
// writing whatever the host's order, and a reader that never passes the end
// of its block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "baublecore/variable.h"

namespace bcvalues {

// Appends little-endian integers to a byte string.
inline void putU8(std::string& out, uint8_t v) { out.push_back(static_cast<char>(v)); }
inline void putU16(std::string& out, uint16_t v) {
    out.push_back(static_cast<char>(v & 0xFF));
    out.push_back(static_cast<char>(v >> 8));
}
inline void putU32(std::string& out, uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<char>((v >> shift) & 0xFF));
}

// Reads fields from [p, end). Numbers are little-endian, or big-endian when
// `swap` is set. A read that does not fit fails and reads nothing, and
// every later read fails too, so a caller may check once after a run of
// fields.
struct SavedReader {
    const unsigned char* p;
    const unsigned char* end;
    int swap;
    bool ok = true;

    size_t left() const { return ok ? static_cast<size_t>(end - p) : 0; }

    bool bytes(void* dst, size_t n) {
        if (!ok || n > static_cast<size_t>(end - p)) return ok = false;
        for (size_t i = 0; i < n; ++i) static_cast<unsigned char*>(dst)[i] = p[i];
        p += n;
        return true;
    }
    bool u8(uint8_t& v) { return bytes(&v, 1); }
    bool u16(uint16_t& v) {
        unsigned char b[2];
        if (!bytes(b, 2)) return false;
        v = swap ? static_cast<uint16_t>(b[0] << 8 | b[1]) : static_cast<uint16_t>(b[1] << 8 | b[0]);
        return true;
    }
    bool i16(int16_t& v) {
        uint16_t u = 0;
        if (!u16(u)) return false;
        v = static_cast<int16_t>(u);
        return true;
    }
    bool u32(uint32_t& v) {
        unsigned char b[4];
        if (!bytes(b, 4)) return false;
        if (swap)
            v = uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | b[3];
        else
            v = uint32_t{b[3]} << 24 | uint32_t{b[2]} << 16 | uint32_t{b[1]} << 8 | b[0];
        return true;
    }
    bool i32(int32_t& v) {
        uint32_t u = 0;
        if (!u32(u)) return false;
        v = static_cast<int32_t>(u);
        return true;
    }
};

// The smallest record: type, state, four numbers and three lengths of -1.
inline constexpr size_t kSmallestRecord = 36;
// Limits of a record this library can have written; a record past them is
// refused rather than allocated. Names and texts are at most 1023 bytes; a
// term has at most 128 parts (the terminals of an expression); "%.15g" of a
// double needs at most some two dozen bytes.
inline constexpr int kRecordTermsMax = 128;
inline constexpr int kRecordNumberMax = 31;
inline constexpr size_t kLargestRecord = 8 + 2 + kRecordNumberMax + 16 + 4 + 1023 + 4 + 1023 + 4 + 2 * kRecordTermsMax;

// Checks the entries just read from a file against each other before they
// join the heap: entries[k] is to become heap index first + k, in a heap of
// heapSize entries whose first `first` entries are the fixed variables.
// Null when they are sound; otherwise the reason, in a static buffer.
const char* checkLoadedEntries(YVariable* const* entries, int count, int first, int heapSize);

}  // namespace bcvalues
