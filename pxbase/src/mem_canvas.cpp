// Memory canvases: the depth and layout chosen at construction, the channel
// fields read back from the surface SDL made (so they always describe the
// pixels SDL writes), and direct access to the memory.
#include "pxbase/mem_canvas.h"

#include "canvas_surface.h"
#include "pxbase/sys.h"
#include "pxbase/wnd_canvas.h"

namespace {

uint32_t default16[3] = {0xF800, 0x07E0, 0x001F};

// The depth a constructor argument stands for (see the header).
int normalDepth(int depth) {
    if (depth <= 0) depth = PXSysNumColors(0);
    if (depth <= 0) depth = 16;  // a backend that reports nothing
    if (depth < 9) return 8;
    if (depth <= 16) return 16;
    if (depth <= 24) return 24;
    return 32;
}

struct Masks {
    uint32_t r, g, b;
};

Masks defaultMasks(int requested, int depth) {
    switch (depth) {
        case 16:
            if (requested == 15) return Masks{0x7C00, 0x03E0, 0x001F};
            return Masks{default16[0], default16[1], default16[2]};
        case 24:
        case 32: return Masks{0xFF0000, 0x00FF00, 0x0000FF};
        default: return Masks{0, 0, 0};
    }
}

int popcount(uint32_t v) {
    int n = 0;
    for (; v; v &= v - 1) ++n;
    return n;
}

}  // namespace

PXMemCanvas::PXMemCanvas(int w, int h, int d, int memory)
    : PXCanvas(w, h, normalDepth(d), defaultMasks(d, normalDepth(d)).r,
               defaultMasks(d, normalDepth(d)).g, defaultMasks(d, normalDepth(d)).b),
      memory_(memory == 2 ? 2 : 1) {
    readLayout();
}

PXMemCanvas::PXMemCanvas(int w, int h, int d, int memory, uint32_t rm, uint32_t gm, uint32_t bm)
    // Masks are a layout of their own: only 16, 24 and 32 bits have one, and
    // a depth that is not exactly one of those is refused rather than
    // rounded, as the masks were meant for a definite size.
    : PXCanvas(w, h, (d == 16 || d == 24 || d == 32) && rm && gm && bm ? d : 0, rm, gm, bm),
      memory_(memory == 2 ? 2 : 1) {
    readLayout();
}

PXMemCanvas::~PXMemCanvas() {
    if (flipOwner_) flipOwner_->detachFromFlipChain(this);
}

const char* PXMemCanvas::isA() const { return "PXMemCanvas"; }

void PXMemCanvas::readLayout() {
    SDL_Surface* s = surface_->s;
    if (!s) return;
    memoryWidth = s->pitch / s->format->BytesPerPixel;
    memoryHeight = s->h;
    directMemory = 1;
    if (depth == 8) return;
    const SDL_PixelFormat* f = s->format;
    redMask = f->Rmask;
    greenMask = f->Gmask;
    blueMask = f->Bmask;
    redShift = f->Rshift;
    greenShift = f->Gshift;
    blueShift = f->Bshift;
    redBits = popcount(f->Rmask);
    greenBits = popcount(f->Gmask);
    blueBits = popcount(f->Bmask);
    pixelFormat = (redBits << 8) | (greenBits << 4) | blueBits;
    if (depth == 32) pixelFormat |= 0x8000;  // the fourth, unused byte
    // Blue at bit 0, green right above it, red right above green: the order
    // the standard codes stand for. Another 16-bit order is marked, so it
    // cannot pass for 0x565; deeper canvases keep their code (readers take
    // every layout of 24 and 32 bits by the masks and shifts).
    bool standard = blueShift == 0 && greenShift == blueBits && redShift == blueBits + greenBits;
    if (!standard && depth == 16) pixelFormat += 0x10000;
}

int PXMemCanvas::getPointerToMemory(void** bits, long* pitch) const {
    SDL_Surface* s = surface_->s;
    if (!s) {
        if (bits) *bits = nullptr;
        if (pitch) *pitch = 0;
        return 0;
    }
    // Our surfaces never use RLE, so locking cannot move the pixels; it is
    // kept for the pairing.
    SDL_LockSurface(s);
    if (bits) *bits = s->pixels;
    if (pitch) *pitch = s->pitch;
    return 1;
}

void PXMemCanvas::releasePointerToMemory() const {
    if (surface_->s && surface_->s->locked) SDL_UnlockSurface(surface_->s);
}

int PXMemCanvas::isTopDown() const { return 1; }

int PXMemCanvas::setDefault16BitMasks(uint32_t rm, uint32_t gm, uint32_t bm) {
    SDL_Surface* probe = PXSurfaceCreate(1, 1, 16, rm, gm, bm);
    if (!probe || !rm || !gm || !bm) {
        if (probe) SDL_FreeSurface(probe);
        return 0;
    }
    SDL_FreeSurface(probe);
    default16[0] = rm;
    default16[1] = gm;
    default16[2] = bm;
    return 1;
}

void PXMemCanvas::getDefault16BitMasks(uint32_t* rm, uint32_t* gm, uint32_t* bm) {
    if (rm) *rm = default16[0];
    if (gm) *gm = default16[1];
    if (bm) *bm = default16[2];
}
