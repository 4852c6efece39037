// Cursors: the current one, the hide flag and the system cursor. A cursor
// that is destroyed while a canvas still has it is taken off that canvas,
// so no canvas ever holds a dead cursor.
#include "pxbase/cursor.h"

#include "pxbase/backend.h"
#include "pxbase/window.h"
#include "pxbase/wnd_canvas.h"

const PXCursor* PXCursor::current_ = nullptr;
int PXCursor::hidden = 0;

namespace {
int systemCursorVisible = 1;
}

PXCursor::~PXCursor() {
    if (current_ == this) current_ = nullptr;
    for (int32_t i = 0; PXWindow* w = PXWindow::windowAt(i); ++i)
        if (w->canvas && w->canvas->getCursor() == this) w->canvas->cursor_ = nullptr;
}

void PXCursor::set(PXWndCanvas*) {}
void PXCursor::unInstall() {}
void PXCursor::vActivate() {}
void PXCursor::vDeactivate() {}
void PXCursor::vHide() {}
void PXCursor::vShow() {}

const PXCursor* PXCursor::getCurrent() { return current_; }

void PXCursor::scSetVisible(int visible) {
    systemCursorVisible = visible ? 1 : 0;
    PXSysBackend().setSystemCursorVisible(systemCursorVisible);
}

int PXCursor::scIsVisible() { return systemCursorVisible; }

void PXCursor::setHidden(int hide) {
    hide = hide ? 1 : 0;
    if (hide == hidden) return;
    hidden = hide;
    if (!current_) return;
    auto* c = const_cast<PXCursor*>(current_);
    if (hide)
        c->vHide();
    else
        c->vShow();
}
