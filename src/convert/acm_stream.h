// A conversion stream of the codec manager with the two buffers that it works on.
#pragma once

#include "convert/codec_manager.h"
#include "frame/handles.h"

namespace tolvane {

// Converts piece by piece: the caller fills the free part of the source buffer, and what a conversion did not
// take stands at its front for the next.
class StreamBlock {
  public:
    static constexpr DWORD kSourceSize = 65536;

    enum class Outcome { kReady, kNoSourceMemory, kNotSized, kNoTargetMemory, kNotPrepared };
    Outcome Prepare(AcmStream stream);

    StreamBlock() = default;
    StreamBlock(const StreamBlock&) = delete;
    StreamBlock& operator=(const StreamBlock&) = delete;
    ~StreamBlock();

    // The room behind the bytes that wait for conversion.
    char* Free() const { return static_cast<char*>(source_.Data()) + waiting_; }
    DWORD FreeSize() const { return kSourceSize - waiting_; }
    DWORD Waiting() const { return waiting_; }
    void Add(DWORD size) { waiting_ += size; }

    // Converts what waits. Where whole blocks give nothing, the stream is told that this is the end.
    bool Convert();
    void DropWaiting() { waiting_ = 0; }

    // What the last conversion took and gave.
    DWORD Used() const { return header_.cbSrcLengthUsed; }
    const void* Target() const { return target_.Data(); }
    DWORD Produced() const { return header_.cbDstLengthUsed; }
    bool IsFull() const { return Produced() == header_.cbDstLength; }

  private:
    bool ConvertWith(DWORD flags);

    AcmStream stream_;
    GlobalBlock source_, target_;
    ACMSTREAMHEADER header_ = {};
    DWORD waiting_ = 0;
};

}  // namespace tolvane
