#include "convert/acm_stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tolvane {

StreamBlock::Outcome StreamBlock::Prepare(AcmStream stream) {
    stream_ = std::move(stream);
    if (source_.Allocate(kSourceSize, GMEM_MOVEABLE) != GlobalBlock::Outcome::kDone)
        return Outcome::kNoSourceMemory;
    DWORD size = 0;
    if (acmStreamSize(stream_.Get(), kSourceSize, &size, ACM_STREAMSIZEF_SOURCE) != MMSYSERR_NOERROR || !size)
        return Outcome::kNotSized;
    if (target_.Allocate(size, GMEM_MOVEABLE) != GlobalBlock::Outcome::kDone) return Outcome::kNoTargetMemory;
    header_.cbStruct = sizeof header_;
    header_.pbSrc = static_cast<LPBYTE>(source_.Data());
    header_.cbSrcLength = kSourceSize;
    header_.pbDst = static_cast<LPBYTE>(target_.Data());
    header_.cbDstLength = size;
    const bool prepared = acmStreamPrepareHeader(stream_.Get(), &header_, 0) == MMSYSERR_NOERROR;
    return prepared ? Outcome::kReady : Outcome::kNotPrepared;
}

// The header goes back as it was prepared.
StreamBlock::~StreamBlock() {
    if (!(header_.fdwStatus & ACMSTREAMHEADER_STATUSF_PREPARED)) return;
    header_.cbSrcLength = kSourceSize;
    acmStreamUnprepareHeader(stream_.Get(), &header_, 0);
}

// Counts that a driver gets wrong are cut to what the buffers hold.
bool StreamBlock::ConvertWith(DWORD flags) {
    header_.cbSrcLength = waiting_;
    header_.cbSrcLengthUsed = header_.cbDstLengthUsed = 0;
    if (acmStreamConvert(stream_.Get(), &header_, flags) != MMSYSERR_NOERROR) return false;
    while (!(const_cast<const volatile DWORD&>(header_.fdwStatus) & ACMSTREAMHEADER_STATUSF_DONE)) {
    }
    header_.cbSrcLengthUsed = std::min(header_.cbSrcLengthUsed, waiting_);
    header_.cbDstLengthUsed = std::min(header_.cbDstLengthUsed, header_.cbDstLength);
    return true;
}

// A stream that has taken something and gives nothing yet is still at work; to tell it the end would convert
// the same bytes twice.
bool StreamBlock::Convert() {
    if (!ConvertWith(ACM_STREAMCONVERTF_BLOCKALIGN)) return false;
    if (Produced() == 0 && Used() == 0 && !ConvertWith(ACM_STREAMCONVERTF_END)) return false;
    waiting_ -= Used();
    memmove(source_.Data(), static_cast<char*>(source_.Data()) + Used(), waiting_);
    return true;
}

}  // namespace tolvane
