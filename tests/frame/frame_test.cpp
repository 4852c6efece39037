#include "baublecore/frame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <regex>
#include <string>

#include "baublecore/scriptable_object.h"
#include "baublecore/sr.h"
#include "frame/startup.h"
#include "frame/stress.h"

namespace {

TEST(ByteSwap, ReversesEachWord) {
    uint8_t w32[] = {0x11, 0x22, 0x33, 0x44, 0xA1, 0xB2, 0xC3, 0xD4};
    SwapN32s(w32, 2);
    const uint8_t want32[] = {0x44, 0x33, 0x22, 0x11, 0xD4, 0xC3, 0xB2, 0xA1};
    EXPECT_EQ(std::memcmp(w32, want32, 8), 0);

    uint8_t w16[] = {0x11, 0x22, 0x33, 0x44, 0x55};
    SwapNWords(w16, 2);
    const uint8_t want16[] = {0x22, 0x11, 0x44, 0x33, 0x55};  // the fifth byte is not a word
    EXPECT_EQ(std::memcmp(w16, want16, 5), 0);

    uint8_t one[] = {0xAB, 0xCD};
    SwapWord(one);
    EXPECT_EQ(one[0], 0xCD);
    EXPECT_EQ(one[1], 0xAB);
}

TEST(ByteSwap, CountsOfZeroOrLessDoNothing) {
    uint8_t bytes[] = {1, 2, 3, 4};
    for (int n : {0, -1, -100}) {
        SwapNWords(bytes, n);
        SwapN32s(bytes, n);
    }
    const uint8_t same[] = {1, 2, 3, 4};
    EXPECT_EQ(std::memcmp(bytes, same, 4), 0);
    SwapN32s(nullptr, 0);
    SwapNWords(nullptr, -3);
}

TEST(Version, IsTheReleaseAndTheBuildTime) {
    std::string v = BCSysGetVersion();
    EXPECT_TRUE(std::regex_match(
        v, std::regex(R"(1\.00a - (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 1-3]\d \d{4} \d\d:\d\d:\d\d)")))
        << v;
    EXPECT_EQ(BCSysGetVersion(), BCSysGetVersion());  // one static text
}

TEST(StartUp, EveryStepRanAtLoadAndRegisteredItsExitAction) {
    EXPECT_EQ(bcframe::startupStepsRun(), bcframe::kStartupSteps);
    int exits = 0;
    for (int i = 0; i < bcframe::kStartupSteps; ++i) exits += bcframe::startupSteps()[i].exit != nullptr;
    EXPECT_EQ(bcframe::exitActionsRegistered(), exits);
}

// Without this the stress build would check nothing and say nothing.
TEST(StressBuild, ABrokenInvariantStopsTheProgram) {
    if (!bcframe::stress()) GTEST_SKIP() << "only the stress build checks invariants";
    EXPECT_DEATH(BC_ASSERT(1 + 1 == 3), "invariant broken: 1 \\+ 1 == 3");
}

TEST(StartUp, TheRegistryExistsBeforeAnythingRegisters) {
    // Nothing in this program registers a class, yet the list is in place.
    ASSERT_NE(PXSR::classList, nullptr);
    EXPECT_EQ(PXSR::classList->count, 0);
}

}  // namespace
