// MPEG Layer-3 at the nine sample rates of MPEG-1, MPEG-2 and MPEG-2.5.
#include "platform/codecs/driver.h"
#include "platform/codecs/modules.h"
#include "platform/codecs/mpeg_frames.h"

#include <algorithm>
#include <iterator>

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize},
                               {WAVE_FORMAT_MPEGLAYER3, "MPEG Layer-3", sizeof(MPEGLAYER3WAVEFORMAT)}};
constexpr DWORD kRates[] = {8'000, 11'025, 12'000, 16'000, 22'050, 24'000, 32'000, 44'100, 48'000};
constexpr WORD kDelay = 1105;  // samples that encoder and decoder put before the sound

bool IsLayer3(const FormatView& format) {
    const auto* layer3 = format.As<MPEGLAYER3WAVEFORMAT>();
    return layer3 && format.head.wFormatTag == WAVE_FORMAT_MPEGLAYER3 && layer3->wID == MPEGLAYER3_ID_MPEG;
}

bool Handles(const FormatView& format) {
    return (IsPlainPcm(format) || IsLayer3(format)) && HasPlainRate(format.head) &&
           std::find(std::begin(kRates), std::end(kRates), format.head.nSamplesPerSec) != std::end(kRates);
}

constexpr bool IsFullRate(DWORD rate) {
    return rate >= 32'000;
}

void SetBitRate(DWORD kilobits, MPEGLAYER3WAVEFORMAT& layer3) {
    const DWORD rate = layer3.wfx.nSamplesPerSec;
    layer3.wfx.nAvgBytesPerSec = kilobits * 125;
    layer3.nBlockSize = static_cast<WORD>(MpegFrameSamples(rate) * layer3.wfx.nAvgBytesPerSec / rate);
}

// 64 kbit/s a channel, half of it below the full rates: what both halves of the standard allow at every rate.
void Describe(WORD tag, WORD channels, DWORD rate, FormatRecord& record) {
    auto& layer3 = record.Start<MPEGLAYER3WAVEFORMAT>(tag, channels, rate);
    layer3.wfx.nBlockAlign = 1;
    layer3.wID = MPEGLAYER3_ID_MPEG;
    layer3.fdwFlags = MPEGLAYER3_FLAG_PADDING_ISO;
    SetBitRate((IsFullRate(rate) ? 64u : 32u) * channels, layer3);
    layer3.nFramesPerBlock = 1;
    layer3.nCodecDelay = kDelay;
}

void Vary(const FormatRecord& usual, std::vector<FormatRecord>& formats) {
    constexpr DWORD kFull[] = {64, 96, 128, 160, 192, 256, 320}, kHalf[] = {16, 32, 64, 96, 128, 160};
    const std::span<const DWORD> choice =
        IsFullRate(usual.head().nSamplesPerSec) ? std::span<const DWORD>(kFull) : kHalf;
    for (const DWORD kilobits : choice) {
        formats.push_back(usual);
        SetBitRate(kilobits, reinterpret_cast<MPEGLAYER3WAVEFORMAT&>(formats.back().bytes));
    }
}

std::unique_ptr<Stream> Open(const Driver& self, const FormatView& source, const FormatView& target) {
    if (!IsCodecPair(source, target)) return nullptr;
    return source.IsPcm() ? OpenMpegEncoder(self, source, target) : OpenMpegDecoder(self, source, target);
}

}  // namespace

const Driver kMpegLayer3{"Tolvane MP3",
                         "Tolvane MPEG Layer-3 Codec",
                         ACMDRIVERDETAILS_SUPPORTF_CODEC,
                         kTags,
                         Handles,
                         SuggestForCodec,
                         Describe,
                         Open,
                         Vary};

}  // namespace tolvane::platform
