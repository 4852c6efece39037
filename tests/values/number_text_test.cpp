// Numbers and their texts: a text is read as "%lf" reads decimal text, a
// double is printed as "%.15g" and a long as "%ld", and the evaluator's
// operands see a term exactly as a variable assigned its text would.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "values_fixture.h"

namespace valuestest {
namespace {

using NumberReading = ValuesTest;
using NumberPrinting = ValuesTest;
using OperandText = ValuesTest;

bool sameDouble(double a, double b) {
    if (std::isnan(a) && std::isnan(b)) return true;
    return std::memcmp(&a, &b, sizeof a) == 0;
}

double sscanfDouble(const char* text) {
    double d = 0.0;
    std::sscanf(text, "%lf", &d);
    return d;
}

std::string printfDouble(double d) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.15g", d);
    return buffer;
}

// What a plain variable holds after being assigned `text`.
struct Held {
    YVS state;
    double number;
};

Held hold(YVariable* v, const char* text) {
    v->set(text, -1);
    double d = 0.0;
    v->value(&d);
    return {v->state, d};
}

TEST_F(NumberReading, DecimalTextsReadAsScanfReadsThem) {
    const std::string texts[] = {
        "0", "-0", "+3", "007", "5 apples", "12abc", ".5", "-.5", "5.", "5.e3", "1.5e", "1.5e+",
        "1.5e-3", "0.1", "0.30000000000000004", "2.5", "-2.5", "1e300", "-1e300", "1e400", "1e-400",
        "4.9e-324", "2.2250738585072014e-308", "123456789012345", "1234567890123456",
        "12345678901234567890", "9007199254740993", "2147483647", "-2147483648", "2000000000",
        "2000000001", "-2000000000", "1000000000", "-999999999", "99999999999", "3.14159265358979323846",
        "1" + std::string(400, '0'), "0." + std::string(400, '0') + "1",
    };
    YVariable* v = var("v");
    for (const std::string& text : texts) {
        Held h = hold(v, text.c_str());
        double want = sscanfDouble(text.c_str());
        // A long holds no sign of zero: -0 is the long 0.
        if (h.state == YVS_Long)
            EXPECT_EQ(h.number, want) << text;
        else
            EXPECT_TRUE(sameDouble(h.number, want)) << text << ": " << h.number << " against " << want;
        // A whole value in range with a text of ten characters or fewer is a
        // long; any other number stays a double.
        bool whole = want >= -2000000000.0 && want <= 2000000000.0 &&
                     static_cast<double>(static_cast<int32_t>(want)) == want;
        YVS state = text.size() <= 10 && whole ? YVS_Long : YVS_Double;
        EXPECT_EQ(h.state, state) << text;
        EXPECT_EQ(read(v), text) << "a number keeps its own text";
    }
}

TEST_F(NumberReading, WhatScanfWouldTakeFurtherIsNotANumberHere) {
    YVariable* v = var("v");
    const char* zero[] = {"0x1A", "-inf", "+nan", "-", "+", ".x", "-.e5"};
    for (const char* text : zero) {
        Held h = hold(v, text);
        EXPECT_EQ(h.state, YVS_Long) << text;
        EXPECT_EQ(h.number, 0.0) << text;
        EXPECT_EQ(read(v), text);
    }
    // Texts that do not start like a number are strings, even when scanf
    // would skip blanks or read a word.
    for (const char* text : {" 12", "inf", "nan", "", "x1"}) EXPECT_EQ(hold(v, text).state, YVS_String) << text;
}

TEST_F(NumberPrinting, DoublesPrintAsPrintfPrintsThem) {
    YVariable* v = var("v");
    auto check = [&](double d) {
        v->set(d);
        std::string want = printfDouble(d);
        // A whole value in range is reduced to a long first, and prints as one.
        if (v->state == YVS_Long) {
            char buffer[32];
            std::snprintf(buffer, sizeof buffer, "%d", static_cast<int>(v->number.l));
            want = buffer;
        }
        EXPECT_EQ(read(v), want) << "bits of " << want;
    };
    const double fixed[] = {
        0.0, -0.0, 0.1 + 0.2, 1.0 / 3.0, -2.0 / 3.0, 1e15, 1e16, 123456789012345678.0, 1e-5, 1e-4,
        0.0001234, 123456.7890123456, 1e300, 1e-300, 5e-324, 2.2250738585072014e-308, 1.7976931348623157e308,
        2000000000.5, 2147483648.0, -2147483649.0, 999999999999999.0, 9999999999999998.0,
        0.5, 2.5, 1.25e-10, HUGE_VAL, -HUGE_VAL, std::nan(""), -std::nan(""),
    };
    for (double d : fixed) check(d);
    // Random bit patterns cover every exponent; random short decimals cover
    // the values scripts make.
    std::mt19937_64 random(20240611);
    for (int i = 0; i < 20000; ++i) {
        uint64_t bits = random();
        double d = 0.0;
        std::memcpy(&d, &bits, sizeof d);
        check(d);
        check(static_cast<double>(static_cast<int64_t>(random() % 2000001) - 1000000) / 1000.0);
    }
}

TEST_F(NumberPrinting, LongsPrintAsPrintfPrintsThem) {
    YVariable* v = var("v");
    const int32_t values[] = {0, 1, -1, 9, 10, -10, 99999, 1000000000, -999999999, -1000000000,
                              2000000000, -2000000000, INT32_MAX, INT32_MIN};
    for (int32_t n : values) {
        v->set(n);
        char want[32];
        std::snprintf(want, sizeof want, "%d", static_cast<int>(n));
        EXPECT_EQ(read(v), want);
        EXPECT_EQ(v->state, YVS_Long);
        EXPECT_EQ(v->size(), static_cast<int>(std::strlen(want)));
    }
}

// An operand is what a variable assigned the term's text would be: its text
// as it stands, and that text read as a number.
TEST_F(OperandText, ALongWithItsOwnTextKeepsThatTextForTextOperators) {
    var("x")->set("007", -1);
    EXPECT_EQ(eval("x+1"), "8");
    EXPECT_EQ(eval("x=7"), "1");
    EXPECT_EQ(eval("~x"), "3");
    EXPECT_EQ(eval("x+\"a\""), "007a");
    EXPECT_EQ(eval("x@\"10070\""), "2");
    EXPECT_EQ(eval("x<\"a\""), "1") << "a number against a text compares as text";
    var("y")->set("5 apples", -1);
    EXPECT_EQ(eval("y+1"), "6");
    EXPECT_EQ(eval("y+\"!\""), "5 apples!");
    EXPECT_EQ(eval("~y"), "8");
    var("z")->set("-0", -1);
    EXPECT_EQ(eval("z+0"), "0");
    EXPECT_EQ(eval("z+\"\""), "-0");
    var("p")->set("+3", -1);
    EXPECT_EQ(eval("p*2"), "6");
    EXPECT_EQ(eval("p+\"\""), "+3");
    EXPECT_EQ(bcvalues::compileError, 0);
}

TEST_F(OperandText, ADoubleGoesThroughItsText) {
    // Inside one expression the exact double goes on; a variable holds the
    // printed text, and reading it again gives the double of that text.
    EXPECT_EQ(eval("(0.1+0.2)-0.3"), printfDouble((0.1 + 0.2) - 0.3));
    YVariable* x = var("x");
    x->set((0.1 + 0.2));
    EXPECT_EQ(read(x), "0.3");
    EXPECT_EQ(eval("x-0.3"), "0");
    EXPECT_EQ(eval("x=0.3"), "1");
    x->set(1.0 / 3.0);
    EXPECT_EQ(eval("x*3"), printfDouble(0.333333333333333 * 3));
    var("big")->set("1e300", -1);
    EXPECT_EQ(eval("big*10"), "1e+301");
    EXPECT_EQ(eval("big*big"), "inf");
    EXPECT_EQ(eval("0-big*big"), "-inf");
    // The printed infinity is a text, not a number.
    var("inf")->set("inf", -1);
    EXPECT_EQ(eval("inf+1"), "inf1");
    EXPECT_EQ(bcvalues::compileError, 0);
}

TEST_F(OperandText, QuotedDigitsAreANumberOnlyInsideAnExpression) {
    YVariable* literal = word("\"12\"");
    ASSERT_NE(literal, nullptr);
    EXPECT_EQ(readLong(literal), 0) << "the literal itself is a string";
    EXPECT_EQ(eval("\"12\"+1"), "13");
    EXPECT_EQ(eval("\"12\"=12.0"), "1");
    EXPECT_EQ(eval("\"012\"+\"\""), "012");
    EXPECT_EQ(eval("\"x\"=1"), "0");
}

TEST_F(OperandText, TermsOfEveryKindReadAsTheirText) {
    var("i")->set("2", -1);
    var("a.2")->set("40", -1);
    var("s")->set("hello", -1);
    var("e")->set("", -1);
    EXPECT_EQ(eval("a.i+2"), "42") << "a computed name reads its associate";
    EXPECT_EQ(eval("s|2|3+1"), "ell1") << "a slice";
    EXPECT_EQ(eval("e+1"), "1") << "the empty text joins";
    EXPECT_EQ(eval("~e"), "0");
    EXPECT_EQ(eval("nothing+1"), "nothing1") << "no value: the name";
    EXPECT_EQ(eval("~nothing"), "7");
    std::string long1000(1000, 'q');
    var("t")->set(long1000.c_str(), -1);
    EXPECT_EQ(eval("t+\"!\""), long1000 + "!") << "a long text joins past the operand's own room";
    EXPECT_EQ(eval("t+t"), "t+t") << "1024 bytes or more fail, and the source is read";
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);
}

TEST_F(OperandText, AVariableGivenItsOwnTextKeepsIt) {
    YVariable* v = var("v");
    v->set("abcdefghijklmnopqrstuvwxyz0123456789", -1);
    v->set(v->text + 3, 5);
    EXPECT_EQ(read(v), "defgh");
    v->set(v->text + 1, -1);
    EXPECT_EQ(read(v), "efgh");
    std::string grown(300, 'g');
    v->set(grown.c_str(), -1);
    EXPECT_EQ(read(v), grown);
    v->set(v->text, 2);
    EXPECT_EQ(read(v), "gg");
}

}  // namespace
}  // namespace valuestest
