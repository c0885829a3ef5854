// CCITT G.711: A-law and mu-law, one byte a sample.
#include "platform/codecs/driver.h"

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

}  // namespace

const Driver kG711{"Tolvane G.711",
                   "Tolvane CCITT G.711 Codec",
                   ACMDRIVERDETAILS_SUPPORTF_CODEC,
                   kTags,
                   Handles,
                   SuggestForCodec,
                   Describe};

}  // namespace tolvane::platform
