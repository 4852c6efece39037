// The headless backend: no devices, messages on standard error, and a virtual
// millisecond clock that starts at 1000 and moves a fixed step after each pass
// of the task loop, so runs repeat exactly.
#include <cstdio>

#include "pxbase/backend.h"

namespace {

class HeadlessBackend final : public PXBackend {
public:
    const char* name() const override { return "headless"; }
    uint32_t milliSecCount() override { return clock; }
    void endOfPass() override { clock += tickMs; }
    void showMessage(const char* text, unsigned, const char* title) override {
        if (title && *title)
            std::fprintf(stderr, "%s: %s\n", title, text);
        else
            std::fprintf(stderr, "%s\n", text);
        std::fflush(stderr);
    }

    uint32_t clock = 1000;
    uint32_t tickMs = 10;
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
