// IMA ADPCM: 4 bits a sample, blocks that begin with one whole sample a channel.
#include "platform/codecs/driver.h"

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_IMA_ADPCM, "IMA ADPCM", sizeof(IMAADPCMWAVEFORMAT)}};
constexpr int kHeaderPerChannel = 4;

constexpr int SamplesPerBlock(int block, int channels) {
    return (block - kHeaderPerChannel * channels) * 2 / channels + 1;
}

bool IsImaAdpcm(const FormatView& format) {
    const auto* ima = format.As<IMAADPCMWAVEFORMAT>();
    const WAVEFORMATEX& head = format.head;
    return ima && head.wFormatTag == WAVE_FORMAT_IMA_ADPCM && HasPlainRate(head) &&
           head.wBitsPerSample == 4 && head.nBlockAlign > kHeaderPerChannel * head.nChannels &&
           ima->wSamplesPerBlock >= 1 &&
           ima->wSamplesPerBlock <= SamplesPerBlock(head.nBlockAlign, head.nChannels);
}

bool Handles(const FormatView& format) {
    return IsPlainPcm(format) || IsImaAdpcm(format);
}

void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& ima = record.Start<IMAADPCMWAVEFORMAT>(tag, channels, rate);
    ima.wfx.nBlockAlign = static_cast<WORD>(AdpcmBlockSize(rate) * channels);
    ima.wfx.wBitsPerSample = 4;
    ima.wSamplesPerBlock = static_cast<WORD>(SamplesPerBlock(ima.wfx.nBlockAlign, channels));
    ima.wfx.nAvgBytesPerSec = BytesPerSecond(rate, ima.wfx.nBlockAlign, ima.wSamplesPerBlock);
}

}  // namespace

const Driver kImaAdpcm{"Tolvane IMA ADPCM",
                       "Tolvane IMA ADPCM Codec",
                       ACMDRIVERDETAILS_SUPPORTF_CODEC,
                       kTags,
                       Handles,
                       SuggestForCodec,
                       Describe};

}  // namespace tolvane::platform
