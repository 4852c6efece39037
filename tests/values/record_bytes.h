// Builds saved records and compiled files byte by byte, as the format
// describes them, so tests compare the library's output with bytes they
// did not get from it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace savedtest {

struct Bytes {
    std::string s;

    Bytes& u8(int v) {
        s.push_back(static_cast<char>(v & 0xFF));
        return *this;
    }
    Bytes& i16(int v) { return u8(v).u8(v >> 8); }
    Bytes& i32(int64_t v) { return u8(static_cast<int>(v)).u8(static_cast<int>(v >> 8)).u8(static_cast<int>(v >> 16)).u8(static_cast<int>(v >> 24)); }
    Bytes& text(const std::string& t) {
        s += t;
        return *this;
    }
    // A length-prefixed name or text.
    Bytes& field(const std::string& t) { return i32(static_cast<int64_t>(t.size())).text(t); }
    Bytes& none() { return i32(-1); }
    // type, state, and (for no number block) the four numbers.
    Bytes& head(int type, int state) { return i32(type).i32(state); }
    Bytes& links(int cloneCount, int firstClone, int size, int alias) {
        return i32(cloneCount).i32(firstClone).i32(size).i32(alias);
    }
};

// The whole content of a file.
inline std::string fileBytes(std::FILE* f) {
    std::string out;
    std::rewind(f);
    for (int c; (c = std::fgetc(f)) != EOF;) out.push_back(static_cast<char>(c));
    return out;
}

}  // namespace savedtest
