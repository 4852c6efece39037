#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ball.h"
#include "objects/objects_internal.h"
#include "script_fixture.h"

namespace {

PXSR ballRecord("EventBall", makeBall);

using Lines = std::vector<std::string>;
using Events = ScriptTest;

Ball* ballIn(const char* name) { return static_cast<Ball*>(YHeap::theHeap.getSob(name, 0)); }
int records() { return eventRecord::eventRecordList->count; }

TEST_F(Events, AnEventDuringWaitRunsItsHandlerAndTheThreadSleepsAgain) {
    YThread& t = run("b=EventBall\nset b hit onhit\nsay \"waiting\"\nwait\nsay \"woke\"\nwait\n"
                     "procedure onhit\n[\nsay \"hit\"\n]\n", 20);
    ASSERT_TRUE(ballIn("b"));
    EXPECT_EQ(ballIn("b")->sobPass("hit"), 1);
    app.run(20);
    EXPECT_EQ(said(), (Lines{"waiting", "hit"}));
    EXPECT_EQ(t.sleeping, 1);
    EXPECT_EQ(t.inInterrupt, 0);
}

TEST_F(Events, DropWaitInTheHandlerGoesOnBehindTheWait) {
    run("b=EventBall\nset b hit onhit\nwait\nsay \"woke\"\nwait\n"
        "procedure onhit\n[\ndrop wait\nsay \"hit\"\n]\n", 20);
    ballIn("b")->sobPass("hit");
    app.run(20);
    EXPECT_EQ(said(), (Lines{"hit", "woke"}));
}

TEST_F(Events, APauseEndingInsideAHandlerWakesOnlyTheHandler) {
    YThread& t = run("b=EventBall\nset b hit onhit\nwait\nsay \"woke\"\nwait\n"
                     "procedure onhit\n[\npause 1\nsay \"hit\"\n]\n", 20);
    ballIn("b")->sobPass("hit");  // the handler starts its pause
    app.run(200);
    EXPECT_EQ(said(), (Lines{"hit"}));  // the main line still waits
    EXPECT_EQ(t.sleeping, 1);
    EXPECT_EQ(t.inInterrupt, 0);
}

TEST_F(Events, AnEventDuringAHandlerAbandonsItForGood) {
    run("b=EventBall\nset b hit onhit\nwait\n"
        "procedure onhit\n[\nsay \"x1\"\nsay \"x2\"\nsay \"x3\"\n]\n", 20);
    Ball* b = ballIn("b");
    b->sobPass("hit");  // runs x1 at once
    app.run(1);         // x2
    b->sobPass("hit");  // starts over: x1
    app.run(20);
    EXPECT_EQ(said(), (Lines{"x1", "x2", "x1", "x2", "x3"}));
}

TEST_F(Events, WithYieldEventsOffAHandlerRunsToItsEndInsideTheCall) {
    YThread& t = run("b=EventBall\nset b hit onhit\nwait\n"
                     "procedure onhit\n[\nsay 1\nsay 2\nsay 3\nsay 4\nsay 5\n]\n", 20);
    YThread::setYieldEventsOff(1);
    int before = t.getYield();
    EXPECT_EQ(ballIn("b")->sobPass("hit"), 1);
    EXPECT_EQ(said(), (Lines{"1", "2", "3", "4", "5"}));
    EXPECT_EQ(t.getYield(), before);  // the status is what it was
}

TEST_F(Events, SuspendedScriptsLoseTheirEvents) {
    YThread& t = run("b=EventBall\nset b hit onhit\nsuspend\nwait\n"
                     "procedure onhit\n[\nsay \"hit\"\n]\n", 20);
    EXPECT_EQ(ballIn("b")->sobPass("hit"), 1);  // the watcher fired
    EXPECT_EQ(t.getYield(), 777);
    t.eventsOn = 1;  // what a later resume does
    app.run(20);
    EXPECT_TRUE(said().empty());  // the event did not come back
}

TEST_F(Events, BindingTwiceKeepsOneRecordAndSetWithoutValueUnbinds) {
    run("b=EventBall\nset b hit onhit\nset b hit onhit\nwait\n"
        "procedure onhit\n[\nsay \"hit\"\n]\n", 20);
    EXPECT_EQ(records(), 1);
    threads.clear();
    run("b=EventBall\nset b hit onhit\nset b hit\nwait\nprocedure onhit\n[\nsay \"hit\"\n]\n", 20);
    EXPECT_EQ(records(), 0);
    EXPECT_EQ(ballIn("b")->sobPass("hit"), 0);  // no watcher left
    EXPECT_TRUE(said().empty());
}

TEST_F(Events, ACopiedObjectGetsItsOwnRecordAndReceiverName) {
    run("b=EventBall\nset b hit onhit\nc=b\nget b name n\nsay n\nwait\n"
        "procedure onhit\n[\nget RECEIVER name v\nsay v\n]\n", 20);
    EXPECT_EQ(records(), 2);
    ballIn("c")->sobPass("hit");
    app.run(5);
    ballIn("b")->sobPass("hit");
    app.run(5);
    EXPECT_EQ(said(), (Lines{"b", "c", "b"}));
}

TEST_F(Events, BornHandlersWatchAClassAndGiveTheNewObject) {
    YThread& t = run("set EventBall born onborn\nwait\nprocedure onborn\n[\nget RECEIVER size s\nsay s\n]\n",
                     20);
    EXPECT_EQ(records(), 1);
    Ball hostBuilt;
    hostBuilt.size = 42;
    hostBuilt.sobBorn("EventBall");
    app.run(10);
    EXPECT_EQ(said(), (Lines{"42"}));
    PXScriptableObject* receiver = nullptr;
    YHeap::theHeap[1]->value(receiver);
    EXPECT_EQ(receiver, &hostBuilt);
    t.stop();  // the records go, and the class's born link with them
    EXPECT_EQ(bcobjects::lookupClass("EventBall")->bornLink, nullptr);
}

TEST_F(Events, AWatcherNeverReachesAFlushedRecord) {
    YThread& t = run("b=EventBall\nset b hit onhit\nwait\nprocedure onhit\n[\nsay \"hit\"\n]\n", 20);
    Ball* b = ballIn("b");
    t.stop();  // flushes every record
    t.go();
    EXPECT_EQ(b->sobPass("hit"), 0);  // the link went with its record
    app.run(10);
    EXPECT_TRUE(said().empty());
}

TEST_F(Events, ACopyOfACopyNeverReachesARecordThatWentOrItsSuccessor) {
    // d's watcher is a copy of c's, which points at c's record.
    run("b=EventBall\nset b hit onhit\nc=b\nd=c\nset c hit\nc=\ne=EventBall\nset e hit other\nwait\n"
        "procedure onhit\n[\nsay \"hit\"\n]\nprocedure other\n[\nget RECEIVER name v\nsay \"other\" v\n]\n",
        40);
    Ball* d = ballIn("d");
    ASSERT_TRUE(d);
    d->sobPass("hit");
    app.run(10);
    EXPECT_TRUE(said().empty());
    ballIn("e")->sobPass("hit");
    app.run(10);
    EXPECT_EQ(said(), (Lines{"other e"}));
}

TEST_F(Events, ADoneMainLinkThatDeliversAnEventSeesAThreadInOrder) {
    struct Host {
        Ball* ball = nullptr;
        void done() {
            if (ball) ball->sobPass("hit");
            ball = nullptr;  // once: each handler re-arms the link
        }
    } host;
    YThread& t = compile("b=EventBall\nset b hit onhit\nsay \"main\"\nprocedure onhit\n[\nsay 1\nsay 2\n]\n");
    PXLinkToMember<Host> link(&host, &Host::done);
    t.setDoneMainLink(&link);
    t.go();
    app.run(2);
    host.ball = ballIn("b");
    ASSERT_TRUE(host.ball);
    app.run(20);
    EXPECT_EQ(said(), (Lines{"main", "1", "2"}));
}

TEST_F(Events, AHandlerLeftInsideItsOwnLoopLeavesTheMainLoopAlone) {
    YThread& t = run("b=EventBall\nc=EventBall\nset b hit inloop\nset c hit plain\n"
                     "for i 1 3\n[\nsay \"main\" i\nwait\n]\nsay \"done\"\nwait\n"
                     "procedure inloop\n[\nfor k 1 5\n[\nwait\n]\n]\n"
                     "procedure plain\n[\nsay \"plain\"\n]\n",
                     20);
    ballIn("b")->sobPass("hit");  // enters its loop and waits there
    app.run(5);
    ballIn("c")->sobPass("hit");  // abandons it; this handler ends normally
    app.run(5);
    EXPECT_EQ(t.inInterrupt, 0);
    EXPECT_EQ(t.forTop, 0);  // only the main loop's record
    for (int i = 0; i < 3; ++i) {
        t.sleeping = 0;  // what `drop wait` or the host's resume does
        app.run(10);
    }
    EXPECT_EQ(said(), (Lines{"main 1", "plain", "main 2", "main 3", "done"}));
}

TEST_F(Events, AnObjectThatGoesTakesItsRecordsAlong) {
    run("b=EventBall\nset b hit onhit\nb=5\nd=EventBall\nset d hit onhit\nwait\n"
        "procedure onhit\n[\nsay \"hit\"\n]\n", 20);
    EXPECT_EQ(records(), 1);  // b's went with the assignment
    EXPECT_EQ(Ball::alive, 1);
    delete ballIn("d");  // the host deletes an object the script holds
    EXPECT_EQ(records(), 0);
    EXPECT_EQ(ballIn("d"), nullptr);
    EXPECT_EQ(valueOf("d"), "d");
}

}  // namespace
