// MPEG Layer-3 frames into PCM. Delay and padding that an encoder noted in its first frame are taken away.
#include "platform/codecs/frames.h"
#include "platform/codecs/lagging_stream.h"
#include "platform/codecs/mpeg_streams.h"

#include <mpg123.h>

#include <new>

namespace tolvane::platform {
namespace {

struct DestroyDecoder {
    void operator()(mpg123_handle* decoder) const { mpg123_delete(decoder); }
};

class MpegDecoder final : public LaggingStream {
  public:
    MpegDecoder(DWORD rate, FrameLayout target)
        : LaggingStream(1), rate_(rate), target_(target), decoder_(mpg123_new(nullptr, nullptr)) {
        mpg123_handle* const decoder = decoder_.get();
        if (!decoder || mpg123_param(decoder, MPG123_ADD_FLAGS, MPG123_QUIET, 0) ||
            mpg123_param(decoder, MPG123_RESYNC_LIMIT, -1, 0) || mpg123_format_none(decoder) ||
            mpg123_format(decoder, static_cast<long>(rate), target.channels, MPG123_ENC_SIGNED_16) ||
            mpg123_open_feed(decoder))
            throw std::bad_alloc();
    }

    // Frames of the lowest bit rate; what is held back is less than two of the largest.
    uint64_t Bound(uint64_t source) override {
        return (source / LeastMpegFrame(rate_) + 3) * MpegFrameSamples(rate_) * target_.Size();
    }

  private:
    MMRESULT Feed(std::span<const uint8_t> source, std::vector<uint8_t>& output) override {
        used_ = true;
        if (mpg123_feed(decoder_.get(), source.data(), source.size())) return MMSYSERR_ERROR;
        return DecodeFrames(output);
    }
    MMRESULT Finish(std::vector<uint8_t>& output) override { return DecodeFrames(output); }
    void Restart() override {
        if (used_) mpg123_open_feed(decoder_.get());
        used_ = false;
    }

    // A change of the format that the frames are in is none of ours: the decoder keeps to the one asked for.
    MMRESULT DecodeFrames(std::vector<uint8_t>& output) {
        for (;;) {
            off_t number;
            unsigned char* audio = nullptr;
            size_t bytes = 0;
            const int state = mpg123_decode_frame(decoder_.get(), &number, &audio, &bytes);
            if (audio) Append({audio, bytes}, output);
            if (state == MPG123_NEED_MORE || state == MPG123_DONE) return MMSYSERR_NOERROR;
            if (state != MPG123_OK && state != MPG123_NEW_FORMAT) return MMSYSERR_ERROR;
        }
    }
    void Append(std::span<const uint8_t> wide, std::vector<uint8_t>& output) {
        const FrameLayout layout{16, target_.channels};
        const size_t before = output.size(), frames = wide.size() / layout.Size();
        output.resize(before + frames * target_.Size());
        FindFrameLoop(layout, target_)(wide.data(), output.data() + before, frames);
    }

    const DWORD rate_;
    const FrameLayout target_;
    std::unique_ptr<mpg123_handle, DestroyDecoder> decoder_;
    bool used_ = false;
};

}  // namespace

std::unique_ptr<Stream> OpenMpegDecoder(const FormatView& pcm) {
    return std::make_unique<MpegDecoder>(pcm.head.nSamplesPerSec, FrameLayout::Of(pcm));
}

}  // namespace tolvane::platform
