// CCITT G.711: A-law and mu-law, one byte a sample.
#include "platform/codecs/block_stream.h"
#include "platform/codecs/g711_laws.h"

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_ALAW, "CCITT A-Law", kWaveRecordSize},
                               {WAVE_FORMAT_MULAW, "CCITT u-Law", kWaveRecordSize}};

bool IsG711(const WAVEFORMATEX& head) {
    return (head.wFormatTag == WAVE_FORMAT_ALAW || head.wFormatTag == WAVE_FORMAT_MULAW) &&
           HasPlainRate(head) && head.wBitsPerSample == 8 && head.nBlockAlign == head.nChannels;
}

bool Handles(const FormatView& format) {
    return IsPlainPcm(format) || IsG711(format.head);
}

void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& format = record.Start<WAVEFORMATEX>(tag, channels, rate);
    format.nBlockAlign = channels;
    format.wBitsPerSample = 8;
    format.nAvgBytesPerSec = rate * channels;
}

// A block is a frame here.
struct Codec final : BlockCodec {
    explicit Codec(const FormatView& format)
        : channels(format.head.nChannels), is_mu(format.head.wFormatTag == WAVE_FORMAT_MULAW) {}
    BlockShape Shape() const override { return {channels, 1}; }
    void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) override {
        (is_mu ? EncodeMuLaw : EncodeALaw)(pcm, count * channels, blocks);
    }
    void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) override {
        (is_mu ? DecodeMuLaw : DecodeALaw)(blocks, count * channels, pcm);
    }
    size_t FramesIn(size_t) const override { return 0; }

    const size_t channels;
    const bool is_mu;
};

}  // namespace

const Driver kG711{"Tolvane G.711",
                   "Tolvane CCITT G.711 Codec",
                   ACMDRIVERDETAILS_SUPPORTF_CODEC,
                   kTags,
                   Handles,
                   SuggestForCodec,
                   Describe,
                   OpenCodec<Codec>};

}  // namespace tolvane::platform
