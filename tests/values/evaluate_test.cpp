// Evaluating expressions: numbers, text, errors, and $.
#include <gtest/gtest.h>

#include <string>

#include "values_fixture.h"

namespace valuestest {
namespace {

using Evaluate = ValuesTest;
using EvaluateErrors = ValuesTest;
using Unquote = ValuesTest;

struct Case {
    const char* text;
    const char* want;
};

void expectAll(const Case* begin, const Case* end, std::string (*eval)(const char*)) {
    for (const Case* c = begin; c != end; ++c) {
        EXPECT_EQ(eval(c->text), c->want) << c->text;
        EXPECT_EQ(bcvalues::compileError, 0) << c->text;
    }
}

TEST_F(Evaluate, Arithmetic) {
    var("a")->set("5", -1);
    var("b")->set("3", -1);
    const Case cases[] = {
        {"2*3^2", "36"},     {"a*-b", "2"},       {"1.5e-3", "-1.5"}, {"7\\2", "3"},
        {"-7%2", "-1"},      {"7.9\\2", "3"},     {"1/0.001", "1000"}, {"(0-2)^3", "-8"},
        {"-5", "-5"},        {"a-b+2", "4"},      {"1/4", "0.25"},    {"0.1+0.2", "0.3"},
        {"2^3*2", "16"},     {"7%(0-2)", "1"},   {"(a)", "5"},       {"10/4*2", "5"},
    };
    expectAll(std::begin(cases), std::end(cases), eval);
}

TEST_F(Evaluate, ComparisonsGiveOneOrZero) {
    var("s")->set("abc", -1);
    const Case cases[] = {
        {"2<10", "1"},        {"'2'<'10'", "1"},     // digits in quotes are numbers here
        {"'b'<'ab'", "0"},    {"s='abc'", "1"},      {"s='ab'", "0"},      {"s#'abd'", "1"},
        {"s#'abc'", "0"},     {"'12'=12.0", "1"},    {"'x'=1", "0"},       {"s>'abb'", "1"},
        {"10='10'", "1"},     {"'a'<1", "0"},        {"1+1=2", "1"},       {"3=1+2", "2"},
    };
    expectAll(std::begin(cases), std::end(cases), eval);
}

TEST_F(Evaluate, TextOperators) {
    var("s")->set("hello", -1);
    const Case cases[] = {
        {"'12'+1", "13"},    {"x+1", "x1"},           {"s+' '+s", "hello hello"},
        {"'ll'@s", "3"},     {"'z'@s", "0"},          {"''@s", "1"},
        {"~s", "5"},         {"~x", "1"},             {"~(s+s)", "10"},
        {"~7", "1"},         {"'a'+(1+1)", "a2"},
    };
    expectAll(std::begin(cases), std::end(cases), eval);
}

TEST_F(Evaluate, TwoObjectsGiveZeroWhateverTheOperator) {
    Probe* o = new Probe;
    heap().pile("p", o);
    heap()[1]->set(o);
    var("q")->set(heap()[1]);  // a reference to the same object
    EXPECT_EQ(eval("p=q"), "0");
    EXPECT_EQ(eval("p-q"), "0");
    EXPECT_EQ(eval("~p"), "0");
    EXPECT_EQ(eval("p+'!'"), "\xA5!");
    EXPECT_EQ(Probe::destroyed, 0);  // reading never deletes
}

TEST_F(Evaluate, ReadAgainAtEveryRead) {
    YVariable* e = word("n*2");
    var("n")->set("4", -1);
    EXPECT_EQ(read(e), "8");
    var("n")->set("10", -1);
    EXPECT_EQ(read(e), "20");
    EXPECT_EQ(readLong(e), 20);
    double d = 0;
    e->value(&d);
    EXPECT_EQ(d, 20.0);
    int len = 0;
    EXPECT_STREQ(e->value(len), "20");
    EXPECT_EQ(len, 2);
}

TEST_F(Evaluate, IntegerDivisionOfTheSmallestLongDoesNotTrap) {
    EXPECT_EQ(eval("(0-2147483648)\\(0-1)"), "-2147483648");
    EXPECT_EQ(eval("(0-2147483648)%(0-1)"), "0");
    EXPECT_EQ(eval("5000000000\\2"), "-1073741824");  // a C cast of the platform
}

TEST_F(EvaluateErrors, FailedExpressionReadsAsItsSource) {
    const struct {
        const char* text;
        int error;
    } cases[] = {
        {"1\\0.5", 4},       {"5%0", 4},          {"1/0.00001", 5},   {"(0-8)^(1/3)", 5},
        {"x-1", 7},          {"'a'*2", 7},        {"x*x", 7},         {"2^x", 7},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(eval(c.text), c.text);
        EXPECT_EQ(bcvalues::compileError, c.error) << c.text;
    }
}

TEST_F(EvaluateErrors, ErrorStandsUntilTheNextEvaluation) {
    YVariable* bad = word("1/0");
    YVariable* good = word("1+1");
    bcvalues::compileError = 0;
    read(bad);
    EXPECT_EQ(bcvalues::compileError, 5);
    var("v")->set("x", -1);  // assignments leave it alone
    EXPECT_EQ(bcvalues::compileError, 5);
    EXPECT_EQ(read(good), "2");
    EXPECT_EQ(bcvalues::compileError, 0);
}

TEST_F(EvaluateErrors, JoinedTextOf1024BytesFails) {
    var("h")->set(std::string(512, 'h').c_str(), -1);
    var("g")->set(std::string(511, 'g').c_str(), -1);
    EXPECT_EQ(eval("h+g").size(), 1023u);
    EXPECT_EQ(bcvalues::compileError, 0);
    EXPECT_EQ(eval("h+h"), "h+h");
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);
}

TEST_F(Unquote, ReadsTheVariableOrExpressionNamedByATextWhereverItStands) {
    var("y")->set("7", -1);
    var("z")->set("10-4", -1);
    var("a")->set("100", -1);
    const struct {
        const char* x;
        const char* text;
        const char* want;
    } cases[] = {{"y", "$x", "7"},     {"y", "$x+1", "8"},      {"y*3", "$x", "21"},     {"-", "$x+1", "1"},
                 {"2*3", "a+$x", "106"}, {"2*3", "a-$x-1", "93"}, {"2*3", "$x*$z", "36"}, {"2*3", "a+(~($z))", "101"}};
    for (const auto& c : cases) {
        var("x")->set(c.x, -1);
        EXPECT_EQ(eval(c.text), c.want) << "x=" << c.x << ": " << c.text;
        EXPECT_EQ(bcvalues::compileError, 0) << c.text;
    }
}

TEST_F(Unquote, FailureInsideOrSelfReferenceFailsTheWhole) {
    const struct {
        const char* x;
        int error;
    } cases[] = {{"1/0", 5}, {"(", 1}, {"$x", bcvalues::kErrTooLong}};  // the last stops instead of recursing
    for (const auto& c : cases) {
        var("x")->set(c.x, -1);
        EXPECT_EQ(eval("1+$x"), "1+$x") << c.x;
        EXPECT_EQ(bcvalues::compileError, c.error) << c.x;
    }
    var("x")->set("2", -1);  // and the heap is still usable afterwards
    EXPECT_EQ(eval("1+$x"), "3");
}

}  // namespace
}  // namespace valuestest
