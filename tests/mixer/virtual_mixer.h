// A fixture for mixers of our making.
#pragma once

#include <vector>

#include <gmock/gmock.h>

#include "support/virtual_card.h"

namespace tolvane::test {

using Values = std::vector<uint32_t>;

enum : uint32_t {
    kVolume = PLATFORM_MIXER_VOLUME,
    kMute = PLATFORM_MIXER_MUTE,
    kMux = PLATFORM_MIXER_MUX,
    kMultiple = PLATFORM_MIXER_MULTIPLE,
    kBoth = kVolume | kMute
};
enum : uint32_t {
    kSpeakers = 4,
    kWaveIn = 7,
    kLineIn = 0x1002,
    kMic = 0x1003,
    kSynth = 0x1004,
    kCd = 0x1005,
    kWaveOut = 0x1008
};

// What a percentage is in the mixer, as the library promises it.
inline uint32_t Volume(double percent) {
    return percent >= 100 ? 65535 : static_cast<uint32_t>(percent / 100.0 * 65535.0);
}

// The virtual card with the library as it is right after loading: nothing muted, full volume kept, source 0.
class VirtualMixers : public VirtualCard {
  protected:
    void SetUp() override {
        VirtualCard::SetUp();
        if (IsSkipped()) return;
        Forget();
    }
    void TearDown() override {
        if (!IsSkipped()) Forget();
        VirtualCard::TearDown();
    }
    static void Forget() {
        AudioMute(1);
        AudioSetVolume(100);
        AudioMute(0);
        SetTheSource(0);
        PlatformVirtualReset();
    }

    static void Make(const std::vector<PlatformMixerLine>& lines) {
        ASSERT_TRUE(PlatformVirtualSetMixer(lines.data(), static_cast<uint32_t>(lines.size())));
    }
    // A recording line with `selector` and these sources, behind the usual playback lines.
    static constexpr uint32_t kRecording = 2, kFirst = 3;  // lines
    static void MakeSources(uint32_t selector, const std::vector<PlatformMixerLine>& sources,
                            PlatformMixerLine recording = {"Recording", kWaveIn, kVolume, 0, 0, 0, 0}) {
        std::vector<PlatformMixerLine> lines = {{"Speakers", kSpeakers, 0, 0, 0, 0, 0},
                                                {"Wave", kWaveOut, kBoth, 0, 0, 0, 0}};
        recording.controls |= selector;
        lines.push_back(recording);
        lines.insert(lines.end(), sources.begin(), sources.end());
        Make(lines);
    }

    static Values Of(uint32_t line, uint32_t control) {
        Values values(PlatformVirtualMixerValues(line, control, nullptr, 0));
        PlatformVirtualMixerValues(line, control, values.data(), static_cast<uint32_t>(values.size()));
        return values;
    }
    static void Change(uint32_t line, uint32_t control, const Values& values) {
        ASSERT_TRUE(PlatformVirtualSetMixerValues(line, control, values.data(),
                                                  static_cast<uint32_t>(values.size())));
    }
    static Values Both(double percent) { return {Volume(percent), Volume(percent)}; }
};

}  // namespace tolvane::test
