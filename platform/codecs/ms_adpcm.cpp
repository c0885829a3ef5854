// MS ADPCM: 4 bits a sample, blocks that begin with two whole samples a channel, predictors named in the
// format.
#include "platform/codecs/driver.h"

#include <iterator>

namespace tolvane::platform {
namespace {

constexpr ADPCMCOEFSET kPredictors[] = {{256, 0}, {512, -256}, {0, 0},     {192, 64},
                                        {240, 0}, {460, -208}, {392, -232}};
constexpr size_t kFixedPart = sizeof(ADPCMWAVEFORMAT) - sizeof(ADPCMCOEFSET);
constexpr size_t kRecordSize = kFixedPart + sizeof kPredictors;
constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_ADPCM, "MS ADPCM", kRecordSize}};
constexpr int kHeaderPerChannel = 7;

constexpr int SamplesPerBlock(int block, int channels) {
    return (block - kHeaderPerChannel * channels) * 2 / channels + 2;
}

bool HasPredictors(const FormatView& format, const ADPCMWAVEFORMAT& adpcm) {
    return adpcm.wNumCoef >= std::size(kPredictors) &&
           kWaveRecordSize + format.extra.size() >= kFixedPart + adpcm.wNumCoef * sizeof(ADPCMCOEFSET);
}

bool IsMsAdpcm(const FormatView& format) {
    const auto* adpcm = format.As<ADPCMWAVEFORMAT>();
    const WAVEFORMATEX& head = format.head;
    return adpcm && head.wFormatTag == WAVE_FORMAT_ADPCM && HasPlainRate(head) && head.wBitsPerSample == 4 &&
           HasPredictors(format, *adpcm) && head.nBlockAlign > kHeaderPerChannel * head.nChannels &&
           adpcm->wSamplesPerBlock >= 2 &&
           adpcm->wSamplesPerBlock <= SamplesPerBlock(head.nBlockAlign, head.nChannels);
}

bool Handles(const FormatView& format) {
    return IsPlainPcm(format) || IsMsAdpcm(format);
}

void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& adpcm = record.Start<ADPCMWAVEFORMAT>(tag, channels, rate, kRecordSize);
    adpcm.wfx.nBlockAlign = static_cast<WORD>(AdpcmBlockSize(rate) * channels);
    adpcm.wfx.wBitsPerSample = 4;
    adpcm.wSamplesPerBlock = static_cast<WORD>(SamplesPerBlock(adpcm.wfx.nBlockAlign, channels));
    adpcm.wfx.nAvgBytesPerSec = BytesPerSecond(rate, adpcm.wfx.nBlockAlign, adpcm.wSamplesPerBlock);
    adpcm.wNumCoef = std::size(kPredictors);
    std::memcpy(record.bytes + kFixedPart, kPredictors, sizeof kPredictors);
}

}  // namespace

const Driver kMsAdpcm{"Tolvane MS ADPCM",
                      "Tolvane MS ADPCM Codec",
                      ACMDRIVERDETAILS_SUPPORTF_CODEC,
                      kTags,
                      Handles,
                      SuggestForCodec,
                      Describe};

}  // namespace tolvane::platform
