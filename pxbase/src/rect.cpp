// Rectangle arithmetic. Widths are taken in 64 bits, so rectangles near the
// ends of the 32-bit range never overflow.
#include "pxbase/rect.h"

#include <algorithm>
#include <limits>

#include "pxbase/region.h"

const PXRect PXRect::zero(0, 0, -1, -1);

namespace {

int32_t saturate(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

}  // namespace

PXRect PXRect::operator*(const PXRect& o) const {
    PXRect r(std::max(left, o.left), std::max(top, o.top), std::min(right, o.right),
             std::min(bottom, o.bottom));
    return r.isEmpty() ? zero : r;
}

PXRect PXRect::operator+(const PXRect& o) const {
    if (isEmpty()) return o.isEmpty() ? zero : o;
    if (o.isEmpty()) return *this;
    return PXRect(std::min(left, o.left), std::min(top, o.top), std::max(right, o.right),
                  std::max(bottom, o.bottom));
}

int PXRect::operator<=(const PXRect& o) const {
    if (isEmpty()) return 0;
    return left >= o.left && top >= o.top && right <= o.right && bottom <= o.bottom;
}

int PXRect::operator<=(const PXRegion& r) const { return r.contains(*this); }

int PXRect::overlaps(const PXRect& o) const { return !(*this * o).isEmpty(); }

int PXRect::overlaps(const PXRegion& r) const { return r.overlaps(*this); }

void PXRect::offset(int32_t dx, int32_t dy) {
    left = saturate(static_cast<int64_t>(left) + dx);
    right = saturate(static_cast<int64_t>(right) + dx);
    top = saturate(static_cast<int64_t>(top) + dy);
    bottom = saturate(static_cast<int64_t>(bottom) + dy);
}

int PtInRect(const PXRect* rect, PXPoint point) { return rect && rect->contains(point); }

int UnionRect(PXRect* out, const PXRect* a, const PXRect* b) {
    if (!out) return 0;
    PXRect none(0, 0, 0, 0);
    const PXRect& ra = a ? *a : none;
    const PXRect& rb = b ? *b : none;
    if (ra.isEmpty() && rb.isEmpty()) {
        *out = none;
        return 0;
    }
    *out = ra + rb;
    return 1;
}

int OffsetRect(PXRect* rect, int dx, int dy) {
    if (!rect) return 0;
    rect->offset(dx, dy);
    return 1;
}
