// Streams whose output lags behind their source: rate changes and MPEG, both ways.
#include "platform/codecs/lagging_stream.h"

namespace tolvane::platform {
namespace {

constexpr size_t kStep = 8'192;

}  // namespace

void LaggingStream::Begin() {
    ahead_ = 0;
    over_ = false;
    pending_.Clear();
    Restart();
}

// Takes source until it runs out or output has to wait, and at the end finishes.
MMRESULT LaggingStream::Advance(Piece& piece, size_t whole, size_t* known) {
    const size_t most = std::max(kStep / block_, size_t{1}) * block_;
    pending_.Deliver(piece);
    while (!over_ && pending_.IsEmpty() && *known < whole) {
        const size_t step = std::min(most, whole - *known);
        if (const MMRESULT result = Feed(piece.source.subspan(*known, step), pending_.Refill()))
            return result;
        *known += step;
        pending_.Deliver(piece);
    }
    if (over_ || !piece.IsLast() || !pending_.IsEmpty()) return MMSYSERR_NOERROR;
    over_ = true;
    const MMRESULT result = Finish(pending_.Refill());
    pending_.Deliver(piece);
    return result;
}

MMRESULT LaggingStream::Convert(Piece& piece) {
    if (piece.IsFirst()) Begin();
    const size_t size = piece.source.size(), whole = size - size % block_;
    size_t known = std::min(ahead_, whole);
    if (const MMRESULT result = Advance(piece, whole, &known)) return result;
    if (over_ && pending_.IsEmpty()) {
        piece.used = piece.IsLast() && known == whole ? size : known;
        Begin();
        return MMSYSERR_NOERROR;
    }
    piece.used = piece.produced ? known - std::min(known, block_) : 0;
    ahead_ = known - piece.used;
    return MMSYSERR_NOERROR;
}

}  // namespace tolvane::platform
