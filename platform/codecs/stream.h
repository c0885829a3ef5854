// A conversion in progress, and what one call of it works on.
//
// Callers keep what was not used in front of what comes next, and call with ACM_STREAMCONVERTF_END when nothing
// comes any more. So a stream takes whatever it likes of a call without END as long as it reports at least one
// block of it unused while its output lags behind; a call without END that produces nothing reports nothing
// used. With END it brings everything out and reports all used once all has found room; then it is at rest.
#ifndef TOLVANE_PLATFORM_CODECS_STREAM_H
#define TOLVANE_PLATFORM_CODECS_STREAM_H

#include <msacm.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

namespace tolvane::platform {

struct Piece {
    std::span<const uint8_t> source;
    std::span<uint8_t> target;
    DWORD flags;  // ACM_STREAMCONVERTF_
    size_t used = 0, produced = 0;

    bool IsFirst() const { return (flags & ACM_STREAMCONVERTF_START) != 0; }
    bool IsLast() const { return (flags & ACM_STREAMCONVERTF_END) != 0; }
    std::span<const uint8_t> Rest() const { return source.subspan(used); }
    std::span<uint8_t> Room() const { return target.subspan(produced); }
};

class Stream {
  public:
    virtual ~Stream() = default;
    // The most that `source` bytes can become in one call, 0 = it cannot tell. Grows with `source`.
    virtual uint64_t Bound(uint64_t source) = 0;
    // ACM_STREAMCONVERTF_START forgets all that came before.
    virtual MMRESULT Convert(Piece& piece) = 0;
};

// Output that is ready and waits for room.
class Pending {
  public:
    std::vector<uint8_t>& Refill() {
        bytes_.clear();
        at_ = 0;
        return bytes_;
    }
    bool IsEmpty() const { return at_ == bytes_.size(); }
    void Clear() { Refill(); }
    void Deliver(Piece& piece) {
        const size_t size = std::min(bytes_.size() - at_, piece.Room().size());
        std::copy_n(bytes_.data() + at_, size, piece.Room().data());
        at_ += size;
        piece.produced += size;
    }

  private:
    std::vector<uint8_t> bytes_;
    size_t at_ = 0;
};

}  // namespace tolvane::platform
#endif
