// Effect plug-ins in recordings: which of their functions is called when, and what becomes of the sound.
#include <cstdlib>

#include <gmock/gmock.h>

#include "examples/effects/gain.h"
#include "examples/effects/gate.h"
#include "record/probe_effect.h"
#include "record/recorder.h"
#include "support/resources.h"
#include "support/samples.h"

namespace tolvane::test {
namespace {

constexpr int kSlots = 6;
constexpr Format kBytes{8000, 1, 8};

// Needs no device.
TEST(EffectSlots, AreSixAndTakeLibrariesOnly) {
    const uint32_t parameters = 0;
    for (const int slot : {-1, kSlots, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(LoadEffectFile(slot, TOLVANE_GAIN_EFFECT), 0);
        EXPECT_EQ(SetEffectState(slot, 1), 0);
        EXPECT_EQ(SetEffectsParameters(slot, &parameters, sizeof parameters), 0);
    }
    for (int slot = 0; slot < kSlots; ++slot) {
        EXPECT_EQ(LoadEffectFile(slot, TOLVANE_GAIN_EFFECT), 1);
        EXPECT_EQ(SetEffectState(slot, 0), 1);
        EXPECT_EQ(SetEffectsParameters(slot, nullptr, 0), 1);
    }
    EffectChanged();
    const TempFolder folder;
    EXPECT_EQ(LoadEffectFile(0, nullptr), 0);
    EXPECT_EQ(LoadEffectFile(0, ""), 0);
    EXPECT_EQ(LoadEffectFile(0, folder.Path("missing.dll").c_str()), 0);
    EXPECT_EQ(LoadEffectFile(0, folder.Write("text.dll", Bytes(1000, 'x')).c_str()), 0);
    for (const size_t length : {1559u, 1560u, 100000u})
        EXPECT_EQ(LoadEffectFile(0, std::string(length, 'x').c_str()), 0) << length;
}

class Effects : public Recorder {
  protected:
    void TearDown() override {
        Recorder::TearDown();
        for (int slot = 0; slot < kSlots; ++slot) {
            SetEffectState(slot, 0);
            SetEffectsParameters(slot, nullptr, 0);
        }
    }
    template <class Parameters>
    static void Load(int slot, const char* path, const Parameters& parameters) {
        ASSERT_EQ(LoadEffectFile(slot, path), 1);
        SetEffectsParameters(slot, &parameters, sizeof parameters);
        SetEffectState(slot, 7);
    }
    Bytes Record(const Format& format, size_t frames) {
        EXPECT_EQ(Start(format), TOLVANE_OK);
        const Bytes sound = HearFrames(frames);
        AudioStopRecord();
        return sound;
    }
    Bytes Recorded(const Bytes& sound) const { return RecordedFile(format_, sound); }

    ProbeLog log_ = {};
    ProbeParameters probe_ = {&log_, 1, 0, 0};
};

Bytes Plus(Bytes sound, int number) {
    for (auto& byte : sound)
        byte = static_cast<uint8_t>(byte + number);
    return sound;
}

TEST_F(Effects, GainChangesTheVolume) {
    for (const Format& format : {kBytes, Format{8000, 2, 16}})
        for (const uint32_t percent : {0u, 50u, 100u, 333u}) {
            GainParameters gain = {percent, 0};
            Load(3, TOLVANE_GAIN_EFFECT, gain);
            const Bytes sound = Record(format, 7001);
            const Bytes louder = Block(format.bits, sound.size() * 8 / format.bits, [&](int i) {
                const int sample = SampleAt(sound, static_cast<size_t>(i), format.bits);
                return Limited(sample * static_cast<int>(percent) / 100, format.bits);
            });
            EXPECT_EQ(File(), Recorded(louder)) << percent;
        }
}

// 10 milliseconds are 80 frames; quiet ones vanish, and with them the buffers get shorter.
TEST_F(Effects, GateLeavesSilenceOut) {
    const Format format = {8000, 1, 16};
    GateParameters gate = {50, 10, 0, 0};
    Load(0, TOLVANE_GATE_EFFECT, gate);
    ASSERT_EQ(Start(format), TOLVANE_OK);
    const auto tone = [](size_t frames, int peak) {
        return Block(16, frames, [=](int i) { return i % 2 ? peak : -peak; });
    };
    // Two buffers of 3,000 frames: 37 pieces and a half.
    Hear(tone(81, 20000) + tone(2919, 16000) + tone(40, 16000) + tone(1000, 20000) + tone(1960, 100));
    Hear(tone(3000, 100));
    AudioStopRecord();
    const Bytes kept = tone(81, 20000) + tone(79, 16000) + tone(40, 16000) + tone(1000, 20000);
    EXPECT_EQ(File(), Recorded(kept));
}

TEST_F(Effects, WorkOneAfterTheOther) {
    ProbeLog second = {};
    const ProbeParameters half = {&second, 10, 1500, 0};
    const uint8_t third = 100;
    Load(0, TOLVANE_PROBE_EFFECT, probe_);
    Load(2, TOLVANE_PROBE_EFFECT, half);
    Load(5, TOLVANE_BARE_EFFECT, third);
    ASSERT_EQ(Start(kBytes, {100, 200, 0, 0}), TOLVANE_OK);
    const Bytes sound = HearBuffers(2);
    AudioStopRecord();
    EXPECT_EQ(File(), Recorded(Bytes(154, 128) + Plus(Part(sound, 54, 1500), 111) +
                               Plus(Part(sound, 3000, 4500), 111)));
    SetEffectState(2, 0);
    EffectChanged();
    const Bytes next = Record(kBytes, 3000);
    EXPECT_EQ(File(), Recorded(Plus(next, 101))) << "one is switched off";
    EXPECT_EQ(log_.strange + second.strange, 0u);
}

TEST_F(Effects, AreCalledInTheirOrder) {
    Load(1, TOLVANE_PROBE_EFFECT, probe_);
    ASSERT_EQ(AudioStartRecordLevelTest(8000, 8, 1), TOLVANE_OK);
    format_ = kBytes;
    HearBuffers(2);
    AudioStopRecord();
    EXPECT_EQ(log_.sets + log_.applies + log_.frees, 0u) << "a level test has no effects";

    Bytes sound = Record({44100, 2, 16}, 100);
    EXPECT_EQ(File(), Recorded(Plus(sound, 1)));
    EXPECT_EQ(log_.sets, 1u);
    EXPECT_EQ(log_.applies, kRecordBuffers) << "also for what comes back empty";
    EXPECT_EQ(log_.frees, 1u);
    const Bytes format = FormatRecord({44100, 2, 16}) + Little(0, 2);
    EXPECT_EQ(memcmp(&log_.format, format.data(), format.size()), 0);
    EXPECT_EQ(log_.zeros, 0u);
    EXPECT_EQ(log_.which, 0xFF00u);

    sound = Record(kBytes, 5000);
    EXPECT_EQ(File(), Recorded(sound)) << "released until something changes";
    EXPECT_EQ(log_.sets, 1u);

    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    sound = HearBuffers();
    EffectChanged();
    probe_.add = 2;  // after the change was told, before the next buffer
    sound = std::move(sound) + Plus(HearBuffers(), 2);
    probe_.add = 3;
    sound = std::move(sound) + Plus(HearBuffers(), 2);
    PauseRecording();
    EffectChanged();
    const unsigned applies = log_.applies;
    HearBuffers();
    EXPECT_EQ(log_.applies, applies) << "not in a pause";
    ResumeRecording();
    sound = std::move(sound) + Plus(HearBuffers(), 3);
    EXPECT_EQ(log_.sets, 3u);
    AudioStopRecord();
    EXPECT_EQ(File(), Recorded(sound));
    EXPECT_EQ(log_.frees, 3u);
    EXPECT_EQ(log_.strange, 0u);
}

TEST_F(Effects, AFailedLoadLeavesTheSlot) {
    Load(4, TOLVANE_PROBE_EFFECT, probe_);
    EXPECT_EQ(LoadEffectFile(4, folder_.Path("missing.so").c_str()), 0);
    Bytes sound = Record(kBytes, 3000);
    EXPECT_EQ(File(), Recorded(Plus(sound, 1)));
    EXPECT_EQ(LoadEffectFile(4, TOLVANE_PROBE_EFFECT), 1);
    SetEffectState(4, 1);
    sound = Record(kBytes, 3000);
    EXPECT_EQ(File(), Recorded(sound)) << "a new one has no parameters yet";
    // A library that is no plug-in.
    EXPECT_EQ(LoadEffectFile(4, TOLVANE_SOME_LIBRARY), 1);
    SetEffectsParameters(4, &probe_, sizeof probe_);
    SetEffectState(4, 1);
    sound = Record(kBytes, 3000);
    EXPECT_EQ(File(), Recorded(sound));
}

TEST_F(Effects, NeverSeeMoreThanABufferHolds) {
    ProbeLog second = {};
    const ProbeParameters after = {&second, 1, 0, 0};
    for (const uint32_t extra : {1u, 0x7FFFFFFFu, 0xFFFFFFFFu - 3000}) {
        probe_.extra = extra;
        Load(0, TOLVANE_PROBE_EFFECT, probe_);
        Load(1, TOLVANE_PROBE_EFFECT, after);
        ASSERT_EQ(Start(kBytes), TOLVANE_OK);
        const Bytes sound = HearBuffers();
        HearBuffers();
        PlatformVirtualSettle();
        EXPECT_FALSE(Runs()) << "a buffer that became longer ends the recording";
        EXPECT_EQ(File(), Recorded(Plus(sound, 2)));
        EXPECT_EQ(second.most_bytes, 3000u);
        ResetCard();
    }
}

TEST_F(Effects, DoNothingWithoutMemory) {
    Load(0, TOLVANE_PROBE_EFFECT, probe_);
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    Bytes sound = Plus(HearBuffers(), 1);
    EffectChanged();
    {
        FaultScope fault("GlobalAlloc", 1);
        sound = std::move(sound) + HearBuffers(2);
    }
    EffectChanged();
    sound = std::move(sound) + Plus(HearBuffers(), 1);
    AudioStopRecord();
    EXPECT_EQ(File(), Recorded(sound));
    EXPECT_EQ(log_.frees, 2u);
}

TEST_F(Effects, LeaveNoMemoryBehind) {
    const std::vector<uint8_t> large(1 << 20, 1);
    ASSERT_EQ(LoadEffectFile(0, TOLVANE_BARE_EFFECT), 1);  // which frees nothing
    SetEffectsParameters(0, large.data(), static_cast<uint32_t>(large.size()));
    Load(1, TOLVANE_PROBE_EFFECT, probe_);
    const auto record = [this, &large] {
        EffectChanged();
        ASSERT_EQ(Start(kBytes), TOLVANE_OK);
        for (int i = 0; i < 5; ++i) {
            HearBuffers();
            EffectChanged();
        }
        ASSERT_EQ(LoadEffectFile(0, TOLVANE_BARE_EFFECT), 1);
        SetEffectsParameters(0, large.data(), static_cast<uint32_t>(large.size()));
        HearBuffers();
        AudioStopRecord();
    };
    record();
    const Resources before = Resources::Now();
    for (int i = 0; i < 10; ++i)
        record();
    EXPECT_TRUE(NothingLeft(before, 65536));
    EXPECT_EQ(log_.sets, log_.frees);
}

}  // namespace
}  // namespace tolvane::test
