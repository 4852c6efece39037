// The byte level of saved script state, shared by the heap record (values)
// and the compiled-script file around it (threads): explicit little-endian
// writing whatever the host's order, and reading records through the
// library's one byte reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "baublecore/variable.h"
#include "frame/byte_reader.h"

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

// Reads one record from `in`, in the reader's byte order, over v: 1 when a
// whole, sound record was read, the reader then standing behind it; 0 when
// it was cut short or holds what no record can, and v and the reader are
// then left as they were.
int readRecord(YVariable& v, bcframe::ByteReader& in);

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
