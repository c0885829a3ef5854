// MS ADPCM: 4 bits a sample, blocks that begin with two whole samples a channel, predictors named in the
// format.
#include "platform/codecs/block_stream.h"
#include "platform/codecs/ms_blocks.h"

namespace tolvane::platform {
namespace {

constexpr ADPCMCOEFSET kPredictors[kMsPredictors] = {{256, 0}, {512, -256}, {0, 0},     {192, 64},
                                                     {240, 0}, {460, -208}, {392, -232}};
constexpr size_t kFixedPart = sizeof(ADPCMWAVEFORMAT) - sizeof(ADPCMCOEFSET);
constexpr size_t kRecordSize = kFixedPart + sizeof kPredictors;
constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_ADPCM, "MS ADPCM", kRecordSize}};

bool HasPredictors(const FormatView& format, const ADPCMWAVEFORMAT& adpcm) {
    return adpcm.wNumCoef >= kMsPredictors &&
           kWaveRecordSize + format.extra.size() >= kFixedPart + adpcm.wNumCoef * sizeof(ADPCMCOEFSET);
}

bool IsMsAdpcm(const FormatView& format) {
    const auto* adpcm = format.As<ADPCMWAVEFORMAT>();
    const WAVEFORMATEX& head = format.head;
    return adpcm && head.wFormatTag == WAVE_FORMAT_ADPCM && HasPlainRate(head) && head.wBitsPerSample == 4 &&
           HasPredictors(format, *adpcm) && adpcm->wSamplesPerBlock >= kMsFirstFrames &&
           adpcm->wSamplesPerBlock <= MsFramesIn(head.nBlockAlign, head.nChannels);
}

bool Handles(const FormatView& format) {
    return IsPlainPcm(format) || IsMsAdpcm(format);
}

void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& adpcm = record.Start<ADPCMWAVEFORMAT>(tag, channels, rate, kRecordSize);
    adpcm.wfx.nBlockAlign = static_cast<WORD>(AdpcmBlockSize(rate) * channels);
    adpcm.wfx.wBitsPerSample = 4;
    adpcm.wSamplesPerBlock = static_cast<WORD>(MsFramesIn(adpcm.wfx.nBlockAlign, channels));
    adpcm.wfx.nAvgBytesPerSec = BytesPerSecond(rate, adpcm.wfx.nBlockAlign, adpcm.wSamplesPerBlock);
    adpcm.wNumCoef = kMsPredictors;
    std::memcpy(record.bytes + kFixedPart, kPredictors, sizeof kPredictors);
}

MsLayout LayoutOf(const FormatView& format) {
    const auto& adpcm = *format.As<ADPCMWAVEFORMAT>();
    const size_t count = std::min<size_t>(adpcm.wNumCoef, kMsMostPredictors);
    MsLayout layout{format.head.nChannels, format.head.nBlockAlign, adpcm.wSamplesPerBlock, {}, count};
    static_assert(sizeof(MsPredictor) == sizeof(ADPCMCOEFSET));
    std::memcpy(layout.predictors.data(), reinterpret_cast<const uint8_t*>(&adpcm) + kFixedPart,
                count * sizeof(MsPredictor));
    return layout;
}

struct Codec final : BlockCodec {
    explicit Codec(const FormatView& format) : layout(LayoutOf(format)) {}
    BlockShape Shape() const override { return {layout.block_size, layout.frames}; }
    void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) override {
        EncodeMsBlocks(pcm, count, layout, blocks);
    }
    void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) override {
        DecodeMsBlocks(blocks, count, layout, pcm);
    }
    size_t FramesIn(size_t bytes) const override { return MsFramesIn(bytes, layout.channels); }

    const MsLayout layout;
};

}  // namespace

const Driver kMsAdpcm{"Tolvane MS ADPCM",
                      "Tolvane MS ADPCM Codec",
                      ACMDRIVERDETAILS_SUPPORTF_CODEC,
                      kTags,
                      Handles,
                      SuggestForCodec,
                      Describe,
                      OpenCodec<Codec>};

}  // namespace tolvane::platform
