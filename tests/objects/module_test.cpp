// Plug-in modules built as real shared objects, loaded by class name from a
// scratch working directory.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "baublecore/scriptable_object.h"
#include "baublecore/sr.h"
#include "objects/objects_internal.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> classNames() {
    std::vector<std::string> names;
    for (PXListNode<PXSR>* n = PXSR::classList->head; n; n = n->next) names.push_back(n->value->name);
    return names;
}

bool registered(const char* name) {
    int saved = PXSR::getDynamicLoad();
    PXSR::setDynamicLoad(0);
    bool found = PXScriptableObject::isXtor(name);
    PXSR::setDynamicLoad(saved);
    return found;
}

class Modules : public ::testing::Test {
protected:
    void SetUp() override {
        home = fs::current_path();
        dir = fs::temp_directory_path() / ("bc-modules-" + std::to_string(::getpid()) + "-" +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir);
        for (const char* plugin : {WIDGET_PLG, GADGET_PLG, STRAY_PLG})
            fs::copy_file(plugin, dir / fs::path(plugin).filename());
        fs::current_path(dir);
        before = classNames();
        PXSR::setDynamicLoad(1);
    }
    void TearDown() override {
        PXSR::release(nullptr);
        PXSR::setDynamicLoad(1);
        fs::current_path(home);
        fs::remove_all(dir);
        EXPECT_EQ(classNames(), before);  // every module's records went with it
    }
    fs::path home, dir;
    std::vector<std::string> before;
};

TEST_F(Modules, AnUnknownClassIsLoadedFromItsModuleAndWorks) {
    PXList<PXSR>* list = PXSR::classList;
    ASSERT_NE(list, nullptr);  // in place before any module registers
    std::unique_ptr<PXScriptableObject> w(
        PXScriptableObject::create("widget", "5", PXScriptableObject::kPXEndOfParameters));
    ASSERT_TRUE(w);
    EXPECT_EQ(PXSR::classList, list);  // the module registered into the same list
    EXPECT_STREQ(w->isA(), "Widget");
    EXPECT_STREQ(w->sobGet("size"), "5");
    ASSERT_EQ(w->sobPlay("grow", "2", "3", PXScriptableObject::kPXEndOfParameters), 1);
    EXPECT_STREQ(w->sobGet("size"), "10");

    struct Watch {
        int n = 0;
        void hit() { ++n; }
    } watch;
    PXLinkToMember<Watch> link(&watch, &Watch::hit);
    ASSERT_EQ(w->sobSet("popped", &link, nullptr), 1);
    EXPECT_EQ(w->sobPass("popped"), 1);
    EXPECT_EQ(watch.n, 1);

    // Both classes of the module registered; only the one asked for keeps the handle.
    std::vector<std::string> now = classNames();
    ASSERT_EQ(now.size(), before.size() + 2);
    EXPECT_EQ(now[before.size()], "Widget");
    EXPECT_EQ(now[before.size() + 1], "Sprocket");
    ASSERT_TRUE(bcobjects::lookupClass("Widget"));
    EXPECT_NE(PXSR::currentClass->module, nullptr);
    ASSERT_TRUE(bcobjects::lookupClass("Sprocket"));
    EXPECT_EQ(PXSR::currentClass->module, nullptr);
    w.reset();  // its code lives in the module
}

TEST_F(Modules, WithDynamicLoadOffTheFileSystemIsNotTouched) {
    PXSR::setDynamicLoad(0);
    EXPECT_EQ(PXSR::getDynamicLoad(), 0);
    EXPECT_FALSE(PXScriptableObject::isXtor("Widget"));
    EXPECT_EQ(PXScriptableObject::create("Widget", PXScriptableObject::kPXEndOfParameters), nullptr);
    EXPECT_EQ(classNames(), before);
    PXSR::setDynamicLoad(1);
    EXPECT_TRUE(PXScriptableObject::isXtor("Widget"));
}

TEST_F(Modules, LoadingTwiceLoadsOnce) {
    PXSR::load("Widget");
    PXSR::load("Widget");
    ASSERT_TRUE(registered("Widget"));
    PXSR::release("Widget");  // one release must be enough to unload it
    EXPECT_FALSE(registered("Widget"));
    EXPECT_FALSE(registered("Sprocket"));
}

TEST_F(Modules, ANameWithADotLoadsThatVeryFile) {
    fs::rename("Widget.plg", "Widget.v2");
    PXSR::load("Widget");  // no Widget.plg any more
    EXPECT_FALSE(registered("Widget"));
    PXSR::load("Widget.v2");
    ASSERT_TRUE(registered("Widget"));
    EXPECT_NE(bcobjects::lookupClass("Widget")->module, nullptr);
}

TEST_F(Modules, AModuleWithoutItsClassIsFreedAndTheLookupFails) {
    EXPECT_FALSE(PXScriptableObject::isXtor("Stray"));
    EXPECT_FALSE(registered("NotStray"));  // unloaded again: its record went too
    EXPECT_EQ(classNames(), before);
}

TEST_F(Modules, AFileNameMustFitItsBuffer) {
    std::string fits = "Widget." + std::string(127 - 7, 'v');  // 127 bytes and the NUL
    std::string over = "Widget." + std::string(128 - 7, 'v');
    fs::copy_file("Widget.plg", fits);
    fs::copy_file("Widget.plg", over);
    PXSR::load(over.c_str());
    EXPECT_FALSE(registered("Widget"));
    PXSR::load(fits.c_str());
    EXPECT_TRUE(registered("Widget"));
    EXPECT_FALSE(PXScriptableObject::isXtor(std::string(200, 'w').c_str()));
}

TEST_F(Modules, LoadAllTakesTheLastListedFirstAndReleaseAllUnloadsThem) {
    fs::rename("Gadget.plg", "Gadget.PLG");  // the extension ignores case too
    PXSR::load(nullptr);
    std::vector<std::string> now = classNames();
    std::vector<std::string> added(now.begin() + static_cast<long>(before.size()), now.end());
    // Listed: Gadget, Stray, Widget; loaded from the end; Stray brings no Stray.
    EXPECT_EQ(added, (std::vector<std::string>{"Widget", "Sprocket", "Gadget"}));
    PXSR::release(nullptr);
    EXPECT_EQ(classNames(), before);
}

}  // namespace
