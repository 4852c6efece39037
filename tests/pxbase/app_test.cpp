#include "pxbase/app.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "pxbase/backend.h"
#include "pxbase/link.h"
#include "pxbase/sys.h"

namespace {

// A task that records its passes in a shared log and may act on the loop.
struct Probe {
    Probe(std::string n, std::vector<std::string>* l) : name(std::move(n)), log(l) {}
    std::string name;
    std::vector<std::string>* log;
    PXTask* self = nullptr;
    std::function<void()> action;
    void tick() {
        log->push_back(name);
        if (action) action();
    }
};

class TaskLoop : public ::testing::Test {
protected:
    void SetUp() override {
        PXHeadlessSetClock(1000);
        PXHeadlessSetTickMs(10);
    }
    PXTask* makeTask(Probe& probe) {
        PXLinkToMember<Probe> link(&probe, &Probe::tick);
        auto* task = new PXTask(&link, 0);
        probe.self = task;
        owned.emplace_back(task);
        return task;
    }
    PXApp app;
    std::vector<std::unique_ptr<PXTask>> owned;
    std::vector<std::string> log;
};

TEST_F(TaskLoop, EachTaskRunsOncePerPassInOrderOfAdding) {
    Probe a{"a", &log}, b{"b", &log}, c{"c", &log};
    app.addTask(makeTask(b));
    app.addTask(makeTask(a));
    app.addTask(makeTask(c));
    EXPECT_EQ(app.run(2), 2u);
    EXPECT_EQ(log, (std::vector<std::string>{"b", "a", "c", "b", "a", "c"}));
}

TEST_F(TaskLoop, RunEndsAfterThePassThatStopsItOrWhenNoTaskIsLeft) {
    Probe a{"a", &log}, b{"b", &log};
    a.action = [&] {
        if (log.size() >= 3) app.stop();
    };
    app.addTask(makeTask(a));
    app.addTask(makeTask(b));
    EXPECT_EQ(app.run(), 2u);
    EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "a", "b"}));
    EXPECT_TRUE(app.isStopped());

    app.removeTask(b.self);  // a stopped loop runs again
    a.action = [&] { app.removeTask(a.self); };
    EXPECT_EQ(app.run(), 1u);
}

TEST_F(TaskLoop, ATaskMayRemoveItselfOrTheNextOneAndAddOthersMidPass) {
    Probe a{"a", &log}, b{"b", &log}, c{"c", &log}, late{"late", &log};
    PXTask* lateTask = makeTask(late);
    a.action = [&] {
        app.removeTask(a.self);
        app.addTask(lateTask);
    };
    b.action = [&] { app.removeTask(c.self); };
    app.addTask(makeTask(a));
    app.addTask(makeTask(b));
    app.addTask(makeTask(c));
    app.run(2);
    EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "late", "b", "late"}));
    EXPECT_EQ(app.taskCount(), 2);
}

TEST_F(TaskLoop, ATaskIsInTheLoopOnceAndLeavesItWhenRemovedOrDeleted) {
    Probe a{"a", &log}, b{"b", &log};
    PXTask* ta = makeTask(a);
    app.addTask(ta);
    app.addTask(ta);
    app.addTask(makeTask(b));
    EXPECT_EQ(app.taskCount(), 2);
    EXPECT_EQ(app.removeTask(ta), ta);
    EXPECT_EQ(app.removeTask(ta), nullptr);
    app.addTask(ta);
    owned.erase(owned.begin());  // deletes ta
    EXPECT_EQ(app.taskCount(), 1);
    app.run(1);
    EXPECT_EQ(log, (std::vector<std::string>{"b"}));
}

TEST_F(TaskLoop, TheVirtualClockMovesOneStepPerPass) {
    Probe a{"a", &log};
    std::vector<uint32_t> seen;
    a.action = [&] { seen.push_back(PXSysMilliSecCount()); };
    app.addTask(makeTask(a));
    PXHeadlessSetTickMs(25);
    app.run(3);
    EXPECT_EQ(seen, (std::vector<uint32_t>{1000, 1025, 1050}));
    EXPECT_EQ(PXSysMilliSecCount(), 1075u);
}

TEST_F(TaskLoop, TheFirstApplicationIsTheApp) {
    EXPECT_EQ(PXApp::theApp, &app);
    {
        PXApp second;
        EXPECT_EQ(PXApp::theApp, &app);
    }
    EXPECT_EQ(PXApp::theApp, &app);
}

struct Captured {
    std::vector<std::string> texts;
    std::vector<unsigned> flags;
};

void capture(const char* text, unsigned flags, const char*, void* ctx) {
    auto* c = static_cast<Captured*>(ctx);
    c->texts.push_back(text);
    c->flags.push_back(flags);
}

TEST(UserMessage, ReachesTheInstalledHandlerAndStandardError) {
    Captured got;
    PXSysSetUserMessageHandler(capture, &got);
    testing::internal::CaptureStderr();
    PXSysUserMessage("Script too long", 0x3000, nullptr);
    std::string err = testing::internal::GetCapturedStderr();
    PXSysSetUserMessageHandler(nullptr, nullptr);
    PXSysUserMessage("after removal", 0x3000, nullptr);
    EXPECT_EQ(got.texts, (std::vector<std::string>{"Script too long"}));
    EXPECT_EQ(got.flags, (std::vector<unsigned>{0x3000}));
    EXPECT_EQ(err, "Script too long\n");
}

void recordExit(int code, void*) { std::fprintf(stderr, "exit hook %d\n", code); }

TEST(SysExitDeathTest, RunsTheHookThenEndsWithTheCode) {
    EXPECT_EXIT(
        {
            PXSysSetExitHook(recordExit, nullptr);
            PXSysExit(1);
        },
        ::testing::ExitedWithCode(1), "exit hook 1");
}

}  // namespace
