// Compiling expression text to prefix code.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "values_fixture.h"

namespace valuestest {
namespace {

using Polish = ValuesTest;
using PolishErrors = ValuesTest;

std::vector<std::string> terminals() {
    std::vector<std::string> names;
    for (int i = 0; i < bcvalues::polishTerms; ++i) {
        const YVariable* v = YHeap::theHeap[bcvalues::polishWords[i]];
        names.push_back(v ? v->getName() : "?");
    }
    return names;
}

TEST_F(Polish, CodeIsReadFromTheEndOfTheBuffer) {
    EXPECT_EQ(code("a-b+c"), "s+ts-tt");
    EXPECT_EQ(terminals(), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(bcvalues::polishCursor + 7, bcvalues::polishBuffer + bcvalues::kCodeBufferSize - 1);
}

TEST_F(Polish, LevelsBindLooseToTightAndMinusSplitsWhereverItStands) {
    using Names = std::vector<std::string>;
    const struct {
        const char* text;
        const char* code;
        Names terms;  // empty: not looked at
    } cases[] = {
        {"a+b*c", "s+s*ttt", {}}, {"2*3^2", "s^ts*tt", {}},  // one level, left to right
        {"a=b+c", "s+ts=tt", {}},  // comparison binds like a sum
        {"(a+b)*c", "s*ts+tt", {}}, {"~x", "s~t", {}}, {"~($x)", "s~s$t", {}}, {"a@b", "s@tt", {}},
        {"-5", "s-tz", {"5"}}, {"+x", "s+tz", {}}, {"()", "z", {}},  // a missing left operand is zero
        {"1.5e-3", "s-tt", {"1.5e", "3"}}, {"a+", "t", {}},
        {"a*-b", "s-tt", {"a", "b"}},  // the - splits first; the trailing * of "a*" starts nothing
        {"'a+b'+c", "s+tt", {"'a+b'", "c"}}, {"\"it's\"+1", "s+tt", {}},  // quotes hide operators
    };
    for (const auto& c : cases) {
        EXPECT_EQ(code(c.text), c.code) << c.text;
        if (!c.terms.empty()) {
            EXPECT_EQ(terminals(), c.terms) << c.text;
        }
    }
    // ... but not brackets.
    EXPECT_EQ(code("'('+1"), "");
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrBrackets);
}

TEST_F(Polish, SpanBetweenTwoPointersIsInclusive) {
    const char* text = "xa+by";
    bcvalues::compileError = 0;
    bcvalues::ValuesAccess::polish(heap(), text + 1, text + 3);
    EXPECT_EQ(std::string(bcvalues::polishCursor), "s+tt");
    EXPECT_EQ(terminals(), (std::vector<std::string>{"a", "b"}));
    bcvalues::ValuesAccess::polish(heap(), text + 3, text + 1);
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);
}

TEST_F(Polish, AttachMakesOneEntryPerExpression) {
    int before = heap().size();
    YVariable* e = word("p*q");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->type, YVT_Expression);
    EXPECT_STREQ(e->getName(), "p*q");
    EXPECT_STREQ(e->text, "s*tt");
    EXPECT_EQ(e->size_, 2);
    EXPECT_EQ(nameAt(e->terms[0]), "p");
    EXPECT_EQ(heap().size(), before + 3);
    EXPECT_EQ(word("p*q"), e);
    // A lone term is the term itself, even in brackets.
    EXPECT_EQ(word("(p)"), var("p"));
    EXPECT_EQ(word("p"), var("p"));
}

TEST_F(Polish, DeepBracketsAreFine) {
    std::string deep(400, '(');
    deep += "v";
    deep += std::string(400, ')');
    EXPECT_EQ(code(deep.c_str()), "t");
    EXPECT_EQ(bcvalues::compileError, 0);
}

TEST_F(PolishErrors, CodesOfTheCompiler) {
    const struct {
        const char* text;
        int error;
    } cases[] = {
        {"a+-b", 3},  {"a*/b", 3},   {"~$x", 3},    {"(a)(b)", 1}, {"(a", 1},
        {"a)", 1},    {"'abc", 1},   {"(a)b", 1},   {"a+(b", 1},   {"x<>y", 3},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(code(c.text), "") << c.text;
        EXPECT_EQ(bcvalues::compileError, c.error) << c.text;
    }
}

TEST_F(PolishErrors, EmptyOrTooLongTextAndAnEarlierErrorStands) {
    EXPECT_EQ(code(""), "");
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);
    std::string longest(1023, 'a');
    EXPECT_EQ(code(longest.c_str()), "t");
    std::string tooLong(1024, 'a');
    EXPECT_EQ(code(tooLong.c_str()), "");
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);
    // And it never clears an earlier error.
    bcvalues::compileError = 5;
    bcvalues::ValuesAccess::polish(heap(), "a+b", 3);
    EXPECT_EQ(bcvalues::compileError, 5);
    EXPECT_EQ(std::string(bcvalues::polishCursor), "");
}

TEST_F(PolishErrors, CodeAndTerminalLimitsAreRefused) {
    // n terms joined by + need 3n-2 code bytes; 127 fit.
    auto chain = [](int n) {
        std::string s = "a";
        for (int i = 1; i < n; ++i) s += "+a";
        return s;
    };
    EXPECT_EQ(code(chain(43).c_str()).size(), 127u);
    EXPECT_EQ(bcvalues::compileError, 0);
    EXPECT_EQ(code(chain(44).c_str()), "");
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);

    // Every terminal costs a code byte, so a long word meets the code limit
    // first; either way it is refused without writing outside the scratch.
    EXPECT_EQ(code(chain(300).c_str()), "");
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);
    EXPECT_EQ(bcvalues::polishCursor, bcvalues::polishBuffer + bcvalues::kCodeBufferSize - 1);
    EXPECT_LE(bcvalues::polishTerms, bcvalues::kMaxTerminals);
}

}  // namespace
}  // namespace valuestest
