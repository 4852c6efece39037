#include "baublecore/variable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "baublecore/thread.h"
#include "pxbase/stream.h"
#include "values_fixture.h"

namespace valuestest {
namespace {

using TermKind = ValuesTest;
using TermText = ValuesTest;
using Numbers = ValuesTest;
using Slices = ValuesTest;
using CompoundNames = ValuesTest;
using Forwarding = ValuesTest;

TEST_F(TermKind, DecidedByHowTheTermIsWritten) {
    struct Case {
        const char* text;
        YVT type;
        YVS state;
        int size;
    };
    const Case cases[] = {
        {"12", YVT_Literal, YVS_Long, 2},      {"1.5", YVT_Literal, YVS_Double, 3},
        {".5", YVT_Literal, YVS_Double, 2},    {"+3", YVT_Literal, YVS_Long, 2},
        {"'abc'", YVT_Literal, YVS_String, 5}, {"\"q\"", YVT_Literal, YVS_String, 3},
        {"?", YVT_Literal, YVS_String, 1},     {"name", YVT_Plain, YVS_None, -1},
        {"a.1.2", YVT_Plain, YVS_None, -1},    {"a.i", YVT_Compound, YVS_None, 1},
        {"a.1.i", YVT_Compound, YVS_None, 2},  {"a|b", YVT_Slice, YVS_None, 1},
        {"a|b|c", YVT_Slice, YVS_None, 2},     {"a||c", YVT_Slice, YVS_None, 2},
        {"'x|y'", YVT_Slice, YVS_None, 1},
        // Ten characters or fewer in the range of a long make a long.
        {"1234567890", YVT_Literal, YVS_Long, 10},  {"12345678901", YVT_Literal, YVS_Double, 11},
        {"2000000001", YVT_Literal, YVS_Double, 10}, {"-2000000000", YVT_Literal, YVS_Double, 11},
        {"2.0", YVT_Literal, YVS_Long, 3},          {"2.5", YVT_Literal, YVS_Double, 3},
        {"007", YVT_Literal, YVS_Long, 3},
    };
    for (const Case& c : cases) {
        const YVariable* v = var(c.text);
        ASSERT_NE(v, nullptr) << c.text;
        EXPECT_EQ(v->type, c.type) << c.text;
        EXPECT_EQ(v->state, c.state) << c.text;
        EXPECT_EQ(v->size_, c.size) << c.text;
    }
}

TEST_F(TermKind, PartsArePiledBeforeTheWhole) {
    int whole = pile("a.1.i");
    const YVariable* v = heap()[whole];
    ASSERT_EQ(v->type, YVT_Compound);
    EXPECT_EQ(nameAt(v->terms[0]), "1");
    EXPECT_EQ(nameAt(v->terms[1]), "i");
    // Last subscript first.
    EXPECT_LT(v->terms[1], v->terms[0]);
    EXPECT_LT(v->terms[0], whole);

    const YVariable* s = var("t|2|5");
    EXPECT_EQ(nameAt(s->terms[0]), "t");
    EXPECT_EQ(nameAt(s->terms[1]), "2");
    EXPECT_EQ(nameAt(s->terms[2]), "5");
    const YVariable* tail = var("t||5");
    EXPECT_EQ(tail->terms[1], 0xFFFF);
    EXPECT_EQ(nameAt(tail->terms[2]), "5");
}

TEST_F(TermKind, TooManySubscriptsStayAPlainName) {
    std::string name = "a";
    for (int i = 0; i < 33; ++i) name += ".i";
    const YVariable* v = var(name.c_str());
    EXPECT_EQ(v->type, YVT_Plain);
    EXPECT_EQ(read(v), name);

    std::string most = "b";
    for (int i = 0; i < 32; ++i) most += ".j";
    EXPECT_EQ(var(most.c_str())->type, YVT_Compound);
}

TEST_F(TermText, UnassignedTermReadsAsItsNameAndQuotesAreCutWhateverTheLastByte) {
    var("y")->set("5", -1);  // y.1 is a variable of its own, not a part of y
    const struct {
        const char* term;
        const char* want;
    } cases[] = {{"x", "x"},           {"y.1", "y.1"}, {"'abc'", "abc"}, {"\"it's\"", "it's"},
                 {"'open", "ope"},     {"'", ""},      {"007", "007"}};  // 'open: the last byte goes, quote or not
    for (const auto& c : cases) {
        EXPECT_EQ(read(var(c.term)), c.want) << c.term;
        int len = -1;
        EXPECT_STREQ(var(c.term)->value(len), c.want) << c.term;
        EXPECT_EQ(len, static_cast<int>(std::strlen(c.want))) << c.term;
    }
    EXPECT_EQ(var("y.1")->type, YVT_Plain);
    EXPECT_EQ(read(var("y")), "5");
    EXPECT_EQ(readLong(var("x")), 0);
    EXPECT_FALSE(static_cast<int>(*var("x")));
    EXPECT_EQ(readLong(var("007")), 7);
    // Two buffered results can be held at once.
    int la = 0, lb = 0;
    const char* a = var("'first'")->value(la);
    const char* b = var("'second'")->value(lb);
    EXPECT_STREQ(a, "first");
    EXPECT_STREQ(b, "second");
}

TEST_F(TermText, QuotedDigitsAreTextUntilAssigned) {
    const YVariable* lit = var("'12'");
    EXPECT_EQ(read(lit), "12");
    EXPECT_EQ(readLong(lit), 0);
    double d = -1;
    lit->value(&d);
    EXPECT_EQ(d, 0.0);

    YVariable* v = var("v");
    v->set(heap()[pile("'12'")]);
    EXPECT_EQ(v->state, YVS_Long);
    EXPECT_EQ(readLong(v), 12);
    EXPECT_EQ(read(v), "12");
}

TEST_F(TermText, RandomTermGivesOneDigitPerRead) {
    const YVariable* r = var("?x");
    char buffer[1024];
    bool seen[10] = {};
    for (int i = 0; i < 400; ++i) {
        ASSERT_EQ(r->value(buffer), -1);
        ASSERT_EQ(std::strlen(buffer), 1u);
        ASSERT_TRUE(buffer[0] >= '0' && buffer[0] <= '9');
        seen[buffer[0] - '0'] = true;
    }
    int kinds = 0;
    for (bool s : seen) kinds += s;
    EXPECT_GT(kinds, 5);  // a new digit each time, not one fixed answer
}

TEST_F(TermText, AssignedTextDecidesTheState) {
    YVariable* v = var("v");
    v->set("5 apples", -1);
    EXPECT_EQ(v->state, YVS_Long);
    EXPECT_EQ(readLong(v), 5);
    EXPECT_EQ(read(v), "5 apples");
    v->set("-", -1);
    EXPECT_EQ(readLong(v), 0);
    EXPECT_NE(v->state, YVS_String);
    v->set(".x", -1);
    EXPECT_EQ(readLong(v), 0);
    EXPECT_NE(v->state, YVS_String);
    v->set("", -1);
    EXPECT_EQ(v->state, YVS_String);
    EXPECT_EQ(read(v), "");
    v->set("abcdef", 3);
    EXPECT_EQ(read(v), "abc");
    EXPECT_EQ(v->size(), 3);
    int len = 0;
    EXPECT_EQ(v->value(len), v->text) << "a plain read hands out the stored text, not a copy";
    EXPECT_EQ(len, 3);
}

TEST_F(TermText, OverlongTextIsCutTo1023Bytes) {
    std::string big(5000, 'k');
    YVariable* v = var("v");
    v->set(big.c_str(), -1);
    EXPECT_EQ(v->size(), 1023);
    EXPECT_EQ(read(v), std::string(1023, 'k'));
    // A name is cut the same way, so reading it never overruns a buffer.
    const YVariable* longName = var(big.c_str());
    EXPECT_EQ(read(longName).size(), 1023u);
}

TEST_F(TermText, AssigningAVariableItsOwnTextIsSafe) {
    YVariable* v = var("v");
    v->set("hello world", -1);
    int len = 0;
    const char* own = v->value(len);
    v->set(own + 6, len - 6);
    EXPECT_EQ(read(v), "world");
    heap()[1]->firstClone = pile("v");  // RECEIVER forwarding to v
    v->value(len);
    heap()[1]->set(v->text, len);
    EXPECT_EQ(read(v), "world");
    heap()[1]->firstClone = 0;
}

TEST_F(TermText, InflictGivesTheCompiledTermThisText) {
    const char script[] = "\r\n";
    PXIStreamMemory stream(script, 2);
    YThread thread(&stream);  // a thread starts from a fresh heap
    YVariable* odd = var("(x)");
    ASSERT_EQ(odd->type, YVT_Plain);
    odd->set("hi", -1);
    bcvalues::ValuesAccess::inflict(odd, &thread);
    EXPECT_EQ(read(var("x")), "hi");

    var("y")->set("keep", -1);
    YVariable* other = var("(y)");
    other->set("new", -1);
    bcvalues::ValuesAccess::inflict(other, &thread);
    EXPECT_EQ(read(var("y")), "keep");  // a term with a value keeps it
}

TEST_F(Numbers, FormattedOnceAtAssignment) {
    YVariable* v = var("v");
    v->set(int32_t{-42});
    EXPECT_EQ(read(v), "-42");
    EXPECT_EQ(v->state, YVS_Long);
    v->set(0.1);
    EXPECT_EQ(read(v), "0.1");
    EXPECT_EQ(v->state, YVS_Double);
    v->set(1.0 / 3.0);
    EXPECT_EQ(read(v), "0.333333333333333");
    v->set(1e20);
    EXPECT_EQ(read(v), "1e+20");
    v->set(3.0);
    EXPECT_EQ(read(v), "3");
    v->set(long{2147483647});
    EXPECT_EQ(read(v), "2147483647");
    long back = 0;
    v->value(&back);
    EXPECT_EQ(back, 2147483647);
}

TEST_F(Numbers, DecimalTextIsRoundedToNearestWithTiesDown) {
    const struct {
        const char* text;
        int32_t want;
    } cases[] = {{"2.5", 2}, {"-2.5", -3}, {"2.6", 3},   {"-2.4", -2}, {"0.5", 0},
                 {"1e3", 1000}, {"0x10", 0}, {"+7", 7}, {"2e3x", 2000}};  // no hex
    YVariable* v = var("v");
    for (const auto& c : cases) {
        v->set(c.text, -1);
        EXPECT_EQ(readLong(v), c.want) << c.text;
    }
    double d = 0;
    v->set("1.5e", -1);  // an exponent without digits is not taken
    v->value(&d);
    EXPECT_EQ(d, 1.5);
}

TEST_F(Slices, StartLengthAndTail) {
    var("s")->set("abcdef", -1);
    var("n")->set("2", -1);
    // A compound part is read through the value buffers, one of which holds
    // the slice's own result when it is read by value(int&).
    var("j")->set("7", -1);
    var("x.7")->set("0003", -1);
    const struct {
        const char* term;
        const char* want;
    } cases[] = {
        {"s|2", "bcdef"},  {"s|0", "abcdef"},  {"s|-3", "abcdef"}, {"s|6", "f"},
        {"s|7", ""},       {"s|2|3", "bcd"},   {"s|5|10", "ef"},   {"s|0|2", "ab"},
        {"s|2|-1", ""},    {"s|9|1", ""},      {"s||2", "ef"},     {"s||10", "abcdef"},
        {"s||-4", ""},     {"s|n|n", "bc"},    {"'xyz'|2", "yz"},  {"s|1.6", "bcdef"},
        {"s|x.j", "cdef"}, {"s|2|x.j", "bcd"}, {"s||x.j", "def"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read(var(c.term)), c.want) << c.term;
        int len = 0;
        const char* text = var(c.term)->value(len);
        EXPECT_EQ(std::string(text, static_cast<size_t>(len)), c.want) << c.term << " by value(int&)";
    }
}

TEST_F(Slices, BaseIsReadWhenTheSliceIs) {
    const YVariable* s = var("t|2|2");
    var("t")->set("hello", -1);
    EXPECT_EQ(read(s), "el");
    var("t")->set("world", -1);
    EXPECT_EQ(read(s), "or");
    EXPECT_EQ(readLong(var("u|2")), 0);
    var("u")->set("x42", -1);
    EXPECT_EQ(readLong(var("u|2")), 42);
}

TEST_F(CompoundNames, SubscriptValuesNameTheVariable) {
    YVariable* c = var("a.i");
    YVariable* i = var("i");
    i->set(int32_t{3});
    char buffer[1024];
    int associate = c->value(buffer);
    EXPECT_EQ(nameAt(associate), "a.3");
    EXPECT_EQ(heap()[associate]->type, YVT_Plain);

    heap()[associate]->set("three", -1);
    EXPECT_EQ(read(c), "three");
    i->set("x", -1);
    EXPECT_EQ(nameAt(c->value(buffer)), "a.x");
    EXPECT_EQ(read(c), "a.x");

    int len = 0;
    EXPECT_STREQ(c->resolveName(len), "a.x");
    EXPECT_EQ(len, 3);
    EXPECT_EQ(var("plain")->resolveName(len), nullptr);

    i->set("x|y", -1);  // a computed name is not classified again
    associate = c->value(buffer);
    EXPECT_EQ(nameAt(associate), "a.x|y");
    EXPECT_EQ(heap()[associate]->type, YVT_Plain);
}

TEST_F(CompoundNames, EmptySubscriptAddsNothing) {
    int a = pile("a");
    var("b")->set("", -1);
    char buffer[1024];
    EXPECT_EQ(var("a.b")->value(buffer), a);
    var("j")->set("", -1);
    var("k")->set("2", -1);
    EXPECT_EQ(nameAt(var("m.j.k")->value(buffer)), "m.2");
}

TEST_F(CompoundNames, NameLongerThan127BytesIsRefused) {
    var("i")->set(std::string(200, 'z').c_str(), -1);
    YVariable* c = var("a.i");
    int count = heap().size();
    char buffer[1024];
    EXPECT_EQ(c->value(buffer), 0);
    EXPECT_STREQ(buffer, "a.i");
    int len = 5;
    EXPECT_EQ(c->resolveName(len), nullptr);
    EXPECT_EQ(heap().size(), count);  // nothing was made

    var("i")->set(std::string(125, 'z').c_str(), -1);  // 127 bytes: fits
    int associate = c->value(buffer);
    EXPECT_EQ(nameAt(associate).size(), 127u);
}

TEST_F(CompoundNames, AssignmentToTheTermItselfIsIgnored) {
    YVariable* c = var("a.i");
    c->set("nope", -1);
    EXPECT_EQ(c->text, nullptr);
    EXPECT_EQ(c->state, YVS_None);
    YVariable* lit = var("12");
    lit->set("13", -1);
    EXPECT_EQ(read(lit), "12");
}

TEST_F(Forwarding, ReceiverForwardsToTheHolderOfAnObject) {
    Probe* o = new Probe;
    YVariable* ball = heap()[heap().pile("ball", o)];
    YVariable* receiver = heap()[1];
    receiver->set(ball);
    EXPECT_EQ(receiver->firstClone, pile("ball"));
    EXPECT_TRUE(static_cast<int>(*receiver));
    EXPECT_EQ(receiver->size(), 1);
    PXScriptableObject* got = nullptr;
    receiver->value(got);
    EXPECT_EQ(got, o);
    EXPECT_EQ(static_cast<unsigned char>(read(receiver)[0]), YVariable::kObjectText);

    // Text written through a forwarding variable lands on its target.
    receiver->set("hit", -1);
    EXPECT_EQ(read(ball), "hit");
    EXPECT_EQ(Probe::destroyed, 1);  // ball owned it
    receiver->set(nullptr, -2);
    EXPECT_EQ(receiver->firstClone, 0);
    EXPECT_FALSE(static_cast<int>(*receiver));
}

}  // namespace
}  // namespace valuestest
