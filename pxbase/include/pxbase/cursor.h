// PXCursor: base of cursors that a window canvas shows. One cursor at a time
// is current, the one set last on a canvas. When pxbase calls each virtual
// operation:
//   set(canvas)   the cursor became the canvas's cursor (setCursor)
//   unInstall     another cursor, or none, took its place
//   vActivate     its window became the active window
//   vDeactivate   its window stopped being the active window
//   vHide, vShow  PXCursor::setHidden changed the hide flag, or the mouse left
//                 or entered its window
#pragma once

#include "pxbase/export.h"

class PXWndCanvas;

class PX_API PXCursor {
public:
    PXCursor(const PXCursor&) = delete;
    PXCursor& operator=(const PXCursor&) = delete;

    // Virtual operations in slot order.
    virtual ~PXCursor();
    virtual void set(PXWndCanvas* canvas);
    virtual void unInstall();
    virtual void vActivate();
    virtual void vDeactivate();
    virtual void vHide();
    virtual void vShow();

    // The cursor now shown, null if none.
    static const PXCursor* getCurrent();
    // Shows or hides the system's own cursor.
    static void scSetVisible(int visible);
    static int scIsVisible();
    // Sets `hidden` and tells the current cursor (vHide or vShow) when the
    // flag changes.
    static void setHidden(int hide);

    // Non-zero while cursors are meant to be hidden.
    static int hidden;

protected:
    PXCursor() = default;

private:
    friend class PXWndCanvas;
    friend class PXWindow;
    static const PXCursor* current_;
};
