// Regions on pixman's 32-bit regions. A handle owns one heap pixman region
// and exists only while that region has at least one pixel: normalise() runs
// after every operation that can empty it. A failed pixman operation (no
// memory) leaves pixman's region empty, so it comes out as an empty region.
#include "pxbase/region.h"

#include <pixman.h>

#include <algorithm>
#include <limits>

struct PXRegionData {
    pixman_region32_t r;
};

namespace {

PXRegionHandle newHandle() {
    auto* d = new PXRegionData;
    pixman_region32_init(&d->r);
    return d;
}

void freeHandle(PXRegionHandle h) {
    if (!h) return;
    pixman_region32_fini(&h->r);
    delete h;
}

// Frees the handle when its region holds no pixel.
void normalise(PXRegionHandle& h) {
    if (h && !pixman_region32_not_empty(&h->r)) {
        freeHandle(h);
        h = nullptr;
    }
}

pixman_box32_t boxOf(const PXRect& r) { return pixman_box32_t{r.left, r.top, r.right, r.bottom}; }

PXRect rectOf(const pixman_box32_t& b) { return PXRect(b.x1, b.y1, b.x2, b.y2); }

PXRegionHandle handleOf(const PXRect& r) {
    if (r.isEmpty()) return nullptr;
    auto* h = new PXRegionData;
    // Width and height are taken in 64 bits and passed unsigned: pixman adds
    // them back to the left and top sides modulo 2^32, which gives the right
    // and bottom sides exactly, also at the ends of the range.
    pixman_region32_init_rect(&h->r, r.left, r.top, static_cast<uint32_t>(r.width()),
                              static_cast<uint32_t>(r.height()));
    normalise(h);
    return h;
}

}  // namespace

PXRegion::PXRegion(const PXRegion& o) {
    if (!o.handle) return;
    handle = newHandle();
    pixman_region32_copy(&handle->r, &o.handle->r);
    normalise(handle);
}

PXRegion::~PXRegion() { freeHandle(handle); }

PXRegion& PXRegion::operator=(const PXRegion& o) {
    if (this == &o) return *this;
    if (!o.handle) {
        set();
        return *this;
    }
    if (!handle) handle = newHandle();
    pixman_region32_copy(&handle->r, &o.handle->r);
    normalise(handle);
    return *this;
}

PXRegion& PXRegion::operator=(PXRegion&& o) noexcept {
    if (this != &o) {
        freeHandle(handle);
        handle = o.handle;
        o.handle = nullptr;
    }
    return *this;
}

void PXRegion::set() {
    freeHandle(handle);
    handle = nullptr;
}

void PXRegion::set(const PXRect& r) {
    PXRegionHandle h = handleOf(r);
    freeHandle(handle);
    handle = h;
}

void PXRegion::set(int32_t left, int32_t top, int32_t right, int32_t bottom, int) {
    set(PXRect(left, top, right, bottom));
}

PXRegion& PXRegion::operator+=(const PXRegion& o) {
    if (!o.handle || this == &o) return *this;
    if (!handle) return *this = o;
    pixman_region32_union(&handle->r, &handle->r, &o.handle->r);
    normalise(handle);
    return *this;
}

PXRegion& PXRegion::operator+=(const PXRect& r) {
    if (r.isEmpty()) return *this;
    if (!handle) {
        set(r);
        return *this;
    }
    PXRegion add(r);
    return *this += add;
}

PXRegion PXRegion::operator*(const PXRegion& o) const {
    PXRegion out(*this);
    out *= o;
    return out;
}

PXRegion& PXRegion::operator*=(const PXRegion& o) {
    if (!handle || this == &o) return *this;
    if (!o.handle) {
        set();
        return *this;
    }
    pixman_region32_intersect(&handle->r, &handle->r, &o.handle->r);
    normalise(handle);
    return *this;
}

PXRegion& PXRegion::operator*=(const PXRect& r) {
    if (!handle) return *this;
    if (r.isEmpty()) {
        set();
        return *this;
    }
    PXRegion clip(r);
    return *this *= clip;
}

PXRegion& PXRegion::operator-=(const PXRegion& o) {
    if (!handle || !o.handle) return *this;
    if (this == &o) {
        set();
        return *this;
    }
    pixman_region32_subtract(&handle->r, &handle->r, &o.handle->r);
    normalise(handle);
    return *this;
}

PXRect PXRegion::bounds() const {
    if (!handle) return PXRect::zero;
    return rectOf(*pixman_region32_extents(&handle->r));
}

int PXRegion::overlaps(const PXRegion& o) const {
    if (!handle || !o.handle) return 0;
    PXRegion both(*this);
    both *= o;
    return !both.isEmpty();
}

int PXRegion::overlaps(const PXRect& r) const {
    if (!handle || r.isEmpty()) return 0;
    pixman_box32_t box = boxOf(r);
    return pixman_region32_contains_rectangle(&handle->r, &box) != PIXMAN_REGION_OUT;
}

int PXRegion::contains(const PXRect& r) const {
    if (!handle || r.isEmpty()) return 0;
    pixman_box32_t box = boxOf(r);
    return pixman_region32_contains_rectangle(&handle->r, &box) == PIXMAN_REGION_IN;
}

int PXRegion::contains(int32_t x, int32_t y) const {
    if (!handle) return 0;
    return pixman_region32_contains_point(&handle->r, x, y, nullptr) != 0;
}

void PXRegion::offset(int32_t dx, int32_t dy) {
    if (!handle) return;
    // pixman adds the offset in 32 bits, which wraps round at the ends of
    // the range: first cut away what would leave it, so the region loses
    // those pixels instead.
    auto clampTo32 = [](int64_t v) {
        return static_cast<int32_t>(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(),
                                                        std::numeric_limits<int32_t>::max()));
    };
    const int64_t lo = std::numeric_limits<int32_t>::min(), hi = std::numeric_limits<int32_t>::max();
    PXRect keep(clampTo32(lo - dx), clampTo32(lo - dy), clampTo32(hi - dx), clampTo32(hi - dy));
    if (keep != PXRect(lo, lo, hi, hi)) {
        *this *= keep;
        if (!handle) return;
    }
    pixman_region32_translate(&handle->r, dx, dy);
    normalise(handle);
}

int PXRegion::equals(const PXRegion& o) const {
    if (!handle || !o.handle) return handle == o.handle;
    return pixman_region32_equal(&handle->r, &o.handle->r) != 0;
}

int32_t PXRegion::rectCount() const {
    if (!handle) return 0;
    return pixman_region32_n_rects(&handle->r);
}

PXRect PXRegion::rectAt(int32_t i) const {
    if (!handle || i < 0) return PXRect::zero;
    int n = 0;
    pixman_box32_t* boxes = pixman_region32_rectangles(&handle->r, &n);
    if (i >= n) return PXRect::zero;
    return rectOf(boxes[i]);
}

int PtInRegion(const PXRegion& region, int x, int y) { return region.contains(x, y); }

int OffsetRgn(PXRegion& region, int dx, int dy) {
    if (region.isEmpty()) return 0;
    region.offset(dx, dy);
    return 1;
}

int DeleteObject(PXRegion& region) {
    region.set();
    return 1;
}
