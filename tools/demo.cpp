// bauble demo: the library's version, then a short run of the task loop that
// draws a moving square in a window, checked against the clock and the
// window's pixels. It asks for the sdl backend (a real window) unless told
// --headless; without a display pxbase falls back to headless.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstring>
#include <memory>

#include "baublecore/baublecore.h"
#include "commands.h"

namespace bauble {
namespace {

int demo(bool headless) {
    std::printf("baublecore %s\n", BCSysGetVersion());
    const char* backend = PXSysChooseBackend(headless ? "headless" : "sdl");
    const bool virtualClock = std::strcmp(backend, "headless") == 0;
    PXApp app;
    PXWindow window(PXRect(64, 64, 384, 304), PXWindowStyleNormal, PXWindowRectClient);
    PXWndCanvas* screen = window.canvas;
    const PXColor ground(0x1000, 0x3000, 0x5000), square(0xFFFF, 0xC000, 0x2000);
    // The picture is composed off screen and copied to the window once a
    // pass, so the window never shows half a picture.
    PXMemCanvas collector(screen->getWidth(), screen->getHeight(), screen->depth, 1);
    struct Scene {
        PXWndCanvas* screen;
        PXMemCanvas* collector;
        PXColor ground, square;
        bool virtualClock;
        uint32_t start;
        int passes = 0;
        void tick() {
            ++passes;
            int w = collector->getWidth(), h = collector->getHeight();
            collector->fillColor = ground;
            collector->draw(PXRect(0, 0, w, h));
            int x = 20 + (passes * 4) % 240;
            collector->fillColor = square;
            collector->draw(PXRect(x, 90, x + 60, 150));
            screen->blt(collector, 0, 0, w, h, 0, 0, kPXRopCopy, nullptr);
            // Headless, 50 passes; on a screen, about a second and a half.
            bool done = virtualClock ? passes == 50 : PXSysMilliSecCount() - start >= 1500;
            if (done) PXApp::theApp->stop();
        }
    } scene{screen, &collector, ground, square, virtualClock, PXSysMilliSecCount()};
    PXLinkToMember<Scene> link(&scene, &Scene::tick);
    PXTask task(&link, 0);
    app.addTask(&task);
    app.run();
    uint32_t elapsed = PXSysMilliSecCount() - scene.start;
    std::printf("task loop: %d passes, %u ms on the %s clock\n", scene.passes, elapsed, backend);
    // The last square stands at x..x+60; the pixels on and beside it must be
    // the colours drawn.
    int x = 20 + (scene.passes * 4) % 240;
    bool pixels = screen->valid() && screen->mapColor(square) != screen->mapColor(ground) &&
                  screen->getPixel(x + 30, 120) == screen->mapColor(square) &&
                  screen->getPixel(x + 30, 60) == screen->mapColor(ground);
    bool clock = virtualClock ? scene.passes == 50 && elapsed == 50 * PXHeadlessTickMs()
                              : scene.passes > 0 && elapsed >= 1500;
    bool ok = pixels && clock;
    std::printf("smoke check: %s\n", ok ? "ok" : "FAILED");
    return ok ? kExitOk : 1;
}

}  // namespace

void addDemoCommand(CLI::App& app) {
    CLI::App* demoCommand = app.add_subcommand("demo", "Run the embedded demo: a moving square, checked");
    auto headless = std::make_shared<bool>(false);
    demoCommand->add_flag("--headless", *headless, "Use the headless backend even with a display");
    demoCommand->callback([headless] { setExitStatus(demo(*headless)); });
}

}  // namespace bauble
