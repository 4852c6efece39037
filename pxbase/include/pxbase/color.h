// Colours. Each channel is 16 bits with full scale 0xFFFF, whatever the
// canvas holds; `index` ties the colour to a palette slot, -1 when it is not
// tied to one. Palettes are arrays of 256 colours.
#pragma once

#include <cstdint>

struct PXColor {
    uint16_t red = 0xFFFF;
    uint16_t green = 0xFFFF;
    uint16_t blue = 0xFFFF;
    int32_t index = -1;

    // White, tied to no palette slot.
    PXColor() = default;
    PXColor(uint16_t r, uint16_t g, uint16_t b, int32_t i = -1) : red(r), green(g), blue(b), index(i) {}
    bool operator==(const PXColor&) const = default;

    // From 8-bit channels: each byte is repeated, so 0xFF gives 0xFFFF.
    static PXColor fromRGB8(uint8_t r, uint8_t g, uint8_t b, int32_t i = -1) {
        return PXColor(static_cast<uint16_t>(r * 0x101), static_cast<uint16_t>(g * 0x101),
                       static_cast<uint16_t>(b * 0x101), i);
    }
};

// One entry of a palette as a display takes it: 8 bits a channel.
struct PXPaletteEntry {
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
    uint8_t flags = 0;
};

inline constexpr int kPXPaletteSize = 256;
