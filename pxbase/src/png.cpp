// PNG through libpng's simplified interface, which reports errors by its
// result instead of jumping out of our frames. Sizes are checked against the
// canvas limit before any buffer is made.
#include "pxbase/png.h"

#include <png.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "canvas_surface.h"
#include "pxbase/mem_canvas.h"

namespace {

PXMemCanvas* refuse(char* why, unsigned whySize, const char* reason, const char* detail = "") {
    if (why && whySize > 0) std::snprintf(why, whySize, "%s%s%s", reason, *detail ? ": " : "", detail);
    return nullptr;
}

// Copies an RGB24 picture onto a canvas surface, converting as SDL does.
bool blitRGB(std::vector<uint8_t>& rgb, int w, int h, SDL_Surface* target) {
    SDL_Surface* from = SDL_CreateRGBSurfaceWithFormatFrom(rgb.data(), w, h, 24, w * 3, SDL_PIXELFORMAT_RGB24);
    if (!from) return false;
    SDL_SetSurfaceBlendMode(from, SDL_BLENDMODE_NONE);
    bool ok = SDL_BlitSurface(from, nullptr, target, nullptr) == 0;
    SDL_FreeSurface(from);
    return ok;
}

}  // namespace

int PXPngSave(const PXCanvas* canvas, const char* path) {
    SDL_Surface* s = PXSurfaceOf(canvas);
    if (!s || !path) return 0;
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(s->w);
    image.height = static_cast<png_uint_32>(s->h);
    if (s->format->palette) {
        image.format = PNG_FORMAT_RGB_COLORMAP;
        image.colormap_entries = kPXPaletteSize;
        uint8_t map[kPXPaletteSize * 3];
        const SDL_Palette* p = s->format->palette;
        for (int i = 0; i < kPXPaletteSize; ++i) {
            const SDL_Color c = i < p->ncolors ? p->colors[i] : SDL_Color{0, 0, 0, 255};
            map[i * 3] = c.r;
            map[i * 3 + 1] = c.g;
            map[i * 3 + 2] = c.b;
        }
        return png_image_write_to_file(&image, path, 0, s->pixels, s->pitch, map) ? 1 : 0;
    }
    // The canvas's colour key must not take part in the conversion.
    PXSurfaceUseKey(canvas->surface(), false);
    SDL_Surface* rgb = SDL_ConvertSurfaceFormat(s, SDL_PIXELFORMAT_RGB24, 0);
    if (!rgb) return 0;
    image.format = PNG_FORMAT_RGB;
    int ok = png_image_write_to_file(&image, path, 0, rgb->pixels, rgb->pitch, nullptr);
    SDL_FreeSurface(rgb);
    return ok ? 1 : 0;
}

PXMemCanvas* PXPngLoad(const char* path, int depth, char* why, unsigned whySize) {
    if (!path) return refuse(why, whySize, "no file name");
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path)) return refuse(why, whySize, "cannot read PNG", image.message);
    if (image.width < 1 || image.height < 1 || image.width > static_cast<png_uint_32>(PXCanvas::kMaxSide) ||
        image.height > static_cast<png_uint_32>(PXCanvas::kMaxSide)) {
        png_image_free(&image);
        return refuse(why, whySize, "picture too large for a canvas");
    }
    const int w = static_cast<int>(image.width), h = static_cast<int>(image.height);
    const bool paletted = (image.format & PNG_FORMAT_FLAG_COLORMAP) != 0;
    if (depth <= 0) depth = paletted ? 8 : 32;
    auto* canvas = new PXMemCanvas(w, h, depth, 1);
    SDL_Surface* s = PXSurfaceOf(canvas);
    if (!s) {
        png_image_free(&image);
        delete canvas;
        return refuse(why, whySize, "no canvas of that size and depth");
    }

    if (paletted && canvas->depth == 8 && image.colormap_entries <= kPXPaletteSize) {
        image.format = PNG_FORMAT_RGB_COLORMAP;
        std::vector<uint8_t> indices(PNG_IMAGE_SIZE(image));
        std::vector<uint8_t> map(PNG_IMAGE_COLORMAP_SIZE(image));
        if (!png_image_finish_read(&image, nullptr, indices.data(), 0, map.data())) {
            delete canvas;
            return refuse(why, whySize, "cannot read PNG", image.message);
        }
        PXColor colors[kPXPaletteSize];
        canvas->getPalette(colors);
        for (unsigned i = 0; i < image.colormap_entries; ++i)
            colors[i] = PXColor::fromRGB8(map[i * 3], map[i * 3 + 1], map[i * 3 + 2], static_cast<int32_t>(i));
        canvas->setPalette(colors, true);
        for (int y = 0; y < h; ++y)
            std::memcpy(static_cast<uint8_t*>(s->pixels) + y * s->pitch, indices.data() + size_t(y) * w, w);
        return canvas;
    }

    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> rgb(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr)) {
        delete canvas;
        return refuse(why, whySize, "cannot read PNG", image.message);
    }
    if (!blitRGB(rgb, w, h, s)) {
        delete canvas;
        return refuse(why, whySize, "cannot convert the picture");
    }
    return canvas;
}
