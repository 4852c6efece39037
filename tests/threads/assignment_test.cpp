// The assignment statement stores the text of what it is given, read as a
// number as any assigned text is: whatever way the value is stored, the
// variable ends up as if it had been assigned that text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "script_fixture.h"

namespace {

using Assignment = ScriptTest;

struct Case {
    const char* source;  // the right-hand side in the script
    const char* text;    // the text the variable ends up with
    YVS state;
};

YVariable* named(const std::string& name) {
    return YHeap::theHeap[YHeap::theHeap.index(name.c_str(), static_cast<int>(name.size()))];
}

TEST_F(Assignment, StoresWhatAssigningTheTextStores) {
    const Case cases[] = {
        {"0-999999999", "-999999999", YVS_Long},
        {"0-1000000000", "-1000000000", YVS_Double},  // eleven characters
        {"1999999999+1", "2000000000", YVS_Long},
        {"2000000000+1", "2000000001", YVS_Double},   // out of the long range
        {"2147483647+1", "2147483648", YVS_Double},
        {"0-2147483647-1", "-2147483648", YVS_Double},
        {"7\\2", "3", YVS_Long},
        {"0-7%2", "-1", YVS_Long},
        {"1/4", "0.25", YVS_Double},
        {"0.1+0.2", "0.3", YVS_Double},
        {"2.5*2", "5", YVS_Long},
        {"\"5\"+\" apples\"", "5 apples", YVS_Long},
        {"\"\"+\"007\"", "007", YVS_Long},
        {"\"a\"+1", "a1", YVS_String},
        {"\"-0\"", "-0", YVS_Long},
        {"\"+3\"", "+3", YVS_Long},
        {"1e300*1e300", "inf", YVS_String},
        {"3=3", "1", YVS_Long},
        {"~\"abc\"", "3", YVS_Long},
        {"007", "007", YVS_Long},
        {"\"12\"", "12", YVS_Long},
        {"12345678901", "12345678901", YVS_Double},
        {"s|2|3", "ell", YVS_String},
        {"s|1|1+2", "h2", YVS_String},
        {"s-1", "s-1", YVS_String},  // a failed evaluation stores its source
    };
    std::string script = "s=\"hello\"\n";
    for (size_t i = 0; i < std::size(cases); ++i) script += "v" + std::to_string(i) + "=" + cases[i].source + "\n";
    run(script);

    YVariable* reference = named("s");
    for (size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        YVariable* v = named("v" + std::to_string(i));
        ASSERT_NE(v, nullptr) << c.source;
        EXPECT_EQ(valueOf(("v" + std::to_string(i)).c_str()), c.text) << c.source;
        EXPECT_EQ(v->state, c.state) << c.source;
        // Byte for byte what assigning the same text gives.
        reference->set(c.text, -1);
        EXPECT_EQ(v->size(), reference->size()) << c.source;
        if (v->state == YVS_Long || v->state == YVS_Double) {
            EXPECT_EQ(std::memcmp(&v->number, &reference->number, sizeof v->number), 0) << c.source;
        }
    }
}

TEST_F(Assignment, LoopsAndProceduresCarryTheirValues) {
    run("yield off\nx=0\nt=\"\"\nfor i 1 300\n[\nx=x+i\nt=t+\"ab\"\ncall add i 2\n]\nsay x ~t r i\nwait\n"
        "procedure add a b\nr=a*b\n");
    EXPECT_EQ(said(), (std::vector<std::string>{"45150 600 600 301"}));
    EXPECT_EQ(named("x")->state, YVS_Long);
    EXPECT_EQ(named("i")->state, YVS_Long);
}

TEST_F(Assignment, AVariableAssignedAnExpressionOfItselfReadsTheOldValue) {
    run("x=\"abc\"\nx=x+x\ny=5\ny=y*y+y\nz=\"\"\nz=z+\"007\"\nsay x y z\n");
    EXPECT_EQ(said(), (std::vector<std::string>{"abcabc 30 007"}));
    EXPECT_EQ(named("z")->state, YVS_Long);
}

}  // namespace
