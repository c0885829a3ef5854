// IMA ADPCM: 4 bits a sample, blocks that begin with one whole sample a channel.
#include "platform/codecs/block_stream.h"
#include "platform/codecs/driver.h"
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

struct Encoder final : BlockEncoder {
    explicit Encoder(const ImaLayout& of) : layout(of) {}
    void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) override {
        EncodeImaBlocks(pcm, count, layout, blocks);
    }
    ImaLayout layout;
};

struct Decoder final : BlockDecoder {
    explicit Decoder(const ImaLayout& of) : layout(of) {}
    void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) override {
        DecodeImaBlocks(blocks, count, layout, pcm);
    }
    size_t FramesIn(size_t bytes) const override { return ImaFramesIn(bytes, layout.channels); }
    ImaLayout layout;
};

std::unique_ptr<Stream> Open(const Driver&, const FormatView& source, const FormatView& target) {
    if (!IsCodecPair(source, target)) return nullptr;
    const ImaLayout layout = LayoutOf(source.IsPcm() ? target : source);
    const BlockShape shape{layout.block_size, layout.frames};
    if (source.IsPcm()) return OpenEncoder(source, shape, std::make_unique<Encoder>(layout));
    return OpenDecoder(shape, target, std::make_unique<Decoder>(layout));
}

}  // namespace

const Driver kImaAdpcm{"Tolvane IMA ADPCM",
                       "Tolvane IMA ADPCM Codec",
                       ACMDRIVERDETAILS_SUPPORTF_CODEC,
                       kTags,
                       Handles,
                       SuggestForCodec,
                       Describe,
                       Open};

}  // namespace tolvane::platform
