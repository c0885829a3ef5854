// GSM 6.10: one channel, blocks of 65 bytes for 320 samples, at any rate.
#include "platform/codecs/gsm610.h"

#include "platform/codecs/modules.h"

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_GSM610, "GSM 6.10", sizeof(GSM610WAVEFORMAT)}};

bool IsGsm(const FormatView& format) {
    const auto* gsm = format.As<GSM610WAVEFORMAT>();
    return gsm && format.head.wFormatTag == WAVE_FORMAT_GSM610 && format.head.nBlockAlign == kGsmBlock &&
           gsm->wSamplesPerBlock == kGsmBlockSamples;
}

bool Handles(const FormatView& format) {
    return (IsPlainPcm(format) || IsGsm(format)) && HasPlainRate(format.head) && format.head.nChannels == 1;
}

void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& gsm = record.Start<GSM610WAVEFORMAT>(tag, channels, rate);
    gsm.wfx.nBlockAlign = kGsmBlock;
    gsm.wfx.nAvgBytesPerSec = BytesPerSecond(rate, kGsmBlock, kGsmBlockSamples);
    gsm.wSamplesPerBlock = kGsmBlockSamples;
}

}  // namespace

const Driver kGsm610{"Tolvane GSM 6.10",
                     "Tolvane GSM 6.10 Codec",
                     ACMDRIVERDETAILS_SUPPORTF_CODEC,
                     kTags,
                     Handles,
                     SuggestForCodec,
                     Describe,
                     OpenGsm610};

}  // namespace tolvane::platform
