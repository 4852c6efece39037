#include "baublecore/scriptable_object.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "baublecore/sr.h"
#include "lamp.h"

namespace {

PXSR lampClass("Lamp", makeLamp);

// Watches events: counts calls and remembers the data it was fired with.
struct Watcher {
    int calls = 0;
    const void* lastData = nullptr;
    std::vector<PXScriptableObject*> bornSeen;
    void fired(const void* d) {
        ++calls;
        lastData = d;
    }
    void born() { bornSeen.push_back(PXScriptableObject::getNewborn()); }
    // The clone link: gives the copy's watcher a data word of its own.
    void onClone(const void* pairData) {
        auto* pair = static_cast<const PXSobClonePair*>(pairData);
        pair->link->data = pair->owner;
    }
};

std::unique_ptr<Lamp> newLamp(const char* level = "0") {
    return std::unique_ptr<Lamp>(
        static_cast<Lamp*>(PXScriptableObject::create("Lamp", level, PXScriptableObject::kPXEndOfParameters)));
}

TEST(Properties, LookupIsExactAndAReplacementMovesToTheEnd) {
    auto lamp = newLamp("3");
    ASSERT_TRUE(lamp);
    EXPECT_STREQ(lamp->sobGet("level"), "3");
    EXPECT_EQ(lamp->sobGet("Level"), nullptr);  // property names keep their case
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_NoSuchProperty);

    // "born", level, mute, bump, default, lit, echo, nested
    ASSERT_EQ(lamp->properties->count, 8);
    EXPECT_STREQ(lamp->properties->head->value->name, "born");
    // Handlers are the owner's: the property aims its links at the object.
    Lamp other;
    PXLinkToMember<Lamp> set(&other, &Lamp::setLevel, nullptr);
    lamp->sobAddDataProperty("born", &set, nullptr);  // replaces the event of that name
    EXPECT_EQ(lamp->properties->count, 8);
    EXPECT_EQ(lamp->properties->tail->value->type, PXSOB_DataProperty);
    EXPECT_STREQ(lamp->properties->tail->value->name, "born");
    EXPECT_STREQ(lamp->properties->head->value->name, "level");
    EXPECT_EQ(lamp->sobPass("born"), 0);  // no event of that name any more
    EXPECT_EQ(lamp->sobSet("born", "8"), 1);
    EXPECT_EQ(lamp->level, 8);
    EXPECT_EQ(other.level, 0);

    lamp->sobRemoveProperty("level");
    EXPECT_EQ(lamp->sobGet("level"), nullptr);
    EXPECT_EQ(lamp->properties->count, 7);
}

TEST(Properties, ErrorCodesAndTheirPersistence) {
    auto lamp = newLamp();
    EXPECT_EQ(lamp->sobSet("nothing", "1"), 0);
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_NoSuchProperty);
    EXPECT_EQ(lamp->sobSet("mute", "1"), 0);  // no set handler
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_PropertyFailed);
    EXPECT_EQ(lamp->sobSet("level", "5"), 1);  // success does not reset the code
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_PropertyFailed);
    EXPECT_EQ(lamp->sobSet("level", static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_PropertyFailed);
    EXPECT_EQ(lamp->sobSet("bump", "1"), 0);  // a method reaches the base set
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_PropertyFailed);

    EXPECT_EQ(lamp->sobGet("bump"), nullptr);  // a method is no data property
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_NoSuchProperty);
    EXPECT_EQ(lamp->sobPlay("level", PXScriptableObject::kPXEndOfParameters), 0);
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_NoSuchProperty);
    EXPECT_EQ(lamp->sobPass("bump"), 0);
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_NoSuchProperty);
    EXPECT_EQ(lamp->sobPass("lit"), 0);  // an event without a watcher
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_PropertyFailed);
}

TEST(Properties, GetWithoutHandlerGivesTheSharedBufferAsItStands) {
    auto lamp = newLamp("42");
    EXPECT_STREQ(lamp->sobGet("level"), "42");
    const char* muted = lamp->sobGet("mute");
    EXPECT_STREQ(muted, "42");  // the text of the last get
    EXPECT_EQ(muted, lamp->sobGet("level"));
}

TEST(Events, RaisedInsideASetOrMethodHandlerTheyDoNotReachTheWatcher) {
    auto lamp = newLamp();
    Watcher w;
    PXLinkToMember<Watcher> watch(&w, &Watcher::fired, nullptr);
    ASSERT_EQ(lamp->sobSet("lit", &watch, nullptr), 1);
    EXPECT_EQ(lamp->sobPass("lit"), 1);
    EXPECT_EQ(w.calls, 1);

    ASSERT_EQ(lamp->sobSet("level", "7"), 1);
    EXPECT_EQ(lamp->passFromHandler, 0);
    ASSERT_EQ(lamp->sobPlay("bump", PXScriptableObject::kPXEndOfParameters), 1);
    EXPECT_EQ(lamp->passFromHandler, 0);
    EXPECT_EQ(w.calls, 1);
    EXPECT_EQ(lamp->sobPass("lit"), 1);  // outside a call it fires again
    EXPECT_EQ(w.calls, 2);

    EXPECT_EQ(lamp->sobSet("level", &watch, nullptr), 0);  // data is no event
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_NoSuchProperty);
}

TEST(Events, ClonedObjectKeepsItsWatcherUntilTheCloneLinkReAimsIt) {
    auto lamp = newLamp("9");
    Watcher w, bornWatcher;
    PXLinkToMember<Watcher> watch(&w, &Watcher::fired, nullptr);
    PXLinkToMember<Watcher> onClone(&w, &Watcher::onClone, nullptr);
    PXLinkToMember<Watcher> born(&bornWatcher, &Watcher::born);
    ASSERT_EQ(lamp->sobSet("lit", &watch, &onClone), 1);
    ASSERT_EQ(PXScriptableObject::setBornHandler("LAMP", &born), 1);

    std::unique_ptr<Lamp> twin(static_cast<Lamp*>(lamp->copy()));
    EXPECT_STREQ(twin->isA(), "Lamp");
    EXPECT_EQ(twin->isA(), lamp->isA());  // the record's own name
    EXPECT_EQ(PXScriptableObject::getNewborn(), twin.get());
    EXPECT_EQ(bornWatcher.bornSeen, (std::vector<PXScriptableObject*>{twin.get()}));
    EXPECT_EQ(twin->properties->count, lamp->properties->count);

    // Data and method handlers act on the copy, not on the original.
    ASSERT_EQ(twin->sobSet("level", "11"), 1);
    EXPECT_EQ(twin->level, 11);
    EXPECT_EQ(lamp->level, 9);
    ASSERT_EQ(twin->sobPlay("default", PXScriptableObject::kPXEndOfParameters), 1);
    EXPECT_EQ(twin->level, 12);

    // The watcher still reaches the same watcher, with the data the clone
    // link gave it; the original's link keeps its own.
    EXPECT_EQ(twin->sobPass("lit"), 1);
    EXPECT_EQ(w.lastData, twin.get());
    EXPECT_EQ(lamp->sobPass("lit"), 1);
    EXPECT_EQ(w.lastData, nullptr);
    EXPECT_EQ(w.calls, 2);
    PXScriptableObject::setBornHandler("Lamp", nullptr);
}

TEST(Events, CreateAnnouncesNothingAndSobBornDoes) {
    Watcher bornWatcher;
    PXLinkToMember<Watcher> born(&bornWatcher, &Watcher::born);
    ASSERT_EQ(PXScriptableObject::setBornHandler("lamp", &born), 1);
    EXPECT_EQ(PXScriptableObject::setBornHandler("NoSuchClass", &born), 0);

    auto made = newLamp();
    EXPECT_NE(PXScriptableObject::getNewborn(), made.get());
    EXPECT_TRUE(bornWatcher.bornSeen.empty());

    Lamp hostBuilt;  // no class yet: only "born"
    EXPECT_EQ(hostBuilt.properties->count, 1);
    hostBuilt.sobBorn("LAMP");
    EXPECT_STREQ(hostBuilt.isA(), "Lamp");
    EXPECT_EQ(hostBuilt.properties->count, 8);
    EXPECT_EQ(PXScriptableObject::getNewborn(), &hostBuilt);
    EXPECT_EQ(bornWatcher.bornSeen, (std::vector<PXScriptableObject*>{&hostBuilt}));

    hostBuilt.sobBorn("Lamp");  // it has a class: only newborn moves
    EXPECT_EQ(hostBuilt.properties->count, 8);
    EXPECT_EQ(bornWatcher.bornSeen.size(), 1u);
    PXScriptableObject::setBornHandler("Lamp", nullptr);
}

TEST(Events, AnEventAfterANestedCallGoesOutAndOneInsideFailsWithTwo) {
    auto lamp = newLamp();
    Watcher w;
    PXLinkToMember<Watcher> watch(&w, &Watcher::fired, nullptr);
    ASSERT_EQ(lamp->sobSet("lit", &watch, nullptr), 1);
    ASSERT_EQ(lamp->sobPlay("nested", PXScriptableObject::kPXEndOfParameters), 1);
    EXPECT_EQ(lamp->passFromHandler, 1);  // the flag is not a counter
    EXPECT_EQ(w.calls, 1);
    ASSERT_EQ(lamp->sobPlay("bump", PXScriptableObject::kPXEndOfParameters), 1);
    EXPECT_EQ(lamp->passFromHandler, 0);
    EXPECT_EQ(PXScriptableObject::lastPropertyError(), PXSOB_PropertyFailed);
}

TEST(Events, ACopyOfACopyDoesNotFireTheCloneLinkAgain) {
    auto lamp = newLamp();
    struct Clones {
        int n = 0;
        void seen(const void*) { ++n; }
    } clones;
    Watcher w;
    PXLinkToMember<Watcher> watch(&w, &Watcher::fired, nullptr);
    PXLinkToMember<Clones> onClone(&clones, &Clones::seen, nullptr);
    ASSERT_EQ(lamp->sobSet("lit", &watch, &onClone), 1);
    std::unique_ptr<PXScriptableObject> copy(lamp->copy());
    std::unique_ptr<PXScriptableObject> copyOfCopy(copy->copy());
    EXPECT_EQ(clones.n, 1);
    EXPECT_EQ(copyOfCopy->sobPass("lit"), 1);  // the watcher itself came along
    EXPECT_EQ(w.calls, 1);
}

TEST(SyncLink, FiresOnceAndMayBeSetAgainByItsHandler) {
    auto lamp = newLamp();
    lamp->sobSyncDone();  // nothing set: nothing happens
    struct Again {
        Lamp* lamp;
        int calls = 0;
        void done() {
            if (++calls == 1) {
                PXLinkToMember<Again> next(this, &Again::done);
                lamp->sobSetSyncLink(&next);
            }
        }
    } again{lamp.get()};
    PXLinkToMember<Again> link(&again, &Again::done);
    lamp->sobSetSyncLink(&link);
    lamp->sobSyncDone();
    EXPECT_EQ(again.calls, 1);
    ASSERT_NE(lamp->syncLink, nullptr);  // the handler's new link stays
    lamp->sobSyncDone();
    lamp->sobSyncDone();
    EXPECT_EQ(again.calls, 2);
    EXPECT_EQ(lamp->syncLink, nullptr);
}

TEST(ParameterChannel, EndAndUnpreparedCursorReadAsEmpty) {
    PXScriptableObject::resetParameters();
    EXPECT_STREQ(PXScriptableObject::nextParameter(), "");
    PXScriptableObject::addParameter("a");
    PXScriptableObject::resetParameters();
    EXPECT_STREQ(PXScriptableObject::nextParameter(), "");  // no prepare since the reset

    std::string text = "first";
    PXScriptableObject::addParameter(text.c_str());
    PXScriptableObject::addParameter("");
    text = "changed";  // the channel keeps its own copy
    PXScriptableObject::prepareParameters();
    EXPECT_STREQ(PXScriptableObject::nextParameter(), "first");
    EXPECT_STREQ(PXScriptableObject::nextParameter(), "");
    const char* end = PXScriptableObject::nextParameter();
    ASSERT_NE(end, nullptr);
    EXPECT_STREQ(end, "");
    EXPECT_STREQ(PXScriptableObject::nextParameter(), "");
}

TEST(ParameterChannel, SetAndGetHandlersReadTheParametersFromTheStart) {
    auto lamp = newLamp();
    PXScriptableObject::resetParameters();
    PXScriptableObject::addParameter("first");
    ASSERT_EQ(lamp->sobPlay("bump", PXScriptableObject::kPXEndOfParameters), 1);  // uses them up
    ASSERT_EQ(lamp->sobSet("echo", "v"), 1);
    EXPECT_EQ(lamp->echoed, "first");
    PXScriptableObject::nextParameter();
    EXPECT_STREQ(lamp->sobGet("echo"), "first");
}

TEST(ParameterChannel, KeepsItsContentBetweenCalls) {
    auto lamp = newLamp();
    ASSERT_EQ(lamp->sobPlay("bump", "x", "y z", PXScriptableObject::kPXEndOfParameters, "ignored",
                            PXScriptableObject::kPXEndOfParameters),
              1);
    EXPECT_EQ(lamp->params, (std::vector<std::string>{"x", "y z", ""}));
    ASSERT_EQ(lamp->sobPlay("bump", PXScriptableObject::kPXEndOfParameters), 1);
    EXPECT_EQ(lamp->params, (std::vector<std::string>{"x", "y z", ""}));
    ASSERT_EQ(lamp->sobPlay("bump", PXScriptableObject::kPXEndOfParameters), 1);
    EXPECT_EQ(lamp->params, (std::vector<std::string>{"x", "y z", ""}));

    // A first argument starting with 0x01 keeps the list, whatever follows it.
    PXScriptableObject::resetParameters();
    PXScriptableObject::addParameter("17");
    std::unique_ptr<Lamp> kept(static_cast<Lamp*>(
        PXScriptableObject::create("Lamp", "\x01zzz", "99", PXScriptableObject::kPXEndOfParameters)));
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->level, 17);
    EXPECT_EQ(bcobjects::parameterCount(), 1);
}

}  // namespace
