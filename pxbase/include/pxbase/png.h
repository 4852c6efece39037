// PNG files for canvases: goldens in tests, frames written by hosts.
//
// An 8-bit canvas is saved as a palette PNG, so its indices and palette come
// back exactly; deeper canvases are saved as 8-bit RGB, each channel widened
// so that its full scale is 255, and loading into a canvas of the same
// layout gives the same pixels back.
#pragma once

#include "pxbase/export.h"

class PXCanvas;
class PXMemCanvas;

// Writes the canvas; returns 1, or 0 when the canvas is invalid or the file
// cannot be written.
PX_API int PXPngSave(const PXCanvas* canvas, const char* path);

// Reads a PNG into a new canvas of this depth (0: 8 bits for a palette PNG,
// else 32). A palette PNG loaded at 8 bits keeps its indices and palette;
// anything else is converted, alpha dropped. Returns null, with the reason
// in `why` when given (at most whySize bytes, terminated), for a missing or
// malformed file or one larger than the canvas limit.
PX_API PXMemCanvas* PXPngLoad(const char* path, int depth, char* why = nullptr,
                              unsigned whySize = 0);
