// Controls of the headless backend: the display it pretends to have, and
// input injected at a given pass of the task loop.
//
// Passes are counted from 0: PXHeadlessPass() is the number of the pass that
// is running, or that runs next. An event queued for pass P is delivered
// after the tasks of pass P, before the clock moves on, exactly as a real
// event would be; an event for a pass already gone is delivered at the end
// of the next pass.
//
// The event text, one event a line, '#' starting a comment:
//     PASS KIND [ARGS]
// PASS counts from the pass at which the text is queued (0: that pass).
// KIND and ARGS:
//     down X Y | up X Y | move X Y | dblclick X Y   mouse, window coordinates
//     keydown K | keyup K | key K                   K: one printable character,
//                                                   a code of two digits or
//                                                   more, or a name:
//                                                   return escape space tab
//                                                   backspace delete left
//                                                   right up down
//     enter | leave | activate | deactivate | close | draw
// `key` stands for a keydown and a keyup at the same pass.
// Events go to the active window (or the oldest window when none is active).
#pragma once

#include <cstddef>
#include <cstdint>

#include "pxbase/export.h"
#include "pxbase/window.h"

// Number of the pass running now (or next, between passes).
PX_API uint64_t PXHeadlessPass();
// Bits per pixel of the pretended display (8, 16, 24 or 32; default 16).
PX_API void PXHeadlessSetDisplayDepth(int depth);
// Milliseconds the clock jumps while a sound is prepared (default 0), to
// make the sound manager's lost-time reports testable.
PX_API void PXHeadlessSetSoundLoadMs(uint32_t ms);

// Queues one event for pass `pass` (absolute).
PX_API void PXHeadlessInject(uint64_t pass, const PXInputEvent& event);
// Parses event text and queues it. Returns the number of events queued, or
// -1 with the first error ("line N: ...") in `why`; nothing is queued then.
PX_API int PXHeadlessInjectText(const char* text, char* why, size_t whySize);
// The same from a file (at most 1 MiB).
PX_API int PXHeadlessLoadEvents(const char* path, char* why, size_t whySize);
// Drops every queued event.
PX_API void PXHeadlessClearEvents();
PX_API size_t PXHeadlessPendingEvents();
