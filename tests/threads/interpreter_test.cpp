#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ball.h"
#include "script_fixture.h"

int Ball::alive = 0;

namespace {

PXSR ballClass("Ball", makeBall);

using Lines = std::vector<std::string>;
using Statements = ScriptTest;

Ball* ballIn(const char* name) { return static_cast<Ball*>(YHeap::theHeap.getSob(name, 0)); }

TEST_F(Statements, IfTakesTheFalseWayOnlyForTextsStartingWithZero) {
    run("for v 1 6\n[\n"
        "x=0\nif v=2\nx=0.5\nif v=3\nx=\"00\"\nif v=4\nx=-1\nif v=5\nx=\"\"\nif v=6\nx=\"0x\"\n"
        "if x\nsay x \"true\"\nelse\nsay x \"false\"\n]\n");
    EXPECT_EQ(said(), (Lines{"0 false", "0.5 false", "00 false", "-1 true", " true", "0x false"}));
}

TEST_F(Statements, CountedLoops) {
    run("for i 1 3\nsay i\nsay \"end\" i\n"
        "for j 3\nsay j\n"
        "for k 5 5\nsay k\n"
        "for m 1 10 4\nsay m\n");
    EXPECT_EQ(said(), (Lines{"1", "2", "3", "end 4", "3", "2", "1", "0", "5", "1", "5", "9"}));
}

TEST_F(Statements, LoopCountersAreSixteenBits) {
    run("n=0\nfor i 1 70000\nn=n+1\nsay n i\nfor j 32766 32767\nsay j\nsay j\n", 40000);
    // 70000 is 4464 in 16 bits; the cursor wraps past 32767.
    EXPECT_EQ(said(), (Lines{"4464 4465", "32766", "32767", "-32768"}));
}

TEST_F(Statements, BreakInsideAnIfDropsTheLoopRecord) {
    YThread& t = run("for i 1 9\n[\nif i=3\nbreak\nsay i\n]\nsay \"after\" i\nwait\n");
    EXPECT_EQ(said(), (Lines{"1", "2", "after 3"}));
    EXPECT_EQ(t.forTop, -1);
}

TEST_F(Statements, ProceduresTakeTheirArgumentsAsText) {
    run("call add 2 3\nsay r\ncall add r 10\nsay r\nexit\n"
        "procedure add a b\n[\nr=a+b\n]\n");
    EXPECT_EQ(said(), (Lines{"5", "15"}));
}

TEST_F(Statements, AnArgumentPassedToItsOwnFormalKeepsItsText) {
    run("x=\"hello there\"\ncall p x\nexit\nprocedure p x\nsay x\n");
    EXPECT_EQ(said(), (Lines{"hello there"}));
}

TEST_F(Statements, SayWritesWhatFitsInOperandOrder) {
    std::string a(1000, 'a'), b(1000, 'b'), c(100, 'c');
    run("x=1\nsay x y\na=\"" + a + "\"\nb=\"" + b + "\"\nc=\"" + c + "\"\nsay a b c x\nsay\n");
    Lines lines = said();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "1 y");
    EXPECT_EQ(lines[1], a + " " + b + " 1");  // c would pass 2048 bytes and is left out
    EXPECT_EQ(lines[2], "");
}

TEST_F(Statements, AssignmentBuildsCopiesAndAliasesObjects) {
    run("b=Ball 7\nc=b\nd=&b\nset c size 9\nget b size s\nget c size t\nget d size u\n"
        "say s t u\nwait\n");
    EXPECT_EQ(said(), (Lines{"7 9 7"}));
    ASSERT_TRUE(ballIn("b"));
    EXPECT_NE(ballIn("b"), ballIn("c"));  // owner to owner copies
    EXPECT_EQ(ballIn("b"), ballIn("d"));  // an alias shares
    EXPECT_EQ(Ball::alive, 2);
    threads.clear();  // the heap goes with the last thread, and the objects with it
    EXPECT_EQ(Ball::alive, 0);
}

TEST_F(Statements, ANameWithAValueIsNotAClass) {
    run("Ball=5\nx=Ball 1 2\nsay x\ny=Nothing 1\nsay y\n");
    EXPECT_EQ(said(), (Lines{"5", "Nothing"}));
    EXPECT_EQ(Ball::alive, 0);
}

TEST_F(Statements, PlayCallsTheDefaultMethodOrANamedOneWithParameters) {
    run("b=Ball\nplay b\nplay b\nplay b roll 1 \"two words\" x\nwait\n");
    Ball* b = ballIn("b");
    ASSERT_TRUE(b);
    EXPECT_EQ(b->plays, 2);
    EXPECT_EQ(b->rolled, (Lines{"1", "two words", "x"}));
}

TEST_F(Statements, PlayWithABraceWaitsForTheObject) {
    YThread& t = run("b=Ball\nplay b } x\nplay b roll 1 }\nsay \"released\"\nwait\n", 20);
    Ball* b = ballIn("b");
    ASSERT_TRUE(b);
    // `play b } x`: the default method, with x, and the script waits.
    EXPECT_EQ(b->plays, 1);
    EXPECT_EQ(b->played, (Lines{"x"}));
    EXPECT_EQ(t.blocked, 1);
    b->sobSyncDone();
    app.run(20);
    EXPECT_EQ(b->rolled, (Lines{"1"}));
    EXPECT_EQ(t.blocked, 1);
    EXPECT_TRUE(said().empty());
    b->sobSyncDone();
    app.run(20);
    EXPECT_EQ(said(), (Lines{"released"}));
}

TEST_F(Statements, DropClearsFamiliesAndNamedVariables) {
    run("list.1=1\nlist.2=2\nlist.2.x=3\nlist=9\ndrop [ list\nsay list.1 list.2 list.2.x list\n"
        "v=5\nn=\"v\"\ndrop var n\nsay v\nb=Ball\ndrop b\nsay b\n");
    EXPECT_EQ(said(), (Lines{"list.1 list.2 3 9", "v", "b"}));
    EXPECT_EQ(Ball::alive, 0);
}

TEST_F(Statements, YieldSelectsTheStatusByTheOperandLength) {
    YThread& t = compile("yield no\nsay 1\nsay 2\nyield off\nsay 3\nsay 4\nwait\n");
    t.go();
    app.run(3);  // one statement a pass in status 0
    EXPECT_EQ(said(), (Lines{"1", "2"}));
    EXPECT_EQ(t.isFirstYieldOn(), 0);
    app.run(1);  // status 1 runs on until the wait
    EXPECT_EQ(said(), (Lines{"1", "2", "3", "4"}));
    EXPECT_EQ(t.sleeping, 1);
}

TEST_F(Statements, CustomKeywordsGetTheirOperandsAndAnswerThroughResult) {
    struct Adder {
        std::vector<std::string> seen;
        void run() {
            seen.clear();
            double sum = 0;
            for (const char* p = PXScriptableObject::nextParameter(); *p; p = PXScriptableObject::nextParameter()) {
                seen.emplace_back(p);
                sum += std::atof(p);
            }
            YSetRESULT(sum);
        }
    } adder;
    PXLinkToMember<Adder> link(&adder, &Adder::run);
    YExtend("add", &link);
    YExtend("nothing", nullptr);
    run("x=4\nadd x+1 2.5\nsay RESULT\nnothing 1\nunknown 2\nk=\"add\"\nk 1 2\nsay RESULT\n");
    EXPECT_EQ(said(), (Lines{"7.5", "3"}));
    EXPECT_EQ(adder.seen, (Lines{"1", "2"}));
    YExtend("add", nullptr);
}

TEST_F(Statements, QuitStopsTheApplication) {
    YThread& t = compile("say 1\nquit\nsay 2\n");
    t.go();
    EXPECT_LT(app.run(100), 100u);
    EXPECT_EQ(said(), (Lines{"1"}));
}

}  // namespace
