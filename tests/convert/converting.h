// Conversions with a codec of the test's own.
#pragma once

#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>

#include <gmock/gmock.h>

#include <windows.h>
#include <mmsystem.h>

#include "convert/made_up_codec.h"
#include "platform/testing/faults.h"
#include "tolvane.h"

namespace tolvane::test {

inline constexpr uint32_t kNoTag = 0xFFFFFFFF;
inline constexpr WAVEFORMATEX kPcmTarget{1, 1, 8000, 8000, 1, 8, 0};

class Converting : public OwnCodecs {
  protected:
    void SetUp() override {
        OwnCodecs::SetUp();
        if (!IsSkipped()) Install();
    }
    void TearDown() override {
        driver_.reset();
        OwnCodecs::TearDown();
    }

    // The codec, as changed by `change`, alone in the catalogue.
    void Install(const std::function<void(PlatformCodec&)>& change = [](PlatformCodec&) {}) {
        driver_.reset();
        PlatformCodec driver = FlipDriver(codec_, tags_);
        change(driver);
        driver_.emplace(driver);
        ASSERT_EQ(GetNumberOfCodec(), 1);
    }

    std::string Source(const Bytes& sound, const Format& format = kFlipPcm) {
        return folder_.Write("in.wav", WaveFile(format, sound));
    }
    uint16_t Convert(const std::string& source, uint32_t tag = kNoTag, bool fallback = false,
                     uint16_t codec = 0) {
        return AudioConvert(codec, tag, source.c_str(), target_.c_str(), &kPcmTarget, fallback, nullptr, 1);
    }
    uint32_t ToPcm(const std::string& source, const WAVEFORMATEX& format = kPcmTarget) {
        return ACMAudioConvertFormatPCM(source.c_str(), target_.c_str(), &format);
    }
    void ExpectNothingLeft() { EXPECT_THAT(folder_.Names(), testing::ElementsAre("in.wav")); }

    // What a converted file looks like: the format record, padded, and the bytes of the source's sound.
    static Bytes Expected(const Format& format, size_t record_size, uint32_t source_size,
                          const Bytes& sound) {
        Bytes record = FormatRecord(format);
        record.resize(record_size);
        return Riff(Chunk("fmt ", record) + Chunk("fact", Little(source_size, 4)) + Chunk("data", sound));
    }

    FlipCodec codec_;
    const std::vector<PlatformCodecTag> tags_{{1, "pCm"}, {kFlipTag, "Flip"}};
    std::optional<RegisteredCodec> driver_;
    TempFolder folder_;
    const std::string target_ = folder_.Path("out.wav");
    const Bytes sound_ = Pattern(200001);
};

}  // namespace tolvane::test
