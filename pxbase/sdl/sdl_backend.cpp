// The sdl backend: SDL2 windows that show their window canvas, SDL's mouse
// and key events delivered to the windows between passes of the task loop,
// the real clock, and sound through the mixer (sdl_sound.cpp).
//
// Presenting: the window canvas keeps the picture; a changed rectangle is
// copied (and converted, if the canvas has another depth) to the window's
// surface and that rectangle of the window is updated at once, so what is
// blitted shows before the blit returns.
#include "sdl_backend.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "canvas_surface.h"
#include "pxbase/app.h"
#include "pxbase/window.h"
#include "pxbase/wnd_canvas.h"
#include "sdl_sound.h"

struct PXNativeWindow {
    SDL_Window* window;
    uint32_t owner;  // PXWindow id
};

namespace {

int keyCode(SDL_Keycode k) {
    if (k >= 32 && k < 127) return static_cast<int>(k);  // SDL gives ASCII here
    switch (k) {
        case SDLK_BACKSPACE: return PXKeyBackspace;
        case SDLK_TAB: return PXKeyTab;
        case SDLK_RETURN:
        case SDLK_KP_ENTER: return PXKeyReturn;
        case SDLK_ESCAPE: return PXKeyEscape;
        case SDLK_DELETE: return PXKeyDelete;
        case SDLK_LEFT: return PXKeyLeft;
        case SDLK_RIGHT: return PXKeyRight;
        case SDLK_UP: return PXKeyUp;
        case SDLK_DOWN: return PXKeyDown;
        case SDLK_HOME: return PXKeyHome;
        case SDLK_END: return PXKeyEnd;
        case SDLK_PAGEUP: return PXKeyPageUp;
        case SDLK_PAGEDOWN: return PXKeyPageDown;
        case SDLK_INSERT: return PXKeyInsert;
        case SDLK_LSHIFT:
        case SDLK_RSHIFT: return PXKeyShift;
        case SDLK_LCTRL:
        case SDLK_RCTRL: return PXKeyControl;
        case SDLK_LALT:
        case SDLK_RALT: return PXKeyAlt;
        default: break;
    }
    if (k >= SDLK_F1 && k <= SDLK_F12) return PXKeyF1 + static_cast<int>(k - SDLK_F1);
    return PXKeyUnknown;
}

class SdlBackend final : public PXBackend {
public:
    const char* name() const override { return "sdl"; }
    uint32_t milliSecCount() override { return SDL_GetTicks(); }
    // A short sleep, so a loop of quick tasks does not hold a core.
    void endOfPass() override { SDL_Delay(1); }
    uint32_t tickCount() override { return SDL_GetTicks(); }

    int displayDepth(int display) override {
        SDL_DisplayMode mode;
        if (SDL_GetCurrentDisplayMode(display, &mode) != 0 &&
            SDL_GetCurrentDisplayMode(0, &mode) != 0)
            return 32;
        // Bytes, not bits: a 24-bit display keeps its pixels in 32-bit words.
        return SDL_BYTESPERPIXEL(mode.format) * 8;
    }

    PXNativeWindow* openWindow(PXWindow* owner, const PXRect& screen, int style, int* depth) override {
        Uint32 flags = SDL_WINDOW_SHOWN;
        if (style == PXWindowStyleBorderless) flags |= SDL_WINDOW_BORDERLESS;
        SDL_Window* w = SDL_CreateWindow("baublecore", screen.left, screen.top,
                                         static_cast<int>(screen.width()),
                                         static_cast<int>(screen.height()), flags);
        if (!w) {
            std::fprintf(stderr, "pxbase: no window: %s\n", SDL_GetError());
            if (depth) *depth = displayDepth(0);
            return nullptr;
        }
        if (depth) *depth = SDL_BYTESPERPIXEL(SDL_GetWindowPixelFormat(w)) * 8;
        return new PXNativeWindow{w, owner->getId()};
    }

    void closeWindow(PXNativeWindow* native) override {
        if (!native) return;
        SDL_DestroyWindow(native->window);
        delete native;
    }

    void presentWindow(PXNativeWindow* native, PXWndCanvas* canvas, const PXRect& area) override {
        if (!native) return;
        SDL_Surface* picture = PXSurfaceOf(canvas);
        SDL_Surface* screen = SDL_GetWindowSurface(native->window);
        if (!picture || !screen) return;
        PXRect r = area * PXRect(0, 0, picture->w, picture->h);
        r *= PXRect(0, 0, screen->w, screen->h);
        if (r.isEmpty()) return;
        PXSurfaceUseKey(canvas->surface(), false);
        SDL_Rect rect{r.left, r.top, static_cast<int>(r.width()), static_cast<int>(r.height())};
        SDL_Rect to = rect;
        SDL_BlitSurface(picture, &rect, screen, &to);
        SDL_UpdateWindowSurfaceRects(native->window, &rect, 1);
    }

    void setSystemCursorVisible(int visible) override { SDL_ShowCursor(visible ? SDL_ENABLE : SDL_DISABLE); }

    void pollEvents() override {
        SDL_Event e;
        while (SDL_PollEvent(&e)) deliver(e);
    }

    PXSoundChunk* soundLoad(const PXWaveInfo& wave) override { return pxsdl::soundLoad(wave); }
    void soundUnload(PXSoundChunk* chunk) override { pxsdl::soundUnload(chunk); }
    int soundStart(PXSoundChunk* chunk, uint32_t voice, int playCount, int volume, int pan) override {
        return pxsdl::soundStart(chunk, voice, playCount, volume, pan);
    }
    void soundStop(uint32_t voice) override { pxsdl::soundStop(voice); }
    void soundPause(uint32_t voice, int pause) override { pxsdl::soundPause(voice, pause); }
    void soundSetVolume(uint32_t voice, int volume, int pan) override {
        pxsdl::soundSetVolume(voice, volume, pan);
    }

private:
    // Our window for an SDL window id, 0 when it is not one of ours.
    static uint32_t ownerOf(Uint32 sdlId) {
        SDL_Window* w = SDL_GetWindowFromID(sdlId);
        for (int32_t i = 0; PXWindow* pw = PXWindow::windowAt(i); ++i)
            if (pw->native() && pw->native()->window == w) return pw->getId();
        return 0;
    }

    static void send(PXInputKind kind, uint32_t owner, int x = 0, int y = 0, int key = 0) {
        if (!owner) return;  // a window that is gone, or not ours
        PXInputEvent ev;
        ev.kind = kind;
        ev.window = owner;
        ev.x = x;
        ev.y = y;
        ev.key = key;
        PXWindow::deliver(ev);
    }

    static void deliver(const SDL_Event& e) {
        switch (e.type) {
            case SDL_QUIT:
                if (PXApp::theApp) PXApp::theApp->stop();
                break;
            case SDL_MOUSEMOTION:
                send(PXInputMouseMove, ownerOf(e.motion.windowID), e.motion.x, e.motion.y);
                break;
            case SDL_MOUSEBUTTONDOWN:
                // The one button of the contract is the left one. Every second
                // click of a quick series is a double click, as the platform
                // reports them.
                if (e.button.button != SDL_BUTTON_LEFT) break;
                send(e.button.clicks % 2 == 0 ? PXInputMouseDblClick : PXInputMouseDown,
                     ownerOf(e.button.windowID), e.button.x, e.button.y);
                break;
            case SDL_MOUSEBUTTONUP:
                if (e.button.button != SDL_BUTTON_LEFT) break;
                send(PXInputMouseUp, ownerOf(e.button.windowID), e.button.x, e.button.y);
                break;
            case SDL_KEYDOWN:
            case SDL_KEYUP:
                send(e.type == SDL_KEYDOWN ? PXInputKeyDown : PXInputKeyUp, ownerOf(e.key.windowID), 0, 0,
                     keyCode(e.key.keysym.sym));
                break;
            case SDL_WINDOWEVENT: deliverWindowEvent(e.window); break;
            default: break;
        }
    }

    static void deliverWindowEvent(const SDL_WindowEvent& w) {
        uint32_t owner = ownerOf(w.windowID);
        switch (w.event) {
            case SDL_WINDOWEVENT_CLOSE: send(PXInputClose, owner); break;
            case SDL_WINDOWEVENT_EXPOSED: send(PXInputDraw, owner); break;
            case SDL_WINDOWEVENT_MOVED: send(PXInputMoved, owner, w.data1, w.data2); break;
            case SDL_WINDOWEVENT_SIZE_CHANGED: send(PXInputSized, owner); break;
            case SDL_WINDOWEVENT_MINIMIZED: send(PXInputMinimized, owner); break;
            case SDL_WINDOWEVENT_MAXIMIZED: send(PXInputMaximized, owner); break;
            case SDL_WINDOWEVENT_RESTORED: send(PXInputRestored, owner); break;
            case SDL_WINDOWEVENT_FOCUS_GAINED: send(PXInputActivate, owner); break;
            case SDL_WINDOWEVENT_FOCUS_LOST: send(PXInputDeactivate, owner); break;
            case SDL_WINDOWEVENT_ENTER: send(PXInputMouseEnter, owner); break;
            case SDL_WINDOWEVENT_LEAVE: send(PXInputMouseLeave, owner); break;
            default: break;
        }
    }
};

SdlBackend* opened = nullptr;

// At exit the mixer is closed, so its device gets all it was given. SDL's
// video stays up: windows may outlive this handler, and the process's end
// closes the display connection anyway.
void shutdown() { pxsdl::soundShutdown(); }

}  // namespace

extern "C" PXBackend* PXSdlBackendOpen(char* why, size_t whySize) {
    if (opened) return opened;
    if (SDL_Init(SDL_INIT_VIDEO | SDL_INIT_EVENTS) != 0 || SDL_GetNumVideoDisplays() < 1) {
        if (why && whySize > 0) std::snprintf(why, whySize, "%s", SDL_GetError());
        SDL_Quit();
        return nullptr;
    }
    // SDL falls back on drivers that show nothing. They count as a display
    // only when asked for by name (a test that needs SDL without a screen).
    const char* driver = SDL_GetCurrentVideoDriver();
    const char* asked = SDL_GetHint(SDL_HINT_VIDEODRIVER);
    bool invisible = driver && (!std::strcmp(driver, "offscreen") || !std::strcmp(driver, "dummy"));
    if (invisible && !(asked && std::strstr(asked, driver))) {
        if (why && whySize > 0) std::snprintf(why, whySize, "SDL has only its '%s' video driver", driver);
        SDL_Quit();
        return nullptr;
    }
    opened = new SdlBackend;
    std::atexit(shutdown);
    return opened;
}

SDL_Window* PXSdlWindowOf(const PXWindow* window) {
    return window && window->native() ? window->native()->window : nullptr;
}

void PXSdlCloseSound() { pxsdl::soundShutdown(); }
