// The headless backend: no devices, messages on standard error, and a virtual
// millisecond clock that starts at 1000 and moves a fixed step after each pass
// of the task loop, so runs repeat exactly. Windows live in memory alone (the
// window canvas is the screen), a new window takes the focus at the end of
// the pass that opened it, and sounds are simulated by pxbase.
#include <cstdio>

#include "headless_events.h"
#include "pxbase/backend.h"
#include "pxbase/headless.h"
#include "pxbase/window.h"

namespace {

class HeadlessBackend final : public PXBackend {
public:
    const char* name() const override { return "headless"; }
    uint32_t milliSecCount() override { return clock; }
    void endOfPass() override {
        clock += tickMs;
        ++pass;
    }

    void pollEvents() override { PXHeadlessDeliverDue(pass); }
    uint32_t tickCount() override { return ticks++; }
    int displayDepth(int) override { return depth; }
    PXNativeWindow* openWindow(PXWindow* window, const PXRect&, int, int* d) override {
        if (d) *d = depth;
        PXInputEvent focus;
        focus.kind = PXInputActivate;
        focus.window = window->getId();
        PXHeadlessInject(pass, focus);
        return nullptr;
    }
    PXSoundChunk* soundLoad(const PXWaveInfo&) override {
        clock += soundLoadMs;
        return nullptr;
    }

    uint32_t clock = 1000;
    uint32_t tickMs = 10;
    uint32_t ticks = 0;
    uint64_t pass = 0;
    int depth = 16;
    uint32_t soundLoadMs = 0;
};

HeadlessBackend& instance() {
    static HeadlessBackend backend;
    return backend;
}

}  // namespace

PXBackend& PXHeadlessBackend() { return instance(); }
void PXHeadlessSetClock(uint32_t ms) { instance().clock = ms; }
void PXHeadlessSetTickMs(uint32_t ms) { instance().tickMs = ms; }
uint32_t PXHeadlessTickMs() { return instance().tickMs; }
uint64_t PXHeadlessPass() { return instance().pass; }
void PXHeadlessSetSoundLoadMs(uint32_t ms) { instance().soundLoadMs = ms; }

void PXHeadlessSetDisplayDepth(int depth) {
    // Only depths a canvas can have; anything else keeps the one set.
    if (depth == 8 || depth == 16 || depth == 24 || depth == 32) instance().depth = depth;
}
