// PXWndCanvas: the screen canvas of a window. Its pixels are the picture the
// window shows: whatever is drawn or blitted onto it reaches the screen at
// the end of that draw or blt (the sdl backend copies the changed rectangle
// to the window; headless, the canvas itself is the screen).
//
// Page flipping: when PXApp::bUsingDirectDraw is set, a memory canvas of the
// same size and depth can be attached as the back page. flip() exchanges the
// pictures of the two pages and shows the new front one, so after a flip the
// back page holds the picture from before it, as a real page flip leaves it.
#pragma once

#include "pxbase/export.h"
#include "pxbase/mem_canvas.h"

class PXCursor;
class PXWindow;

class PX_API PXWndCanvas : public PXMemCanvas {
public:
    const char* isA() const override;
    // Detaches the back page and forgets the cursor without calling it: the
    // window around it is being destroyed.
    ~PXWndCanvas() override;
    void resetAfterDraw() override;
    void resetAfterBlt() override;
    void activatePalette(PXPaletteEntry* entries) override;
    void deactivatePalette() override;

    // Makes `page` the back page. Non-zero when that worked: the page mode is
    // on, the page is valid, of this canvas's size and depth, and belongs to
    // no other chain. A canvas has one back page at most; attaching another
    // replaces it.
    int attachToFlipChain(PXMemCanvas* page);
    void detachFromFlipChain(PXMemCanvas* page);
    PXMemCanvas* getFlipPage() const { return backPage_; }
    // Shows the back page (see above). Without a back page it does nothing.
    void flip();

    // Sets the cursor of the window; null removes it. Setting the cursor the
    // canvas already has does nothing, so it may be called on every move.
    void setCursor(const PXCursor* cursor);
    const PXCursor* getCursor() const { return cursor_; }

    PXWindow* getWindow() const { return window_; }
    // Shows the whole picture again (after the window was uncovered).
    void refresh();

private:
    friend class PXWindow;
    friend class PXMemCanvas;
    friend class PXCursor;
    PXWndCanvas(PXWindow* window, int w, int h, int depth);
    void present(const PXRect& area);

    PXWindow* window_;
    PXMemCanvas* backPage_ = nullptr;
    const PXCursor* cursor_ = nullptr;
};
