// Headless windows: input injected at a pass arrives at that pass in the
// window's operations, the clock moves only with the loop, the focus and the
// cursor follow the events, and page flipping exchanges the pages.
#include "pxbase/window.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "pxbase/app.h"
#include "pxbase/backend.h"
#include "pxbase/cursor.h"
#include "pxbase/headless.h"
#include "pxbase/link.h"
#include "pxbase/sys.h"
#include "pxbase/wnd_canvas.h"

namespace {

// A window that writes down every operation with the pass, the clock and
// the mouse position it saw.
class LogWindow : public PXWindow {
public:
    explicit LogWindow(std::vector<std::string>* log, PXRect r = PXRect(0, 0, 64, 48))
        : PXWindow(r, PXWindowStyleNormal, PXWindowRectClient), log_(log) {}
    void note(const char* what) {
        PXPoint p = PXEventGetMouse();
        char line[96];
        std::snprintf(line, sizeof line, "%s pass=%llu t=%u @%d,%d", what,
                      static_cast<unsigned long long>(PXHeadlessPass()), PXSysMilliSecCount(), p.x, p.y);
        log_->push_back(line);
    }
    void mouseDown() override { note("down"); }
    void mouseUp() override { note("up"); }
    void mouseMove() override { note("move"); }
    void mouseDblClick() override { note("dbl"); }
    void keyDown(int key) override { log_->push_back("keydown " + std::to_string(key) + " " + std::to_string(PXEventGetKey())); }
    void keyUp(int key) override { log_->push_back("keyup " + std::to_string(key)); }
    void activated() override { log_->push_back(activeWindow == this ? "activated" : "activated?"); }
    void deactivated() override { log_->push_back("deactivated"); }
    std::vector<std::string>* log_;
};

class HeadlessWindow : public ::testing::Test {
protected:
    void SetUp() override {
        PXHeadlessSetClock(1000);
        PXHeadlessSetTickMs(10);
        PXHeadlessClearEvents();
        base = PXHeadlessPass();
        task = new PXTask(&nothing, 0);
        app.addTask(task);
    }
    void TearDown() override {
        delete task;
        PXHeadlessClearEvents();
        PXEventSetXFormMouseFct(nullptr);
    }
    PXApp app;
    PXLinkToFct nothing{nullptr};
    PXTask* task = nullptr;
    uint64_t base = 0;
    std::vector<std::string> log;
};

TEST_F(HeadlessWindow, InjectedInputArrivesAtItsPassWithTheClockOfThatPass) {
    LogWindow w(&log);
    char why[128];
    ASSERT_EQ(PXHeadlessInjectText("# a click and a drag\n"
                                   "2 down 10 12\n"
                                   "3 move 11 13   # moving\n"
                                   "3 move 12 14\n"
                                   "5 up 12 14\n"
                                   "\n"
                                   "7 dblclick 1 2\n"
                                   "8 key a\n"
                                   "9 keydown return\n",
                                   why, sizeof why),
              8)
        << why;
    EXPECT_EQ(app.run(10), 10u);
    uint64_t p = base;
    auto at = [&](const char* what, uint64_t pass, int x, int y) {
        char line[96];
        std::snprintf(line, sizeof line, "%s pass=%llu t=%u @%d,%d", what, static_cast<unsigned long long>(p + pass),
                      1000u + 10u * static_cast<unsigned>(pass), x, y);
        return std::string(line);
    };
    std::vector<std::string> want = {"activated",          at("down", 2, 10, 12), at("move", 3, 11, 13),
                                     at("move", 3, 12, 14), at("up", 5, 12, 14),   at("dbl", 7, 1, 2),
                                     "keydown 97 97",       "keyup 97",            "keydown 13 13"};
    EXPECT_EQ(log, want);
    EXPECT_EQ(PXWindow::activeWindow, &w);
    EXPECT_EQ(PXSysMilliSecCount(), 1100u) << "the clock moved once per pass, and only then";
    EXPECT_EQ(w.getMouse(nullptr), PXPoint(1, 2));
}

TEST_F(HeadlessWindow, BadEventTextIsRefusedWholeWithTheLine) {
    LogWindow w(&log);
    char why[128] = "";
    EXPECT_EQ(PXHeadlessInjectText("1 down 1 2\n2 jump 3 4\n", why, sizeof why), -1);
    EXPECT_STREQ(why, "line 2: unknown event kind");
    EXPECT_EQ(PXHeadlessInjectText("1 down 1\n", why, sizeof why), -1);
    EXPECT_STREQ(why, "line 1: expected X and Y");
    EXPECT_EQ(PXHeadlessInjectText("x down 1 2\n", why, sizeof why), -1);
    EXPECT_EQ(PXHeadlessInjectText("1 down 1 99999999999\n", why, sizeof why), -1);
    EXPECT_EQ(PXHeadlessInjectText("1 key nosuchkey\n", why, sizeof why), -1);
    EXPECT_EQ(PXHeadlessInjectText(nullptr, why, sizeof why), -1);
    EXPECT_EQ(PXHeadlessPendingEvents(), 1u) << "only the window's own activation is queued";
    EXPECT_EQ(PXHeadlessLoadEvents("/nonexistent/events.txt", why, sizeof why), -1);
    namespace fs = std::filesystem;
    fs::path file = fs::temp_directory_path() / "pxbase-events-test.txt";
    std::ofstream(file) << "0 move 5 6\n1 close\n";
    EXPECT_EQ(PXHeadlessLoadEvents(file.string().c_str(), why, sizeof why), 2);
    fs::remove(file);
    // The base close() stops the application after its pass.
    EXPECT_EQ(app.run(50), 2u);
    EXPECT_TRUE(app.isStopped());
}

TEST_F(HeadlessWindow, TheMouseTransformAppliesToEveryPositionHandedOut) {
    LogWindow w(&log);
    auto shift = +[](PXPoint& p) {
        p.x += 100;
        p.y += 200;
    };
    EXPECT_EQ(PXEventSetXFormMouseFct(shift), nullptr);
    PXInputEvent e;
    e.kind = PXInputMouseDown;
    e.x = 3;
    e.y = 4;
    PXHeadlessInject(PXHeadlessPass(), e);
    app.runPass();
    EXPECT_EQ(PXEventGetMouse(), PXPoint(103, 204));
    int inside = -1;
    EXPECT_EQ(w.getMouse(&inside), PXPoint(103, 204));
    EXPECT_EQ(inside, 1);
    EXPECT_EQ(PXEventSetXFormMouseFct(nullptr), shift);
    EXPECT_EQ(w.getMouse(nullptr), PXPoint(3, 4));
}

TEST_F(HeadlessWindow, LinksFireFromTheBaseOperationsAndEventsForDeletedWindowsAreDropped) {
    int downs = 0, keys = 0;
    struct Count {
        int* n;
        void hit() { ++*n; }
    } d{&downs}, k{&keys};
    PXLinkToMember<Count> downLink(&d, &Count::hit), keyLink(&k, &Count::hit);
    auto* plain = new PXWindow(PXRect(0, 0, 10, 10), PXWindowStyleNormal, PXWindowRectClient);
    plain->setMouseDownLink(&downLink);
    plain->setKeyDownLink(&keyLink);
    PXInputEvent e;
    e.window = plain->getId();
    e.kind = PXInputMouseDown;
    PXHeadlessInject(PXHeadlessPass(), e);
    e.kind = PXInputKeyDown;
    e.key = 'q';
    PXHeadlessInject(PXHeadlessPass(), e);
    e.kind = PXInputMouseDown;
    PXHeadlessInject(PXHeadlessPass() + 1, e);
    app.runPass();
    EXPECT_EQ(downs, 1);
    EXPECT_EQ(keys, 1);
    EXPECT_EQ(PXWindow::activeWindow, plain);
    delete plain;
    EXPECT_EQ(PXWindow::activeWindow, nullptr);
    app.runPass();  // the second press has no window left to reach
    EXPECT_EQ(downs, 1);
}

TEST_F(HeadlessWindow, AHandlerMayDeleteItsWindowMidDelivery) {
    struct Suicidal : public PXWindow {
        Suicidal() : PXWindow(PXRect(0, 0, 8, 8), PXWindowStyleNormal, PXWindowRectClient) {}
        void mouseDown() override { delete this; }
        void mouseUp() override { ADD_FAILURE() << "a deleted window got an event"; }
    };
    auto* w = new Suicidal;
    char why[64];
    ASSERT_EQ(PXHeadlessInjectText("0 down 1 1\n0 up 1 1\n0 leave\n", why, sizeof why), 3);
    app.runPass();
    EXPECT_EQ(PXWindow::windowAt(0), nullptr);
    (void)w;
}

TEST_F(HeadlessWindow, TheWindowCanvasIsTheScreenAtTheDisplayDepth) {
    PXHeadlessSetDisplayDepth(32);
    EXPECT_EQ(PXSysNumColors(0), 32);
    PXWindow w(PXRect(100, 50, 140, 80), PXWindowStyleNormal, PXWindowRectClient);
    PXHeadlessSetDisplayDepth(16);
    EXPECT_EQ(w.getRect(), PXRect(0, 0, 40, 30));
    EXPECT_EQ(w.getScreenRect(), PXRect(100, 50, 140, 80));
    ASSERT_NE(w.canvas, nullptr);
    EXPECT_EQ(w.canvas->depth, 32);
    EXPECT_EQ(w.canvas->getWindow(), &w);
    PXMemCanvas picture(40, 30, 32, 1);
    picture.fillColor = PXColor(0xFFFF, 0, 0);
    picture.draw(PXRect(5, 5, 10, 10));
    w.canvas->blt(&picture, 0, 0, 40, 30, 0, 0, kPXRopCopy, nullptr);
    EXPECT_EQ(w.canvas->getPixel(7, 7), 0xFF0000u);
    // Sizes are cut to what a window can have.
    PXWindow tiny(PXRect(0, 0, -5, 0), PXWindowStyleBorderless, PXWindowRectOuter);
    EXPECT_EQ(tiny.getRect(), PXRect(0, 0, 1, 1));
    EXPECT_TRUE(tiny.canvas->valid());
}

TEST_F(HeadlessWindow, PageFlippingExchangesThePages) {
    PXWindow w(PXRect(0, 0, 16, 8), PXWindowStyleNormal, PXWindowRectClient);
    auto* page = new PXMemCanvas(16, 8, w.canvas->depth, 2);
    PXApp::bUsingDirectDraw = 0;
    EXPECT_EQ(w.canvas->attachToFlipChain(page), 0) << "page mode off";
    PXApp::bUsingDirectDraw = 1;
    PXMemCanvas wrongSize(15, 8, w.canvas->depth, 2), wrongDepth(16, 8, 8, 2);
    EXPECT_EQ(w.canvas->attachToFlipChain(&wrongSize), 0);
    EXPECT_EQ(w.canvas->attachToFlipChain(&wrongDepth), 0);
    ASSERT_EQ(w.canvas->attachToFlipChain(page), 1);
    page->fillColor = PXColor(0, 0xFFFF, 0);
    page->draw(PXRect(0, 0, 16, 8));
    w.canvas->fillColor = PXColor(0, 0, 0xFFFF);
    w.canvas->draw(PXRect(0, 0, 16, 8));
    uint32_t green = page->getPixel(0, 0), blue = w.canvas->getPixel(0, 0);
    w.canvas->flip();
    EXPECT_EQ(w.canvas->getPixel(3, 3), green);
    EXPECT_EQ(page->getPixel(3, 3), blue) << "the back page holds the old front page";
    // A page deleted while attached leaves the chain.
    delete page;
    EXPECT_EQ(w.canvas->getFlipPage(), nullptr);
    w.canvas->flip();  // nothing to flip with: nothing happens
    EXPECT_EQ(w.canvas->getPixel(3, 3), green);
    PXApp::bUsingDirectDraw = 0;
}

class LogCursor : public PXCursor {
public:
    explicit LogCursor(std::vector<std::string>* log, const char* name) : log_(log), name_(name) {}
    void set(PXWndCanvas*) override { log_->push_back(name_ + " set"); }
    void unInstall() override { log_->push_back(name_ + " unInstall"); }
    void vActivate() override { log_->push_back(name_ + " activate"); }
    void vDeactivate() override { log_->push_back(name_ + " deactivate"); }
    void vHide() override { log_->push_back(name_ + " hide"); }
    void vShow() override { log_->push_back(name_ + " show"); }
    std::vector<std::string>* log_;
    std::string name_;
};

TEST_F(HeadlessWindow, CursorsHearWhenTheyAreSetReplacedActivatedAndHidden) {
    PXWindow w(PXRect(0, 0, 16, 16), PXWindowStyleNormal, PXWindowRectClient);
    app.runPass();  // the window takes the focus
    LogCursor a(&log, "a"), b(&log, "b");
    w.canvas->setCursor(&a);
    w.canvas->setCursor(&a);  // the same cursor again: nothing
    EXPECT_EQ(PXCursor::getCurrent(), &a);
    w.canvas->setCursor(&b);
    PXCursor::setHidden(1);
    PXCursor::setHidden(1);
    PXCursor::setHidden(0);
    char why[64];
    ASSERT_EQ(PXHeadlessInjectText("0 deactivate\n0 activate\n0 leave\n0 enter\n", why, sizeof why), 4);
    app.runPass();
    w.canvas->setCursor(nullptr);
    EXPECT_EQ(PXCursor::getCurrent(), nullptr);
    EXPECT_EQ(log, (std::vector<std::string>{"a set", "a unInstall", "b set", "b hide", "b show", "b deactivate",
                                             "b activate", "b hide", "b show", "b unInstall"}));
    {
        LogCursor gone(&log, "gone");
        w.canvas->setCursor(&gone);
    }
    EXPECT_EQ(w.canvas->getCursor(), nullptr) << "a destroyed cursor leaves its canvas";
    EXPECT_EQ(PXCursor::getCurrent(), nullptr);
    PXCursor::scSetVisible(0);
    EXPECT_EQ(PXCursor::scIsVisible(), 0);
    PXCursor::scSetVisible(1);
}

TEST_F(HeadlessWindow, TheTickClockMovesOnEachReadingSoBusyWaitsEnd) {
    uint32_t start = PXSysTickCount();
    int readings = 0;
    while (PXSysTickCount() - start < 25) ++readings;
    EXPECT_EQ(readings, 24);
    EXPECT_EQ(PXSysMilliSecCount(), 1000u) << "the millisecond clock did not move";
}

}  // namespace
