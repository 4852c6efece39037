// WAV parsing, and sounds on the headless backend: each voice begins when
// the pass that played it ends and finishes when its length has passed on
// the virtual clock, so the passes of every report are known in advance.
#include "pxbase/wave_sound.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "pxbase/app.h"
#include "pxbase/backend.h"
#include "pxbase/headless.h"
#include "pxbase/link.h"
#include "pxbase/stream.h"
#include "pxbase/sys.h"

namespace {

void put16(std::vector<uint8_t>& v, uint16_t x) {
    v.push_back(x & 0xFF);
    v.push_back(x >> 8);
}

void put32(std::vector<uint8_t>& v, uint32_t x) {
    for (int i = 0; i < 4; ++i) v.push_back((x >> (8 * i)) & 0xFF);
}

// A PCM WAV of `ms` milliseconds, with a junk chunk before the data.
std::vector<uint8_t> wav(uint32_t rate, uint16_t channels, uint16_t bits, uint32_t ms) {
    uint32_t blocks = rate * ms / 1000;
    uint16_t align = static_cast<uint16_t>(channels * bits / 8);
    std::vector<uint8_t> v = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' '};
    put32(v, 16);
    put16(v, 1);
    put16(v, channels);
    put32(v, rate);
    put32(v, rate * align);
    put16(v, align);
    put16(v, bits);
    v.insert(v.end(), {'L', 'I', 'S', 'T'});
    put32(v, 3);
    v.insert(v.end(), {'a', 'b', 'c', 0});  // odd size, padded
    v.insert(v.end(), {'d', 'a', 't', 'a'});
    put32(v, blocks * align);
    for (uint32_t i = 0; i < blocks * align; ++i) v.push_back(static_cast<uint8_t>(i * 7));
    uint32_t riff = static_cast<uint32_t>(v.size() - 8);
    std::memcpy(&v[4], &riff, 4);
    return v;
}

TEST(WaveParse, ReadsTheFormatAndTheLength) {
    std::vector<uint8_t> f = wav(8000, 2, 16, 250);
    PXWaveInfo info;
    char why[64] = "";
    ASSERT_EQ(PXWaveParse(f.data(), static_cast<uint32_t>(f.size()), &info, why, sizeof why), 1) << why;
    EXPECT_EQ(info.format, 1);
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.sampleRate, 8000u);
    EXPECT_EQ(info.blockAlign, 4);
    EXPECT_EQ(info.samplesSize, 8000u);
    EXPECT_EQ(info.lengthMs, 250u);
    EXPECT_EQ(info.samples[1], 7);
}

TEST(WaveParse, RefusesWhatItCannotPlayWithAReason) {
    std::vector<uint8_t> good = wav(8000, 1, 8, 10);
    auto refused = [](std::vector<uint8_t> f) {
        PXWaveInfo info;
        char why[64] = "";
        int ok = PXWaveParse(f.data(), static_cast<uint32_t>(f.size()), &info, why, sizeof why);
        return ok ? std::string("accepted") : std::string(why);
    };
    EXPECT_EQ(refused({}), "too short for a WAV file");
    const struct {
        size_t at;
        uint8_t value;
        const char* why;
    } pokes[] = {{8, 'X', "not a RIFF WAVE file"}, {20, 2, "not PCM or float samples"},  // 2: ADPCM
                 {22, 0, "unsupported channel count"}, {32, 3, "inconsistent block size"}};
    for (const auto& c : pokes) {
        std::vector<uint8_t> f = good;
        f[c.at] = c.value;
        EXPECT_EQ(refused(f), c.why) << c.at;
    }
    std::vector<uint8_t> f(good.begin(), good.begin() + 36 + 12);  // cut before the data chunk
    EXPECT_EQ(refused(f), "no data chunk");
    // A data chunk that claims more than the file holds keeps what is there.
    f = good;
    f.resize(f.size() - 40);
    PXWaveInfo info;
    ASSERT_EQ(PXWaveParse(f.data(), static_cast<uint32_t>(f.size()), &info, nullptr, 0), 1);
    EXPECT_EQ(info.samplesSize, 40u);
    EXPECT_EQ(info.lengthMs, 5u);
}

TEST(WaveParse, DamagedFilesNeverReadOutside) {
    // Under the address sanitiser a read past the buffer fails this test.
    std::mt19937 gen(4);
    std::vector<uint8_t> good = wav(11025, 2, 16, 20);
    for (int i = 0; i < 3000; ++i) {
        std::vector<uint8_t> f(good.begin(), good.begin() + gen() % (good.size() + 1));
        for (int k = 0; k < 3 && !f.empty(); ++k) f[gen() % f.size()] = static_cast<uint8_t>(gen());
        std::vector<uint8_t> exact(f);  // a buffer of exactly this size
        PXWaveInfo info;
        if (PXWaveParse(exact.data(), static_cast<uint32_t>(exact.size()), &info, nullptr, 0)) {
            ASSERT_GE(info.samples, exact.data());
            ASSERT_LE(info.samples + info.samplesSize, exact.data() + exact.size());
            ASSERT_EQ(info.samplesSize % info.blockAlign, 0u);
        }
    }
}

// Writes down the pass of each report of a sound.
struct Reports {
    std::vector<std::string> log;
    void begun() { log.push_back("begin@" + std::to_string(PXHeadlessPass())); }
    void ended() { log.push_back("end@" + std::to_string(PXHeadlessPass())); }
};

class HeadlessSound : public ::testing::Test {
protected:
    void SetUp() override {
        PXHeadlessSetClock(1000);
        PXHeadlessSetTickMs(10);
        PXHeadlessSetSoundLoadMs(0);
        base = PXHeadlessPass();
    }
    // A sound of `ms` milliseconds with both links to `r`.
    std::unique_ptr<PXWaveSound> sound(uint32_t ms, Reports& r) {
        bytes = wav(8000, 1, 8, ms);
        stream = std::make_unique<PXIStreamMemory>(bytes.data(), bytes.size(), "beep.wav");
        auto s = std::make_unique<PXWaveSound>(stream.get(), false);
        PXLinkToMember<Reports> b(&r, &Reports::begun), e(&r, &Reports::ended);
        s->beginningSetLink(&b);
        s->finishedSetLink(&e);
        return s;
    }
    std::string at(const char* what, uint64_t pass) { return std::string(what) + "@" + std::to_string(base + pass); }
    PXApp app;
    uint64_t base = 0;
    std::vector<uint8_t> bytes;
    std::unique_ptr<PXIStreamMemory> stream;
};

TEST_F(HeadlessSound, BeginsAtTheEndOfItsPassAndEndsWhenItsLengthHasPassed) {
    Reports r;
    auto s = sound(100, r);
    EXPECT_EQ(s->getStatus(), PXSoundIdle);
    ASSERT_TRUE(s->play());
    EXPECT_EQ(s->getLengthMSec(), 100u);
    EXPECT_EQ(s->getChannels(), 1);
    EXPECT_EQ(s->getStatus(), PXSoundPlaying);
    EXPECT_TRUE(s->isPlaying());
    app.runPass();
    EXPECT_EQ(r.log, std::vector<std::string>{at("begin", 0)});
    for (int i = 0; i < 12; ++i) app.runPass();
    // Begun at clock 1000 (pass 0); at the end of pass 10 the clock reads 1100.
    EXPECT_EQ(r.log, (std::vector<std::string>{at("begin", 0), at("end", 10)}));
    EXPECT_FALSE(s->isPlaying());
    EXPECT_EQ(s->getStatus(), PXSoundCued);
}

TEST_F(HeadlessSound, EachPlayIsAVoiceOfItsOwn) {
    Reports r;
    auto s = sound(50, r);
    s->play();
    app.runPass();
    app.runPass();
    s->play();
    EXPECT_EQ(s->voiceCount(), 2);
    for (int i = 0; i < 10; ++i) app.runPass();
    EXPECT_EQ(r.log, (std::vector<std::string>{at("begin", 0), at("begin", 2), at("end", 5), at("end", 7)}));
    // Played twice in a row, one voice lasts twice as long.
    r.log.clear();
    s->setPlayCount(2);
    uint64_t from = PXHeadlessPass() - base;
    s->play();
    for (int i = 0; i < 12; ++i) app.runPass();
    EXPECT_EQ(r.log, (std::vector<std::string>{at("begin", from), at("end", from + 10)}));
}

TEST_F(HeadlessSound, StopEndsEveryVoiceAtTheEndOfThePass) {
    Reports r;
    auto s = sound(1000, r);
    s->play();
    app.runPass();
    s->play();
    s->stop();  // the second voice never began
    EXPECT_FALSE(s->isPlaying());
    app.runPass();
    app.runPass();
    EXPECT_EQ(r.log, (std::vector<std::string>{at("begin", 0), at("end", 1), at("end", 1)}));
}

TEST_F(HeadlessSound, PauseHoldsTheVoiceBack) {
    Reports r;
    auto s = sound(50, r);
    s->play();
    app.runPass();  // begun at pass 0
    app.runPass();
    s->pause();
    EXPECT_EQ(s->getStatus(), PXSoundPaused);
    for (int i = 0; i < 10; ++i) app.runPass();
    EXPECT_EQ(r.log.size(), 1u);
    s->resume();  // at pass 12, after 100 ms paused
    for (int i = 0; i < 10; ++i) app.runPass();
    EXPECT_EQ(r.log, (std::vector<std::string>{at("begin", 0), at("end", 15)}));
}

TEST_F(HeadlessSound, TimeSpentPreparingIsToldToTheInterruptedList) {
    std::vector<uintptr_t> lost;
    struct Sink {
        std::vector<uintptr_t>* out;
        void got(const void* ms) { out->push_back(reinterpret_cast<uintptr_t>(ms)); }
    } sink{&lost};
    PXLinkToMember<Sink> link(&sink, &Sink::got, nullptr);
    SoundManager::interruptedList.append(&link);
    PXHeadlessSetSoundLoadMs(30);
    Reports r;
    auto s = sound(20, r);
    ASSERT_TRUE(s->cue());
    EXPECT_EQ(PXSysMilliSecCount(), 1030u);
    EXPECT_TRUE(lost.empty()) << "not from inside the sound call";
    app.runPass();
    SoundManager::interruptedList.remove(&link);
    PXHeadlessSetSoundLoadMs(0);
    EXPECT_EQ(lost, std::vector<uintptr_t>{30});
}

TEST_F(HeadlessSound, ADestroyedSoundHearsNothingMoreAndHandlersMayDestroyTheirSound) {
    Reports r;
    auto s = sound(20, r);
    s->play();
    s.reset();
    app.runPass();
    EXPECT_TRUE(r.log.empty());
    // A finished handler that deletes its own sound.
    Reports r2;
    PXWaveSound* self = sound(20, r2).release();
    struct Killer {
        PXWaveSound** victim;
        void kill() {
            delete *victim;
            *victim = nullptr;
        }
    } killer{&self};
    PXLinkToMember<Killer> k(&killer, &Killer::kill);
    self->finishedSetLink(&k);
    self->play();
    self->play();
    for (int i = 0; i < 5; ++i) app.runPass();
    EXPECT_EQ(self, nullptr);
}

TEST_F(HeadlessSound, StreamsThatAreNoWavAreRefused) {
    const char text[] = "certainly not a sound";
    PXIStreamMemory notWav(text, sizeof text);
    PXWaveSound a(&notWav, false);
    EXPECT_FALSE(a.play());
    EXPECT_STREQ(a.lastError(), "not a RIFF WAVE file");
    PXWaveSound none(nullptr, false);
    EXPECT_FALSE(none.cue());
    EXPECT_STREQ(none.lastError(), "no stream");
    PXIStreamMemory empty(nullptr, 0);
    PXWaveSound b(&empty, false);
    EXPECT_FALSE(b.cue());
    EXPECT_EQ(b.getStatus(), PXSoundIdle);
    EXPECT_STREQ(b.isA(), "PXWaveSound");
}

TEST_F(HeadlessSound, VolumeAndPanAreKeptInRange) {
    Reports r;
    auto s = sound(10, r);
    s->setVolume(250);
    EXPECT_EQ(s->getVolume(), 100);
    s->setVolume(-3);
    EXPECT_EQ(s->getVolume(), 0);
    s->setPan(-400);
    EXPECT_EQ(s->getPan(), -100);
    s->decue();
    EXPECT_FALSE(s->isCued());
    EXPECT_TRUE(s->play()) << "play cues again";
}

}  // namespace
