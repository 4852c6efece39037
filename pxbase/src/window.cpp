// Windows: the list of live windows, their screen canvases, and the one path
// by which every input event reaches a window. Any call out to a window's
// virtual operations may delete that window (or others), so after each one
// the window is looked up again by its id before it is touched.
#include "pxbase/window.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "pxbase/app.h"
#include "pxbase/backend.h"
#include "pxbase/cursor.h"
#include "pxbase/link.h"
#include "pxbase/wnd_canvas.h"

PXWindow* PXWindow::activeWindow = nullptr;

namespace {

std::vector<PXWindow*>& liveWindows() {
    static std::vector<PXWindow*> windows;
    return windows;
}

uint32_t lastId = 0;
PXPoint eventMouse;
int eventKey = 0;
PXXFormMouseFct xformMouse = nullptr;

PXPoint transformed(PXPoint p) {
    if (xformMouse) xformMouse(p);
    return p;
}

PXCursor* cursorOf(uint32_t id) {
    PXWindow* w = PXWindow::findById(id);
    if (!w || !w->canvas) return nullptr;
    return const_cast<PXCursor*>(w->canvas->getCursor());
}

void fire(PXLink* link) {
    if (link) link->call();
}

}  // namespace

PXWindow::PXWindow(const PXRect& r, PXWindowStyle style, PXWindowRectType) {
    // The frame's size is the platform's; both kinds of rectangle are taken
    // as the drawing area, which is what the library asks for.
    auto w = static_cast<int32_t>(std::clamp<int64_t>(r.width(), 1, kMaxSide));
    auto h = static_cast<int32_t>(std::clamp<int64_t>(r.height(), 1, kMaxSide));
    int32_t left = std::min(r.left, std::numeric_limits<int32_t>::max() - kMaxSide);
    int32_t top = std::min(r.top, std::numeric_limits<int32_t>::max() - kMaxSide);
    screenRect_ = PXRect(left, top, left + w, top + h);
    id_ = ++lastId;
    liveWindows().push_back(this);
    int depth = 0;
    native_ = PXSysBackend().openWindow(this, screenRect_, style, &depth);
    canvas = new PXWndCanvas(this, w, h, depth);
}

PXWindow::~PXWindow() {
    if (activeWindow == this) activeWindow = nullptr;
    delete keyDownLink;
    delete mouseDblClickLink;
    delete mouseDownLink;
    delete mouseMoveLink;
    delete mouseUpLink;
    delete canvas;
    canvas = nullptr;
    PXSysBackend().closeWindow(native_);
    auto& live = liveWindows();
    live.erase(std::remove(live.begin(), live.end(), this), live.end());
}

void PXWindow::activated() {}

void PXWindow::close() {
    if (PXApp::theApp) PXApp::theApp->stop();
}

void PXWindow::deactivated() {}

void PXWindow::draw() {
    if (canvas) canvas->refresh();
}

void PXWindow::keyDown(int) { fire(keyDownLink); }
void PXWindow::keyUp(int) {}
void PXWindow::maximized() {}
void PXWindow::minimized() {}
void PXWindow::mouseDblClick() { fire(mouseDblClickLink); }
void PXWindow::mouseDown() { fire(mouseDownLink); }
void PXWindow::mouseMove() { fire(mouseMoveLink); }
void PXWindow::mouseUp() { fire(mouseUpLink); }
void PXWindow::moved() {}
void PXWindow::restored() {}
void PXWindow::sized() {}

PXRect PXWindow::getRect() const {
    return PXRect(0, 0, static_cast<int32_t>(screenRect_.width()),
                  static_cast<int32_t>(screenRect_.height()));
}

PXPoint PXWindow::getMouse(int* p) const {
    if (p) *p = mouseInside_;
    return transformed(mouse_);
}

void PXWindow::setKeyDownLink(const PXLink* link) { PXStoreLink(keyDownLink, link); }
void PXWindow::setMouseDblClickLink(const PXLink* link) { PXStoreLink(mouseDblClickLink, link); }
void PXWindow::setMouseDownLink(const PXLink* link) { PXStoreLink(mouseDownLink, link); }
void PXWindow::setMouseMoveLink(const PXLink* link) { PXStoreLink(mouseMoveLink, link); }
void PXWindow::setMouseUpLink(const PXLink* link) { PXStoreLink(mouseUpLink, link); }

PXWindow* PXWindow::windowAt(int32_t i) {
    auto& live = liveWindows();
    if (i < 0 || static_cast<size_t>(i) >= live.size()) return nullptr;
    return live[static_cast<size_t>(i)];
}

PXWindow* PXWindow::findById(uint32_t id) {
    for (PXWindow* w : liveWindows())
        if (w->id_ == id) return w;
    return nullptr;
}

void PXWindow::deliver(const PXInputEvent& e) {
    PXWindow* w = e.window ? findById(e.window) : (activeWindow ? activeWindow : windowAt(0));
    if (!w) return;
    const uint32_t id = w->id_;
    switch (e.kind) {
        case PXInputMouseDown:
        case PXInputMouseUp:
        case PXInputMouseMove:
        case PXInputMouseDblClick: {
            w->mouse_ = PXPoint(e.x, e.y);
            w->mouseInside_ = w->getRect().contains(e.x, e.y);
            eventMouse = transformed(w->mouse_);
            if (e.kind == PXInputMouseDown)
                w->mouseDown();
            else if (e.kind == PXInputMouseUp)
                w->mouseUp();
            else if (e.kind == PXInputMouseMove)
                w->mouseMove();
            else
                w->mouseDblClick();
            break;
        }
        case PXInputKeyDown:
        case PXInputKeyUp:
            eventKey = e.key;
            if (e.kind == PXInputKeyDown)
                w->keyDown(e.key);
            else
                w->keyUp(e.key);
            eventKey = 0;
            break;
        case PXInputActivate: {
            if (activeWindow == w) break;
            if (activeWindow) {
                // The window losing the focus hears of it first.
                PXInputEvent off;
                off.kind = PXInputDeactivate;
                off.window = activeWindow->id_;
                deliver(off);
                w = findById(id);
                if (!w) break;
            }
            activeWindow = w;
            if (w->canvas) PXCursor::current_ = w->canvas->getCursor();
            w->activated();
            if (PXCursor* c = cursorOf(id)) c->vActivate();
            break;
        }
        case PXInputDeactivate:
            if (activeWindow != w) break;
            activeWindow = nullptr;
            w->deactivated();
            if (PXCursor* c = cursorOf(id)) c->vDeactivate();
            break;
        case PXInputClose: w->close(); break;
        case PXInputDraw: w->draw(); break;
        case PXInputMoved: {
            int64_t width = w->screenRect_.width(), height = w->screenRect_.height();
            int32_t left = std::min(e.x, std::numeric_limits<int32_t>::max() - kMaxSide);
            int32_t top = std::min(e.y, std::numeric_limits<int32_t>::max() - kMaxSide);
            w->screenRect_ = PXRect(left, top, static_cast<int32_t>(left + width),
                                    static_cast<int32_t>(top + height));
            w->moved();
            break;
        }
        case PXInputSized: w->sized(); break;
        case PXInputMinimized: w->minimized(); break;
        case PXInputMaximized: w->maximized(); break;
        case PXInputRestored: w->restored(); break;
        case PXInputMouseEnter:
            w->mouseInside_ = 1;
            if (PXCursor* c = cursorOf(id); c && !PXCursor::hidden) c->vShow();
            break;
        case PXInputMouseLeave:
            w->mouseInside_ = 0;
            if (PXCursor* c = cursorOf(id)) c->vHide();
            break;
    }
}

PXPoint PXEventGetMouse() { return eventMouse; }

PXXFormMouseFct PXEventSetXFormMouseFct(PXXFormMouseFct f) {
    PXXFormMouseFct old = xformMouse;
    xformMouse = f;
    return old;
}

int PXEventGetKey() { return eventKey; }
