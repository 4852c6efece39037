// Drawing on canvases: blits, stretched blits, fills and frames, palettes and
// colour keys. Every operation cuts its area to both canvases first (in 64
// bits, so no coordinate can overflow), then to the clip region and the
// target's clipRgn, and works rectangle by rectangle from pixman; nothing is
// ever written or read outside a surface.
#include "pxbase/canvas.h"

#include <algorithm>
#include <cstring>
#include <cstdint>
#include <vector>

#include "canvas_surface.h"

namespace {

int bppOf(const SDL_Surface* s) { return s ? s->format->BytesPerPixel : 0; }

PXRect boundsOf(const SDL_Surface* s) { return s ? PXRect(0, 0, s->w, s->h) : PXRect::zero; }

SDL_Rect sdlRect(const PXRect& r) {
    return SDL_Rect{r.left, r.top, static_cast<int>(r.width()), static_cast<int>(r.height())};
}

bool knownRop(long rop) {
    auto op = static_cast<uint32_t>(rop);
    return op == static_cast<uint32_t>(kPXRopCopy) || op == static_cast<uint32_t>(kPXRopCopyKeyed);
}

bool keyedRop(long rop) { return static_cast<uint32_t>(rop) == static_cast<uint32_t>(kPXRopCopyKeyed); }

// The region a drawing operation may touch: `area`, the canvas, the caller's
// clip when it has pixels, and the canvas's clip region when it has pixels.
PXRegion drawableRegion(const PXRegion& area, const PXRect& canvas, const PXRegion* clip,
                        const PXRegion& clipRgn) {
    PXRegion r(area);
    r *= canvas;
    if (clip && !clip->isEmpty()) r *= *clip;
    if (!clipRgn.isEmpty()) r *= clipRgn;
    return r;
}

// Pixels p of `a` with p + k*(dx, dy) in `a` for every k in [-w, w], built
// by doubling, so that wide frames cost log(w) region operations. run(n) is
// the set of p with p + k*d in `a` for k = 0 .. n-1; run(m + n) is run(m)
// cut by run(n) moved back by m*d.
PXRegion erodeAlong(const PXRegion& a, int32_t dx, int32_t dy, int64_t w) {
    int64_t want = 2 * w + 1;
    PXRegion result;
    bool any = false;
    int64_t have = 0;
    PXRegion power(a);  // run(p) for p = 1, 2, 4, ...
    int64_t p = 1;
    for (;;) {
        if (want & 1) {
            if (!any) {
                result = power;
                any = true;
            } else {
                PXRegion back(power);
                back.offset(static_cast<int32_t>(-dx * have), static_cast<int32_t>(-dy * have));
                result *= back;
            }
            have += p;
        }
        want >>= 1;
        if (!want) break;
        PXRegion back(power);
        back.offset(static_cast<int32_t>(-dx * p), static_cast<int32_t>(-dy * p));
        power *= back;
        p *= 2;
        if (power.isEmpty()) return PXRegion();
    }
    result.offset(static_cast<int32_t>(dx * w), static_cast<int32_t>(dy * w));
    return result;
}

// The outline of `a`: its pixels within w of its edge across or along.
PXRegion frameOf(const PXRegion& a, int64_t w) {
    PXRegion inner = erodeAlong(a, 1, 0, w);
    inner *= erodeAlong(a, 0, 1, w);
    PXRegion frame(a);
    frame -= inner;
    return frame;
}

void fillRegion(SDL_Surface* s, const PXRegion& r, uint32_t pixel) {
    for (int32_t i = 0, n = r.rectCount(); i < n; ++i) {
        SDL_Rect rect = sdlRect(r.rectAt(i));
        SDL_FillRect(s, &rect, pixel);
    }
}

}  // namespace

SDL_Surface* PXSurfaceCreate(int w, int h, int depth, uint32_t rm, uint32_t gm, uint32_t bm) {
    if (w < 1 || h < 1 || w > PXCanvas::kMaxSide || h > PXCanvas::kMaxSide) return nullptr;
    Uint32 format = SDL_PIXELFORMAT_UNKNOWN;
    if (depth == 8) {
        format = SDL_PIXELFORMAT_INDEX8;
    } else if (depth == 16 || depth == 24 || depth == 32) {
        format = SDL_MasksToPixelFormatEnum(depth, rm, gm, bm, 0);
        // SDL answers some mask sets with a format of another size or with
        // alpha; only an exact layout without alpha will do. (SDL counts the
        // bits of a 32-bit word without alpha as 24, hence bytes.)
        if (format != SDL_PIXELFORMAT_UNKNOWN &&
            (static_cast<int>(SDL_BYTESPERPIXEL(format)) * 8 != depth || SDL_ISPIXELFORMAT_ALPHA(format)))
            format = SDL_PIXELFORMAT_UNKNOWN;
    }
    if (format == SDL_PIXELFORMAT_UNKNOWN) return nullptr;
    SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, w, h, depth, format);
    if (!s) return nullptr;
    if ((rm || gm || bm) && depth > 8 &&
        (s->format->Rmask != rm || s->format->Gmask != gm || s->format->Bmask != bm)) {
        SDL_FreeSurface(s);
        return nullptr;
    }
    SDL_SetSurfaceBlendMode(s, SDL_BLENDMODE_NONE);
    if (s->format->palette) {
        SDL_Color grey[kPXPaletteSize];
        for (int i = 0; i < kPXPaletteSize; ++i) {
            auto v = static_cast<Uint8>(i);
            grey[i] = SDL_Color{v, v, v, 255};
        }
        SDL_SetPaletteColors(s->format->palette, grey, 0, kPXPaletteSize);
    }
    return s;
}

void PXSurfaceUseKey(PXCanvasSurface* cs, bool on) {
    on = on && cs->keyed;
    if (cs->sdlKeyOn == on) return;
    SDL_SetColorKey(cs->s, on ? SDL_TRUE : SDL_FALSE, cs->key);
    cs->sdlKeyOn = on;
}

PXCanvas::PXCanvas(int w, int h, int d, uint32_t rm, uint32_t gm, uint32_t bm) : depth(0) {
    surface_ = new PXCanvasSurface;
    surface_->s = PXSurfaceCreate(w, h, d, rm, gm, bm);
    if (!surface_->s) return;
    depth = d;
    for (int i = 0; i < kPXPaletteSize; ++i) {
        auto v = static_cast<uint16_t>(i * 0x101);
        surface_->palette[i] = PXColor(v, v, v, i);
    }
}

PXCanvas::~PXCanvas() {
    if (surface_ && surface_->s) SDL_FreeSurface(surface_->s);
    delete surface_;
}

int PXCanvas::getHeight() const { return surface_->s ? surface_->s->h : 0; }
int PXCanvas::getWidth() const { return surface_->s ? surface_->s->w : 0; }
void PXCanvas::setBkgdColor(const PXColor& color) { surface_->bkgd = color; }
void PXCanvas::setupToDraw() {}
void PXCanvas::resetAfterDraw() {}
void PXCanvas::setupToBlt(PXRegionHandle, int) {}
void PXCanvas::resetAfterBlt() {}

void PXCanvas::activatePalette(PXPaletteEntry* entries) {
    SDL_Surface* s = surface_->s;
    if (!entries || !s || !s->format->palette) return;
    SDL_Color c[kPXPaletteSize];
    for (int i = 0; i < kPXPaletteSize; ++i)
        c[i] = SDL_Color{entries[i].red, entries[i].green, entries[i].blue, 255};
    SDL_SetPaletteColors(s->format->palette, c, 0, kPXPaletteSize);
    surface_->paletteActivated = true;
}

void PXCanvas::deactivatePalette() {
    if (!surface_->paletteActivated) return;
    surface_->paletteActivated = false;
    PXColor keep[kPXPaletteSize];
    std::copy(surface_->palette, surface_->palette + kPXPaletteSize, keep);
    setPalette(keep, true);
}

int PXCanvas::valid() const { return surface_->s != nullptr; }
int PXCanvas::bytesPerPixel() const { return bppOf(surface_->s); }

// 8-bit onto 8-bit copies the indices as they are. A picture drawn as raw
// indices and the canvas it goes onto share one colour table by intent;
// SDL would instead map each index to the nearest colour of the target's
// palette whenever the two palettes differ.
static void copyIndices(SDL_Surface* from, const SDL_Rect& s, SDL_Surface* to, const SDL_Rect& d,
                        bool keyed, uint32_t key) {
    if (SDL_MUSTLOCK(from)) SDL_LockSurface(from);
    if (SDL_MUSTLOCK(to)) SDL_LockSurface(to);
    for (int row = 0; row < d.h; ++row) {
        const uint8_t* in = static_cast<const uint8_t*>(from->pixels) + (s.y + row) * from->pitch + s.x;
        uint8_t* out = static_cast<uint8_t*>(to->pixels) + (d.y + row) * to->pitch + d.x;
        if (!keyed) {
            std::memcpy(out, in, static_cast<size_t>(d.w));
            continue;
        }
        for (int x = 0; x < d.w; ++x)
            if (in[x] != key) out[x] = in[x];
    }
    if (SDL_MUSTLOCK(to)) SDL_UnlockSurface(to);
    if (SDL_MUSTLOCK(from)) SDL_UnlockSurface(from);
}

void PXCanvas::blt(PXCanvas* source, int sx, int sy, int w, int h, int x, int y, long rop,
                   const PXRegion* clip) {
    SDL_Surface* dst = surface_->s;
    SDL_Surface* src = PXSurfaceOf(source);
    if (!dst || !src || w <= 0 || h <= 0 || !knownRop(rop)) return;
    // Cut the source area to the source canvas, moving the target with it,
    // then the target area to this canvas. 64 bits: x + w cannot overflow.
    int64_t sl = sx, st = sy, sr = int64_t{sx} + w, sb = int64_t{sy} + h;
    int64_t dx = int64_t{x} - sx, dy = int64_t{y} - sy;  // target minus source
    sl = std::max<int64_t>(sl, 0);
    st = std::max<int64_t>(st, 0);
    sr = std::min<int64_t>(sr, src->w);
    sb = std::min<int64_t>(sb, src->h);
    sl = std::max<int64_t>(sl, -dx);
    st = std::max<int64_t>(st, -dy);
    sr = std::min<int64_t>(sr, dst->w - dx);
    sb = std::min<int64_t>(sb, dst->h - dy);
    if (sr <= sl || sb <= st) return;
    PXRect target(static_cast<int32_t>(sl + dx), static_cast<int32_t>(st + dy),
                  static_cast<int32_t>(sr + dx), static_cast<int32_t>(sb + dy));
    PXRegion area(target);
    PXRegion todo = drawableRegion(area, boundsOf(dst), clip, clipRgn);
    if (todo.isEmpty()) return;

    setupToBlt(clip ? clip->handle : nullptr, static_cast<int>(rop));
    PXCanvasSurface* scs = source->surface_;
    SDL_Surface* from = src;
    SDL_Surface* copy = nullptr;
    if (source == this) {
        // Blitting a surface onto itself with overlap is not safe: copy the
        // source area out first.
        copy = SDL_CreateRGBSurfaceWithFormat(0, static_cast<int>(sr - sl), static_cast<int>(sb - st),
                                              src->format->BitsPerPixel, src->format->format);
        if (!copy) {
            resetAfterBlt();
            return;
        }
        if (src->format->palette) SDL_SetSurfacePalette(copy, src->format->palette);
        SDL_SetSurfaceBlendMode(copy, SDL_BLENDMODE_NONE);
        PXSurfaceUseKey(scs, false);
        SDL_Rect out{static_cast<int>(sl), static_cast<int>(st), copy->w, copy->h};
        SDL_BlitSurface(src, &out, copy, nullptr);
        if (keyedRop(rop) && scs->keyed) SDL_SetColorKey(copy, SDL_TRUE, scs->key);
        from = copy;
        dx += sl;  // the copy's (0, 0) is the source's (sl, st)
        dy += st;
    } else {
        PXSurfaceUseKey(scs, keyedRop(rop));
    }
    const bool indices = from->format->BitsPerPixel == 8 && dst->format->BitsPerPixel == 8;
    for (int32_t i = 0, n = todo.rectCount(); i < n; ++i) {
        PXRect r = todo.rectAt(i);
        SDL_Rect d = sdlRect(r);
        SDL_Rect s{static_cast<int>(r.left - dx), static_cast<int>(r.top - dy), d.w, d.h};
        if (indices)
            copyIndices(from, s, dst, d, keyedRop(rop) && scs->keyed, scs->key);
        else
            SDL_BlitSurface(from, &s, dst, &d);
    }
    if (copy) SDL_FreeSurface(copy);
    changed_ = todo.bounds();
    resetAfterBlt();
    changed_ = PXRect::zero;
}

void PXCanvas::bltScale(PXCanvas* source, const PXRect& from, const PXRect& to, long rop,
                        const PXRegion* clip) {
    SDL_Surface* dst = surface_->s;
    SDL_Surface* src = PXSurfaceOf(source);
    if (!dst || !src || from.isEmpty() || to.isEmpty() || !knownRop(rop)) return;
    PXRegion todo = drawableRegion(PXRegion(to), boundsOf(dst), clip, clipRgn);
    if (todo.isEmpty()) return;

    setupToBlt(clip ? clip->handle : nullptr, static_cast<int>(rop));
    PXCanvasSurface* scs = source->surface_;
    bool keyed = keyedRop(rop) && scs->keyed;
    // Pixels are read in the target's format: convert the source whole when
    // the formats differ (the key is tested on the original pixels).
    PXSurfaceUseKey(scs, false);
    SDL_Surface* conv = nullptr;
    // Between 8-bit canvases the indices go over as they are (see copyIndices).
    const bool indices = src->format->BitsPerPixel == 8 && dst->format->BitsPerPixel == 8;
    if (src->format->format != dst->format->format || source == this ||
        (!indices && src->format->palette && src->format->palette != dst->format->palette)) {
        conv = SDL_ConvertSurface(src, dst->format, 0);
        if (!conv) {
            resetAfterBlt();
            return;
        }
    }
    SDL_Surface* val = conv ? conv : src;
    const int sbpp = bppOf(src), dbpp = bppOf(dst), vbpp = bppOf(val);
    const int64_t fw = from.width(), fh = from.height(), tw = to.width(), th = to.height();
    // The source column or row of a target one: the nearest pixel to the
    // target pixel's centre.
    auto mapX = [&](int64_t x) { return from.left + ((x - to.left) * 2 + 1) * fw / (2 * tw); };
    auto mapY = [&](int64_t y) { return from.top + ((y - to.top) * 2 + 1) * fh / (2 * th); };
    PXRect written = PXRect::zero;
    for (int32_t i = 0, n = todo.rectCount(); i < n; ++i) {
        PXRect r = todo.rectAt(i);
        std::vector<int64_t> cols(static_cast<size_t>(r.width()));
        for (int64_t x = r.left; x < r.right; ++x) cols[static_cast<size_t>(x - r.left)] = mapX(x);
        for (int64_t y = r.top; y < r.bottom; ++y) {
            int64_t syy = mapY(y);
            if (syy < 0 || syy >= src->h) continue;
            const auto* srow = static_cast<const uint8_t*>(src->pixels) + syy * src->pitch;
            const auto* vrow = static_cast<const uint8_t*>(val->pixels) + syy * val->pitch;
            auto* drow = static_cast<uint8_t*>(dst->pixels) + y * dst->pitch;
            for (int64_t x = r.left; x < r.right; ++x) {
                int64_t sxx = cols[static_cast<size_t>(x - r.left)];
                if (sxx < 0 || sxx >= src->w) continue;
                if (keyed && PXReadPixel(srow + sxx * sbpp, sbpp) == scs->key) continue;
                PXWritePixel(drow + x * dbpp, dbpp, PXReadPixel(vrow + sxx * vbpp, vbpp));
            }
        }
        written = written + r;
    }
    if (conv) SDL_FreeSurface(conv);
    changed_ = written;
    resetAfterBlt();
    changed_ = PXRect::zero;
}

void PXCanvas::draw(const PXRect& area) { draw(PXRegion(area)); }

void PXCanvas::draw(const PXRegion& area) {
    SDL_Surface* s = surface_->s;
    if (!s || area.isEmpty()) return;
    bool doFrame = frameOn && frameWidth > 0;
    if (!fillOn && !doFrame) return;
    PXRect canvas = boundsOf(s);
    setupToDraw();
    PXRect touched = PXRect::zero;
    if (fillOn) {
        PXRegion fill = drawableRegion(area, canvas, nullptr, clipRgn);
        fillRegion(s, fill, mapColor(fillColor));
        touched = touched + fill.bounds();
    }
    if (doFrame) {
        // An outline wider than any canvas is cut to kMaxSide; it can differ
        // from the exact band only where the area's edge lies further than
        // that outside the canvas.
        int32_t w = std::min(frameWidth, kMaxSide);
        // Only the part of the area near the canvas matters; cutting it there
        // puts the new edges more than w away from every canvas pixel, so
        // the outline inside the canvas comes out the same.
        PXRect near(-w - 1, -w - 1, canvas.right + w + 1, canvas.bottom + w + 1);
        PXRegion cut(area);
        cut *= near;
        PXRegion frame = drawableRegion(frameOf(cut, w), canvas, nullptr, clipRgn);
        fillRegion(s, frame, mapColor(frameColor));
        touched = touched + frame.bounds();
    }
    changed_ = touched;
    resetAfterDraw();
    changed_ = PXRect::zero;
}

void PXCanvas::getPalette(PXColor* colors) const {
    if (!colors) return;
    std::copy(surface_->palette, surface_->palette + kPXPaletteSize, colors);
}

void PXCanvas::setPalette(const PXColor* colors, bool) {
    if (!colors) return;
    for (int i = 0; i < kPXPaletteSize; ++i) {
        surface_->palette[i] = colors[i];
        surface_->palette[i].index = i;
    }
    SDL_Surface* s = surface_->s;
    if (!s || !s->format->palette) return;
    SDL_Color c[kPXPaletteSize];
    for (int i = 0; i < kPXPaletteSize; ++i)
        c[i] = SDL_Color{static_cast<Uint8>(colors[i].red >> 8), static_cast<Uint8>(colors[i].green >> 8),
                         static_cast<Uint8>(colors[i].blue >> 8), 255};
    SDL_SetPaletteColors(s->format->palette, c, 0, kPXPaletteSize);
    surface_->paletteActivated = false;
    // New colours change every pixel on show.
    setupToDraw();
    changed_ = boundsOf(s);
    resetAfterDraw();
    changed_ = PXRect::zero;
}

void PXCanvas::setColorKey(const PXColor& color) {
    surface_->key = mapColor(color);
    surface_->keyed = true;
    surface_->sdlKeyOn = false;
    if (surface_->s) SDL_SetColorKey(surface_->s, SDL_FALSE, 0);
}

void PXCanvas::clearColorKey() {
    surface_->keyed = false;
    if (surface_->s) SDL_SetColorKey(surface_->s, SDL_FALSE, 0);
    surface_->sdlKeyOn = false;
}

int PXCanvas::hasColorKey() const { return surface_->keyed; }
uint32_t PXCanvas::colorKeyPixel() const { return surface_->key; }
PXColor PXCanvas::getBkgdColor() const { return surface_->bkgd; }

void PXCanvas::erase() {
    SDL_Surface* s = surface_->s;
    if (!s) return;
    setupToDraw();
    SDL_FillRect(s, nullptr, mapColor(surface_->bkgd));
    changed_ = boundsOf(s);
    resetAfterDraw();
    changed_ = PXRect::zero;
}

uint32_t PXCanvas::mapColor(const PXColor& c) const {
    SDL_Surface* s = surface_->s;
    if (!s) return 0;
    const SDL_PixelFormat* f = s->format;
    if (f->palette) {
        // A palette slot outside 0..255 counts as none.
        if (c.index >= 0 && c.index < kPXPaletteSize) return static_cast<uint32_t>(c.index);
        return SDL_MapRGB(f, static_cast<Uint8>(c.red >> 8), static_cast<Uint8>(c.green >> 8),
                          static_cast<Uint8>(c.blue >> 8));
    }
    auto channel = [](uint16_t v, uint8_t loss, uint8_t shift) {
        return (static_cast<uint32_t>(v) >> (8 + loss)) << shift;
    };
    return channel(c.red, f->Rloss, f->Rshift) | channel(c.green, f->Gloss, f->Gshift) |
           channel(c.blue, f->Bloss, f->Bshift);
}

PXColor PXCanvas::colorOf(uint32_t pixel) const {
    SDL_Surface* s = surface_->s;
    if (!s) return PXColor(0, 0, 0, -1);
    const SDL_PixelFormat* f = s->format;
    if (f->palette) {
        int i = static_cast<int>(pixel & 0xFF);
        const SDL_Color& c = f->palette->colors[i];
        return PXColor::fromRGB8(c.r, c.g, c.b, i);
    }
    auto channel = [pixel](uint32_t mask, uint8_t shift, uint8_t loss) {
        int bits = 8 - loss;
        if (bits <= 0) return uint16_t{0};
        uint32_t v = (pixel & mask) >> shift;
        // Repeat the bits from the top down until 16 are filled.
        uint32_t out = 0;
        for (int filled = 0; filled < 16; filled += bits) out |= (v << 16) >> (bits + filled);
        return static_cast<uint16_t>(out);
    };
    return PXColor(channel(f->Rmask, f->Rshift, f->Rloss), channel(f->Gmask, f->Gshift, f->Gloss),
                   channel(f->Bmask, f->Bshift, f->Bloss), -1);
}

uint32_t PXCanvas::getPixel(int x, int y) const {
    SDL_Surface* s = surface_->s;
    if (!s || x < 0 || y < 0 || x >= s->w || y >= s->h) return 0;
    int bpp = bppOf(s);
    return PXReadPixel(static_cast<const uint8_t*>(s->pixels) + int64_t{y} * s->pitch + int64_t{x} * bpp, bpp);
}

PXColor PXCanvas::getPixelColor(int x, int y) const { return colorOf(getPixel(x, y)); }
