#include "baublecore/heap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "values_fixture.h"

namespace valuestest {
namespace {

using HeapTable = ValuesTest;
using Clones = ValuesTest;
using Handles = ValuesTest;
using HeapWalks = ValuesTest;

TEST_F(HeapTable, StartsWithTheThreeReservedEntries) {
    EXPECT_EQ(heap().size(), 3);
    EXPECT_EQ(heap().index("RESULT", 6), 2);
    EXPECT_EQ(heap().index("SYSTEM", 6), 0);
    EXPECT_EQ(read(heap()[0]), "WIN");
    EXPECT_EQ(heap()[0]->getAlias(), 1);
    EXPECT_EQ(heap()[1]->getAlias(), -1);
    EXPECT_EQ(heap()[2]->getAlias(), 0);
    EXPECT_EQ(read(heap()[2]), "RESULT");
    EXPECT_STREQ(heap()["SYSTEM"], "WIN");
}

TEST_F(HeapTable, GrowsBy128BeforeItIsFull) {
    // The fourth slot was made when the third entry went in.
    EXPECT_EQ(heap().capacity, 131);
    std::vector<int> seen;
    for (int i = 0; heap().size() < 260; ++i) {
        pile(("v" + std::to_string(i)).c_str());
        if (seen.empty() || seen.back() != heap().capacity) seen.push_back(heap().capacity);
        ASSERT_GT(heap().capacity, heap().size());
    }
    EXPECT_EQ(seen, (std::vector<int>{131, 259, 387}));
}

TEST_F(HeapTable, PilingTwiceGivesOneEntryAndIndexMatchesExactlyTheseBytes) {
    int ab = pile("ab", "first");
    EXPECT_EQ(pile("ab", "second"), ab);
    EXPECT_EQ(heap().size(), 4);
    EXPECT_EQ(read(heap()[ab]), "first");
    EXPECT_EQ(heap().index("abc", 2), ab);
    EXPECT_EQ(heap().index("a", 1), -1);
    EXPECT_EQ(heap().index("ab\0x", 4), -1);
    EXPECT_EQ(heap().index("", 0), -1);
    int empty = pile("");
    EXPECT_EQ(heap().index("", 0), empty);
}

TEST_F(HeapTable, TypedPileComparesTheWholeText) {
    int plain = pile("x");
    EXPECT_EQ(bcvalues::ValuesAccess::pile(heap(), "x", 1, YVT_Plain), plain);
    // Same name, other type: another term.
    EXPECT_NE(bcvalues::ValuesAccess::pile(heap(), "x", 1, YVT_Literal), plain);
    // Text taken from the middle of a line never matches.
    const char* line = "x y";
    int fresh = bcvalues::ValuesAccess::pile(heap(), line, 1, YVT_Plain);
    EXPECT_NE(fresh, plain);
    EXPECT_EQ(nameAt(fresh), "x");
    EXPECT_EQ(heap().index("x", 1), plain);  // the first one still wins
    int again = bcvalues::ValuesAccess::pile(heap(), line, 1, YVT_Plain);
    EXPECT_NE(again, fresh);
}

TEST_F(HeapTable, NameOperatorMakesTheVariable) {
    EXPECT_STREQ(heap()["fresh"], "fresh");
    int i = heap().index("fresh", 5);
    ASSERT_GE(i, 0);
    heap()[i]->set("v", -1);
    EXPECT_STREQ(heap()["fresh"], "v");
    EXPECT_EQ(heap()[-1], nullptr);
    EXPECT_EQ(heap()[heap().size()], nullptr);
}

TEST_F(HeapTable, NothingAnswersBeforeInit) {
    bcvalues::ValuesAccess::kill(heap());
    EXPECT_EQ(heap().size(), 0);
    EXPECT_TRUE(!heap());
    EXPECT_EQ(pile("x"), 0);
    EXPECT_EQ(heap()[0], nullptr);
    EXPECT_EQ(heap()["x"], nullptr);
    EXPECT_EQ(heap().clone(0), 0);
    EXPECT_STREQ(heap().pileClone("x", nullptr), "");
    EXPECT_EQ(heap().index("x", 1), -1);
    EXPECT_EQ(heap().getSobHandle("x").index, -1);
    EXPECT_EQ(heap().getFirstVarName(YVS_None), nullptr);
    EXPECT_EQ(code("a+b"), "");
    EXPECT_NE(bcvalues::compileError, 0);
}

TEST_F(HeapTable, RefusesIndicesPastThe16BitRange) {
    char name[16];
    while (heap().size() <= 32767) {
        std::snprintf(name, sizeof name, "v%d", heap().size());
        int i = pile(name);
        ASSERT_EQ(i, heap().size() - 1);
    }
    EXPECT_EQ(heap().size(), 32768);
    EXPECT_EQ(nameAt(32767), "v32767");
    EXPECT_EQ(pile("one more"), -1);
    EXPECT_EQ(pile("s|1|2"), -1);
    EXPECT_EQ(heap().size(), 32768);
    EXPECT_EQ(heap().clone(pile("v5")), -1);
    EXPECT_EQ(heap()["brand new"], nullptr);
    EXPECT_STREQ(heap().pileClone("v6", nullptr), "");
    // Existing names are still found; a new word cannot compile.
    EXPECT_EQ(pile("v7"), 7);
    word("q+r");
    EXPECT_EQ(bcvalues::compileError, bcvalues::kErrTooLong);
}

TEST_F(Clones, BaseMadeAfterItsClonesIsLinkedToThem) {
    int a1 = pile("a.1");
    pile("a.2");
    pile("a.1.7");  // not a clone of a: its last dot is elsewhere
    pile("ab.9");
    const YVariable* a = var("a");
    EXPECT_EQ(a->firstClone, a1);
    EXPECT_EQ(a->cloneCount, 2);
    EXPECT_EQ(a->clones(), 2);
}

TEST_F(Clones, NumberingSkipsNoExistingNameAndTextOnTheBaseCutsOnlyTheLink) {
    int a = pile("a");
    int a2 = pile("a.2");
    int c1 = heap().clone(a);
    int c2 = heap().clone(a);
    int c3 = heap().clone(a);
    EXPECT_EQ(nameAt(c1), "a.1");
    EXPECT_EQ(c2, a2);
    EXPECT_EQ(nameAt(c3), "a.3");
    EXPECT_EQ(heap()[a]->firstClone, c1);
    EXPECT_EQ(heap()[a]->clones(), 3);
    heap()[a]->set("x", -1);
    EXPECT_EQ(heap()[a]->clones(), 0);
    EXPECT_EQ(heap()[a]->cloneCount, 3);
    EXPECT_EQ(nameAt(heap().clone(a)), "a.4");
}

TEST_F(Clones, PileCloneGivesTheObjectToTheNextClone) {
    Probe* o = new Probe;
    EXPECT_STREQ(heap().pileClone("b", o), "b.1");
    EXPECT_EQ(heap().getSob("b.1", 0), o);
    EXPECT_STREQ(heap().pileClone("b", nullptr), "b.2");
}

TEST_F(Clones, WalkGoesOverConsecutiveEntries) {
    int a = pile("a");
    int first = heap().clone(a);
    heap().clone(a);
    YVariable* c = heap().getFirstClone(a);
    EXPECT_EQ(c, heap()[first]);
    EXPECT_EQ(nameAt(first + 1), heap().getNextClone()->getName());
    // The walk does not know where clones end; past the table it stops.
    while (heap().getNextClone()) {
    }
    EXPECT_EQ(heap().getNextClone(), nullptr);
    EXPECT_EQ(heap().getFirstClone(pile("lonely")), nullptr);
    EXPECT_EQ(heap().getFirstClone(99999), nullptr);
}

TEST_F(Handles, TellWhetherTheVariableWasReassigned) {
    EXPECT_EQ(heap().getSobHandle("unknown").index, -1);
    int valid = 7;
    EXPECT_EQ(heap().getSob(heap().getSobHandle("unknown"), &valid, 0), nullptr);
    EXPECT_EQ(valid, 0);

    Probe* o = new Probe;
    int v = heap().pile("v", o);
    PXSobHandle h = heap().getSobHandle("v");
    EXPECT_EQ(h.index, v);
    EXPECT_EQ(heap().getSob(h, &valid, 0), o);
    EXPECT_EQ(valid, 1);

    heap()[v]->set(o);  // the very object again: the handle stays good
    EXPECT_EQ(heap().getSob(h, &valid, 0), o);
    EXPECT_EQ(valid, 1);
    EXPECT_EQ(heap()[v]->handled, 1);
    heap()[v]->set(heap()[v]);  // itself: nothing happens
    EXPECT_EQ(heap().getSob(h, &valid, 0), o);
    EXPECT_EQ(valid, 1);
    EXPECT_EQ(heap()[v]->handled, 1);
    EXPECT_EQ(Probe::destroyed, 0);

    heap()[v]->set("text", -1);
    EXPECT_EQ(heap().getSob(h, &valid, 0), nullptr);
    EXPECT_EQ(valid, 0);
    EXPECT_EQ(Probe::destroyed, 1);
}

TEST_F(Handles, CompoundNameLeadsToItsComputedVariable) {
    var("i")->set("4", -1);
    pile("p.i");
    EXPECT_EQ(heap().getSobHandle("p.i").index, -1);  // p.4 does not exist yet
    EXPECT_EQ(heap().index("p.4", 3), -1);             // and was not made
    int p4 = pile("p.4");
    EXPECT_EQ(heap().getSobHandle("p.i").index, p4);
    EXPECT_EQ(heap()[p4]->handled, 1);

    // An entry of the computed name that is itself a computed term (p.x
    // with x unassigned reads "p.x") is not the variable: the plain one is.
    var("j")->set("x", -1);
    pile("p.j");
    int px = pile("p.x");
    ASSERT_EQ(heap()[px]->type, YVT_Compound);
    int plainPx = bcvalues::ValuesAccess::pile(heap(), "p.x", 3, YVT_Plain);
    ASSERT_GT(plainPx, px);
    Probe* o = new Probe;
    heap()[plainPx]->set(o);
    EXPECT_EQ(heap().getSobHandle("p.j").index, plainPx);
    EXPECT_EQ(heap().getSob("p.j", 1), o);
    EXPECT_EQ(heap()[plainPx]->getAlias(), 1);  // the host holds it now
    heap()[plainPx]->set("gone", -1);
    EXPECT_EQ(Probe::destroyed, 0);
    delete o;
}

TEST_F(Handles, GetSobByNameGoesThroughTheAssociate) {
    Probe* o = new Probe;
    heap().pile("q.5", o);
    var("k")->set("5", -1);
    pile("q.k");
    EXPECT_EQ(heap().getSob("q.k", 0), o);
    EXPECT_EQ(heap().getSob("nobody", 0), nullptr);
    // Handing it over makes the holder a reference, not the compound term.
    EXPECT_EQ(heap().getSob("q.k", 1), o);
    EXPECT_EQ(var("q.5")->getAlias(), 1);
    var("q.5")->set("gone", -1);
    EXPECT_EQ(Probe::destroyed, 0);
    delete o;
}

TEST_F(HeapWalks, ProcedureNames) {
    var("p1")->set("+12", -1);
    var("x")->set("12", -1);
    var("p2")->set("+3", -1);
    EXPECT_STREQ(heap().getFirstProcName(), "p1");
    EXPECT_STREQ(heap().getNextProcName(), "p2");
    EXPECT_EQ(heap().getNextProcName(), nullptr);
}

TEST_F(HeapWalks, VariableNamesByState) {
    Probe* o = new Probe;
    heap()[1]->set(o);  // RECEIVER holds it, as an event delivers it
    EXPECT_EQ(heap().getFirstVarName(YVS_Object), nullptr);

    heap()[2]->set("r", -1);
    var("n")->set(int32_t{4});
    var("proc")->set("+1", -1);
    var("ref")->set(heap()[1]);  // a reference: alias 1, not offered
    Probe* owned = new Probe;
    heap().pile("obj", owned);
    var("unset");

    std::vector<std::string> all;
    for (const char* n = heap().getFirstVarName(YVS_None); n; n = heap().getNextVarName()) all.push_back(n);
    EXPECT_EQ(all, (std::vector<std::string>{"RESULT", "n", "obj"}));
    EXPECT_EQ(heap().getTheBauble(), owned);  // the end leaves it as it was

    EXPECT_STREQ(heap().getFirstVarName(YVS_Long), "n");
    EXPECT_EQ(heap().getTheBauble(), nullptr);
    EXPECT_STREQ(heap().getFirstVarName(YVS_Object), "obj");
    EXPECT_EQ(heap().getTheBauble(), owned);
    heap()[1]->set(nullptr, -3);
    delete o;
}

}  // namespace
}  // namespace valuestest
