// Streams of families that turn each block of the source into one block of the target.
//
// A family's own part converts any number of whole blocks at once, and has the speed; the streams know pieces,
// small targets and the end.
#ifndef TOLVANE_PLATFORM_CODECS_BLOCK_STREAM_H
#define TOLVANE_PLATFORM_CODECS_BLOCK_STREAM_H

#include "platform/codecs/driver.h"
#include "platform/codecs/frames.h"

namespace tolvane::platform {

// The common part: bytes of both sides.
class BlockStream : public Stream {
  public:
    BlockStream(size_t source_block, size_t target_block)
        : source_block_(source_block), target_block_(target_block) {}
    uint64_t Bound(uint64_t source) override;
    MMRESULT Convert(Piece& piece) override;

  protected:
    virtual void ConvertBlocks(const uint8_t* source, uint8_t* target, size_t count) = 0;
    // Writes what the start of a block, cut off at the end of the sound, becomes: at most one block. Returns its
    // bytes.
    virtual size_t ConvertRest(std::span<const uint8_t> rest, uint8_t* target) = 0;
    // A new sound begins.
    virtual void Restart() {}

  private:
    void Begin();
    void DeliverHeld(Piece& piece);
    bool Hold(const Piece& piece);

    size_t source_block_, target_block_;
    Pending pending_;
    size_t held_ = 0;  // source bytes that count as used when the pending bytes are out
};

// One block of the compressed side.
struct BlockShape {
    size_t bytes;
    size_t frames;
};

// A family's own part for one stream, which uses one direction of it. `pcm` is aligned, 16 bits, channels interleaved.
struct BlockCodec {
    virtual ~BlockCodec() = default;
    virtual BlockShape Shape() const = 0;
    virtual void Encode(const int16_t* pcm, uint8_t* blocks, size_t count) = 0;
    virtual void Decode(const uint8_t* blocks, int16_t* pcm, size_t count) = 0;
    // How many frames the first `bytes` bytes of a block hold, fewer than a whole one has.
    virtual size_t FramesIn(size_t bytes) const = 0;
    // A new sound begins (for what one block takes over from the one before).
    virtual void Restart() {}
};

// One of the formats is PCM, of 8 or 16 bits. Null when a block to be encoded holds so much sound that callers never
// have enough for one.
std::unique_ptr<Stream> OpenBlockStream(const FormatView& source, const FormatView& target,
                                        std::unique_ptr<BlockCodec> codec);

// For the table of a family whose `Codec` is made from the compressed format.
template <class Codec>
std::unique_ptr<Stream> OpenCodec(const Driver&, const FormatView& source, const FormatView& target) {
    if (!IsCodecPair(source, target)) return nullptr;
    return OpenBlockStream(source, target, std::make_unique<Codec>(source.IsPcm() ? target : source));
}

}  // namespace tolvane::platform
#endif
