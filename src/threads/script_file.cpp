// The compiled-script file: a thread's statement table and code words with
// an image of the heap behind the three fixed variables, so that a script
// starts (at statement 0, with its variables' saved values) without being
// compiled. Numbers are in the order the format byte names:
//
//   u8   format: 2 little-endian (what save writes), 1 big-endian
//   u32  N statements (the end entry is not stored)
//   N x  u8 command, i16 operand
//   u32  M code words, then M x i16 (the three leading words included)
//   u32  V, the heap size at saving, fixed variables included
//   V-3  heap records (src/values/saved_state.cpp), for indices 3 to V-1
//
// A file is checked whole before anything of it is used: it must end where
// its counts say, its code words must be heap indices, its jumps statement
// indices and its operand lists inside the code. Code addresses the heap by
// index, so a file fits only a heap that holds nothing but the three fixed
// variables; a load onto any other heap is refused rather than run with
// wrong indices. A refusal shows one message and changes neither the
// thread nor the heap.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "baublecore/heap.h"
#include "baublecore/thread.h"
#include "pxbase/stream.h"
#include "pxbase/sys.h"
#include "frame/byte_reader.h"
#include "threads/compiler_state.h"
#include "threads/threads_internal.h"
#include "values/saved_state.h"
#include "values/values_internal.h"

using bcframe::ByteReader;

namespace {

constexpr unsigned kMessageFlags = 0x3000;
constexpr int kFixedVariables = 3;
constexpr uint8_t kLittleEndian = 2;
// No compiled script comes near this: the heap's 32768 entries of at most
// 2.4 KB each make some 80 MB. A larger file is refused before it is read.
constexpr long kLargestFile = 1L << 28;

// A file taken apart and checked, not yet given to a thread.
struct LoadedScript {
    std::vector<YStatement> jumps;
    std::vector<int16_t> code;
    int32_t heapSize = 0;
    std::vector<YVariable*> entries;

    LoadedScript() = default;
    LoadedScript(const LoadedScript&) = delete;
    LoadedScript& operator=(const LoadedScript&) = delete;
    ~LoadedScript() {
        for (YVariable* v : entries) bcvalues::ValuesAccess::destroy(v);
    }
};

// Commands whose operand is a statement index.
bool isJump(int command) { return command == ycBranch || command == ycJump; }
// Commands whose operand is never read: the compiler leaves whatever it had.
bool operandUnused(int command) { return command == ycNop || command == ycReturn || command == ycEnd; }

// The reason a file is refused. Always false, so a check can end with
// `return refuse(...)`.
class Refusal {
public:
    const char* text() const { return text_; }
    [[gnu::format(printf, 2, 3)]] bool operator()(const char* format, ...) {
        va_list args;
        va_start(args, format);
        std::vsnprintf(text_, sizeof text_, format, args);
        va_end(args);
        return false;
    }

private:
    char text_[160] = "";
};

bool readTables(ByteReader& in, LoadedScript& s, Refusal& refuse) {
    in.u8();  // the format byte, which chose the order
    uint32_t n = in.u32();
    if (!in.ok()) return refuse("it ends before its statement count");
    // Every count is checked against the bytes that are really there before
    // anything is allocated for it.
    if (n > in.remaining() / 3) return refuse("it ends inside its %u statements", n);
    s.jumps.resize(static_cast<size_t>(n) + 1);
    for (uint32_t i = 0; i < n; ++i) {
        s.jumps[i].command = in.u8();
        s.jumps[i].operand = in.i16();
    }
    s.jumps[n] = {ycEnd, 0};

    uint32_t m = in.u32();
    if (!in.ok()) return refuse("it ends before its code word count");
    if (m > in.remaining() / 2) return refuse("it ends inside its %u code words", m);
    s.code.resize(m);
    for (int16_t& w : s.code) w = in.i16();

    uint32_t v = in.u32();
    if (!in.ok()) return refuse("it ends before its heap size");
    if (v < kFixedVariables || v > static_cast<uint32_t>(bcvalues::kLastIndex) + 1)
        return refuse("its heap size %u is not one a heap can have", v);
    s.heapSize = static_cast<int32_t>(v);
    if (v - kFixedVariables > in.remaining() / bcvalues::kSmallestRecord)
        return refuse("it ends before its %u heap records", v - kFixedVariables);
    return true;
}

bool readRecords(ByteReader& in, LoadedScript& s, Refusal& refuse) {
    s.entries.reserve(static_cast<size_t>(s.heapSize - kFixedVariables));
    for (int i = kFixedVariables; i < s.heapSize; ++i) {
        YVariable* v = bcvalues::ValuesAccess::makeTemporary();
        s.entries.push_back(v);
        if (!bcvalues::readRecord(*v, in))
            return refuse("the record of heap entry %d is cut short or damaged", i);
    }
    // Nothing follows the last record: more bytes mean counts that do not
    // describe this file.
    if (in.remaining() != 0)
        return refuse("it goes on for %ld bytes behind its last heap record",
                      static_cast<long>(in.remaining()));
    return true;
}

// The checks that let the interpreter trust the tables: it indexes the heap
// by code word and the table by jump operand without looking.
bool checkTables(const LoadedScript& s, Refusal& refuse) {
    int n = static_cast<int>(s.jumps.size()) - 1;
    int m = static_cast<int>(s.code.size());
    for (int i = 0; i < m; ++i) {
        int w = s.code[static_cast<size_t>(i)];
        if (w != -1 && (w < 0 || w >= s.heapSize))
            return refuse("code word %d is %d, not an index of its %d heap entries", i, w, s.heapSize);
    }
    // An operand list runs to a -1; the last word being -1 keeps every list
    // inside the code.
    bool listsEnd = m > 0 && s.code[static_cast<size_t>(m - 1)] == -1;
    for (int i = 0; i < n; ++i) {
        const YStatement& st = s.jumps[static_cast<size_t>(i)];
        if (!bcthreads::isCommand(st.command))
            return refuse("statement %d has the unknown command %d", i, st.command);
        if (isJump(st.command)) {
            if (st.operand < 0 || st.operand > n)
                return refuse("statement %d jumps to %d, outside its %d statements", i, st.operand, n);
        } else if (!operandUnused(st.command)) {
            if (st.operand < 0 || st.operand >= m || !listsEnd)
                return refuse("statement %d reads operands at code word %d, outside its operand lists", i,
                              st.operand);
        }
    }
    const char* why = bcvalues::checkLoadedEntries(s.entries.data(), static_cast<int>(s.entries.size()),
                                                   kFixedVariables, s.heapSize);
    if (why) return refuse("%s", why);
    return true;
}

void showRefusal(const char* source, const char* why) {
    char text[400];
    std::snprintf(text, sizeof text, "%.120s: compiled script refused: %.240s", source, why);
    PXSysUserMessage(text, kMessageFlags, nullptr);
}

}  // namespace

int YThread::save(const char* path) const {
    // A thread without code has nothing to save, and no file is made.
    if (!path || !jumps || !code) return 0;
    std::FILE* f = std::fopen(path, "wb");
    if (!f) return 0;
    std::string head;
    bcvalues::putU8(head, kLittleEndian);
    bcvalues::putU32(head, static_cast<uint32_t>(jumpCount));
    for (int i = 0; i < jumpCount; ++i) {
        bcvalues::putU8(head, static_cast<uint8_t>(jumps[i].command));
        bcvalues::putU16(head, static_cast<uint16_t>(jumps[i].operand));
    }
    bcvalues::putU32(head, static_cast<uint32_t>(codeWordCount));
    for (int i = 0; i < codeWordCount; ++i) bcvalues::putU16(head, static_cast<uint16_t>(code[i]));
    bcvalues::putU32(head, static_cast<uint32_t>(YHeap::theHeap.size()));
    std::fwrite(head.data(), 1, head.size(), f);
    YHeap::theHeap.save(f);
    // A write that failed (a full disk) is a failed save too.
    bool failed = std::ferror(f) != 0;
    if (std::fclose(f) != 0) failed = true;
    return failed ? 0 : 1;
}

// The file is read whole and goes the way of a stream: one reader, one set
// of bounds, for both sources.
int YThread::load(const char* path, int swap) {
    if (!path) return 0;
    char why[96];
    std::FILE* f = bcthreads::openRegularFile(path, why, sizeof why);
    if (!f) {
        showRefusal(path, why[0] ? why : "it cannot be found");
        return 0;
    }
    long size = -1;
    if (std::fseek(f, 0, SEEK_END) == 0) size = std::ftell(f);
    if (size < 0 || size > kLargestFile || std::fseek(f, 0, SEEK_SET) != 0) {
        std::fclose(f);
        showRefusal(path, "it is too large to be a compiled script");
        return 0;
    }
    std::vector<unsigned char> bytes(static_cast<size_t>(size));
    size_t got = std::fread(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
    PXIStreamMemory stream(bytes.data(), got, path);
    return load(&stream, swap);
}

int YThread::load(PXIStream* source, int swap) {
    if (!source) return 0;
    source->getData(0);
    const char* what = source->getFilename();
    if (!what || !*what) what = bcthreads::fileName[0] ? bcthreads::fileName : "a stream";

    YHeap& heap = YHeap::theHeap;
    bcvalues::ValuesAccess::init(heap);
    // The code's indices mean this file's heap only: onto a heap that holds
    // more than the fixed variables they would name other variables.
    if (heap.size() != kFixedVariables) {
        char why[200];
        std::snprintf(why, sizeof why,
                      "its code needs a heap holding only SYSTEM, RECEIVER and RESULT, and the heap "
                      "already holds %d entries; start it before any other script",
                      heap.size());
        showRefusal(what, why);
        return 0;
    }

    LoadedScript s;
    Refusal refuse;
    const unsigned char* data = source->data;
    ByteReader in(data, data ? source->size : 0,
                  swap ? bcframe::ByteOrder::kBig : bcframe::ByteOrder::kLittle);
    if (!data || !readTables(in, s, refuse) || !readRecords(in, s, refuse) || !checkTables(s, refuse)) {
        showRefusal(what, data ? refuse.text() : "it is empty");
        return 0;
    }

    for (YVariable*& v : s.entries) {
        if (heap.append(v) < 0) {
            // Only a failed allocation gets here: take back what went in.
            bcvalues::ValuesAccess::reset(heap);
            showRefusal(what, "its heap could not be made");
            return 0;
        }
        v = nullptr;
    }
    std::free(jumps);
    std::free(code);
    jumpCount = static_cast<int32_t>(s.jumps.size()) - 1;
    codeWordCount = static_cast<int32_t>(s.code.size());
    jumps = static_cast<YStatement*>(std::calloc(s.jumps.size(), sizeof(YStatement)));
    std::memcpy(jumps, s.jumps.data(), sizeof(YStatement) * s.jumps.size());
    code = static_cast<int16_t*>(std::malloc(sizeof(int16_t) * (s.code.empty() ? 1 : s.code.size())));
    if (!s.code.empty()) std::memcpy(code, s.code.data(), sizeof(int16_t) * s.code.size());
    bcthreads::codeCount = s.heapSize;
    pc = 0;
    return 1;
}
