// Conversions with the codecs that are really there: the layer's own natively, the system's on Windows.
#pragma once

#include <map>
#include <string>

#include <gmock/gmock.h>

#include "convert/converting.h"
#include "convert/sound_math.h"
#include "support/format_user.h"
#include "support/watchdog.h"

namespace tolvane::test {

inline constexpr uint16_t kMsAdpcm = 2, kALaw = 6, kMuLaw = 7, kImaAdpcm = 0x11, kGsm = 0x31, kMp3 = 0x55;

inline bool AreOwnCodecs() {
    return PlatformShowBuiltInCodecs(1) != 0;
}

class RealCodecs : public testing::Test {
  protected:
    struct Choice {
        uint16_t codec;
        uint32_t index;  // of the format tag
        uint16_t tag;
    };
    // Every format tag that a codec lists.
    static std::vector<Choice> Choices() {
        std::vector<Choice> choices;
        for (uint16_t codec = 0, codecs = GetNumberOfCodec(); codec < codecs; ++codec) {
            CodecDescription described{};
            EXPECT_EQ(GetCodecDescription(&described, codec), TOLVANE_OK);
            for (uint16_t tag = 0; tag < described.listedFormatTagCount; ++tag) {
                FormatTagDescription format{};
                EXPECT_EQ(GetCodecFormatTagDescription(&format, codec, tag), TOLVANE_OK);
                choices.push_back({codec, tag, static_cast<uint16_t>(format.formatTag)});
            }
        }
        return choices;
    }
    // For PCM the converter, which lists nothing else.
    static Choice ChoiceOf(uint16_t tag) {
        const std::vector<Choice> choices = Choices();
        for (const Choice& choice : choices) {
            const auto siblings = std::ranges::count(choices, choice.codec, &Choice::codec);
            if (choice.tag == tag && (tag != 1 || siblings == 1)) return choice;
        }
        ADD_FAILURE() << "no codec for " << tag;
        return {0xFFFF, kNoTag, 0};
    }
    static WAVEFORMATEX Pcm(const Format& format) {
        return {1, format.channels, format.rate, format.BytesPerSecond(), format.Block(), format.bits, 0};
    }

    std::string Music(const Format& format, size_t frames, const std::string& name = "in.wav") {
        return folder_.Write(name, WaveFile(format, test::Music(format, frames)));
    }
    uint16_t Convert(const Choice& choice, const std::string& source, const std::string& target,
                     const Format& pcm = {}) {
        const WAVEFORMATEX format = Pcm(pcm);
        watchdog_.At("tag " + std::to_string(choice.tag) + ": " + target);
        return AudioConvert(choice.codec, choice.index, source.c_str(), target.c_str(), &format, 0, nullptr,
                            1);
    }
    // In the format in which `format` is sampled, which somebody chooses.
    uint16_t Compress(const Choice& choice, const std::string& source, const std::string& target,
                      const Format& format) {
        const FormatUser user(format.rate, format.channels);
        return Convert(choice, source, target);
    }
    // Both ways into PCM; they agree to the byte.
    Wave Decode(const std::string& source, const Format& pcm) {
        const std::string one = folder_.Path("one.pcm"), other = folder_.Path("other.pcm");
        Choice choice = ChoiceOf(TakeApart(ReadAll(source)).Shape().tag);
        for (const Choice& sibling : Choices())
            if (sibling.codec == choice.codec && sibling.tag == 1) choice.index = sibling.index;
        EXPECT_EQ(Convert(choice, source, one, pcm), TOLVANE_OK) << source;
        const WAVEFORMATEX format = Pcm(pcm);
        EXPECT_EQ(ACMAudioConvertFormatPCM(source.c_str(), other.c_str(), &format), uint32_t{TOLVANE_OK})
            << source;
        const Wave wave = TakeApart(ReadAll(one));
        const Bytes same = TakeApart(ReadAll(other)).data;
        EXPECT_EQ(wave.data.size(), same.size()) << source;
        EXPECT_TRUE(wave.data == same) << source;
        return wave;
    }

    TempFolder folder_;
    Watchdog watchdog_;
};

}  // namespace tolvane::test
