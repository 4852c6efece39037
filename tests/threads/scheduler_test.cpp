#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "script_fixture.h"

namespace {

using Lines = std::vector<std::string>;

// A custom keyword "now" that records the clock, and "count" that answers
// how often it ran.
class Scheduling : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        PXLinkToMember<Scheduling> now(this, &Scheduling::now);
        PXLinkToMember<Scheduling> count(this, &Scheduling::count);
        YExtend("now", &now);
        YExtend("count", &count);
    }
    void TearDown() override {
        YExtend("now", nullptr);
        YExtend("count", nullptr);
        ScriptTest::TearDown();
    }
    void now() { times.push_back(PXSysMilliSecCount()); }
    void count() { YSetRESULT(static_cast<int32_t>(++counted)); }

    std::vector<uint32_t> times;
    int counted = 0;
};

TEST_F(Scheduling, PauseTakesNineHundredMillisecondsAUnit) {
    YThread& t = run("now\npause 1\nnow\npause 0\nnow\nwait\n", 200);
    ASSERT_EQ(times.size(), 3u);
    EXPECT_EQ(times[1] - times[0], 920u);  // asleep from the second pass until the clock passes +900
    EXPECT_EQ(times[2] - times[1], 20u);   // pause 0 does nothing
    EXPECT_EQ(t.sleeping, 1);
}

TEST_F(Scheduling, ScheduleFiresOnTheTenthAgeTickOnce) {
    YThread& t = run("schedule 1 p\nidle 0 q\nschedule 0 q\nwait\n"
                     "procedure p\n[\nget RECEIVER name v\nnow\nsay v\n]\nprocedure q\n[\nsay \"q\"\n]\n",
                     400);
    // The first pass (1000) only records the time; age ticks come every
    // 110 ms, the tenth at 2100, which runs the handler's first statement.
    EXPECT_EQ(times, (std::vector<uint32_t>{2110}));
    EXPECT_EQ(t.scheduleEntry, 0);
    EXPECT_EQ(t.idleEntry, 0);
    // The timer's record is on the list while that statement runs.
    EXPECT_EQ(said(), (Lines{"schedule"}));
}

TEST_F(Scheduling, ATimerHandlerThatFlushesEveryRecordTakesItsOwnAlong) {
    run("schedule 1 p\nwait\nprocedure p\n[\ndrop baubles\nsay \"ok\"\n]\n", 400);
    EXPECT_EQ(said(), (Lines{"ok"}));
    EXPECT_EQ(eventRecord::eventRecordList->count, 0);
}

TEST_F(Scheduling, IdleRepeatsUntilDropped) {
    run("idle 1 p\nwait\nprocedure p\n[\nget RECEIVER name v\ncount\nnow\nif RESULT=2\ndrop idle\nsay v\n]\n",
        600);
    // Fired at 2100 and 3200; `now` is the handler's third statement, two
    // passes later. After the second round the timer is dropped.
    EXPECT_EQ(times, (std::vector<uint32_t>{2120, 3220}));
    EXPECT_EQ(said(), (Lines{"idle", "idle"}));
}

TEST_F(Scheduling, ExitWithAnEmptyScriptStackKillsTheThread) {
    struct Exits {
        int n = 0;
        void hit() { ++n; }
    } exits;
    PXLinkToMember<Exits> link(&exits, &Exits::hit);
    YThread& t = compile("x=1\nrelay\nsay \"never\"\n");
    t.setExitLink(&link);
    t.go();
    app.run(10);
    EXPECT_FALSE(t);
    EXPECT_EQ(exits.n, 1);
    EXPECT_EQ(YHeap::theHeap.size(), 3);
    EXPECT_TRUE(said().empty());
}

TEST_F(Scheduling, ALeavingThreadEndsTheWalkOfItsTick) {
    YThread& a = compile("x=1\nexit\n");
    YThread& b = compile("say 1\nsay 2\nsay 3\n");
    a.go();
    b.go();
    app.run(1);  // a: x=1, b: say 1
    EXPECT_EQ(b.pc, 1);
    app.run(1);  // a leaves: b gets nothing in this tick
    EXPECT_EQ(b.pc, 1);
    EXPECT_FALSE(a);
}

TEST_F(Scheduling, CallOfAScriptReturnsToTheCallerFromItsStart) {
    writeScript("main.mps", "count\nsay \"main\" RESULT\nif RESULT<3\ncall \"sub.mps\"\nwait\n");
    writeScript("sub.mps", "say \"sub\"\nexit\n");
    threads.push_back(std::make_unique<YThread>("main.mps"));
    YThread& t = *threads.back();
    ASSERT_TRUE(t);
    t.go();
    app.run(100);
    EXPECT_EQ(said(), (Lines{"main 1", "sub", "main 2", "sub", "main 3"}));
    EXPECT_STREQ(t.getName(), "main.mps");
}

// Without the names to return to, leaving the called script ends the thread.
TEST_F(Scheduling, DropScriptStackForgetsTheCaller) {
    writeScript("main.mps", "count\nsay \"main\" RESULT\ncall \"sub.mps\"\nwait\n");
    writeScript("sub.mps", "say \"sub\"\ndrop script stack\nexit\n");
    threads.push_back(std::make_unique<YThread>("main.mps"));
    YThread& t = *threads.back();
    t.go();
    app.run(100);
    EXPECT_EQ(said(), (Lines{"main 1", "sub"}));
    EXPECT_FALSE(t);
}

TEST_F(Scheduling, RelayStartsTheNamedScriptAndTheHostRelayToItselfDoesNothing) {
    writeScript("first.mps", "say \"first\"\nnext=\"second.mps\"\nrelay next\n");
    writeScript("second.mps", "say \"second\"\nwait\n");
    struct Go {
        int n = 0;
        void hit() { ++n; }
    } gone;
    PXLinkToMember<Go> link(&gone, &Go::hit);
    threads.push_back(std::make_unique<YThread>("first.mps"));
    YThread& t = *threads.back();
    t.setGoLink(&link);
    t.relay("first.mps");  // its own name: nothing
    EXPECT_EQ(YThread::leavingThread, nullptr);
    t.go();
    app.run(20);
    EXPECT_EQ(said(), (Lines{"first", "second"}));
    EXPECT_STREQ(t.getName(), "second.mps");
    EXPECT_EQ(gone.n, 2);  // go, then the relay's start
}

TEST_F(Scheduling, StatusOneOnASleepingThreadGivesTheTickBack) {
    YThread& a = compile("yield off\nwait\n");
    YThread& b = compile("say 1\nsay 2\n");
    a.go();
    b.go();
    app.run(3);  // must return: a rests in status 1
    EXPECT_EQ(a.sleeping, 1);
    EXPECT_EQ(said(), (Lines{"1", "2"}));
}

}  // namespace
