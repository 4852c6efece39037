// PXCanvas: a drawing surface of 8, 16, 24 or 32 bits per pixel. Every canvas
// keeps its pixels in memory, top row first; what a canvas shows on a screen
// (PXWndCanvas) is up to its subclass. Drawing never reaches outside the
// canvas and always honours `clipRgn` when that region is not empty.
//
// A canvas that could not be made (bad size or layout, no memory) is valid()
// == 0: it is 0 by 0 pixels and every drawing on it or from it does nothing.
#pragma once

#include <cstdint>

#include "pxbase/color.h"
#include "pxbase/export.h"
#include "pxbase/rect.h"
#include "pxbase/region.h"

// The pixel store behind a canvas; pxbase's own.
struct PXCanvasSurface;

// Raster operations understood by blt and bltScale. Only the low 32 bits of
// the argument count, so a value that went through a 32-bit `long` works too.
inline constexpr long kPXRopCopy = 0xCC0020;        // plain copy
inline constexpr long kPXRopCopyKeyed = 0x80CC0020;  // copy, skipping the source's colour key

class PX_API PXCanvas {
public:
    PXCanvas(const PXCanvas&) = delete;
    PXCanvas& operator=(const PXCanvas&) = delete;

    // Virtual operations in slot order.
    virtual const char* isA() const = 0;
    virtual int getHeight() const;
    virtual int getWidth() const;
    // The colour erase() fills with. It does not touch the pixels by itself.
    virtual void setBkgdColor(const PXColor& color);
    virtual ~PXCanvas();
    // Called around each draw and each blt onto this canvas; the area they
    // touched is in changedArea() until the reset.
    virtual void setupToDraw();
    virtual void resetAfterDraw();
    virtual void setupToBlt(PXRegionHandle clip, int rop);
    virtual void resetAfterBlt();
    // Puts these 256 entries in force in place of the palette of setPalette,
    // until deactivatePalette. Null changes nothing.
    virtual void activatePalette(PXPaletteEntry* entries);
    virtual void deactivatePalette();

    // Copies the w by h area at (sx, sy) of `source` to (x, y), cut to both
    // canvases, to `clip` when it is given and not empty, and to clipRgn.
    // Unknown raster operations copy nothing. A canvas may be its own source.
    void blt(PXCanvas* source, int sx, int sy, int w, int h, int x, int y, long rop,
             const PXRegion* clip);
    // Stretches `from` of the source over `to` of this canvas, nearest pixel,
    // with the same clipping; target pixels whose source pixel lies outside
    // the source canvas are left alone. Empty or inverted rectangles copy
    // nothing.
    void bltScale(PXCanvas* source, const PXRect& from, const PXRect& to, long rop,
                  const PXRegion* clip);
    // Fills (fillOn, fillColor) and outlines (frameOn, frameColor,
    // frameWidth) the area. The outline is the band of the area within
    // frameWidth pixels of its edge, horizontally or vertically.
    void draw(const PXRect& area);
    void draw(const PXRegion& area);
    // Reads 256 colours; `index` of each is its slot.
    void getPalette(PXColor* colors) const;
    // Sets 256 colours. At 8 bits they are the colours of the pixels; deeper
    // canvases keep them for whoever asks. `b` is kept for the contract.
    void setPalette(const PXColor* colors, bool b);
    // The transparent colour of this canvas as a keyed blt source: the
    // colour's palette slot at 8 bits when it has one, else the pixel value
    // nearest to the colour.
    void setColorKey(const PXColor& color);
    void clearColorKey();
    int hasColorKey() const;
    uint32_t colorKeyPixel() const;
    PXColor getBkgdColor() const;
    // Fills the whole canvas with the background colour, clipRgn aside.
    void erase();

    // The pixel value of a colour on this canvas, and back. Channels are cut
    // to the canvas's bits; reading back repeats the bits, so that a full
    // channel reads 0xFFFF.
    uint32_t mapColor(const PXColor& color) const;
    PXColor colorOf(uint32_t pixel) const;
    // One pixel; 0 outside the canvas.
    uint32_t getPixel(int x, int y) const;
    PXColor getPixelColor(int x, int y) const;
    int valid() const;
    int bytesPerPixel() const;
    // What the draw or blt running now has touched; zero outside one.
    PXRect changedArea() const { return changed_; }
    // The pixel store, for pxbase's backends.
    PXCanvasSurface* surface() const { return surface_; }

    int depth;          // bits per pixel: 8, 16, 24 or 32 (0 for an invalid canvas)
    PXRegion clipRgn;   // drawing honours it; empty means no clip
    PXColor fillColor;  // colours and switches of the next draw
    PXColor frameColor;
    int fillOn = 1;
    int frameOn = 0;
    int frameWidth = 1;

protected:
    // A canvas of w by h at this depth. Masks of 0 take the default layout of
    // the depth (see PXMemCanvas). Sides above kMaxSide or below 1 give an
    // invalid canvas.
    PXCanvas(int w, int h, int depth, uint32_t redMask, uint32_t greenMask, uint32_t blueMask);

    PXCanvasSurface* surface_ = nullptr;
    PXRect changed_ = PXRect::zero;

public:
    static constexpr int kMaxSide = 16384;
};
