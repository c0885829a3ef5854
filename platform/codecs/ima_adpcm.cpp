// IMA ADPCM: 4 bits a sample, blocks that begin with one whole sample a channel.
#include "platform/codecs/block_stream.h"
#include "platform/codecs/ima_blocks.h"

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_IMA_ADPCM, "IMA ADPCM", sizeof(IMAADPCMWAVEFORMAT)}};

bool IsImaAdpcm(const FormatView& format) {
    const auto* ima = format.As<IMAADPCMWAVEFORMAT>();
    const WAVEFORMATEX& head = format.head;
    return ima && head.wFormatTag == WAVE_FORMAT_IMA_ADPCM && HasPlainRate(head) &&
           head.wBitsPerSample == 4 && ima->wSamplesPerBlock % kImaGroup == 1 &&
           ima->wSamplesPerBlock <= ImaFramesIn(head.nBlockAlign, head.nChannels);
}

bool Handles(const FormatView& format) {
    return IsPlainPcm(format) || IsImaAdpcm(format);
}

void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& ima = record.Start<IMAADPCMWAVEFORMAT>(tag, channels, rate);
    ima.wfx.nBlockAlign = static_cast<WORD>(AdpcmBlockSize(rate) * channels);
    ima.wfx.wBitsPerSample = 4;
    ima.wSamplesPerBlock = static_cast<WORD>(ImaFramesIn(ima.wfx.nBlockAlign, channels));
    ima.wfx.nAvgBytesPerSec = BytesPerSecond(rate, ima.wfx.nBlockAlign, ima.wSamplesPerBlock);
}

ImaLayout LayoutOf(const FormatView& format) {
    return {format.head.nChannels, format.head.nBlockAlign,
            format.As<IMAADPCMWAVEFORMAT>()->wSamplesPerBlock};
}

struct Codec final : BlockCodec {
    explicit Codec(const FormatView& format) : layout(LayoutOf(format)) {}
    BlockShape Shape() const override { return {layout.block_size, layout.frames}; }
    void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) override {
        EncodeImaBlocks(pcm, count, layout, blocks);
    }
    void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) override {
        DecodeImaBlocks(blocks, count, layout, pcm);
    }
    size_t FramesIn(size_t bytes) const override { return ImaFramesIn(bytes, layout.channels); }

    const ImaLayout layout;
};

}  // namespace

const Driver kImaAdpcm{"Tolvane IMA ADPCM",
                       "Tolvane IMA ADPCM Codec",
                       ACMDRIVERDETAILS_SUPPORTF_CODEC,
                       kTags,
                       Handles,
                       SuggestForCodec,
                       Describe,
                       OpenCodec<Codec>};

}  // namespace tolvane::platform
