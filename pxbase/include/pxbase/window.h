// PXWindow: a window on the display, with its screen canvas. pxbase calls
// its virtual operations when the events happen, one at a time, on the task
// loop's thread, between passes over the tasks. Mouse operations find the
// position through PXEventGetMouse(); key operations get the key code.
//
// Input comes from the backend: real devices under sdl, injected events
// headless (see headless.h). Either way it goes through the same delivery.
#pragma once

#include <cstdint>

#include "pxbase/export.h"
#include "pxbase/rect.h"

class PXLink;
class PXWndCanvas;
struct PXNativeWindow;

enum PXWindowStyle {
    PXWindowStyleNormal = 0,      // a titled window
    PXWindowStyleBorderless = 1,  // no frame or title
};

// What the rectangle of the constructor describes. The library passes 1.
enum PXWindowRectType {
    PXWindowRectOuter = 0,   // the whole window, frame included
    PXWindowRectClient = 1,  // the drawing area alone
};

// Key codes: printable characters as their (lower-case) ASCII code, the
// control keys below, and other keys from 0x100 on.
enum PXKeyCode {
    PXKeyBackspace = 8,
    PXKeyTab = 9,
    PXKeyReturn = 13,
    PXKeyEscape = 27,
    PXKeySpace = 32,
    PXKeyDelete = 127,
    PXKeyLeft = 0x100,
    PXKeyRight,
    PXKeyUp,
    PXKeyDown,
    PXKeyHome,
    PXKeyEnd,
    PXKeyPageUp,
    PXKeyPageDown,
    PXKeyInsert,
    PXKeyShift,
    PXKeyControl,
    PXKeyAlt,
    PXKeyF1 = 0x120,  // F1 to F12 follow in order
    PXKeyUnknown = 0x1FF,
};

// One event for a window, as backends hand it to pxbase.
enum PXInputKind {
    PXInputMouseDown,
    PXInputMouseUp,
    PXInputMouseMove,
    PXInputMouseDblClick,
    PXInputKeyDown,
    PXInputKeyUp,
    PXInputActivate,
    PXInputDeactivate,
    PXInputClose,
    PXInputDraw,
    PXInputMoved,      // x, y: the new position on the screen
    PXInputSized,
    PXInputMinimized,
    PXInputMaximized,
    PXInputRestored,
    PXInputMouseEnter,
    PXInputMouseLeave,
};

struct PXInputEvent {
    PXInputKind kind = PXInputMouseMove;
    uint32_t window = 0;  // PXWindow::getId(); 0 for the active window
    int32_t x = 0;        // mouse position in the window, or new position
    int32_t y = 0;
    int32_t key = 0;      // PXKeyCode of key events
};

class PX_API PXWindow {
public:
    // Opens a window showing the rectangle, and creates `canvas` at the
    // display's depth. Sides are cut to 1..kMaxSide pixels.
    PXWindow(const PXRect& r, PXWindowStyle style, PXWindowRectType t);
    PXWindow(const PXWindow&) = delete;
    PXWindow& operator=(const PXWindow&) = delete;

    // Virtual operations in slot order. The base versions do what pxbase
    // needs: close() stops the application, draw() shows the canvas again,
    // and the five input operations that have a link fire it.
    virtual ~PXWindow();
    virtual void activated();
    virtual void close();
    virtual void deactivated();
    virtual void draw();
    virtual void keyDown(int key);
    virtual void keyUp(int key);
    virtual void maximized();
    virtual void minimized();
    virtual void mouseDblClick();
    virtual void mouseDown();
    virtual void mouseMove();
    virtual void mouseUp();
    virtual void moved();
    virtual void restored();
    virtual void sized();

    // The drawing area in the window's own coordinates: (0, 0, width,
    // height). The place on the screen is getScreenRect().
    PXRect getRect() const;
    PXRect getScreenRect() const { return screenRect_; }
    // The mouse position in the window (through the installed transform, as
    // every position handed out). With `p` not null, stores there whether
    // the mouse is inside the window.
    PXPoint getMouse(int* p) const;
    uint32_t getId() const { return id_; }
    PXNativeWindow* native() const { return native_; }

    // Store clones of the links; null removes one.
    void setKeyDownLink(const PXLink* link);
    void setMouseDblClickLink(const PXLink* link);
    void setMouseDownLink(const PXLink* link);
    void setMouseMoveLink(const PXLink* link);
    void setMouseUpLink(const PXLink* link);

    // The window that has the focus, null if none.
    static PXWindow* activeWindow;
    // Live windows, oldest first; null past the end.
    static PXWindow* windowAt(int32_t i);
    static PXWindow* findById(uint32_t id);

    // Hands one event to its window: sets the event's mouse position, keeps
    // activeWindow and the cursor in step, and calls the virtual operation.
    // An event for a window that no longer exists is dropped.
    static void deliver(const PXInputEvent& event);

    static constexpr int kMaxSide = 8192;

    PXWndCanvas* canvas = nullptr;
    PXLink* keyDownLink = nullptr;
    PXLink* mouseDblClickLink = nullptr;
    PXLink* mouseDownLink = nullptr;
    PXLink* mouseMoveLink = nullptr;
    PXLink* mouseUpLink = nullptr;

private:
    PXRect screenRect_;
    PXPoint mouse_;
    int mouseInside_ = 0;
    uint32_t id_ = 0;
    PXNativeWindow* native_ = nullptr;
};

// The mouse position that belongs to the event being delivered, after the
// transform below; outside a delivery, that of the last mouse event.
PX_API PXPoint PXEventGetMouse();
// Installs `f`, applied to each mouse position before it is delivered or
// handed out; null installs none. Returns the former function.
using PXXFormMouseFct = void (*)(PXPoint&);
PX_API PXXFormMouseFct PXEventSetXFormMouseFct(PXXFormMouseFct f);
// The key of the key event being delivered (0 outside one).
PX_API int PXEventGetKey();
