// The sdl backend: real windows, mouse and keys through SDL2, and sound
// through SDL2_mixer. Hosts reach it with PXSysChooseBackend("sdl"); this
// header is for tests that need the SDL side of a window.
#pragma once

#include <SDL.h>

#include <cstddef>

#include "pxbase/backend.h"
#include "pxbase/export.h"

class PXWindow;

// Opens the backend (once; later calls give the same one), or gives null
// with the reason when SDL finds no display.
extern "C" PX_API PXBackend* PXSdlBackendOpen(char* why, size_t whySize);

// The SDL window behind a window of ours, null when it has none.
PX_API SDL_Window* PXSdlWindowOf(const PXWindow* window);

// Closes the mixer, so that everything it played has reached its device
// (the disk driver's file among them). A later sound opens it again.
PX_API void PXSdlCloseSound();
