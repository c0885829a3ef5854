// GSM 6.10: one channel, blocks of 65 bytes for 320 samples, at any rate.
#include "platform/codecs/block_stream.h"

#include <gsm.h>

#include <new>

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_GSM610, "GSM 6.10", sizeof(GSM610WAVEFORMAT)}};
constexpr WORD kBlockSize = 65;
constexpr WORD kSamplesPerBlock = 320;

bool IsGsm(const FormatView& format) {
    const auto* gsm = format.As<GSM610WAVEFORMAT>();
    return gsm && format.head.wFormatTag == WAVE_FORMAT_GSM610 && format.head.nBlockAlign == kBlockSize &&
           gsm->wSamplesPerBlock == kSamplesPerBlock;
}

bool Handles(const FormatView& format) {
    return (IsPlainPcm(format) || IsGsm(format)) && HasPlainRate(format.head) && format.head.nChannels == 1;
}

void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& gsm = record.Start<GSM610WAVEFORMAT>(tag, channels, rate);
    gsm.wfx.nBlockAlign = kBlockSize;
    gsm.wfx.nAvgBytesPerSec = BytesPerSecond(rate, kBlockSize, kSamplesPerBlock);
    gsm.wSamplesPerBlock = kSamplesPerBlock;
}

// The library's packing of two of its frames into one block: a call takes or gives one half of it.
constexpr size_t kHalfSamples = kSamplesPerBlock / 2;
constexpr size_t kFirstHalf = 33, kSecondHalf = 32;

struct Codec final : BlockCodec {
    explicit Codec(const FormatView&) { Codec::Restart(); }
    BlockShape Shape() const override { return {kBlockSize, kSamplesPerBlock}; }
    void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) override {
        for (; count > 0; --count, pcm += kSamplesPerBlock, blocks += kBlockSize) {
            auto* samples = const_cast<int16_t*>(pcm);
            gsm_encode(state.get(), samples, blocks);
            gsm_encode(state.get(), samples + kHalfSamples, blocks + kSecondHalf);
        }
    }
    void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) override {
        for (; count > 0; --count, pcm += kSamplesPerBlock, blocks += kBlockSize) {
            auto* bytes = const_cast<uint8_t*>(blocks);
            gsm_decode(state.get(), bytes, pcm);
            gsm_decode(state.get(), bytes + kFirstHalf, pcm + kHalfSamples);
        }
    }
    size_t FramesIn(size_t bytes) const override { return bytes < kFirstHalf ? 0 : kHalfSamples; }
    void Restart() override {
        state.reset(gsm_create());
        int on = 1;
        if (!state || gsm_option(state.get(), GSM_OPT_WAV49, &on) < 0) throw std::bad_alloc();
    }

    struct Destroy {
        void operator()(gsm of) const { gsm_destroy(of); }
    };
    std::unique_ptr<std::remove_pointer_t<gsm>, Destroy> state;
};

}  // namespace

const Driver kGsm610{"Tolvane GSM 6.10",
                     "Tolvane GSM 6.10 Codec",
                     ACMDRIVERDETAILS_SUPPORTF_CODEC,
                     kTags,
                     Handles,
                     SuggestForCodec,
                     Describe,
                     OpenCodec<Codec>};

}  // namespace tolvane::platform
