// The saved record of one heap entry, and the heap's part of a compiled
// script: every entry behind the three fixed variables, in table order.
//
// A record is a run of fields with nothing between them, numbers in the
// writer's byte order (little-endian here, on any host):
//
//   i32 type, i32 state
//   number block, by state: Long: i32 number; Double: i16 L, then L bytes of
//     "%.15g", no NUL; any other state: nothing
//   i32 cloneCount, i32 firstClone, i32 size, i32 alias
//   i32 N, N bytes of name (N = -1: no name)
//   i32 T, T bytes of text (T = -1: no text)
//   i32 C, C u16 terms (C = -1: none; else 3 for a slice, size otherwise)
//
// Reading never passes the end of its block or file, and refuses a record
// that no writer can have made, rather than hand the rest of the values code
// a term it would read out of bounds: a type or state out of range, a length
// past what a name, text or number can hold, a part count that does not fit
// the type, a computed name without parts, a literal whose size exceeds its
// name.
#include "values/saved_state.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "baublecore/heap.h"
#include "baublecore/variable.h"
#include "values/number_text.h"
#include "values/values_internal.h"

using namespace bcvalues;

namespace {

// Parts nest this deep at most (a slice of a computed name is three); a
// deeper chain can only be a damaged file, and reading it would recurse once
// per level.
constexpr int kMaxPartDepth = 16;

// A record as read, before it replaces the fields of a variable.
struct Record {
    int32_t type = 0;
    int32_t state = 0;
    YNumber number{};
    int32_t cloneCount = 0;
    int32_t firstClone = 0;
    int32_t size = -1;
    int32_t alias = 0;
    bool hasName = false;
    bool hasText = false;
    bool hasTerms = false;
    std::string name;
    std::string text;
    std::vector<uint16_t> terms;
};

// The file form of the byte reader, for the one record parser: the same
// reads, from a FILE, decoded the same way.
class FileBytes {
public:
    FileBytes(std::FILE* f, bcframe::ByteOrder order) : f_(f), order_(order) {}
    bool ok() const { return ok_; }
    bool bytes(void* dst, size_t n) {
        if (ok_ && n && std::fread(dst, 1, n, f_) != n) ok_ = false;
        return ok_;
    }
    int16_t i16() {
        unsigned char b[2];
        return bytes(b, 2) ? static_cast<int16_t>(bcframe::loadU16(b, order_)) : 0;
    }
    uint16_t u16() { return static_cast<uint16_t>(i16()); }
    int32_t i32() {
        unsigned char b[4];
        return bytes(b, 4) ? static_cast<int32_t>(bcframe::loadU32(b, order_)) : 0;
    }

private:
    std::FILE* f_;
    bcframe::ByteOrder order_;
    bool ok_ = true;
};

bcframe::ByteOrder orderOf(int swap) { return swap ? bcframe::ByteOrder::kBig : bcframe::ByteOrder::kLittle; }

// A length-prefixed text: -1 for none, otherwise at most 1023 bytes, the
// most a name or text can hold.
template <class In>
bool getText(In& in, bool& present, std::string& out) {
    int32_t n = in.i32();
    if (!in.ok()) return false;
    present = n != -1;
    if (!present) return true;
    if (n < 0 || n > kTextMax) return false;
    out.assign(static_cast<size_t>(n), '\0');
    return in.bytes(out.data(), out.size());
}

template <class In>
bool parseRecord(In& in, Record& r) {
    r.type = in.i32();
    r.state = in.i32();
    if (!in.ok()) return false;
    // An unclassified entry exists only while its constructor runs.
    if (r.type < YVT_Plain || r.type > YVT_Expression) return false;
    if (r.state < YVS_None || r.state > YVS_Double) return false;

    switch (r.state) {
    case YVS_Long:
        r.number.l = in.i32();
        if (!in.ok()) return false;
        break;
    case YVS_Double: {
        // The length is bounded by the buffer the text is read to.
        int16_t len = in.i16();
        if (!in.ok() || len < 0 || len > kRecordNumberMax) return false;
        char digits[kRecordNumberMax + 1];
        if (!in.bytes(digits, static_cast<size_t>(len))) return false;
        digits[len] = '\0';
        // Not reduced: the state stays as it was saved.
        r.number.d = scanDouble(digits);
        break;
    }
    case YVS_Object:
        // An object does not survive the file; its record has no number.
        r.state = YVS_None;
        break;
    default:
        break;
    }

    r.cloneCount = in.i32();
    r.firstClone = in.i32();
    r.size = in.i32();
    r.alias = in.i32();
    if (!in.ok()) return false;
    // Owner, reference or forwarding: any other alias is no record we wrote.
    if (r.alias < -1 || r.alias > 1) return false;
    if (!getText(in, r.hasName, r.name) || !getText(in, r.hasText, r.text)) return false;

    int32_t count = in.i32();
    if (!in.ok()) return false;
    r.hasTerms = count != -1;
    if (r.hasTerms) {
        // The part count the type implies: the readers index parts by it.
        int32_t expected = r.type == YVT_Slice ? 3 : r.size;
        if (count != expected || count < 0 || count > kRecordTermsMax) return false;
        r.terms.resize(static_cast<size_t>(count));
        for (uint16_t& t : r.terms) t = in.u16();
        if (!in.ok()) return false;
    }

    // A computed name reads one part per subscript, `size` of them: without
    // its parts a large size would be a loop of that length at every read.
    if (r.type == YVT_Compound && !r.hasTerms) return false;
    // A literal hands out `size` bytes of its name.
    if (r.type == YVT_Literal &&
        (!r.hasName || r.size < 0 || static_cast<size_t>(r.size) > std::strlen(r.name.c_str())))
        return false;
    // Writing cut a text at its first NUL while `size` kept its value; a
    // variable hands out `size` bytes of its text, so the size goes with
    // the cut.
    if (r.type == YVT_Plain && r.hasText) {
        int32_t stored = static_cast<int32_t>(std::strlen(r.text.c_str()));
        if (r.size > stored) r.size = stored;
    }
    return true;
}

char* copyBlock(const std::string& s) {
    char* t = new char[s.size() + 1];
    std::memcpy(t, s.data(), s.size());
    t[s.size()] = '\0';
    return t;
}

// The record replaces the variable's fields; a length of -1 leaves the
// field as it was, as on a fresh variable it is null.
void takeRecord(YVariable& v, const Record& r) {
    v.type = static_cast<YVT>(r.type);
    v.state = static_cast<YVS>(r.state);
    std::memset(&v.number, 0, sizeof v.number);
    if (r.state == YVS_Long) v.number.l = r.number.l;
    if (r.state == YVS_Double) v.number.d = r.number.d;
    v.cloneCount = r.cloneCount;
    v.firstClone = r.firstClone;
    v.size_ = r.size;
    v.alias = r.alias;
    v.handled = 0;
    if (r.hasName) {
        delete[] v.name;
        v.name = copyBlock(r.name);
    }
    if (r.hasText) {
        // Text blocks come from malloc: assignments reuse them.
        std::free(v.text);
        v.text = newTextBlock(static_cast<int>(r.text.size()));
        std::memcpy(v.text, r.text.data(), r.text.size());
        v.text[r.text.size()] = '\0';
    }
    if (r.hasTerms) {
        delete[] v.terms;
        v.terms = new uint16_t[r.terms.size() ? r.terms.size() : 1];
        std::copy(r.terms.begin(), r.terms.end(), v.terms);
    }
}

void putText(std::string& out, const char* s) {
    if (!s) {
        putU32(out, static_cast<uint32_t>(-1));
        return;
    }
    size_t n = std::strlen(s);
    putU32(out, static_cast<uint32_t>(n));
    out.append(s, n);
}

std::string recordOf(const YVariable& v) {
    std::string out;
    putU32(out, static_cast<uint32_t>(v.type));
    putU32(out, static_cast<uint32_t>(v.state));
    if (v.state == YVS_Long) {
        putU32(out, static_cast<uint32_t>(v.number.l));
    } else if (v.state == YVS_Double) {
        char digits[kNumberTextSize];
        int n = formatDouble(digits, v.number.d);
        putU16(out, static_cast<uint16_t>(n));
        out.append(digits, static_cast<size_t>(n));
    }
    putU32(out, static_cast<uint32_t>(v.cloneCount));
    putU32(out, static_cast<uint32_t>(v.firstClone));
    putU32(out, static_cast<uint32_t>(v.size_));
    putU32(out, static_cast<uint32_t>(v.alias));
    putText(out, v.name);
    putText(out, v.text);
    int32_t count = v.terms ? (v.type == YVT_Slice ? 3 : v.size_) : -1;
    if (count < 0) count = -1;
    putU32(out, static_cast<uint32_t>(count));
    for (int32_t i = 0; i < count; ++i) putU16(out, v.terms[i]);
    return out;
}

}  // namespace

void YVariable::write(std::FILE* f) const {
    if (!f) return;
    std::string record = recordOf(*this);
    std::fwrite(record.data(), 1, record.size(), f);
}

int YVariable::read(std::FILE* f, int swap) {
    if (!f) return 0;
    FileBytes in(f, orderOf(swap));
    Record r;
    if (!parseRecord(in, r)) return 0;
    // The record replaces the value: an object this variable owned goes.
    killBauble(1);
    takeRecord(*this, r);
    return 1;
}

// This form knows no end: it reads no further than the largest record
// reaches from p.
int YVariable::read(const unsigned char*& p, int swap) {
    if (!p) return 0;
    bcframe::ByteReader in(p, kLargestRecord, orderOf(swap));
    Record r;
    if (!parseRecord(in, r)) return 0;
    killBauble(1);
    takeRecord(*this, r);
    p = in.cursor();
    return 1;
}

int bcvalues::readRecord(YVariable& v, bcframe::ByteReader& in) {
    Record r;
    bcframe::ByteReader attempt = in;
    if (!parseRecord(attempt, r)) return 0;
    in = attempt;
    ValuesAccess::killBauble(v, 1);
    takeRecord(v, r);
    return 1;
}

void YHeap::save(std::FILE* f) const {
    if (!f || !initialised || count <= 3) return;
    for (int i = 3; i < count; ++i) entries[i]->write(f);
}

namespace bcvalues {

const char* checkLoadedEntries(YVariable* const* entries, int count, int first, int heapSize) {
    static char why[160];
    auto typeAt = [&](int index) { return index < first ? YVT_Plain : entries[index - first]->type; };
    std::vector<int> depth(static_cast<size_t>(count > 0 ? count : 0), 0);
    for (int k = 0; k < count; ++k) {
        const YVariable* v = entries[k];
        int index = first + k;
        if (v->firstClone < 0 || v->firstClone >= heapSize) {
            std::snprintf(why, sizeof why, "heap entry %d links to entry %d, outside the heap", index,
                          v->firstClone);
            return why;
        }
        // Forwarding ends at a variable: through anything else a term could
        // reach itself again while it is being read.
        if (v->alias == -1 && v->firstClone != 0 && typeAt(v->firstClone) != YVT_Plain) {
            std::snprintf(why, sizeof why, "heap entry %d forwards to entry %d, which is not a variable",
                          index, v->firstClone);
            return why;
        }
        // Parts are made before their whole, so each lies below it; this
        // also keeps a term from being its own part.
        int parts = v->terms ? (v->type == YVT_Slice ? 3 : v->size_) : 0;
        int d = 0;
        for (int i = 0; i < parts; ++i) {
            int t = v->terms[i];
            if (t == kNoTerm) continue;
            if (t >= index) {
                std::snprintf(why, sizeof why, "heap entry %d has entry %d as a part, not below it", index, t);
                return why;
            }
            d = std::max(d, (t < first ? 0 : depth[static_cast<size_t>(t - first)]) + 1);
        }
        if (d > kMaxPartDepth) {
            std::snprintf(why, sizeof why, "heap entry %d nests its parts more than %d deep", index,
                          kMaxPartDepth);
            return why;
        }
        depth[static_cast<size_t>(k)] = d;
    }
    return nullptr;
}

}  // namespace bcvalues
