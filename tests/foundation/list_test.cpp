#include "pxbase/list.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Item {
    int key;
    int tag = 0;
};

std::vector<int> keys(PXList<Item>& list) {
    std::vector<int> out;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) out.push_back(item->key);
    return out;
}

int ascending(Item* a, Item* b) { return a->key <= b->key; }

class ListWalk : public ::testing::Test {
protected:
    void SetUp() override {
        for (int i = 0; i < 5; ++i) items.push_back(Item{i});
        for (Item& item : items) list.append(&item);
    }
    std::vector<Item> items;
    PXList<Item> list;
};

TEST_F(ListWalk, RemovingTheCurrentNodeKeepsTheWalkGoing) {
    std::vector<int> seen;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) {
        seen.push_back(item->key);
        if (item->key % 2 == 0) list.remove(item);
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(keys(list), (std::vector<int>{1, 3}));
    EXPECT_EQ(list.count, 2);
    EXPECT_EQ(list.walkDepth, -1);
}

TEST_F(ListWalk, RemovingTheNextNodeSkipsItSafely) {
    std::vector<int> seen;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) {
        seen.push_back(item->key);
        if (item->key == 1) list.remove(&items[2]);
        if (item->key == 4) list.remove(&items[0]);  // behind the walk
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 3, 4}));
    EXPECT_EQ(keys(list), (std::vector<int>{1, 3, 4}));
    EXPECT_EQ(list.head->value, &items[1]);
    EXPECT_EQ(list.tail->value, &items[4]);
}

TEST_F(ListWalk, RemovingEverythingFromInsideEndsTheWalk) {
    int visits = 0;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) {
        ++visits;
        (void)item;
        for (Item& other : items) list.remove(&other);
    }
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.head, nullptr);
    EXPECT_EQ(list.tail, nullptr);
}

TEST_F(ListWalk, AppendDuringTheLastVisitIsSeen) {
    Item extra{9};
    std::vector<int> seen;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) {
        seen.push_back(item->key);
        if (item->key == 4) list.append(&extra);
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 4, 9}));
}

TEST_F(ListWalk, PrependDuringAWalkIsNotSeen) {
    Item extra{9};
    std::vector<int> seen;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) {
        seen.push_back(item->key);
        if (item->key == 2) list.prepend(&extra);
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(keys(list), (std::vector<int>{9, 0, 1, 2, 3, 4}));
}

TEST_F(ListWalk, InsertAfterTheCurrentNodeIsSeenNext) {
    Item extra{9};
    std::vector<int> seen;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) {
        seen.push_back(item->key);
        if (item->key == 1) {
            PXListIterator<Item> it(list);
            ASSERT_TRUE(it.find(item));
            it.insertAfter(&extra);
            EXPECT_EQ(it.value(), &extra);
        }
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 9, 2, 3, 4}));
}

TEST_F(ListWalk, ThreeNestedWalksEachSurviveRemovals) {
    int inner = 0;
    for (PXListWalk<Item> a(list); Item* x = a.next();) {
        for (PXListWalk<Item> b(list); Item* y = b.next();) {
            for (PXListWalk<Item> c(list); Item* z = c.next();) {
                ++inner;
                EXPECT_EQ(list.walkDepth, 2);
                // The innermost walk takes away the node the outer two will visit next.
                if (z->key == 3) list.remove(z);
            }
            (void)y;
        }
        (void)x;
    }
    EXPECT_EQ(list.walkDepth, -1);
    EXPECT_EQ(keys(list), (std::vector<int>{0, 1, 2, 4}));
    EXPECT_GT(inner, 0);
}

TEST_F(ListWalk, AFourthNestedWalkIsRefusedAndVisitsNothing) {
    int fourthVisits = 0;
    bool refused = false;
    {
        PXListWalk<Item> a(list), b(list), c(list);
        ASSERT_NE(a.next(), nullptr);
        ASSERT_NE(b.next(), nullptr);
        ASSERT_NE(c.next(), nullptr);
        PXListWalk<Item> d(list);
        refused = d.refused();
        while (d.next()) ++fourthVisits;
        EXPECT_EQ(list.walkDepth, 2);
        // The running walks still go on where they stood.
        EXPECT_EQ(c.next(), &items[1]);
        EXPECT_EQ(b.next(), &items[1]);
    }
    EXPECT_TRUE(refused);
    EXPECT_EQ(fourthVisits, 0);
    EXPECT_EQ(list.walkDepth, -1);
}

TEST_F(ListWalk, BreakingOutOfAWalkReleasesItsSlot) {
    for (PXListWalk<Item> walk(list); Item* item = walk.next();)
        if (item->key == 1) break;
    EXPECT_EQ(list.walkDepth, -1);
    Item extra{9};
    list.append(&extra);  // no stale slot may pick this up
    EXPECT_EQ(list.walks[0], nullptr);
}

TEST_F(ListWalk, ClearDuringAWalkEndsItWithoutTouchingFreedNodes) {
    int visits = 0;
    for (PXListWalk<Item> walk(list); walk.next();) {
        ++visits;
        list.clear();
    }
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.walkDepth, -1);
}

TEST_F(ListWalk, WhatIsAppendedAfterAClearIsNotVisitedByTheEndedWalk) {
    Item extra{9};
    std::vector<int> seen;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) {
        seen.push_back(item->key);
        if (item->key == 0) {
            list.clear();
            list.append(&extra);
        }
    }
    EXPECT_EQ(seen, (std::vector<int>{0}));
    EXPECT_EQ(keys(list), (std::vector<int>{9}));
    EXPECT_EQ(list.walkDepth, -1);
}

TEST_F(ListWalk, OrderedAddDuringAWalkIsSeenWhenItLandsAhead) {
    PXList<Item> ordered(ascending);
    Item a{1}, c{3}, e{5}, b{2}, f{6};
    for (Item* item : {&a, &c, &e}) ordered.add(item);
    std::vector<int> seen;
    for (PXListWalk<Item> walk(ordered); Item* item = walk.next();) {
        seen.push_back(item->key);
        if (item->key == 3) {
            ordered.add(&b);  // behind the walk
            ordered.add(&f);  // ahead of it, at the tail
        }
    }
    EXPECT_EQ(seen, (std::vector<int>{1, 3, 5, 6}));
    EXPECT_EQ(keys(ordered), (std::vector<int>{1, 2, 3, 5, 6}));
}

TEST(ListOrder, AddWithCompareKeepsEqualKeysInOrderOfArrival) {
    PXList<Item> list(ascending);
    Item a{5, 1}, b{2, 2}, c{5, 3}, d{1, 4}, e{2, 5}, f{9, 6};
    for (Item* item : {&a, &b, &c, &d, &e, &f}) list.add(item);
    std::vector<int> tags;
    for (PXListWalk<Item> walk(list); Item* item = walk.next();) tags.push_back(item->tag);
    EXPECT_EQ(tags, (std::vector<int>{4, 2, 5, 1, 3, 6}));
    EXPECT_EQ(list.count, 6);
    EXPECT_EQ(list.tail->value, &f);
}

TEST(ListOrder, AddIgnoresNullAndAppendsWithoutCompare) {
    PXList<Item> list;
    Item a{3}, b{1};
    list.add(nullptr);
    list.add(&a);
    list.add(&b);
    EXPECT_EQ(list.count, 2);
    EXPECT_EQ(list.first(), &a);
    EXPECT_EQ(list.last(), &b);
}

TEST(ListIterator, RemoveMovesToTheNextNodeAndFixesEnds) {
    PXList<Item> list;
    Item a{1}, b{2}, c{3};
    list.append(&a);
    list.append(&b);
    list.append(&c);
    PXListIterator<Item> it(list);
    EXPECT_EQ(it.remove(), &a);
    EXPECT_EQ(it.value(), &b);
    EXPECT_EQ(list.head->value, &b);
    EXPECT_EQ(list.head->prev, nullptr);
    ASSERT_TRUE(it.find(&c));
    EXPECT_EQ(it.remove(), &c);
    EXPECT_TRUE(it.atEnd());
    EXPECT_EQ(it.remove(), nullptr);
    EXPECT_EQ(list.tail->value, &b);
    EXPECT_EQ(list.tail->next, nullptr);
    EXPECT_FALSE(it.find(&a));
    EXPECT_EQ(list.count, 1);
}

TEST(ListIterator, InsertAfterTheTailAppends) {
    PXList<Item> list;
    Item a{1}, b{2};
    list.append(&a);
    PXListIterator<Item> it(list);
    it.insertAfter(&b);
    EXPECT_EQ(list.tail->value, &b);
    EXPECT_EQ(list.tail->prev->value, &a);
    EXPECT_EQ(it.value(), &b);
}

}  // namespace
