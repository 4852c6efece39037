#include "baublecore/sr.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "baublecore/scriptable_object.h"
#include "lamp.h"

namespace {

std::vector<std::string> seenByCreator;
PXScriptableObject* recordingCreator() {
    seenByCreator.clear();
    for (int i = 0; i < bcobjects::parameterCount(); ++i)
        seenByCreator.emplace_back(PXScriptableObject::nextParameter());
    return new Lamp;
}
PXScriptableObject* failingCreator() { return nullptr; }

PXSR recorder("Recorder", recordingCreator);
PXSR failing("Failing", failingCreator);

class Registry : public ::testing::Test {
protected:
    void SetUp() override { PXSR::setDynamicLoad(0); }
    void TearDown() override { PXSR::setDynamicLoad(1); }
};

TEST_F(Registry, ClassNamesIgnoreCaseAndTheFirstRecordWins) {
    EXPECT_TRUE(PXScriptableObject::isXtor("recorder"));
    EXPECT_EQ(PXSR::currentClass, &recorder);
    EXPECT_TRUE(PXScriptableObject::isXtor("RECORDER"));
    EXPECT_FALSE(PXScriptableObject::isXtor(nullptr));
    EXPECT_EQ(PXSR::currentClass, nullptr);
    {
        PXSR shadow("recorder", failingCreator);  // never found: registered later
        EXPECT_TRUE(PXScriptableObject::isXtor("Recorder"));
        EXPECT_EQ(PXSR::currentClass, &recorder);
    }
    EXPECT_FALSE(PXScriptableObject::isXtor("Unknown"));
    EXPECT_EQ(PXSR::currentClass, nullptr);
}

TEST_F(Registry, RecordsKeepTheirOrderAndLeaveTheListOnDestruction) {
    int before = PXSR::classList->count;
    auto* a = new PXSR("OrderA", recordingCreator);
    auto* b = new PXSR("OrderB", recordingCreator);
    EXPECT_EQ(PXSR::classList->tail->value, b);
    EXPECT_EQ(PXSR::classList->tail->prev->value, a);
    delete a;
    EXPECT_EQ(PXSR::classList->count, before + 1);
    EXPECT_FALSE(PXScriptableObject::isXtor("OrderA"));
    delete b;
    EXPECT_EQ(PXSR::classList->count, before);
}

TEST_F(Registry, CreateGivesANamedObjectWithItsProperties) {
    std::unique_ptr<PXScriptableObject> obj(PXScriptableObject::create(
        "recorder", "1", "two words", PXScriptableObject::kPXEndOfParameters));
    ASSERT_TRUE(obj);
    EXPECT_STREQ(obj->isA(), "Recorder");
    EXPECT_EQ(seenByCreator, (std::vector<std::string>{"1", "two words"}));
    EXPECT_NE(obj->sobGet("level"), nullptr);  // sobAssignProperties ran

    EXPECT_EQ(PXScriptableObject::create(nullptr, PXScriptableObject::kPXEndOfParameters), nullptr);
    EXPECT_EQ(PXScriptableObject::create("Unknown", PXScriptableObject::kPXEndOfParameters), nullptr);
    EXPECT_EQ(PXScriptableObject::create("Failing", PXScriptableObject::kPXEndOfParameters), nullptr);
}

TEST_F(Registry, CommandLineQuotingRule) {
    auto made = [](const char* line) {
        std::unique_ptr<PXScriptableObject> obj(
            PXScriptableObject::createFromCommandLine("Recorder", line));
        EXPECT_TRUE(obj) << line;
        return seenByCreator;
    };
    using V = std::vector<std::string>;
    EXPECT_EQ(made("10 \"big  bold\" 20"), (V{"10", "big  bold", "20"}));
    EXPECT_EQ(made("a  b"), (V{"a", "", "b"}));
    EXPECT_EQ(made("\"quoted\"tail next"), (V{"quoted", "next"}));
    EXPECT_EQ(made("x \"open ended"), (V{"x", "open"}));
    EXPECT_EQ(made("single"), (V{"single"}));
    EXPECT_EQ(made(" lead"), (V{"", "lead"}));
    EXPECT_EQ(made("trail "), (V{"trail"}));
    EXPECT_EQ(made("\"a\"  b"), (V{"a", "", "b"}));
    EXPECT_EQ(made(""), V{});
    EXPECT_EQ(PXScriptableObject::createFromCommandLine(nullptr, "1"), nullptr);
    EXPECT_EQ(PXScriptableObject::createFromCommandLine("Recorder", nullptr), nullptr);

    std::string longLine(3000, 'q');
    EXPECT_EQ(made(longLine.c_str()), (V{std::string(1023, 'q')}));  // cut to its buffer
}

TEST_F(Registry, BornHandlerIsOnePerClassAndReleaseOfABuiltInDoesNothing) {
    struct Count {
        int n = 0;
        void hit() { ++n; }
    } first, second;
    PXLinkToMember<Count> l1(&first, &Count::hit), l2(&second, &Count::hit);
    ASSERT_EQ(PXScriptableObject::setBornHandler("Recorder", &l1), 1);
    ASSERT_EQ(PXScriptableObject::setBornHandler("Recorder", &l2), 1);
    Lamp lamp;
    lamp.sobBorn("Recorder");
    EXPECT_EQ(first.n, 0);
    EXPECT_EQ(second.n, 1);
    PXScriptableObject::setBornHandler("Recorder", nullptr);

    int before = PXSR::classList->count;
    PXSR::release("Recorder");
    EXPECT_EQ(recorder.module, nullptr);
    EXPECT_EQ(PXSR::classList->count, before);
    EXPECT_TRUE(PXScriptableObject::isXtor("Recorder"));
}

}  // namespace
