// Regions: sets of pixels made of rectangles. The one field is an opaque
// handle that is null exactly when the region is empty; every operation that
// could leave the region empty frees the handle, so "handle == null" and
// "empty" never disagree. All arithmetic is the pixman library's.
#pragma once

#include <cstdint>

#include "pxbase/export.h"
#include "pxbase/rect.h"

// What a region handle points to is pxbase's own business.
struct PXRegionData;
using PXRegionHandle = PXRegionData*;

class PX_API PXRegion {
public:
    PXRegionHandle handle = nullptr;

    PXRegion() = default;
    explicit PXRegion(const PXRect& r) { set(r); }
    PXRegion(const PXRegion& o);
    PXRegion(PXRegion&& o) noexcept : handle(o.handle) { o.handle = nullptr; }
    ~PXRegion();
    // A deep copy.
    PXRegion& operator=(const PXRegion& o);
    PXRegion& operator=(PXRegion&& o) noexcept;

    // Empties the region.
    void set();
    // The rectangle; an empty rectangle (zero among them) gives an empty
    // region.
    void set(const PXRect& r);
    // The rectangle of these sides. `fifth` is kept for the contract; every
    // caller passes 0 and it changes nothing.
    void set(int32_t left, int32_t top, int32_t right, int32_t bottom, int fifth);

    PXRegion& operator+=(const PXRegion& o);  // union
    PXRegion& operator+=(const PXRect& r);
    PXRegion operator*(const PXRegion& o) const;  // intersection
    PXRegion& operator*=(const PXRegion& o);
    PXRegion& operator*=(const PXRect& r);
    PXRegion& operator-=(const PXRegion& o);  // difference

    // The bounding rectangle; PXRect::zero when empty.
    PXRect bounds() const;
    // int: at least one point in common.
    int overlaps(const PXRegion& o) const;
    int overlaps(const PXRect& r) const;
    // int: every point of the rectangle is in the region (false for an empty
    // rectangle, as with PXRect::operator<=).
    int contains(const PXRect& r) const;
    int contains(int32_t x, int32_t y) const;
    int isEmpty() const { return handle == nullptr; }
    // Moves the region; coordinates that would leave the 32-bit range are
    // cut off there.
    void offset(int32_t dx, int32_t dy);
    int equals(const PXRegion& o) const;

    // The rectangles the region is made of, in bands from top to bottom,
    // disjoint. Index outside 0..rectCount()-1 gives PXRect::zero.
    int32_t rectCount() const;
    PXRect rectAt(int32_t i) const;
};

// The platform's region calls, applied to the region object that stands for
// the handle.
//
// PtInRegion: the point lies in the region.
PX_API int PtInRegion(const PXRegion& region, int x, int y);
// OffsetRgn: moves the region; returns 0 for an empty region, else 1.
PX_API int OffsetRgn(PXRegion& region, int dx, int dy);
// DeleteObject: frees the handle and clears it, leaving an empty region.
PX_API int DeleteObject(PXRegion& region);
