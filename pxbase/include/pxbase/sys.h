// The system calls the library makes: messages to the user, the millisecond
// clock and the end of the process. Each goes through the backend or through
// a hook that a host or a test installs, never straight to the platform.
#pragma once

#include <cstdint>

#include "pxbase/export.h"

// Shows `text` to the user and returns when it was dismissed. The text goes
// to the backend (standard error when headless) and to the installed handler.
PX_API int PXSysUserMessage(const char* text, unsigned flags, const char* title);

using PXUserMessageHandler = void (*)(const char* text, unsigned flags, const char* title,
                                      void* context);
// Installs a handler that also receives every message; null removes it.
PX_API void PXSysSetUserMessageHandler(PXUserMessageHandler handler, void* context);

// A millisecond clock that only goes up.
PX_API uint32_t PXSysMilliSecCount();

// A tick clock for busy waits: real milliseconds under sdl; headless it
// moves one tick at each reading, so a wait for N ticks ends after N
// readings instead of hanging on a clock that only the loop moves.
PX_API uint32_t PXSysTickCount();
// Bits per pixel of a display (0: the usual one), as canvases take it.
PX_API int PXSysNumColors(int display);

// Ends the process with this exit code. A host or a test may install a hook
// that runs first (to flush, or to record the code); the process ends anyway.
using PXExitHook = void (*)(int code, void* context);
PX_API void PXSysSetExitHook(PXExitHook hook, void* context);
[[noreturn]] PX_API void PXSysExit(int code);
