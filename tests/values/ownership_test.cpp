// Objects held by variables: who deletes them, and that no variable is left
// holding an object that is gone. Run under AddressSanitizer, any dangling
// read here fails the test.
#include <gtest/gtest.h>

#include <string>

#include "values_fixture.h"

namespace valuestest {
namespace {

using Ownership = ValuesTest;
using NoDanglingObjects = ValuesTest;

PXScriptableObject* objectOf(const YVariable* v) {
    PXScriptableObject* o = reinterpret_cast<PXScriptableObject*>(1);
    v->value(o);
    return o;
}

TEST_F(Ownership, OwnerToOwnerCopiesTheObject) {
    Probe* o = new Probe(1);
    YVariable* a = heap()[heap().pile("a", o)];
    YVariable* b = var("b");
    b->set(a);
    Probe* copy = static_cast<Probe*>(objectOf(b));
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, o);
    EXPECT_EQ(copy->id, 101);
    EXPECT_EQ(b->getAlias(), 0);
    EXPECT_EQ(Probe::alive, 2);
    a->set("x", -1);
    EXPECT_EQ(Probe::alive, 1);
    EXPECT_EQ(objectOf(b), copy);
}

TEST_F(Ownership, CopyThatFailsLeavesTheVariableCleared) {
    Probe* o = new Probe(1, false);
    YVariable* a = heap()[heap().pile("a", o)];
    YVariable* b = var("b", "old");
    b->set(a);
    EXPECT_EQ(b->state, YVS_None);
    EXPECT_EQ(read(b), "b");
    EXPECT_EQ(objectOf(a), o);
}

TEST_F(Ownership, ReassigningAnOwnerDeletesAndAnAliasDoesNot) {
    Probe* o = new Probe;
    YVariable* owner = heap()[heap().pile("owner", o)];
    YVariable* alias = var("alias");
    heap()[1]->set(o);  // a non-owning holder to copy from
    alias->set(heap()[1]);
    EXPECT_EQ(alias->getAlias(), 1);
    EXPECT_EQ(objectOf(alias), o);

    alias->set("x", -1);
    EXPECT_EQ(Probe::destroyed, 0);
    EXPECT_EQ(alias->getAlias(), 0);  // an owner again for what comes next
    EXPECT_EQ(objectOf(owner), o);

    owner->set(int32_t{5});
    EXPECT_EQ(Probe::destroyed, 1);
    EXPECT_EQ(readLong(owner), 5);
}

TEST_F(Ownership, DropDeletesOnceAndOnlyWhenAskedAndTheFirstHolderOwns) {
    Probe* o = new Probe;
    int a = heap().pile("a", o);
    int b = heap().pile("b", o);
    EXPECT_EQ(heap().drop(o, 1), 1);
    EXPECT_EQ(Probe::destroyed, 1);
    EXPECT_EQ(heap()[a]->state, YVS_None);
    EXPECT_EQ(heap()[b]->state, YVS_None);
    EXPECT_EQ(heap().drop(o, 1), 0);  // nothing holds it any more

    Probe* kept = new Probe;
    int k = heap().pile("k", kept);
    EXPECT_EQ(heap().drop(kept, 0), 1);  // without kill it only empties
    EXPECT_EQ(Probe::destroyed, 1);
    EXPECT_EQ(read(heap()[k]), "k");

    heap()[1]->set(kept);  // RECEIVER: forwarding kind, never an owner
    int later = heap().pile("later", kept);
    // RECEIVER is emptied without a say: the owner behind it deletes.
    EXPECT_EQ(heap().drop(kept, 1), 1);
    EXPECT_EQ(Probe::destroyed, 2);
    EXPECT_EQ(heap()[1]->state, YVS_None);
    EXPECT_EQ(heap()[later]->state, YVS_None);
}

TEST_F(Ownership, ANameLongerThanAValueHoldsIsFoundAgain) {
    std::string name(1100, 'n');
    int first = heap().pile(name.c_str(), static_cast<int>(name.size()), static_cast<const char*>(nullptr));
    ASSERT_GT(first, 2);
    EXPECT_EQ(heap().pile(name.c_str(), static_cast<int>(name.size()), static_cast<const char*>(nullptr)), first);
    EXPECT_EQ(heap().index(name.c_str(), static_cast<int>(name.size())), first);
}

TEST_F(Ownership, GetNameFindsTheOwnerOnly) {
    Probe* o = new Probe;
    var("ref")->set(heap()[heap().pile("own", o)]);  // an owner copies...
    EXPECT_EQ(Probe::alive, 2);
    int i = -1;
    EXPECT_STREQ(heap().getName(o, &i), "own");
    EXPECT_EQ(i, heap().index("own", 3));
    Probe stranger;
    i = -1;
    EXPECT_EQ(heap().getName(&stranger, &i), nullptr);
    EXPECT_EQ(i, -1);
}

TEST_F(Ownership, HandedToTheHostTheScriptNoLongerDeletes) {
    Probe* o = new Probe;
    int v = heap().pile("v", o);
    EXPECT_EQ(heap().getSob(heap().getSobHandle("v"), nullptr, 1), o);
    EXPECT_EQ(heap()[v]->getAlias(), 1);
    heap()[v]->set("x", -1);
    EXPECT_EQ(Probe::destroyed, 0);
    delete o;
}

TEST_F(Ownership, DropBaublesClearsOwnersOnly) {
    Probe* owned = new Probe;
    Probe* hosted = new Probe;
    int a = heap().pile("a", owned);
    int h = heap().pile("h", hosted);
    heap()[h]->makeAlias();
    bcvalues::ValuesAccess::dropBaubles(heap(), 1);
    EXPECT_EQ(Probe::destroyed, 1);
    EXPECT_EQ(heap()[a]->state, YVS_None);
    EXPECT_EQ(objectOf(heap()[h]), hosted);
    delete hosted;
}

TEST_F(NoDanglingObjects, ReferenceReadsAsUnsetAfterTheOwnerLetGo) {
    Probe* o = new Probe;
    YVariable* owner = heap()[heap().pile("owner", o)];
    heap()[1]->set(o);
    YVariable* ref = var("ref");
    ref->set(heap()[1]);
    PXSobHandle h = heap().getSobHandle("ref");

    owner->set("other", -1);  // deletes the object at once
    EXPECT_EQ(Probe::destroyed, 1);
    EXPECT_EQ(ref->state, YVS_None);
    EXPECT_EQ(read(ref), "ref");
    EXPECT_EQ(objectOf(ref), nullptr);
    EXPECT_EQ(heap()[1]->state, YVS_None);
    int valid = 1;
    EXPECT_EQ(heap().getSob(h, &valid, 0), nullptr);
    EXPECT_EQ(valid, 0);
    // Reading it in an expression, and assigning it on, is safe too.
    EXPECT_EQ(eval("ref+1"), "ref1");
    var("next")->set(ref);
    EXPECT_EQ(read(var("next")), "ref");
}

TEST_F(NoDanglingObjects, HostDeletingAnObjectClearsEveryHolder) {
    Probe* o = new Probe;
    int a = heap().pile("a", o);
    int b = heap().pile("b", o);
    heap()[a]->makeAlias();
    heap()[b]->makeAlias();
    delete o;
    EXPECT_EQ(objectOf(heap()[a]), nullptr);
    EXPECT_EQ(objectOf(heap()[b]), nullptr);
    EXPECT_EQ(heap().drop(o, 1), 0);
}

TEST_F(NoDanglingObjects, WalkResultIsForgottenWhenItsObjectGoes) {
    Probe* o = new Probe;
    heap().pile("obj", o);
    EXPECT_STREQ(heap().getFirstVarName(YVS_Object), "obj");
    EXPECT_EQ(heap().getTheBauble(), o);
    var("obj")->set("x", -1);
    EXPECT_EQ(heap().getTheBauble(), nullptr);
}

TEST_F(NoDanglingObjects, KillingTheHeapDeletesSharedObjectsOnce) {
    Probe* o = new Probe;
    heap().pile("a", o);
    heap().pile("b", o);
    heap()[1]->set(o);
    var("r")->set(heap()[1]);
    bcvalues::ValuesAccess::reset(heap());
    EXPECT_EQ(Probe::destroyed, 1);
    EXPECT_EQ(Probe::alive, 0);
    EXPECT_EQ(heap().size(), 3);
}

}  // namespace
}  // namespace valuestest
