// PXMemCanvas: an off-screen canvas whose memory can be addressed directly.
//
// Default layouts, by depth:
//   8   palette indices; channel fields 0, pixelFormat 0
//   16  5-6-5, red highest (pixelFormat 0x565), unless changed by
//       setDefault16BitMasks
//   24  three bytes a pixel, blue first in memory (0x888)
//   32  one 32-bit word 0x00RRGGBB (0x8888)
// A 16- or 32-bit canvas can also be made with masks of its own.
#pragma once

#include <cstdint>

#include "pxbase/canvas.h"
#include "pxbase/export.h"

class PXWndCanvas;

class PX_API PXMemCanvas : public PXCanvas {
public:
    // `depth` below 9 makes an 8-bit canvas, 9 to 16 a 16-bit one (15 gives
    // 5-5-5), 17 to 24 a 24-bit one and anything above a 32-bit one. A depth
    // of 0 or less takes PXSysNumColors(0). `memory` is 1 for plain memory and
    // 2 for a page of a flip chain or a premade picture; both live in memory
    // the caller can address, and other values count as 1.
    PXMemCanvas(int w, int h, int depth, int memory);
    // The same with the channel masks of a 16- or 32-bit layout. Masks must
    // be contiguous runs of bits that do not overlap and fit the depth; any
    // other layout (or depth) gives an invalid canvas.
    PXMemCanvas(int w, int h, int depth, int memory, uint32_t redMask, uint32_t greenMask,
                uint32_t blueMask);

    const char* isA() const override;
    ~PXMemCanvas() override;

    // Locks the pixels and gives their address and the bytes from one row to
    // the next; paired with releasePointerToMemory. Returns 0 (and null) for
    // an invalid canvas.
    int getPointerToMemory(void** bits, long* pitch) const;
    void releasePointerToMemory() const;
    // Row 0 is at the lowest address: always so here.
    int isTopDown() const;
    int memoryKind() const { return memory_; }

    // The layout that later 16-bit canvases made without masks take (the
    // display's 16-bit layout). Returns 0 and changes nothing for masks that
    // do not make a 16-bit layout.
    static int setDefault16BitMasks(uint32_t redMask, uint32_t greenMask, uint32_t blueMask);
    static void getDefault16BitMasks(uint32_t* redMask, uint32_t* greenMask, uint32_t* blueMask);

    // In this order: where each channel stands in a 16-bit or deeper pixel,
    // and how many bits it has. All 0 at 8 bits.
    uint32_t redMask = 0, greenMask = 0, blueMask = 0;
    int32_t redShift = 0, greenShift = 0, blueShift = 0;
    int32_t redBits = 0, greenBits = 0, blueBits = 0;
    // One hexadecimal digit for each channel's bit count, red first: 0x555,
    // 0x565, 0x888 for 24 bits, 0x8888 for 32 bits. A 16-bit layout whose
    // channels do not stand red, green, blue from the top bit down has 0x10000
    // added, so it never passes for one of the standard codes. 0 at 8 bits.
    int32_t pixelFormat = 0;
    // The picture as laid out in memory: pixels per row (pitch over the bytes
    // of a pixel) and rows. memoryWidth x memoryHeight x bytes per pixel never
    // exceeds the memory of the canvas.
    int32_t memoryWidth = 0, memoryHeight = 0;
    // Non-zero when getPointerToMemory works.
    int32_t directMemory = 0;

protected:
    friend class PXWndCanvas;
    void readLayout();

    int memory_ = 1;
    PXWndCanvas* flipOwner_ = nullptr;  // the window canvas whose back page this is
};
