// The suggestion that all families with a compressed and a PCM side share.
#include "platform/codecs/driver.h"

namespace tolvane::platform {
namespace {

MMRESULT SuggestCompressed(const Driver& self, const FormatView& source, const Wish& wish,
                           FormatRecord& target) {
    for (const FormatTag& tag : self.tags) {
        if (tag.tag == WAVE_FORMAT_PCM || !wish.AllowsTag(tag.tag)) continue;
        self.describe(tag.tag, source.head.nChannels, source.head.nSamplesPerSec, target);
        if (wish.Allows(target.head())) return MMSYSERR_NOERROR;
    }
    return ACMERR_NOTPOSSIBLE;
}

MMRESULT SuggestPcm(const FormatView& source, const Wish& wish, FormatRecord& target) {
    const WORD bits = wish.Fixes(ACM_FORMATSUGGESTF_WBITSPERSAMPLE) ? wish.target.wBitsPerSample : WORD{16};
    target.MakePcm(source.head.nChannels, source.head.nSamplesPerSec, bits);
    return wish.Allows(target.head()) && IsPlainPcm(target.View()) ? MMSYSERR_NOERROR : ACMERR_NOTPOSSIBLE;
}

}  // namespace

MMRESULT SuggestForCodec(const Driver& self, const FormatView& source, const Wish& wish, DWORD,
                         FormatRecord& target) {
    return source.IsPcm() ? SuggestCompressed(self, source, wish, target) : SuggestPcm(source, wish, target);
}

bool IsCodecPair(const FormatView& source, const FormatView& target) {
    return source.IsPcm() != target.IsPcm() && source.head.nChannels == target.head.nChannels &&
           source.head.nSamplesPerSec == target.head.nSamplesPerSec;
}

}  // namespace tolvane::platform
