// The seam between pxbase and a platform. A backend is a table of operations
// chosen once, at start-up; nothing above this seam knows which one runs.
//
// The headless backend is built into pxbase and is the default: it has no
// devices, its clock is virtual and moves only when the task loop finishes a
// pass, so everything that runs on it is reproducible. The sdl backend (its
// own library, libpxbase-sdl) shows real windows and plays real sound.
//
// One pass of the loop: the tasks, then pollEvents() (input reaches the
// windows), then SoundManager::service() (sound reports), then endOfPass().
#pragma once

#include <cstdint>

#include "pxbase/export.h"
#include "pxbase/rect.h"

class PXWindow;
class PXWndCanvas;
struct PXNativeWindow;
struct PXSoundChunk;
struct PXWaveInfo;

class PX_API PXBackend {
public:
    virtual ~PXBackend() = default;

    virtual const char* name() const = 0;
    // Milliseconds on a clock that only goes up.
    virtual uint32_t milliSecCount() = 0;
    // Called by the task loop after each pass over the tasks: the place to
    // pump platform events, or, headless, to advance the virtual clock.
    virtual void endOfPass() = 0;
    // Shows a message to the user and returns once it was seen.
    // The default writes the text (and its title) to standard error: no
    // backend shows a dialog, which would stop an unattended run.
    virtual void showMessage(const char* text, unsigned flags, const char* title);

    // Hands the input that is due to the windows, through PXWindow::deliver.
    virtual void pollEvents() {}
    // A tick clock for busy waits. It must move on each reading or with real
    // time, so that a loop waiting for it ends.
    virtual uint32_t tickCount() { return milliSecCount(); }
    // Bits per pixel of a display; 0 is the usual one.
    virtual int displayDepth(int display) {
        (void)display;
        return 16;
    }

    // Opens the platform side of a window showing `screen` (the drawing
    // area, on the screen). Sets `depth` to the depth its canvas should have.
    // Null is fine: the window then lives in memory alone.
    virtual PXNativeWindow* openWindow(PXWindow* window, const PXRect& screen, int style,
                                       int* depth) {
        (void)window, (void)screen, (void)style;
        if (depth) *depth = displayDepth(0);
        return nullptr;
    }
    virtual void closeWindow(PXNativeWindow* native) { (void)native; }
    // Shows the `area` of the window's canvas on the screen.
    virtual void presentWindow(PXNativeWindow* native, PXWndCanvas* canvas, const PXRect& area) {
        (void)native, (void)canvas, (void)area;
    }
    virtual void setSystemCursorVisible(int visible) { (void)visible; }

    // Sound. soundLoad prepares a checked WAV for playing, or gives null when
    // there is no device (voices are then simulated by pxbase). A started
    // voice is reported through SoundManager::noteBegun and noteFinished,
    // from any thread; soundStart returns 0 when it could not start one.
    virtual PXSoundChunk* soundLoad(const PXWaveInfo& wave) {
        (void)wave;
        return nullptr;
    }
    virtual void soundUnload(PXSoundChunk* chunk) { (void)chunk; }
    virtual int soundStart(PXSoundChunk* chunk, uint32_t voice, int playCount, int volume,
                           int pan) {
        (void)chunk, (void)voice, (void)playCount, (void)volume, (void)pan;
        return 0;
    }
    virtual void soundStop(uint32_t voice) { (void)voice; }
    virtual void soundPause(uint32_t voice, int pause) { (void)voice, (void)pause; }
    virtual void soundSetVolume(uint32_t voice, int volume, int pan) {
        (void)voice, (void)volume, (void)pan;
    }
};

// The backend in use; the headless one until another is installed.
PX_API PXBackend& PXSysBackend();
// Installs a backend (not owned; it must outlive its use). Null puts the
// headless backend back. Refused (with a message) while windows or prepared
// sounds exist, as they belong to the backend that made them.
PX_API void PXSysSetBackend(PXBackend* backend);

// The application's one choice of backend: "headless", or "sdl", which
// loads libpxbase-sdl from beside libpxbase and falls back to headless, with
// a message, when it cannot be loaded or SDL finds no display. Returns the
// name of the backend in use afterwards. Only the first call chooses; later
// ones return the choice made (and say so if they asked for another).
PX_API const char* PXSysChooseBackend(const char* name);

// The headless backend's own controls; more are in pxbase/headless.h.
PX_API PXBackend& PXHeadlessBackend();
// Sets the virtual clock (it starts at 1000 ms).
PX_API void PXHeadlessSetClock(uint32_t ms);
// Milliseconds the clock moves after each pass of the task loop (default 10).
PX_API void PXHeadlessSetTickMs(uint32_t ms);
PX_API uint32_t PXHeadlessTickMs();
