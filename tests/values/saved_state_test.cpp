// The saved record of a heap entry: its exact bytes for each kind of term,
// the trip through a file and through memory in both byte orders, and the
// refusal of records that are cut short or impossible.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "record_bytes.h"
#include "values/saved_state.h"
#include "values_fixture.h"

namespace valuestest {
namespace {

using savedtest::Bytes;

class SavedRecord : public ValuesTest {
protected:
    void TearDown() override {
        for (YVariable* v : made) bcvalues::ValuesAccess::destroy(v);
        ValuesTest::TearDown();
    }

    static std::string recordOf(const YVariable* v) {
        std::FILE* f = std::tmpfile();
        v->write(f);
        std::string bytes = savedtest::fileBytes(f);
        std::fclose(f);
        return bytes;
    }

    YVariable* fresh() {
        made.push_back(bcvalues::ValuesAccess::makeTemporary());
        return made.back();
    }

    // Reads a record from memory; null when refused. `used` gets the bytes
    // taken.
    YVariable* fromMemory(const std::string& bytes, int swap = 0, size_t* used = nullptr) {
        YVariable* v = fresh();
        bcframe::ByteReader in(bytes.data(), bytes.size(),
                               swap ? bcframe::ByteOrder::kBig : bcframe::ByteOrder::kLittle);
        if (!bcvalues::readRecord(*v, in)) {
            EXPECT_EQ(in.position(), 0u) << "a refused read moved the cursor";
            return nullptr;
        }
        if (used) *used = in.position();
        return v;
    }

    YVariable* fromFile(const std::string& bytes, int swap = 0) {
        std::FILE* f = std::tmpfile();
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::rewind(f);
        YVariable* v = fresh();
        int ok = v->read(f, swap);
        std::fclose(f);
        return ok ? v : nullptr;
    }

    static void expectSameEntry(const YVariable* a, const YVariable* b, const std::string& what) {
        SCOPED_TRACE(what);
        EXPECT_EQ(a->type, b->type);
        EXPECT_EQ(a->state, b->state);
        if (a->state == YVS_Long) {
            EXPECT_EQ(a->number.l, b->number.l);
        }
        if (a->state == YVS_Double) {
            EXPECT_EQ(a->number.d, b->number.d);
        }
        EXPECT_EQ(a->size_, b->size_);
        EXPECT_EQ(a->alias, b->alias);
        EXPECT_EQ(a->firstClone, b->firstClone);
        EXPECT_EQ(a->cloneCount, b->cloneCount);
        EXPECT_EQ(a->handled, 0);
        EXPECT_EQ(std::string(a->name ? a->name : "<null>"), std::string(b->name ? b->name : "<null>"));
        EXPECT_EQ(std::string(a->text ? a->text : "<null>"), std::string(b->text ? b->text : "<null>"));
        ASSERT_EQ(a->terms == nullptr, b->terms == nullptr);
        int parts = a->terms ? (a->type == YVT_Slice ? 3 : a->size_) : 0;
        for (int i = 0; i < parts; ++i) EXPECT_EQ(a->terms[i], b->terms[i]) << "part " << i;
    }

    std::vector<YVariable*> made;
};

TEST_F(SavedRecord, APlainVariableANumberLiteralAndASliceHaveTheirExactBytes) {
    EXPECT_EQ(recordOf(var("count")), Bytes().head(0, 0).links(0, 0, -1, 0).field("count").none().none().s);
    // A number literal has its number block and no text.
    EXPECT_EQ(recordOf(var("2")), Bytes().head(1, 3).i32(2).links(0, 0, 1, 0).field("2").none().none().s);
    // A slice of two parts stores three slots.
    YVariable* s = var("a|b");
    int a = heap().index("a", 1), b = heap().index("b", 1);
    EXPECT_EQ(recordOf(s),
              Bytes().head(3, 0).links(0, 0, 1, 0).field("a|b").none().i32(3).i16(a).i16(b).i16(0xFFFF).s);
}

TEST_F(SavedRecord, AnExpressionKeepsItsCodeAndTerminals) {
    YVariable* e = word("a+b*2");
    ASSERT_EQ(e->type, YVT_Expression);
    ASSERT_EQ(e->size_, 3);
    int a = heap().index("a", 1), b = heap().index("b", 1), two = heap().index("2", 1);
    Bytes want;
    want.head(4, 0).links(0, 0, 3, 0).field("a+b*2").field(e->text).i32(3);
    for (int i = 0; i < 3; ++i) want.i16(e->terms[i]);
    EXPECT_EQ(recordOf(e), want.s);
    // The terminals are the three terms, whatever order the code takes them in.
    std::vector<int> parts(e->terms, e->terms + 3);
    std::sort(parts.begin(), parts.end());
    EXPECT_EQ(parts, (std::vector<int>{a, b, two}));
}

TEST_F(SavedRecord, AnObjectDoesNotSurviveTheFile) {
    YVariable* v = var("ball");
    v->set(new Probe(1));
    std::string bytes = recordOf(v);
    // State 1 and no number block: the pointer is not written.
    std::string want = Bytes().head(0, 1).links(0, 0, 1, 0).field("ball").field("\xA5").none().s;
    EXPECT_EQ(bytes, want);

    YVariable* back = fromMemory(bytes);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->state, YVS_None);
    EXPECT_EQ(back->number.object, nullptr);
    EXPECT_EQ(back->alias, 0);
    EXPECT_STREQ(back->text, "\xA5");
    EXPECT_EQ(read(back), "ball");
    EXPECT_EQ(Probe::alive, 1);
}

TEST_F(SavedRecord, EveryKindComesBackThroughAFileAndThroughMemory) {
    var("word", "hello there");
    var("n", "42");
    var("x")->set(2.5);
    var("a.1");
    var("a.2");
    var("a");  // the base of two clones made before it
    var("a.i");
    var("s|2|3");
    word("(n+1)*x");
    var("f")->alias = -1;
    var("f")->firstClone = heap().index("n", 1);
    for (int i = 3; i < heap().size(); ++i) {
        const YVariable* v = heap()[i];
        std::string bytes = recordOf(v);
        size_t used = 0;
        const YVariable* m = fromMemory(bytes, 0, &used);
        ASSERT_NE(m, nullptr) << v->name;
        EXPECT_EQ(used, bytes.size());
        expectSameEntry(m, v, std::string("memory: ") + v->name);
        const YVariable* f = fromFile(bytes);
        ASSERT_NE(f, nullptr) << v->name;
        expectSameEntry(f, v, std::string("file: ") + v->name);
    }
    const YVariable* base = heap()[heap().index("a", 1)];
    EXPECT_EQ(base->cloneCount, 2);
    EXPECT_NE(base->firstClone, 0);
}

TEST_F(SavedRecord, ADoubleComesBackAsItsFifteenDigitText) {
    YVariable* tenth = var("tenth");
    tenth->set(0.1);
    YVariable* back = fromMemory(recordOf(tenth));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->state, YVS_Double);
    EXPECT_EQ(back->number.d, std::strtod("0.1", nullptr));

    // 0.1 + 0.2 needs 17 digits; "%.15g" prints 0.3, and that is what returns.
    YVariable* sum = var("sum");
    sum->set(0.1 + 0.2);
    back = fromMemory(recordOf(sum));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->number.d, 0.3);
    EXPECT_NE(back->number.d, 0.1 + 0.2);
}

TEST_F(SavedRecord, TheOtherByteOrderReadsTheSame) {
    // A plain variable holding 16909060 (0x01020304), and an expression with
    // two terminals, written big-endian by hand.
    Bytes be;
    auto i32be = [&](int64_t v) {
        for (int shift = 24; shift >= 0; shift -= 8) be.u8(static_cast<int>(v >> shift));
    };
    i32be(0), i32be(3), i32be(0x01020304), i32be(2), i32be(7), i32be(8), i32be(0);
    i32be(5), be.text("count"), i32be(8), be.text("16909060"), i32be(-1);
    i32be(4), i32be(4), be.u8(0).u8(4).text("1.25");
    i32be(0), i32be(0), i32be(2), i32be(0);
    i32be(3), be.text("p+q"), i32be(4), be.text("s+tt"), i32be(2), be.u8(0).u8(3).u8(0x01).u8(0x02);

    size_t used = 0;
    YVariable* v = fromMemory(be.s, 1, &used);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->number.l, 0x01020304);
    EXPECT_EQ(v->cloneCount, 2);
    EXPECT_EQ(v->firstClone, 7);
    EXPECT_EQ(v->size_, 8);
    EXPECT_STREQ(v->name, "count");
    EXPECT_STREQ(v->text, "16909060");

    YVariable* e = fromMemory(be.s.substr(used), 1);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->type, YVT_Expression);
    EXPECT_EQ(e->state, YVS_Double);
    EXPECT_EQ(e->number.d, 1.25);
    EXPECT_STREQ(e->text, "s+tt");
    EXPECT_EQ(e->terms[0], 3);
    EXPECT_EQ(e->terms[1], 0x0102);
}

TEST_F(SavedRecord, EveryCutOfARecordIsRefused) {
    YVariable* amount = var("amount");
    amount->set(12.75);
    for (const std::string& record : {recordOf(word("amount*3+1")), recordOf(amount), recordOf(var("t|2|3"))}) {
        for (size_t len = 0; len < record.size(); ++len) {
            EXPECT_EQ(fromMemory(record.substr(0, len)), nullptr) << "cut at " << len;
            EXPECT_EQ(fromFile(record.substr(0, len)), nullptr) << "file cut at " << len;
        }
        EXPECT_NE(fromMemory(record), nullptr);
        EXPECT_NE(fromFile(record), nullptr);
    }
}

TEST_F(SavedRecord, ImpossibleRecordsAreRefused) {
    auto plain = [](int type, int state) { return Bytes().head(type, state); };
    const struct {
        const char* why;
        std::string bytes;
    } cases[] = {
        {"unclassified type", plain(5, 0).links(0, 0, -1, 0).field("x").none().none().s},
        {"unknown state", plain(0, 9).links(0, 0, -1, 0).field("x").none().none().s},
        {"number text longer than its buffer",
         plain(0, 4).i16(40).text(std::string(40, '1')).links(0, 0, -1, 0).field("x").none().none().s},
        {"negative number length", plain(0, 4).i16(-2).links(0, 0, -1, 0).field("x").none().none().s},
        {"name past 1023 bytes", plain(0, 0).links(0, 0, -1, 0).field(std::string(1024, 'n')).none().none().s},
        {"text length below -1", plain(0, 2).links(0, 0, 3, 0).field("x").i32(-7).none().s},
        {"slice with two slots", plain(3, 0).links(0, 0, 1, 0).field("a|b").none().i32(2).i16(3).i16(4).s},
        {"part count other than size",
         plain(4, 0).links(0, 0, 2, 0).field("a+b").field("s+tt").i32(3).i16(3).i16(4).i16(5).s},
        {"absurd part count", [] {
             Bytes b = Bytes().head(2, 0).links(0, 0, 70000, 0).field("a.i").none().i32(70000);
             for (int i = 0; i < 70000; ++i) b.i16(0);
             return b.s;
         }()},
        // Found by the fuzzer: a size of 1650536191 made every read loop that long.
        {"computed name without its parts", plain(2, 0).links(0, 0, 1650536191, 0).field("b").none().none().s},
        {"literal longer than its name", plain(1, 2).links(0, 0, 9, 0).field("\"q\"").none().none().s},
        {"literal without a name", plain(1, 2).links(0, 0, 0, 0).none().none().none().s},
        {"unknown alias", plain(0, 0).links(0, 0, -1, 4).field("x").none().none().s},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(fromMemory(c.bytes), nullptr) << c.why;
        EXPECT_EQ(fromFile(c.bytes), nullptr) << c.why;
    }
    // The same frame with sound fields is taken: the cases fail for their
    // one fault.
    EXPECT_NE(fromMemory(plain(0, 0).links(0, 0, -1, 0).field("x").none().none().s), nullptr);
    EXPECT_NE(fromMemory(plain(1, 2).links(0, 0, 3, 0).field("\"q\"").none().none().s), nullptr);
}

TEST_F(SavedRecord, ATextCutAtANulTakesItsSizeWithIt) {
    // Writing stops a text at its first NUL; the size said 10.
    std::string bytes = Bytes().head(0, 2).links(0, 0, 10, 0).field("t").field("abc").none().s;
    YVariable* v = fromMemory(bytes);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->size_, 3);
    int len = 0;
    EXPECT_EQ(std::string(v->value(len)), "abc");
    EXPECT_EQ(len, 3);
}

TEST_F(SavedRecord, TheUnboundedFormStopsBehindItsRecord) {
    std::string bytes = recordOf(var("k", "7")) + "trailing bytes";
    YVariable* v = fresh();
    const auto* start = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* p = start;
    ASSERT_EQ(v->read(p, 0), 1);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p)), "trailing bytes");
    EXPECT_EQ(readLong(v), 7);
}

}  // namespace
}  // namespace valuestest
