// The seam between pxbase and a platform. A backend is a table of operations
// chosen once, at start-up; nothing above this seam knows which one runs.
//
// The headless backend is built into pxbase and is the default: it has no
// devices, its clock is virtual and moves only when the task loop finishes a
// pass, so everything that runs on it is reproducible.
#pragma once

#include <cstdint>

#include "pxbase/export.h"

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
    virtual void showMessage(const char* text, unsigned flags, const char* title) = 0;
};

// The backend in use; the headless one until another is installed.
PX_API PXBackend& PXSysBackend();
// Installs a backend (not owned; it must outlive its use). Null puts the
// headless backend back.
PX_API void PXSysSetBackend(PXBackend* backend);

// The headless backend's own controls.
PX_API PXBackend& PXHeadlessBackend();
// Sets the virtual clock (it starts at 1000 ms).
PX_API void PXHeadlessSetClock(uint32_t ms);
// Milliseconds the clock moves after each pass of the task loop (default 10).
PX_API void PXHeadlessSetTickMs(uint32_t ms);
PX_API uint32_t PXHeadlessTickMs();
