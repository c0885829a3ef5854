// The PCM converter: 8 and 16 bits, 1 and 2 channels, any rate into any other.
#include "platform/codecs/driver.h"

namespace tolvane::platform {
namespace {

constexpr FormatTag kTags[] = {{WAVE_FORMAT_PCM, "PCM", kWaveRecordSize}};

MMRESULT Suggest(const Driver&, const FormatView& source, const Wish& wish, DWORD, FormatRecord& target) {
    const auto pick = [&wish](DWORD flag, auto wished, auto own) { return wish.Fixes(flag) ? wished : own; };
    const WAVEFORMATEX &asked = wish.target, &own = source.head;
    target.MakePcm(pick(ACM_FORMATSUGGESTF_NCHANNELS, asked.nChannels, own.nChannels),
                   pick(ACM_FORMATSUGGESTF_NSAMPLESPERSEC, asked.nSamplesPerSec, own.nSamplesPerSec),
                   pick(ACM_FORMATSUGGESTF_WBITSPERSAMPLE, asked.wBitsPerSample, own.wBitsPerSample));
    return wish.Allows(target.head()) && IsPlainPcm(target.View()) ? MMSYSERR_NOERROR : ACMERR_NOTPOSSIBLE;
}

}  // namespace

const Driver kPcmConverter{
    "Tolvane PCM", "Tolvane PCM Converter", ACMDRIVERDETAILS_SUPPORTF_CONVERTER, kTags, IsPlainPcm, Suggest,
    nullptr};

}  // namespace tolvane::platform
