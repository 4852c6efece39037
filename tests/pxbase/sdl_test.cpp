// The sdl backend on real devices: a window on an X server of its own (Xvfb,
// started and stopped here) read back through SDL and through a screenshot,
// platform events delivered to the window, and a sound played through SDL's
// disk audio driver into a file. The backend is chosen once a process, so
// the tests share one X server.
#include <SDL.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "pxbase/app.h"
#include "pxbase/backend.h"
#include "pxbase/link.h"
#include "pxbase/mem_canvas.h"
#include "pxbase/stream.h"
#include "pxbase/wave_sound.h"
#include "pxbase/window.h"
#include "pxbase/wnd_canvas.h"
#include "sdl_backend.h"

extern char** environ;

// SDL's start-up asks the session bus through libdbus, which keeps a buffer
// it never frees. That one library's allocations are not ours to answer for.
extern "C" __attribute__((visibility("default"), used)) const char* __lsan_default_suppressions() { return "leak:libdbus-1.so\n"; }

namespace {

namespace fs = std::filesystem;

// Runs a program with its output thrown away; returns its exit status, or
// -1 when it could not be started.
pid_t spawnQuiet(std::vector<std::string> args) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

int runQuiet(std::vector<std::string> args) {
    pid_t pid = spawnQuiet(std::move(args));
    if (pid < 0) return -1;
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// An X server of our own on a display number it picks itself (-displayfd),
// so parallel tests never race for one.
class XServer {
public:
    bool start(std::string& why) {
        int fds[2];
        if (pipe(fds) != 0) {
            why = "no pipe";
            return false;
        }
        pid_ = spawnQuiet({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", "640x480x24",
                           "-nolisten", "tcp"});
        close(fds[1]);
        if (pid_ < 0) {
            close(fds[0]);
            why = "Xvfb could not be started";
            return false;
        }
        // The server writes its display number once it accepts clients; wait
        // a while for that (this bounds the wait, it measures nothing).
        std::string number;
        pollfd p{fds[0], POLLIN, 0};
        while (poll(&p, 1, 20000) > 0) {
            char c;
            if (read(fds[0], &c, 1) != 1 || c == '\n') break;
            number += c;
        }
        close(fds[0]);
        if (number.empty()) {
            why = "Xvfb did not report a display";
            return false;
        }
        display = ":" + number;
        return true;
    }
    ~XServer() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }
    std::string display;

private:
    pid_t pid_ = -1;
};

// One X server for the whole process, started at the first need. It is
// stopped at exit, after SDL has let go of it (the backend's own exit
// handler is registered later, so it runs first).
XServer* sharedServer(std::string& why) {
    static XServer server;
    static bool tried = false, up = false;
    static std::string reason;
    if (!tried) {
        tried = true;
        up = server.start(reason);
        if (up) setenv("DISPLAY", server.display.c_str(), 1);
    }
    why = reason;
    return up ? &server : nullptr;
}

// Starts the X server and the sdl backend on it, or skips the test when no
// X server can be started here.
#define START_X_OR_SKIP(display)                                                            \
    do {                                                                                    \
        std::string why;                                                                    \
        XServer* server = sharedServer(why);                                                \
        if (!server) GTEST_SKIP() << "no X server could be started: " << why;               \
        (display) = server->display;                                                        \
        ASSERT_STREQ(PXSysChooseBackend("sdl"), "sdl") << "SDL did not take the X server"; \
    } while (0)

void pump(PXApp& app, int passes) {
    for (int i = 0; i < passes; ++i) app.runPass();
}

// A 16-bit picture of four bands and a square, blitted to the window.
void paint(PXWindow& w) {
    PXMemCanvas picture(w.canvas->getWidth(), w.canvas->getHeight(), 16, 1);
    const PXColor bands[] = {{0xFFFF, 0, 0}, {0, 0xFFFF, 0}, {0, 0, 0xFFFF}, {0xFFFF, 0xFFFF, 0}};
    int bw = picture.getWidth() / 4;
    for (int i = 0; i < 4; ++i) {
        picture.fillColor = bands[i];
        picture.draw(PXRect(i * bw, 0, (i + 1) * bw, picture.getHeight()));
    }
    picture.fillColor = PXColor(0xFFFF, 0xFFFF, 0xFFFF);
    picture.draw(PXRect(20, 20, 50, 50));
    w.canvas->blt(&picture, 0, 0, picture.getWidth(), picture.getHeight(), 0, 0, kPXRopCopy, nullptr);
}

TEST(SdlWindow, ShowsWhatIsBlittedToItsCanvas) {
    std::string display;
    START_X_OR_SKIP(display);
    PXApp app;
    PXWindow w(PXRect(40, 30, 200, 150), PXWindowStyleNormal, PXWindowRectClient);
    SDL_Window* sw = PXSdlWindowOf(&w);
    ASSERT_NE(sw, nullptr);
    pump(app, 20);
    paint(w);
    pump(app, 5);
    SDL_Surface* shown = SDL_GetWindowSurface(sw);
    ASSERT_NE(shown, nullptr);
    ASSERT_EQ(shown->w, 160);
    ASSERT_EQ(shown->h, 120);
    int differ = 0;
    for (int y = 0; y < 120; ++y)
        for (int x2 = 0; x2 < 160; ++x2) {
            uint32_t v = 0;
            std::memcpy(&v, static_cast<uint8_t*>(shown->pixels) + y * shown->pitch + x2 * shown->format->BytesPerPixel,
                        shown->format->BytesPerPixel);
            Uint8 r, g, b;
            SDL_GetRGB(v, shown->format, &r, &g, &b);
            PXColor want = w.canvas->getPixelColor(x2, y);
            differ += r != want.red >> 8 || g != want.green >> 8 || b != want.blue >> 8;
        }
    EXPECT_EQ(differ, 0);
    EXPECT_EQ(w.canvas->getPixelColor(10, 100), PXColor(0xFFFF, 0, 0));
}

// Reads a screenshot in X's window dump format (xwd): big-endian header
// words, the window name, the colour table, then the rows.
struct Dump {
    int width = 0, height = 0, bytesPerPixel = 0, bytesPerLine = 0;
    uint32_t rmask = 0, gmask = 0, bmask = 0;
    bool lsbFirst = true;
    std::string data;
    size_t start = 0;

    bool read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        data.assign(std::istreambuf_iterator<char>(in), {});
        if (data.size() < 100) return false;
        auto word = [&](int i) {
            const auto* p = reinterpret_cast<const uint8_t*>(data.data()) + i * 4;
            return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
        };
        width = static_cast<int>(word(4));
        height = static_cast<int>(word(5));
        lsbFirst = word(7) == 0;
        bytesPerPixel = static_cast<int>(word(11) / 8);
        bytesPerLine = static_cast<int>(word(12));
        rmask = word(14);
        gmask = word(15);
        bmask = word(16);
        start = word(0) + size_t{word(19)} * 12;
        return bytesPerPixel >= 1 && bytesPerPixel <= 4 &&
               start + size_t(bytesPerLine) * height <= data.size() && width * bytesPerPixel <= bytesPerLine;
    }
    // 0xRRGGBB of a pixel.
    uint32_t rgb(int x, int y) const {
        const auto* p = reinterpret_cast<const uint8_t*>(data.data()) + start + size_t(y) * bytesPerLine +
                        size_t(x) * bytesPerPixel;
        uint32_t v = 0;
        for (int i = 0; i < bytesPerPixel; ++i)
            v |= uint32_t{p[lsbFirst ? i : bytesPerPixel - 1 - i]} << (8 * i);
        auto channel = [v](uint32_t mask) {
            int shift = 0;
            while (mask && !(mask & 1)) mask >>= 1, ++shift;
            return ((v >> shift) & mask) * 255 / (mask ? mask : 1);
        };
        return channel(rmask) << 16 | channel(gmask) << 8 | channel(bmask);
    }
};

TEST(SdlWindow, AScreenshotShowsTheWindowsPicture) {
    std::string display;
    START_X_OR_SKIP(display);
    PXApp app;
    PXWindow w(PXRect(40, 30, 200, 150), PXWindowStyleBorderless, PXWindowRectClient);
    pump(app, 20);
    paint(w);
    auto rgbOf = [](const PXColor& c) {
        return uint32_t(c.red >> 8) << 16 | uint32_t(c.green >> 8) << 8 | uint32_t(c.blue >> 8);
    };
    // Where the window stands, the screen must show the window canvas's
    // pixels (at 8 bits a channel, as the X server keeps them). The server
    // maps the window in its own time, and its exposure repaints it, so a
    // few shots are allowed before the last one is judged.
    fs::path shot = fs::temp_directory_path() / ("pxbase-shot-" + std::to_string(getpid()) + ".xwd");
    Dump d;
    int differ = -1;
    for (int attempt = 0; attempt < 30 && differ != 0; ++attempt) {
        pump(app, 20);
        ASSERT_EQ(runQuiet({"xwd", "-root", "-silent", "-display", display, "-out", shot.string()}), 0);
        ASSERT_TRUE(d.read(shot.string()));
        ASSERT_EQ(d.width, 640);
        differ = 0;
        for (int y = 0; y < 120; y += 3)
            for (int x2 = 0; x2 < 160; x2 += 3) differ += d.rgb(40 + x2, 30 + y) != rgbOf(w.canvas->getPixelColor(x2, y));
    }
    fs::remove(shot);
    EXPECT_EQ(differ, 0);
    // Not blank: the bands and the square are there, and black around.
    std::vector<uint32_t> seen;
    for (int y = 0; y < d.height; y += 4)
        for (int x2 = 0; x2 < d.width; x2 += 4) seen.push_back(d.rgb(x2, y));
    std::sort(seen.begin(), seen.end());
    seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
    EXPECT_GE(seen.size(), 5u);
    EXPECT_EQ(d.rgb(40 + 5, 30 + 100), 0xFF0000u);
    EXPECT_EQ(d.rgb(40 + 85, 30 + 100), 0x0000FFu);
    EXPECT_EQ(d.rgb(10, 10), 0x000000u) << "outside the window";
}

class Recorder : public PXWindow {
public:
    Recorder() : PXWindow(PXRect(0, 0, 100, 80), PXWindowStyleNormal, PXWindowRectClient) {}
    void mouseDown() override { note("down"); }
    void mouseUp() override { note("up"); }
    void mouseDblClick() override { note("dbl"); }
    void mouseMove() override { note("move"); }
    void keyDown(int key) override { log.push_back("key " + std::to_string(key)); }
    void close() override { log.push_back("close"); }
    void note(const char* what) {
        PXPoint p = PXEventGetMouse();
        log.push_back(std::string(what) + " " + std::to_string(p.x) + "," + std::to_string(p.y) +
                      (std::this_thread::get_id() == loop ? "" : " (other thread)"));
    }
    std::vector<std::string> log;
    std::thread::id loop = std::this_thread::get_id();
};

TEST(SdlWindow, PlatformEventsReachTheWindowsOperations) {
    std::string display;
    START_X_OR_SKIP(display);
    PXApp app;
    Recorder w;
    pump(app, 20);
    w.log.clear();
    Uint32 id = SDL_GetWindowID(PXSdlWindowOf(&w));
    auto push = [&](SDL_Event e) { SDL_PushEvent(&e); };
    SDL_Event e{};
    e.type = SDL_MOUSEBUTTONDOWN;
    e.button.windowID = id;
    e.button.button = SDL_BUTTON_LEFT;
    e.button.clicks = 1;
    e.button.x = 12;
    e.button.y = 34;
    push(e);
    e.type = SDL_MOUSEBUTTONUP;
    push(e);
    e.type = SDL_MOUSEBUTTONDOWN;
    e.button.clicks = 2;
    push(e);
    e.button.button = SDL_BUTTON_RIGHT;  // not the button of the contract
    push(e);
    SDL_Event k{};
    k.type = SDL_KEYDOWN;
    k.key.windowID = id;
    k.key.keysym.sym = SDLK_LEFT;
    push(k);
    k.key.keysym.sym = 'z';
    push(k);
    SDL_Event c{};
    c.type = SDL_WINDOWEVENT;
    c.window.windowID = id;
    c.window.event = SDL_WINDOWEVENT_CLOSE;
    push(c);
    app.runPass();
    std::vector<std::string> want = {"down 12,34", "up 12,34", "dbl 12,34", "key " + std::to_string(PXKeyLeft),
                                     "key 122", "close"};
    // The X server may add motion or focus of its own; only ours are checked.
    std::vector<std::string> ours;
    for (auto& s : w.log)
        if (s.rfind("move", 0) != 0) ours.push_back(s);
    EXPECT_EQ(ours, want);
}

std::vector<uint8_t> wav16(uint32_t frames, std::vector<int16_t>& samples) {
    std::mt19937 gen(21);
    samples.resize(frames * 2);
    for (auto& s : samples) s = static_cast<int16_t>(static_cast<int>(gen() % 50000) - 25000);
    std::vector<uint8_t> v = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ',
                              16, 0, 0, 0, 1, 0, 2, 0};
    auto put32 = [&](uint32_t x) {
        for (int i = 0; i < 4; ++i) v.push_back((x >> (8 * i)) & 0xFF);
    };
    put32(44100);
    put32(44100 * 4);
    v.insert(v.end(), {4, 0, 16, 0, 'd', 'a', 't', 'a'});
    put32(frames * 4);
    const auto* bytes = reinterpret_cast<const uint8_t*>(samples.data());
    v.insert(v.end(), bytes, bytes + frames * 4);
    uint32_t riff = static_cast<uint32_t>(v.size() - 8);
    std::memcpy(&v[4], &riff, 4);
    return v;
}

TEST(SdlSound, APlayedWaveReachesTheDeviceAndItsLinksFireOnTheLoopThread) {
    fs::path out = fs::temp_directory_path() / ("pxbase-audio-" + std::to_string(getpid()) + ".raw");
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", out.c_str(), 1);
    // Sound needs no screen: without an X server SDL's dummy video, asked
    // for by name, will do.
    std::string why;
    if (!sharedServer(why)) setenv("SDL_VIDEODRIVER", "dummy", 1);
    ASSERT_STREQ(PXSysChooseBackend("sdl"), "sdl");
    PXApp app;
    std::vector<int16_t> samples;
    std::vector<uint8_t> file = wav16(44100 / 5, samples);  // 200 ms
    PXIStreamMemory stream(file.data(), file.size(), "noise.wav");
    PXWaveSound sound(&stream, false);
    struct Log {
        std::vector<std::string> events;
        std::thread::id loop = std::this_thread::get_id();
        void begun() { events.push_back(std::this_thread::get_id() == loop ? "begin" : "begin elsewhere"); }
        void ended() { events.push_back(std::this_thread::get_id() == loop ? "end" : "end elsewhere"); }
    } log;
    PXLinkToMember<Log> b(&log, &Log::begun), e(&log, &Log::ended);
    sound.beginningSetLink(&b);
    sound.finishedSetLink(&e);
    ASSERT_TRUE(sound.play()) << sound.lastError();
    EXPECT_EQ(sound.getLengthMSec(), 200u);
    // Each pass sleeps a millisecond; the bound only keeps a broken device
    // from holding the test for ever.
    for (int i = 0; i < 20000 && log.events.size() < 2; ++i) app.runPass();
    EXPECT_EQ(log.events, (std::vector<std::string>{"begin", "end"}));
    PXSdlCloseSound();
    std::ifstream in(out, std::ios::binary);
    std::string written((std::istreambuf_iterator<char>(in)), {});
    fs::remove(out);
    const auto* want = reinterpret_cast<const char*>(samples.data());
    size_t n = samples.size() * 2;
    ASSERT_GE(written.size(), n);
    EXPECT_NE(std::search(written.begin(), written.end(), want, want + n), written.end())
        << "the samples are not in the device's output";
}

}  // namespace
