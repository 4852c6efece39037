// Rectangles and points. A PXRect is four signed 32-bit sides; width is
// right - left, height bottom - top, and a point on the right or bottom edge
// lies outside. A rectangle without area is empty; PXRect::zero, the unset
// rectangle (0, 0, -1, -1), is what every operation gives for "no rectangle".
#pragma once

#include <cstdint>

#include "pxbase/export.h"

class PXRegion;

struct PXPoint {
    int32_t x = 0;
    int32_t y = 0;

    PXPoint() = default;
    PXPoint(int32_t px, int32_t py) : x(px), y(py) {}
    bool operator==(const PXPoint&) const = default;
};

class PX_API PXRect {
public:
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    // (0, 0, -1, -1): the result of an intersection of disjoint rectangles
    // and the bounds of an empty region. It can never have an area.
    static const PXRect zero;

    PXRect() = default;
    PXRect(int32_t l, int32_t t, int32_t r, int32_t b) : left(l), top(t), right(r), bottom(b) {}

    void set(int32_t l, int32_t t, int32_t r, int32_t b) {
        left = l;
        top = t;
        right = r;
        bottom = b;
    }

    // int: all four sides equal.
    int operator==(const PXRect& o) const {
        return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
    }
    int operator!=(const PXRect& o) const { return !(*this == o); }

    // The intersection; zero when the two have no point in common.
    PXRect operator*(const PXRect& o) const;
    PXRect& operator*=(const PXRect& o) { return *this = *this * o; }
    // The bounding rectangle. An empty operand adds nothing, so the sum of a
    // rectangle and zero is the rectangle; two empty operands give zero.
    PXRect operator+(const PXRect& o) const;
    // int: every point of this rectangle lies in the argument. An empty
    // rectangle is inside nothing, so callers that pick a fast path on this
    // test never take it for an unset box.
    int operator<=(const PXRect& o) const;
    int operator<=(const PXRegion& r) const;
    // int: at least one point in common.
    int overlaps(const PXRect& o) const;
    int overlaps(const PXRegion& r) const;

    int64_t width() const { return static_cast<int64_t>(right) - left; }
    int64_t height() const { return static_cast<int64_t>(bottom) - top; }
    bool isEmpty() const { return right <= left || bottom <= top; }
    // Left and top inside, right and bottom outside.
    bool contains(int32_t x, int32_t y) const {
        return x >= left && x < right && y >= top && y < bottom;
    }
    bool contains(const PXPoint& p) const { return contains(p.x, p.y); }
    // Moves the rectangle; sides saturate at the ends of the 32-bit range.
    void offset(int32_t dx, int32_t dy);
};

// The platform's rectangle calls, with their usual meaning, applied to a
// PXRect as it stands. Each returns non-zero on success.
//
// PtInRect: the point lies inside (right and bottom edges outside).
PX_API int PtInRect(const PXRect* rect, PXPoint point);
// UnionRect: the bounding rectangle of two; an empty one is ignored. When both
// are empty the result is (0, 0, 0, 0) and the call returns 0.
PX_API int UnionRect(PXRect* out, const PXRect* a, const PXRect* b);
// OffsetRect: moves the rectangle by (dx, dy).
PX_API int OffsetRect(PXRect* rect, int dx, int dy);
