#include "pxbase/link.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

struct Target {
    int plain = 0;
    const void* lastData = nullptr;
    int withData = 0;
    void hit() { ++plain; }
    void hitWith(const void* d) {
        ++withData;
        lastData = d;
    }
};

// Two bases: the member pointer must carry the this-adjustment.
struct Left {
    int left = 7;
    virtual ~Left() = default;
};
struct Right {
    virtual ~Right() = default;
    int fired = 0;
    void fire() { ++fired; }
};
struct Both : Left, Right {};

int fctCalls = 0;
void countCall() { ++fctCalls; }

TEST(Link, WithoutObjectOrMethodFiringDoesNothing) {
    Target t;
    PXLinkToMember<Target> noObject(nullptr, &Target::hit);
    noObject.call();
    noObject.call(&t);
    PXLinkToMember<Target> noMethod(&t, static_cast<PXLinkToMember<Target>::Method>(nullptr));
    noMethod.call();
    noMethod.call(&t);
    PXLinkToFct noFct(nullptr);
    noFct.call();
    EXPECT_EQ(t.plain, 0);
    EXPECT_EQ(t.withData, 0);
}

TEST(Link, PlainMethodIgnoresDataAndDataMethodGetsIt) {
    Target t;
    int a = 0, b = 0;
    PXLinkToMember<Target> plain(&t, &Target::hit);
    plain.call(&a);
    EXPECT_EQ(t.plain, 1);
    EXPECT_EQ(t.withData, 0);

    PXLinkToMember<Target> withData(&t, &Target::hitWith, &a);
    withData.call();  // stored data
    EXPECT_EQ(t.lastData, &a);
    withData.call(&b);  // given data
    EXPECT_EQ(t.lastData, &b);
    EXPECT_EQ(t.withData, 2);
}

TEST(Link, CloneIsIndependentOfTheOriginal) {
    Target t1, t2;
    PXLinkToMember<Target> link(&t1, &Target::hit);
    std::unique_ptr<PXLink> copy(link.clone());
    copy->setObject(&t2);
    EXPECT_EQ(link.getObject(), &t1);
    EXPECT_EQ(copy->getObject(), &t2);
    link.call();
    copy->call();
    copy->call();
    EXPECT_EQ(t1.plain, 1);
    EXPECT_EQ(t2.plain, 2);
    link.setObject(nullptr);
    link.call();
    copy->call();
    EXPECT_EQ(t1.plain, 1);
    EXPECT_EQ(t2.plain, 3);
}

TEST(Link, MemberOfASecondBaseReachesTheRightSubobject) {
    Both both;
    PXLinkToMember<Both> link(&both, static_cast<void (Both::*)()>(&Right::fire));
    std::unique_ptr<PXLink> copy(link.clone());
    copy->call();
    EXPECT_EQ(both.fired, 1);
    EXPECT_EQ(both.left, 7);
}

TEST(Link, FunctionLinkCallsItsFunction) {
    fctCalls = 0;
    PXLinkToFct link(countCall);
    std::unique_ptr<PXLink> copy(link.clone());
    link.call();
    copy->call(&link);
    EXPECT_EQ(fctCalls, 2);
    EXPECT_EQ(link.data, nullptr);
    EXPECT_EQ(link.getObject(), nullptr);
}

TEST(Link, StoreReplacesWithACloneOrNull) {
    Target t;
    PXLink* slot = nullptr;
    {
        PXLinkToMember<Target> temp(&t, &Target::hit);
        PXStoreLink(slot, &temp);
        ASSERT_NE(slot, nullptr);
        EXPECT_NE(slot, &temp);
    }
    slot->call();  // the temporary is gone; the stored clone is not
    EXPECT_EQ(t.plain, 1);
    PXStoreLink(slot, nullptr);
    EXPECT_EQ(slot, nullptr);
}

}  // namespace
