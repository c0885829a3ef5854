// The search for a PCM format for a compressed sound.
#include "convert/suggest.h"

#include <mmreg.h>
#include <msacm.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "convert/registered_codec.h"
#include "frame/handles.h"
#include "support/faults.h"
#include "support/temp_folder.h"

namespace {

using tolvane::MmioFile;
using tolvane::SuggestPcmFormat;

MPEGLAYER3WAVEFORMAT Mp3Format() {
    MPEGLAYER3WAVEFORMAT mp3{};
    mp3.wfx = {WAVE_FORMAT_MPEGLAYER3, 2, 44'100, 16'000, 1, 0, MPEGLAYER3_WFX_EXTRA_BYTES};
    mp3.wID = MPEGLAYER3_ID_MPEG;
    mp3.fdwFlags = MPEGLAYER3_FLAG_PADDING_OFF;
    mp3.nBlockSize = 182;
    mp3.nFramesPerBlock = 1;
    mp3.nCodecDelay = 1460;
    return mp3;
}

// What a driver of the test suggests, and what it was asked.
struct Suggestion {
    WAVEFORMATEX format{};
    uint32_t asked = 0, flags = 0;
    WORD tag = 0;
};

uint32_t Suggest(void* context, const void*, void* target, uint32_t size, uint32_t flags) {
    auto& suggestion = *static_cast<Suggestion*>(context);
    ++suggestion.asked;
    suggestion.flags = flags;
    suggestion.tag = static_cast<WAVEFORMATEX*>(target)->wFormatTag;
    memcpy(target, &suggestion.format, std::min<size_t>(size, sizeof suggestion.format));
    return MMSYSERR_NOERROR;
}

PlatformCodec Suggesting(const char* name, Suggestion& suggestion) {
    static const std::vector<PlatformCodecTag> tags{{WAVE_FORMAT_PCM, "PCM"}};
    PlatformCodec codec = CodecNamed(name, ACMDRIVERDETAILS_SUPPORTF_CODEC, tags);
    codec.suggest = Suggest;
    codec.context = &suggestion;
    return codec;
}

void ExpectPcm(const WAVEFORMATEX& format, WORD channels, DWORD rate, WORD bits) {
    EXPECT_EQ(format.wFormatTag, WAVE_FORMAT_PCM);
    EXPECT_EQ(format.nChannels, channels);
    EXPECT_EQ(format.nSamplesPerSec, rate);
    EXPECT_EQ(format.wBitsPerSample, bits);
    EXPECT_EQ(format.nBlockAlign, channels * bits / 8);
    EXPECT_EQ(format.nAvgBytesPerSec, rate * channels * bits / 8);
    EXPECT_EQ(format.cbSize, 0);
}

struct Question {
    TolvaneResult Ask() {
        memset(&out_, 0xEE, sizeof out_);
        return SuggestPcmFormat(file_.Get(), &mp3_.wfx, &out_);
    }

    tolvane::test::TempFolder folder_;
    MmioFile file_{
        mmioOpenA(folder_.Write("sound.mp3", tolvane::test::Bytes(100)).data(), nullptr, MMIO_READ)};
    MPEGLAYER3WAVEFORMAT mp3_ = Mp3Format();
    alignas(8) WAVEFORMATEX out_{};
};

class PcmSuggestion : public testing::Test, protected Question {};

class PcmSuggestionOfOwnCodecs : public OwnCodecs, protected Question {
  protected:
    Suggestion first_{{WAVE_FORMAT_PCM, 1, 8'000, 8'000, 1, 8, 0}};
    Suggestion second_{{WAVE_FORMAT_PCM, 2, 22'050, 88'200, 4, 16, 0}};
};

TEST_F(PcmSuggestion, DecodesMp3AtItsRateAndRewindsTheFile) {
    ASSERT_TRUE(file_);
    mmioSeek(file_.Get(), 50, SEEK_SET);
    ASSERT_EQ(Ask(), TOLVANE_OK);
    ExpectPcm(out_, 2, 44'100, 16);
    EXPECT_EQ(mmioSeek(file_.Get(), 0, SEEK_CUR), 0);
}

TEST_F(PcmSuggestionOfOwnCodecs, TakesTheFirstInOrderThatCanHelpAndAsksForPcmOnly) {
    PlatformCodec closed = Suggesting("Closed", second_), unable = Suggesting("Unable", second_);
    PlatformCodec disabled = Suggesting("Disabled", second_);
    closed.open_result = MMSYSERR_NOMEM;
    unable.suggest = nullptr;
    disabled.support |= ACMDRIVERDETAILS_SUPPORTF_DISABLED;
    EXPECT_EQ(Ask(), TOLVANE_NO_PCM_SUGGESTION) << "no driver at all";
    const RegisteredCodec a(closed), b(unable), c(disabled), d(Suggesting("Creative MP3 CODEC", second_));
    EXPECT_EQ(Ask(), TOLVANE_NO_PCM_SUGGESTION) << "one is passed over by its name";
    for (const char* name : {"Creative MP3 Codec", "Creative MP3 CODEC ", "Creative MP3 CODE"}) {
        const RegisteredCodec first(Suggesting(name, first_)), second(Suggesting("Second", second_));
        ASSERT_EQ(Ask(), TOLVANE_OK) << name;
        ExpectPcm(out_, 1, 8'000, 8);
    }
    EXPECT_EQ(first_.flags, uint32_t{ACM_FORMATSUGGESTF_WFORMATTAG});
    EXPECT_EQ(first_.tag, WAVE_FORMAT_PCM);
    EXPECT_EQ(second_.asked, 0u);
}

TEST_F(PcmSuggestionOfOwnCodecs, CompletesWhatADriverLeftZero) {
    first_.format = {WAVE_FORMAT_PCM, 2, 11'025, 0, 0, 0, 0};
    const RegisteredCodec codec(Suggesting("Terse", first_));
    ASSERT_EQ(Ask(), TOLVANE_OK);
    ExpectPcm(out_, 2, 11'025, 16);
    first_.format = {WAVE_FORMAT_PCM, 3, 11'025, 0, 0, 12, 0};
    ASSERT_EQ(Ask(), TOLVANE_OK);
    EXPECT_EQ(out_.nBlockAlign, 4) << "3 channels of 12 bits, whole bytes only";
    EXPECT_EQ(out_.nAvgBytesPerSec, 44'100u);
    first_.format = {WAVE_FORMAT_PCM, 2, 11'025, 7, 9, 24, 0};
    ASSERT_EQ(Ask(), TOLVANE_OK);
    EXPECT_EQ(out_.nBlockAlign, 9) << "what the driver said stays";
    EXPECT_EQ(out_.nAvgBytesPerSec, 7u);
}

TEST_F(PcmSuggestionOfOwnCodecs, CopiesNoMoreThanTheLargestFormat) {
    PlatformCodec codec = Suggesting("Short", first_);
    codec.largest_format = 16;
    const RegisteredCodec shorter(codec);
    ASSERT_EQ(Ask(), TOLVANE_OK);
    EXPECT_EQ(out_.wBitsPerSample, 8);
    EXPECT_EQ(out_.cbSize, 0xEEEE);
}

TEST_F(PcmSuggestionOfOwnCodecs, TellsWhichServiceFailed) {
    const RegisteredCodec codec(Suggesting("First", first_));
    const auto asked_when_failing = [this](const char* service) {
        const tolvane::test::FaultScope fault(service, 1);
        return Ask();
    };
    EXPECT_EQ(asked_when_failing("acmMetrics"), TOLVANE_NO_FORMAT_SIZE);
    EXPECT_EQ(asked_when_failing("GlobalAlloc"), TOLVANE_NO_FORMAT_MEMORY);
    EXPECT_EQ(asked_when_failing("acmDriverEnum"), TOLVANE_NO_PCM_SUGGESTION);
}

}  // namespace
