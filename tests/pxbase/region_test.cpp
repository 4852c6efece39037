// Rectangles and regions against a brute-force model: a set of pixels on a
// small grid, built from the same random rectangles.
#include "pxbase/region.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <set>
#include <utility>

#include "pxbase/rect.h"

namespace {

constexpr int kLo = -6, kHi = 26;  // the grid the model covers
using Pixels = std::set<std::pair<int, int>>;

Pixels pixelsOf(const PXRect& r) {
    Pixels p;
    for (int y = std::max(r.top, kLo); y < std::min(r.bottom, kHi); ++y)
        for (int x = std::max(r.left, kLo); x < std::min(r.right, kHi); ++x) p.insert({x, y});
    return p;
}

Pixels pixelsOf(const PXRegion& r) {
    Pixels p;
    for (int y = kLo; y < kHi; ++y)
        for (int x = kLo; x < kHi; ++x)
            if (r.contains(x, y)) p.insert({x, y});
    return p;
}

Pixels both(const Pixels& a, const Pixels& b) {
    Pixels out;
    for (auto& q : a)
        if (b.count(q)) out.insert(q);
    return out;
}

PXRect boundsOf(const Pixels& p) {
    if (p.empty()) return PXRect::zero;
    PXRect r(INT_MAX, INT_MAX, INT_MIN, INT_MIN);
    for (auto [x, y] : p) {
        r.left = std::min(r.left, x);
        r.top = std::min(r.top, y);
        r.right = std::max(r.right, x + 1);
        r.bottom = std::max(r.bottom, y + 1);
    }
    return r;
}

class Random {
public:
    explicit Random(unsigned seed) : gen(seed) {}
    // Mostly small rectangles inside the grid, some empty or inverted ones.
    PXRect rect() {
        std::uniform_int_distribution<int> pos(-4, 14), size(-2, 10);
        int l = pos(gen), t = pos(gen);
        return PXRect(l, t, l + size(gen), t + size(gen));
    }
    std::mt19937 gen;
};

TEST(Rect, ZeroIsTheUnsetRectangleAndHasNoArea) {
    EXPECT_TRUE(PXRect::zero == PXRect(0, 0, -1, -1));
    EXPECT_TRUE(PXRect::zero.isEmpty());
    EXPECT_EQ(PXRect(0, 0, 10, 10) * PXRect(20, 20, 30, 30), PXRect::zero);
    // Touching edges share no pixel: right and bottom are outside.
    EXPECT_EQ(PXRect(0, 0, 10, 10) * PXRect(10, 0, 20, 10), PXRect::zero);
    PXRegion empty;
    EXPECT_EQ(empty.bounds(), PXRect::zero);
    empty.set(PXRect::zero);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.handle, nullptr);
}

TEST(Rect, OperationsAgreeWithThePixelModel) {
    Random rnd(7);
    for (int i = 0; i < 3000; ++i) {
        PXRect a = rnd.rect(), b = rnd.rect();
        Pixels pa = pixelsOf(a), pb = pixelsOf(b);
        Pixels common = both(pa, pb);
        EXPECT_EQ(pixelsOf(a * b), common);
        EXPECT_EQ(a.overlaps(b), common.empty() ? 0 : 1);
        if (common.empty()) {
            EXPECT_EQ(a * b, PXRect::zero);
        }
        EXPECT_EQ(a <= b, !pa.empty() && common == pa ? 1 : 0);
        // The sum is the smallest rectangle holding both.
        Pixels all = pa;
        all.insert(pb.begin(), pb.end());
        EXPECT_EQ(a + b, boundsOf(all)) << i;
        PXRect u;
        int got = UnionRect(&u, &a, &b);
        EXPECT_EQ(got, all.empty() ? 0 : 1);
        EXPECT_EQ(u, all.empty() ? PXRect(0, 0, 0, 0) : boundsOf(all));
        PXPoint p(a.left + 1, a.bottom - 1);
        EXPECT_EQ(PtInRect(&a, p), pa.count({p.x, p.y}) ? 1 : 0);
    }
}

TEST(Rect, OffsetSaturatesAtTheEndsOfTheRange) {
    PXRect r(INT_MAX - 5, 0, INT_MAX - 1, 4);
    OffsetRect(&r, 100, -3);
    EXPECT_EQ(r, PXRect(INT_MAX, -3, INT_MAX, 1));
    EXPECT_TRUE(r.isEmpty());
    PXRect wide(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
    EXPECT_FALSE(wide.isEmpty());
    EXPECT_EQ(wide.width(), 0xFFFFFFFFLL);
}

TEST(Region, OperationsAgreeWithThePixelModel) {
    Random rnd(11);
    for (int i = 0; i < 400; ++i) {
        PXRegion a, b;
        Pixels pa, pb;
        for (int k = 0; k < 4; ++k) {
            PXRect r = rnd.rect();
            a += PXRegion(r);
            Pixels add = pixelsOf(r);
            pa.insert(add.begin(), add.end());
            PXRect s = rnd.rect();
            b += s;
            add = pixelsOf(s);
            pb.insert(add.begin(), add.end());
        }
        ASSERT_EQ(pixelsOf(a), pa);
        EXPECT_EQ(a.bounds(), boundsOf(pa));
        EXPECT_EQ(a.isEmpty(), pa.empty());
        EXPECT_EQ(a.handle == nullptr, pa.empty());
        Pixels common = both(pa, pb);
        EXPECT_EQ(pixelsOf(a * b), common);
        EXPECT_EQ(a.overlaps(b), common.empty() ? 0 : 1);
        PXRegion cut(a);
        cut *= b;
        EXPECT_EQ(cut.handle == nullptr, common.empty());
        PXRegion joined(a);
        joined += b;
        Pixels all = pa;
        all.insert(pb.begin(), pb.end());
        EXPECT_EQ(pixelsOf(joined), all);
        PXRegion less(a);
        less -= b;
        Pixels rest;
        for (auto& q : pa)
            if (!pb.count(q)) rest.insert(q);
        EXPECT_EQ(pixelsOf(less), rest);
        // A rectangle inside the region, and one that is not.
        PXRect r = rnd.rect();
        Pixels pr = pixelsOf(r);
        EXPECT_EQ(r <= a, !pr.empty() && both(pr, pa) == pr ? 1 : 0);
        EXPECT_EQ(r.overlaps(a), both(pr, pa).empty() ? 0 : 1);
        // The rectangles it is made of cover it exactly, without overlap.
        Pixels covered;
        size_t count = 0;
        for (int32_t k = 0; k < a.rectCount(); ++k) {
            Pixels pk = pixelsOf(a.rectAt(k));
            count += pk.size();
            covered.insert(pk.begin(), pk.end());
        }
        EXPECT_EQ(covered, pa);
        EXPECT_EQ(count, pa.size());
    }
}

TEST(Region, OffsetMovesEveryPixel) {
    Random rnd(3);
    for (int i = 0; i < 100; ++i) {
        PXRegion a;
        a += rnd.rect();
        a += rnd.rect();
        std::uniform_int_distribution<int> d(-3, 3);
        int dx = d(rnd.gen), dy = d(rnd.gen);
        PXRegion moved(a);
        EXPECT_EQ(OffsetRgn(moved, dx, dy), a.isEmpty() ? 0 : 1);
        for (int y = kLo; y < kHi; ++y)
            for (int x = kLo; x < kHi; ++x)
                ASSERT_EQ(PtInRegion(moved, x + dx, y + dy), a.contains(x, y)) << x << "," << y;
        PXRect b = a.bounds();
        if (!a.isEmpty()) b.offset(dx, dy);
        EXPECT_EQ(moved.bounds(), b);
    }
}

TEST(Region, CopiesAreDeepAndDeleteObjectClearsTheHandle) {
    PXRegion a(PXRect(0, 0, 4, 4));
    PXRegion b;
    b = a;
    EXPECT_NE(b.handle, a.handle);
    b += PXRect(10, 10, 12, 12);
    EXPECT_FALSE(a.contains(10, 10));
    EXPECT_TRUE(b.contains(11, 11));
    EXPECT_TRUE(a.equals(PXRegion(PXRect(0, 0, 4, 4))));
    DeleteObject(b);
    EXPECT_EQ(b.handle, nullptr);
    EXPECT_EQ(b.bounds(), PXRect::zero);
    // The fifth argument of set changes nothing.
    PXRegion c, d;
    c.set(1, 2, 5, 6, 0);
    d.set(1, 2, 5, 6, 77);
    EXPECT_TRUE(c.equals(d));
    EXPECT_EQ(c.bounds(), PXRect(1, 2, 5, 6));
    // Self-assignment and self-operations keep the region whole.
    c = c;
    c += c;
    c *= c;
    EXPECT_EQ(c.bounds(), PXRect(1, 2, 5, 6));
    c -= c;
    EXPECT_TRUE(c.isEmpty());
}

TEST(Region, ExtremeRectanglesStayExact) {
    PXRegion r(PXRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX));
    EXPECT_EQ(r.bounds(), PXRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX));
    EXPECT_TRUE(r.contains(0, 0));
    EXPECT_TRUE(r.contains(INT_MIN, INT_MAX - 1));
    PXRegion edge(PXRect(INT_MAX - 4, 0, INT_MAX, 2));
    edge.offset(10, 0);  // pushed off the range: the pixels are cut there
    EXPECT_TRUE(edge.isEmpty() || edge.bounds().right == INT_MAX);
    EXPECT_FALSE(edge.contains(INT_MIN + 5, 0)) << "nothing wraps round";
}

}  // namespace
