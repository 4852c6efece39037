// Compiled-script files: the exact bytes of a saved script, loading from
// files and streams in both byte orders, running to the same "debug.txt" as
// the source, and the refusal of every cut, damaged or misplaced file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../values/record_bytes.h"
#include "script_fixture.h"

namespace {

using Lines = std::vector<std::string>;
using savedtest::Bytes;

// A bit of everything the compiler makes: a list initialiser and its
// clones, a procedure, a counted loop, compound names, slices, expressions,
// if and else.
const char kRichScript[] =
    "x=[red green blue\n"
    "total=0\n"
    "for i 1 3\n[\ncall add i\nsay i x.i x.i|1|2\n]\n"
    "if total=6\nsay \"six\" total*2\nelse\nsay \"not six\"\n"
    "say total|1 'end'\n"
    "exit\n"
    "procedure add v\n[\ntotal=total+v\n]\n";
const Lines kRichSaid{"1 red re", "2 green gr", "3 blue bl", "six 12", "6 end"};

const char kExample[] = "x=1\nsay x \"q\"\nfor i 1 2\nsay i\n";

class CompiledFile : public ScriptTest {
protected:
    static std::string contents(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    static void writeBytes(const std::string& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
    }

    // Compiles the text, saves it, and lets the thread go (which empties
    // the heap): the file's bytes.
    std::string compiledBytes(const std::string& text) {
        YThread& t = compile(text);
        EXPECT_TRUE(t);
        EXPECT_EQ(t.save("saved.bsc"), 1);
        threads.clear();
        return contents("saved.bsc");
    }

    YThread& loadFile(const std::string& path) {
        threads.push_back(std::make_unique<YThread>(path.c_str()));
        return *threads.back();
    }
    YThread& loadBytes(const std::string& bytes) {
        PXIStreamMemory stream(bytes.data(), bytes.size());
        threads.push_back(std::make_unique<YThread>(&stream));
        return *threads.back();
    }

    Lines runLoaded(YThread& t) {
        std::filesystem::remove("debug.txt");
        EXPECT_TRUE(t);
        t.go();
        app.run(200);
        return said();
    }

    // A refused load: the thread is invalid, one message says why, and the
    // heap holds only the fixed variables.
    void expectRefused(const std::string& bytes, const std::string& reason) {
        messages.clear();
        YThread& t = loadBytes(bytes);
        EXPECT_FALSE(t) << reason;
        EXPECT_EQ(t.jumps, nullptr);
        ASSERT_EQ(messages.size(), 1u) << reason;
        EXPECT_NE(messages[0].find("compiled script refused"), std::string::npos) << messages[0];
        EXPECT_NE(messages[0].find(reason), std::string::npos) << messages[0];
        EXPECT_EQ(YHeap::theHeap.size(), 3) << reason;
        threads.clear();
    }

    // What a thread and the heap hold, field by field.
    static std::vector<std::string> snapshot(const YThread& t) {
        std::vector<std::string> out;
        for (int i = 0; i <= t.jumpCount; ++i)
            out.push_back("statement " + std::to_string(t.jumps[i].command) + " " +
                          std::to_string(t.jumps[i].operand));
        for (int i = 0; i < t.codeWordCount; ++i) out.push_back("word " + std::to_string(t.code[i]));
        for (int i = 0; i < YHeap::theHeap.size(); ++i) {
            const YVariable* v = YHeap::theHeap[i];
            std::string e = std::to_string(v->type) + "/" + std::to_string(v->state) + "/" +
                            std::to_string(v->size_) + "/" + std::to_string(v->alias) + "/" +
                            std::to_string(v->firstClone) + "/" + std::to_string(v->cloneCount) + "/" +
                            (v->name ? v->name : "<null>") + "/" + (v->text ? v->text : "<null>");
            if (v->state == YVS_Long) e += "/" + std::to_string(v->number.l);
            if (v->state == YVS_Double) e += "/" + std::to_string(v->number.d);
            int parts = v->terms ? (v->type == YVT_Slice ? 3 : v->size_) : 0;
            for (int k = 0; k < parts; ++k) e += " " + std::to_string(v->terms[k]);
            out.push_back(e);
        }
        return out;
    }

    // The same file with every number big-endian and the format byte 1,
    // found by walking the layout.
    static std::string toBigEndian(const std::string& le) {
        std::string be = le;
        be[0] = 1;
        size_t at = 1;
        auto value = [&](size_t n) {
            uint32_t v = 0;
            for (size_t k = 0; k < n; ++k) v |= uint32_t{static_cast<unsigned char>(le[at + k])} << (8 * k);
            std::reverse(be.begin() + static_cast<long>(at), be.begin() + static_cast<long>(at + n));
            at += n;
            return v;
        };
        uint32_t n = value(4);
        for (uint32_t i = 0; i < n; ++i) {
            ++at;
            value(2);
        }
        uint32_t m = value(4);
        for (uint32_t i = 0; i < m; ++i) value(2);
        uint32_t v = value(4);
        for (uint32_t r = 3; r < v; ++r) {
            value(4);
            uint32_t state = value(4);
            if (state == YVS_Long) value(4);
            if (state == YVS_Double) at += value(2);
            for (int k = 0; k < 4; ++k) value(4);
            for (int k = 0; k < 2; ++k) {
                int32_t len = static_cast<int32_t>(value(4));
                if (len > 0) at += static_cast<size_t>(len);
            }
            int32_t parts = static_cast<int32_t>(value(4));
            for (int32_t k = 0; k < parts; ++k) value(2);
        }
        EXPECT_EQ(at, le.size());
        return be;
    }
};

TEST_F(CompiledFile, TheExampleIsWrittenByteForByte) {
    Bytes want;
    want.u8(2).i32(7);
    const int statements[][2] = {{18, 3}, {14, 6}, {8, 9}, {9, 9}, {10, 7}, {14, 13}, {11, 3}};
    for (const auto& s : statements) want.u8(s[0]).i16(s[1]);
    want.i32(15);
    for (int w : {0, 1, 2, 3, 4, -1, 3, 5, -1, 6, 4, 7, -1, 6, -1}) want.i16(w);
    want.i32(8);
    auto variable = [&](const char* name) { want.head(0, 0).links(0, 0, -1, 0).field(name).none().none(); };
    auto number = [&](int n) {
        want.head(1, 3).i32(n).links(0, 0, 1, 0).field(std::to_string(n)).none().none();
    };
    variable("x");
    number(1);
    want.head(1, 2).links(0, 0, 3, 0).field("\"q\"").none().none();
    variable("i");
    number(2);

    std::string got = compiledBytes(kExample);
    EXPECT_EQ(got.size(), want.s.size());
    EXPECT_EQ(got, want.s);
}

TEST_F(CompiledFile, AScriptWithoutVariablesSavesNoRecords) {
    std::string want = Bytes().u8(2).i32(0).i32(3).i16(0).i16(1).i16(2).i32(3).s;
    EXPECT_EQ(compiledBytes("; nothing but a comment\n"), want);

    // Such a file is a table of only the end entry: the thread rests at once.
    YThread& t = loadBytes(want);
    ASSERT_TRUE(t);
    EXPECT_EQ(t.jumpCount, 0);
    EXPECT_EQ(t.jumps[0].command, ycEnd);
    EXPECT_TRUE(runLoaded(t).empty());
    EXPECT_EQ(t.pc, 0);
}

TEST_F(CompiledFile, ASavedScriptLoadsToTheSameTablesAndHeap) {
    YThread& source = compile(kRichScript);
    ASSERT_TRUE(source);
    std::vector<std::string> before = snapshot(source);
    ASSERT_EQ(source.save("rich.bsc"), 1);
    threads.clear();
    ASSERT_EQ(YHeap::theHeap.size(), 0);

    YThread& file = loadFile("rich.bsc");
    ASSERT_TRUE(file);
    EXPECT_EQ(snapshot(file), before);
    EXPECT_EQ(file.pc, 0);
    threads.clear();

    YThread& stream = loadBytes(contents("rich.bsc"));
    ASSERT_TRUE(stream);
    EXPECT_EQ(snapshot(stream), before);
}

// The source's own lines, from the little-endian file and from the
// big-endian one.
TEST_F(CompiledFile, TheBigEndianFormRunsTheSame) {
    run(kRichScript);
    ASSERT_EQ(said(), kRichSaid);
    threads.clear();
    std::string little = compiledBytes(kRichScript);
    std::string big = toBigEndian(little);
    ASSERT_NE(big, little);
    writeBytes("rich.big", big);

    YThread& t = loadFile("rich.big");
    ASSERT_TRUE(t) << (messages.empty() ? "" : messages[0]);
    std::vector<std::string> fromBig = snapshot(t);
    EXPECT_EQ(runLoaded(t), kRichSaid);
    threads.clear();
    YThread& fromLittle = loadBytes(little);
    EXPECT_EQ(snapshot(fromLittle), fromBig);
    EXPECT_EQ(runLoaded(fromLittle), kRichSaid);
}

TEST_F(CompiledFile, VariablesKeepTheirValuesWhileTheScriptStartsAgain) {
    YThread& t = run("say count\ncount=5\nx=[a b\nwait\nsay \"not reached\"\n");
    EXPECT_EQ(said(), Lines{"count"});
    EXPECT_EQ(t.pc, 3);
    ASSERT_EQ(t.save("mid.bsc"), 1);
    threads.clear();

    YThread& loaded = loadFile("mid.bsc");
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded.pc, 0);
    EXPECT_EQ(valueOf("count"), "5");
    EXPECT_EQ(valueOf("x.2"), "b");
    EXPECT_EQ(runLoaded(loaded), Lines{"5"});
}

TEST_F(CompiledFile, EveryCutOfAFileIsRefused) {
    std::string whole = compiledBytes(kRichScript);
    ASSERT_GT(whole.size(), 200u);
    // From one byte (the format byte makes it a compiled script) to all but
    // the last.
    for (size_t len = 1; len < whole.size(); ++len) {
        SCOPED_TRACE("cut at " + std::to_string(len));
        expectRefused(whole.substr(0, len), len < 5 ? "statement count" : "");
    }
    // The same through a file on disk, for a few lengths in each part.
    for (size_t len : {size_t{3}, size_t{40}, whole.size() / 2, whole.size() - 1}) {
        writeBytes("cut.bsc", whole.substr(0, len));
        messages.clear();
        EXPECT_FALSE(loadFile("cut.bsc"));
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_NE(messages[0].find("cut.bsc: compiled script refused"), std::string::npos) << messages[0];
        threads.clear();
    }
    EXPECT_TRUE(loadBytes(whole));
}

TEST_F(CompiledFile, DamagedTablesAreRefusedWithTheirReason) {
    const std::string good = compiledBytes(kExample);
    // Offsets in the example: statements from 5 (3 bytes each), M at 26,
    // code words from 30, V at 60, records from 64.
    auto patch = [&](size_t at, std::initializer_list<int> bytes) {
        std::string s = good;
        for (int b : bytes) s[at++] = static_cast<char>(b);
        return s;
    };
    expectRefused(patch(36, {80, 0}), "code word 3 is 80");
    expectRefused(patch(36, {0xFE, 0xFF}), "code word 3 is -2");
    expectRefused(patch(5 + 4 * 3 + 1, {9, 0}), "statement 4 jumps to 9");
    expectRefused(patch(5 + 6 * 3 + 1, {0xFF, 0xFF}), "statement 6 jumps to -1");
    expectRefused(patch(5, {16}), "statement 0 has the unknown command 16");
    expectRefused(patch(5 + 3 + 1, {15, 0}), "statement 1 reads operands at code word 15");
    expectRefused(patch(58, {3, 0}), "statement 0 reads operands");  // the lists no longer end
    expectRefused(good + '\0', "it goes on for 1 bytes behind its last heap record");
    expectRefused(patch(60, {2, 0, 0, 0}), "heap size 2");
    expectRefused(patch(60, {0xFF, 0xFF, 0xFF, 0xFF}), "heap size 4294967295");
    expectRefused(patch(60, {0, 0x80, 0, 0}), "heap records");
    expectRefused(patch(1, {0xFF, 0xFF, 0xFF, 0x7F}), "ends inside its 2147483647 statements");
    expectRefused(patch(26, {0xFF, 0xFF, 0xFF, 0xFF}), "ends inside its 4294967295 code words");
    expectRefused(patch(64, {5}), "record of heap entry 3");
    // The untouched file loads.
    EXPECT_TRUE(loadBytes(good));
}

TEST_F(CompiledFile, RecordsThatCouldReadThemselvesAreRefused) {
    // The example with one more record: V grows to 9, entry 8 is added.
    std::string good = compiledBytes(kExample);
    auto withEntry = [&](const std::string& record, int extra = 1) {
        std::string s = good;
        Bytes v;
        v.i32(8 + extra);
        s.replace(60, 4, v.s);
        return s + record;
    };
    auto expression = [](int part) {
        return Bytes().head(4, 0).links(0, 0, 1, 0).field("e").field("t").i32(1).i16(part).s;
    };
    auto forwarding = [](int target) { return Bytes().head(0, 0).links(0, target, -1, -1).field("f").none().none().s; };

    EXPECT_TRUE(loadBytes(withEntry(expression(7))));
    threads.clear();
    expectRefused(withEntry(expression(8)), "heap entry 8 has entry 8 as a part, not below it");
    expectRefused(withEntry(expression(300)), "heap entry 8 has entry 300 as a part");
    expectRefused(withEntry(forwarding(5)), "heap entry 8 forwards to entry 5, which is not a variable");
    expectRefused(withEntry(forwarding(9)), "heap entry 8 links to entry 9, outside the heap");
    EXPECT_TRUE(loadBytes(withEntry(forwarding(6))));
    threads.clear();

    // A chain of slices, each the base of the next, deeper than any script
    // makes.
    std::string chain;
    for (int k = 0; k < 20; ++k)
        chain += Bytes().head(3, 0).links(0, 0, 1, 0).field("s" + std::to_string(k)).none().i32(3)
                     .i16(k == 0 ? 3 : 8 + k - 1).i16(0xFFFF).i16(0xFFFF).s;
    expectRefused(withEntry(chain, 20), "nests its parts more than 16 deep");
}

TEST_F(CompiledFile, ALoadOntoAHeapInUseIsRefused) {
    std::string bytes = compiledBytes(kExample);
    YThread& first = compile("say 1\n");
    ASSERT_TRUE(first);
    int inUse = YHeap::theHeap.size();
    ASSERT_GT(inUse, 3);

    messages.clear();
    YThread& second = loadBytes(bytes);
    EXPECT_FALSE(second);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("only SYSTEM, RECEIVER and RESULT"), std::string::npos) << messages[0];
    EXPECT_EQ(YHeap::theHeap.size(), inUse);
    EXPECT_TRUE(first);
    threads.clear();

    // The other way round works: the compiled script first, then a thread
    // compiled from source, which finds the loaded terms by name.
    YThread& loaded = loadBytes(bytes);
    ASSERT_TRUE(loaded);
    YThread& more = compile("say x i\n");
    ASSERT_TRUE(more);
    EXPECT_EQ(YHeap::theHeap.size(), 8);
    loaded.go();
    more.go();
    app.run(200);
    Lines lines = said();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "1 q"), lines.end());
}

TEST_F(CompiledFile, AThreadWithoutCodeSavesNothing) {
    YThread& broken = compile("say \"open\n");
    ASSERT_FALSE(broken);
    EXPECT_EQ(broken.save("none.bsc"), 0);
    EXPECT_FALSE(std::filesystem::exists("none.bsc"));

    YThread& fine = compile("say 1\n");
    EXPECT_EQ(fine.save("no-such-dir/out.bsc"), 0);
}

// Class modules come only from plain file names in the current folder: a
// class name that holds a path names no module, whichever way it arrives.
TEST_F(CompiledFile, AClassNameWithAPathLoadsNoModule) {
    namespace fs = std::filesystem;
    fs::create_directories("elsewhere");
    fs::create_directories("data.files");
    fs::copy_file(MARKER_PLG, "elsewhere/Marker.plg");
    auto loadedOnce = [] { return fs::remove("marker-loaded"); };

    // A compiled script can hold any name: compiled from a placeholder of
    // the same length, then the absolute path is put in its place.
    const std::string path = fs::absolute("elsewhere/Marker.plg").string();
    const std::string placeholder(path.size(), 'M');
    std::string bytes = compiledBytes("x=" + placeholder + "\nexit\n");
    bytes.replace(bytes.find(placeholder), placeholder.size(), path);
    writeBytes("absolute.bsc", bytes);
    runLoaded(loadFile("absolute.bsc"));
    EXPECT_FALSE(loadedOnce()) << "the class name of a compiled script";
    threads.clear();

    run("relay \"absolute.bsc\"\n", 50);
    EXPECT_FALSE(loadedOnce()) << "a compiled script reached by relay";
    threads.clear();

    run("f=\"files/../elsewhere/Marker.plg\"\nx=data.f\nexit\n", 20);
    EXPECT_FALSE(loadedOnce()) << "a compound name through a folder with a dot";

    // The module itself loads, by its plain name in this folder.
    fs::copy_file(MARKER_PLG, "Marker.plg");
    EXPECT_TRUE(PXScriptableObject::isXtor("Marker"));
    EXPECT_TRUE(loadedOnce());
    PXSR::release("Marker");
}

}  // namespace
