// The window canvas: a memory canvas whose changes are handed to the backend
// to show, a back page for page flipping, and the window's cursor.
#include "pxbase/wnd_canvas.h"

#include <cstring>
#include <vector>

#include "canvas_surface.h"
#include "pxbase/app.h"
#include "pxbase/backend.h"
#include "pxbase/cursor.h"
#include "pxbase/window.h"

PXWndCanvas::PXWndCanvas(PXWindow* window, int w, int h, int d)
    : PXMemCanvas(w, h, d, 1), window_(window) {}

PXWndCanvas::~PXWndCanvas() {
    if (backPage_) backPage_->flipOwner_ = nullptr;
    backPage_ = nullptr;
    // The window is being destroyed: its cursor may be half gone too, so it
    // is not called, only forgotten.
    if (cursor_ && PXCursor::current_ == cursor_) PXCursor::current_ = nullptr;
    cursor_ = nullptr;
}

const char* PXWndCanvas::isA() const { return "PXWndCanvas"; }

void PXWndCanvas::present(const PXRect& area) {
    if (area.isEmpty() || !window_) return;
    PXSysBackend().presentWindow(window_->native(), this, area);
}

void PXWndCanvas::resetAfterDraw() { present(changed_); }
void PXWndCanvas::resetAfterBlt() { present(changed_); }

void PXWndCanvas::activatePalette(PXPaletteEntry* entries) {
    PXMemCanvas::activatePalette(entries);
    refresh();
}

void PXWndCanvas::deactivatePalette() {
    PXMemCanvas::deactivatePalette();
    refresh();
}

void PXWndCanvas::refresh() { present(PXRect(0, 0, getWidth(), getHeight())); }

int PXWndCanvas::attachToFlipChain(PXMemCanvas* page) {
    if (!PXApp::bUsingDirectDraw || !page || page == this || !valid() || !page->valid()) return 0;
    if (page->getWidth() != getWidth() || page->getHeight() != getHeight() || page->depth != depth)
        return 0;
    SDL_Surface* mine = PXSurfaceOf(this);
    SDL_Surface* theirs = PXSurfaceOf(page);
    // The pages exchange their bytes, so their rows must be laid out alike.
    if (mine->format->format != theirs->format->format || mine->pitch != theirs->pitch) return 0;
    if (page->flipOwner_ && page->flipOwner_ != this) return 0;
    if (backPage_ && backPage_ != page) backPage_->flipOwner_ = nullptr;
    backPage_ = page;
    page->flipOwner_ = this;
    return 1;
}

void PXWndCanvas::detachFromFlipChain(PXMemCanvas* page) {
    if (!page || page != backPage_) return;
    backPage_->flipOwner_ = nullptr;
    backPage_ = nullptr;
}

void PXWndCanvas::flip() {
    if (!backPage_) return;
    SDL_Surface* front = PXSurfaceOf(this);
    SDL_Surface* back = PXSurfaceOf(backPage_);
    // Exchange the two pictures row by row. The palette belongs to the
    // display, not to a page, so it stays.
    size_t n = static_cast<size_t>(front->pitch);
    std::vector<uint8_t> row(n);
    auto* f = static_cast<uint8_t*>(front->pixels);
    auto* b = static_cast<uint8_t*>(back->pixels);
    for (int y = 0; y < front->h; ++y, f += front->pitch, b += back->pitch) {
        std::memcpy(row.data(), f, n);
        std::memcpy(f, b, n);
        std::memcpy(b, row.data(), n);
    }
    refresh();
}

void PXWndCanvas::setCursor(const PXCursor* cursor) {
    if (cursor == cursor_) return;
    const PXCursor* old = cursor_;
    cursor_ = cursor;
    PXCursor::current_ = cursor;
    // The old cursor may set another one from unInstall; the new one is
    // told only if it is still the canvas's cursor after that.
    if (old) const_cast<PXCursor*>(old)->unInstall();
    if (cursor && cursor_ == cursor) const_cast<PXCursor*>(cursor)->set(this);
}
