// CCITT G.711: A-law and mu-law, one byte a sample.
#include "platform/codecs/block_stream.h"
#include "platform/codecs/driver.h"
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
struct Encoder final : BlockEncoder {
    Encoder(decltype(EncodeMuLaw)* law, size_t of) : encode(law), channels(of) {}
    void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) override {
        encode(pcm, count * channels, blocks);
    }
    decltype(EncodeMuLaw)* encode;
    size_t channels;
};

struct Decoder final : BlockDecoder {
    Decoder(decltype(DecodeMuLaw)* law, size_t of) : decode(law), channels(of) {}
    void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) override {
        decode(blocks, count * channels, pcm);
    }
    size_t FramesIn(size_t) const override { return 0; }
    decltype(DecodeMuLaw)* decode;
    size_t channels;
};

std::unique_ptr<Stream> Open(const Driver&, const FormatView& source, const FormatView& target) {
    if (!IsCodecPair(source, target)) return nullptr;
    const WAVEFORMATEX& packed = source.IsPcm() ? target.head : source.head;
    const bool mu = packed.wFormatTag == WAVE_FORMAT_MULAW;
    const size_t channels = packed.nChannels;
    const BlockShape shape{channels, 1};
    if (source.IsPcm())
        return OpenEncoder(source, shape, std::make_unique<Encoder>(mu ? EncodeMuLaw : EncodeALaw, channels));
    return OpenDecoder(shape, target, std::make_unique<Decoder>(mu ? DecodeMuLaw : DecodeALaw, channels));
}

}  // namespace

const Driver kG711{"Tolvane G.711",
                   "Tolvane CCITT G.711 Codec",
                   ACMDRIVERDETAILS_SUPPORTF_CODEC,
                   kTags,
                   Handles,
                   SuggestForCodec,
                   Describe,
                   Open};

}  // namespace tolvane::platform
