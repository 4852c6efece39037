// bauble: the command-line host. It only calls the public API.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/baublecore.h"
#include "commands.h"

using bauble::usageError;

namespace {

const char kUsage[] =
    "usage: bauble [--help] [--version] COMMAND [ARGS]\n"
    "\n"
    "Runs scripted 2D scenes.\n"
    "\n"
    "commands:\n"
    "  run         run a script: bauble run [--headless] [--tick-ms N] [--max-ticks N]\n"
    "              [--seed N] [--trace] SCRIPT\n"
    "  compile     write the compiled file of a script: bauble compile SCRIPT -o OUT\n"
    "  inspect     show the statements, code words and heap records of a compiled\n"
    "              script: bauble inspect FILE\n"
    "  demo        run the embedded demo: bauble demo [--headless]\n"
    "  ao          make and inspect animation files: bauble ao info FILE [--json],\n"
    "              bauble ao pack IN.png -o OUT.ao [--transparent N] [--palette OUT.rgb],\n"
    "              bauble ao build --fps N [--once|--loop|--hold] [--transparent N]\n"
    "              FRAME.png... -o OUT.ao\n"
    "  palette     an indexed PNG's palette to a palette file, or back to a PNG:\n"
    "              bauble palette IN -o OUT\n"
    "\n"
    "options:\n"
    "  --help      show this text and exit\n"
    "  --version   show the library version and exit\n";

// The embedded demo: the library's version, then a short run of the task
// loop that draws a moving square in a window, checked against the clock
// and the window's pixels. It asks for the sdl backend (a real window)
// unless told --headless; without a display pxbase falls back to headless.
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
    return ok ? 0 : 1;
}

}  // namespace

namespace bauble {

int usageError(const char* what, const char* arg) {
    std::fprintf(stderr, "bauble: %s '%s'\n", what, arg);
    std::fprintf(stderr, "Try 'bauble --help' for more information.\n");
    return kExitUsage;
}

bool numberOption(const char* option, const char* text, long& out) {
    char* end = nullptr;
    out = std::strtol(text, &end, 10);
    if (!*text || *end) {
        usageError("not a number for", option);
        return false;
    }
    return true;
}

}  // namespace bauble

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const char* cmd = argv[1];
    if (!std::strcmp(cmd, "--help") || !std::strcmp(cmd, "-h")) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (!std::strcmp(cmd, "--version")) {
        std::printf("bauble %s\n", BCSysGetVersion());
        return 0;
    }
    if (!std::strcmp(cmd, "run")) return bauble::runCommand(argc - 2, argv + 2);
    if (!std::strcmp(cmd, "compile")) return bauble::compileCommand(argc - 2, argv + 2);
    if (!std::strcmp(cmd, "inspect")) return bauble::inspectCommand(argc - 2, argv + 2);
    if (!std::strcmp(cmd, "ao") || !std::strcmp(cmd, "palette")) return bauble::aoCommandsMain(argc, argv);
    if (!std::strcmp(cmd, "demo")) {
        bool headless = argc > 2 && !std::strcmp(argv[2], "--headless");
        int used = headless ? 3 : 2;
        if (argc > used) return usageError("unexpected argument", argv[used]);
        return demo(headless);
    }
    if (cmd[0] == '-') return usageError("unknown option", cmd);
    return usageError("unknown command", cmd);
}
