// Streams of families that turn each block of the source into one block of the target.
#include "platform/codecs/block_stream.h"

namespace tolvane::platform {
namespace {

constexpr size_t kCallersPiece = 65'536;
constexpr size_t kStageSamples = 16'384;

// Where a kernel finds or leaves 16-bit sound when the caller's is of 8 bits or not aligned.
class Stage {
  public:
    Stage(FrameLayout layout, size_t block_frames)
        : layout_(layout),
          block_frames_(block_frames),
          blocks_(std::max<size_t>(kStageSamples / (block_frames * layout.channels), 1)) {}

    bool CanSkip(const uint8_t* pcm) const {
        return layout_.bits == 16 && reinterpret_cast<uintptr_t>(pcm) % alignof(int16_t) == 0;
    }
    size_t Blocks() const { return blocks_; }
    size_t BlockBytes() const { return block_frames_ * layout_.Size(); }
    int16_t* Samples() {
        samples_.resize(blocks_ * block_frames_ * layout_.channels);
        return samples_.data();
    }
    void Load(const uint8_t* pcm, size_t frames) {
        FindFrameLoop(layout_, {16, layout_.channels})(pcm, reinterpret_cast<uint8_t*>(Samples()), frames);
    }
    // The first `frames` frames of a block that holds no more.
    void LoadRest(std::span<const uint8_t> pcm) {
        std::fill_n(Samples(), block_frames_ * layout_.channels, int16_t{0});
        Load(pcm.data(), pcm.size() / layout_.Size());
    }
    void Store(uint8_t* pcm, size_t frames) {
        FindFrameLoop({16, layout_.channels}, layout_)(reinterpret_cast<const uint8_t*>(Samples()), pcm,
                                                       frames);
    }
    size_t FrameBytes() const { return layout_.Size(); }
    size_t BlockFrames() const { return block_frames_; }

  private:
    FrameLayout layout_;
    size_t block_frames_, blocks_;
    std::vector<int16_t> samples_;
};

class EncoderStream final : public BlockStream {
  public:
    EncoderStream(Stage stage, std::unique_ptr<BlockCodec> codec)
        : BlockStream(stage.BlockBytes(), codec->Shape().bytes),
          stage_(std::move(stage)),
          block_(codec->Shape().bytes),
          codec_(std::move(codec)) {}

  private:
    void ConvertBlocks(const uint8_t* source, uint8_t* target, size_t count) override {
        if (stage_.CanSkip(source))
            return codec_->Encode(reinterpret_cast<const int16_t*>(source), target, count);
        for (size_t blocks; count > 0; count -= blocks) {
            blocks = std::min(count, stage_.Blocks());
            stage_.Load(source, blocks * stage_.BlockFrames());
            codec_->Encode(stage_.Samples(), target, blocks);
            source += blocks * stage_.BlockBytes();
            target += blocks * block_;
        }
    }
    size_t ConvertRest(std::span<const uint8_t> rest, uint8_t* target) override {
        if (rest.size() < stage_.FrameBytes()) return 0;
        stage_.LoadRest(rest);
        codec_->Encode(stage_.Samples(), target, 1);
        return block_;
    }
    void Restart() override { codec_->Restart(); }

    Stage stage_;
    size_t block_;
    std::unique_ptr<BlockCodec> codec_;
};

class DecoderStream final : public BlockStream {
  public:
    DecoderStream(Stage stage, std::unique_ptr<BlockCodec> codec)
        : BlockStream(codec->Shape().bytes, stage.BlockBytes()),
          stage_(std::move(stage)),
          block_(codec->Shape().bytes),
          codec_(std::move(codec)) {}

  private:
    void ConvertBlocks(const uint8_t* source, uint8_t* target, size_t count) override {
        if (stage_.CanSkip(target)) return codec_->Decode(source, reinterpret_cast<int16_t*>(target), count);
        for (size_t blocks; count > 0; count -= blocks) {
            blocks = std::min(count, stage_.Blocks());
            codec_->Decode(source, stage_.Samples(), blocks);
            stage_.Store(target, blocks * stage_.BlockFrames());
            source += blocks * block_;
            target += blocks * stage_.BlockBytes();
        }
    }
    size_t ConvertRest(std::span<const uint8_t> rest, uint8_t* target) override {
        const size_t frames = std::min(codec_->FramesIn(rest.size()), stage_.BlockFrames());
        if (!frames) return 0;
        std::vector<uint8_t> whole(block_);
        std::copy(rest.begin(), rest.end(), whole.begin());
        codec_->Decode(whole.data(), stage_.Samples(), 1);
        stage_.Store(target, frames);
        return frames * stage_.FrameBytes();
    }
    void Restart() override { codec_->Restart(); }

    Stage stage_;
    size_t block_;
    std::unique_ptr<BlockCodec> codec_;
};

}  // namespace

uint64_t BlockStream::Bound(uint64_t source) {
    return (source + source_block_ - 1) / source_block_ * target_block_;
}

void BlockStream::Begin() {
    pending_.Clear();
    held_ = 0;
    Restart();
}

void BlockStream::DeliverHeld(Piece& piece) {
    pending_.Deliver(piece);
    if (!pending_.IsEmpty()) return;
    const size_t done = std::min(held_, piece.Rest().size());
    piece.used += done;
    held_ -= done;
}

// Converts the next block, or what there is of it at the end, where it can wait for room.
bool BlockStream::Hold(const Piece& piece) {
    const auto rest = piece.Rest();
    const bool whole = rest.size() >= source_block_;
    if (rest.empty() || !(whole ? !piece.Room().empty() : piece.IsLast())) return false;
    std::vector<uint8_t>& block = pending_.Refill();
    block.resize(target_block_);
    if (whole)
        ConvertBlocks(rest.data(), block.data(), 1);
    else
        block.resize(ConvertRest(rest, block.data()));
    held_ = std::min(rest.size(), source_block_);
    return true;
}

MMRESULT BlockStream::Convert(Piece& piece) {
    if (piece.IsFirst()) Begin();
    DeliverHeld(piece);
    if (!pending_.IsEmpty() || held_) return MMSYSERR_NOERROR;
    const size_t blocks = std::min(piece.Rest().size() / source_block_, piece.Room().size() / target_block_);
    ConvertBlocks(piece.Rest().data(), piece.Room().data(), blocks);
    piece.used += blocks * source_block_;
    piece.produced += blocks * target_block_;
    if (Hold(piece)) DeliverHeld(piece);
    if (piece.IsLast() && piece.Rest().empty() && pending_.IsEmpty()) Begin();
    return MMSYSERR_NOERROR;
}

std::unique_ptr<Stream> OpenBlockStream(const FormatView& source, const FormatView& target,
                                        std::unique_ptr<BlockCodec> codec) {
    Stage stage(FrameLayout::Of(source.IsPcm() ? source : target), codec->Shape().frames);
    if (!source.IsPcm()) return std::make_unique<DecoderStream>(std::move(stage), std::move(codec));
    if (stage.BlockBytes() > kCallersPiece) return nullptr;
    return std::make_unique<EncoderStream>(std::move(stage), std::move(codec));
}

}  // namespace tolvane::platform
