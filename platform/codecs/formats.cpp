// Format records as the drivers see them.
#include "platform/codecs/formats.h"

namespace tolvane::platform {

FormatView::FormatView(const WAVEFORMATEX* record) : head{}, start(record) {
    std::memcpy(&head, record, kPcmRecordSize);
    if (IsPcm()) return;
    head.cbSize = record->cbSize;
    extra = {reinterpret_cast<const uint8_t*>(record + 1), record->cbSize};
}

void FormatRecord::MakePcm(WORD channels, DWORD rate, WORD bits) {
    WAVEFORMATEX& format = Start<WAVEFORMATEX>(WAVE_FORMAT_PCM, channels, rate);
    format.wBitsPerSample = bits;
    format.nBlockAlign = static_cast<WORD>(channels * bits / 8);
    format.nAvgBytesPerSec = rate * format.nBlockAlign;
}

bool Wish::Allows(const WAVEFORMATEX& format) const {
    return AllowsTag(format.wFormatTag) &&
           (!Fixes(ACM_FORMATSUGGESTF_NCHANNELS) || target.nChannels == format.nChannels) &&
           (!Fixes(ACM_FORMATSUGGESTF_NSAMPLESPERSEC) || target.nSamplesPerSec == format.nSamplesPerSec) &&
           (!Fixes(ACM_FORMATSUGGESTF_WBITSPERSAMPLE) || target.wBitsPerSample == format.wBitsPerSample);
}

bool HasPlainRate(const WAVEFORMATEX& format) {
    return format.nSamplesPerSec >= 1 && format.nSamplesPerSec <= kHighestRate && format.nChannels >= 1 &&
           format.nChannels <= 2;
}

bool IsPlainPcm(const FormatView& format) {
    const WAVEFORMATEX& head = format.head;
    return format.IsPcm() && HasPlainRate(head) && (head.wBitsPerSample == 8 || head.wBitsPerSample == 16) &&
           head.nBlockAlign == head.nChannels * head.wBitsPerSample / 8;
}

DWORD BytesPerSecond(DWORD rate, DWORD block, DWORD samples) {
    return static_cast<DWORD>(uint64_t{rate} * block / samples);
}

WORD AdpcmBlockSize(DWORD rate) {
    return rate < 22'050 ? 256 : rate < 44'100 ? 512 : 1024;
}

}  // namespace tolvane::platform
