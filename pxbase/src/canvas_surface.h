// The pixel store behind a canvas: one SDL surface in system memory, which
// SDL's blitters, colour keys and palettes work on without any video device.
// Internal to pxbase and its backends.
#pragma once

#include <SDL.h>

#include <cstring>

#include "pxbase/canvas.h"
#include "pxbase/color.h"
#include "pxbase/export.h"

struct PXCanvasSurface {
    SDL_Surface* s = nullptr;
    PXColor palette[kPXPaletteSize];  // what setPalette gave (all depths)
    bool paletteActivated = false;    // activatePalette put other colours in force
    bool keyed = false;
    uint32_t key = 0;
    bool sdlKeyOn = false;  // the colour key as SDL now has it on `s`
    PXColor bkgd{0, 0, 0, -1};
};

// The surface of a canvas, null for an invalid one.
inline SDL_Surface* PXSurfaceOf(const PXCanvas* canvas) {
    return canvas && canvas->surface() ? canvas->surface()->s : nullptr;
}

// Makes the SDL surface of a canvas: 8 bits with a grey palette, or the
// given masks (0 for the default layout of the depth). Null when SDL does not
// know the layout or has no memory.
SDL_Surface* PXSurfaceCreate(int w, int h, int depth, uint32_t redMask, uint32_t greenMask,
                             uint32_t blueMask);

// Sets SDL's colour key on the surface as a blit needs it.
PX_API void PXSurfaceUseKey(PXCanvasSurface* cs, bool on);

// Reads and writes one pixel of 1 to 4 bytes (3: lowest byte first).
inline uint32_t PXReadPixel(const uint8_t* p, int bpp) {
    switch (bpp) {
        case 1: return p[0];
        case 2: {
            uint16_t v;
            std::memcpy(&v, p, 2);
            return v;
        }
        case 3: return p[0] | (p[1] << 8) | (static_cast<uint32_t>(p[2]) << 16);
        default: {
            uint32_t v;
            std::memcpy(&v, p, 4);
            return v;
        }
    }
}

inline void PXWritePixel(uint8_t* p, int bpp, uint32_t v) {
    switch (bpp) {
        case 1: p[0] = static_cast<uint8_t>(v); break;
        case 2: {
            auto h = static_cast<uint16_t>(v);
            std::memcpy(p, &h, 2);
            break;
        }
        case 3:
            p[0] = static_cast<uint8_t>(v);
            p[1] = static_cast<uint8_t>(v >> 8);
            p[2] = static_cast<uint8_t>(v >> 16);
            break;
        default: std::memcpy(p, &v, 4); break;
    }
}
