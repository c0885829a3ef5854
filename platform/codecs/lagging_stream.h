// Streams whose output lags behind their source: rate changes and MPEG, both ways.
//
// They take source as they need it, but report at least one block of it unused until the end has come, so that
// callers come back; they know how much at the front of the next source they have taken already.
#ifndef TOLVANE_PLATFORM_CODECS_LAGGING_STREAM_H
#define TOLVANE_PLATFORM_CODECS_LAGGING_STREAM_H

#include "platform/codecs/stream.h"

namespace tolvane::platform {

class LaggingStream : public Stream {
  public:
    // Source of `block` bytes is what makes sense together.
    explicit LaggingStream(size_t block) : block_(block) {}
    MMRESULT Convert(Piece& piece) final;

  protected:
    // Takes whole blocks, of a few KiB at most, and appends what is ready.
    virtual MMRESULT Feed(std::span<const uint8_t> source, std::vector<uint8_t>& output) = 0;
    // The sound is over: appends all that is left.
    virtual MMRESULT Finish(std::vector<uint8_t>& output) = 0;
    // A new sound begins.
    virtual void Restart() = 0;

  private:
    void Begin();
    MMRESULT Advance(Piece& piece, size_t whole, size_t* known);

    size_t block_;
    size_t ahead_ = 0;  // bytes at the front of the next source that were taken before
    bool over_ = false;
    Pending pending_;
};

}  // namespace tolvane::platform
#endif
