// MPEG Layer-3 frames into PCM: the module "mpeg-decoder", on libmpg123. Delay and padding that an encoder noted in its
// first frame are taken away.
#include "platform/codecs/frames.h"
#include "platform/codecs/lagging_stream.h"
#include "platform/codecs/modules.h"
#include "platform/codecs/mpeg_frames.h"
#include "platform/kernel/late_module.h"

#include <mpg123.h>

#include <new>

namespace tolvane::platform {
namespace {

struct DestroyDecoder {
    void operator()(mpg123_handle* decoder) const { mpg123_delete(decoder); }
};
using Decoder = std::unique_ptr<mpg123_handle, DestroyDecoder>;

// Frames of every rate keep it; their channels become those asked for.
bool AllowRates(mpg123_handle* decoder, WORD channels) {
    const long* rates = nullptr;
    size_t count = 0;
    mpg123_rates(&rates, &count);
    if (mpg123_format_none(decoder)) return false;
    for (const long rate : std::span(rates, count))
        if (mpg123_format(decoder, rate, channels, MPG123_ENC_SIGNED_16)) return false;
    return true;
}

Decoder MakeDecoder(WORD channels) {
    Decoder decoder(mpg123_new(nullptr, nullptr));
    mpg123_handle* const handle = decoder.get();
    if (!handle || mpg123_param(handle, MPG123_ADD_FLAGS, MPG123_QUIET, 0) ||
        mpg123_param(handle, MPG123_RESYNC_LIMIT, -1, 0) || !AllowRates(handle, channels) ||
        mpg123_open_feed(handle))
        throw std::bad_alloc();
    return decoder;
}

class MpegDecoder final : public LaggingStream {
  public:
    MpegDecoder(DWORD rate, FrameLayout target)
        : LaggingStream(1), rate_(rate), target_(target), decoder_(MakeDecoder(target.channels)) {}

    // Frames of the lowest bit rate; what is held back is less than two of the largest. Frames of another rate than the
    // one declared can become more, which then waits for the next call.
    uint64_t Bound(uint64_t source) override {
        return (source / LeastMpegFrame(rate_) + 3) * MpegFrameSamples(rate_) * target_.Size();
    }

  private:
    MMRESULT Feed(std::span<const uint8_t> source, std::vector<uint8_t>& output) override {
        used_ = true;
        if (mpg123_feed(decoder_.get(), source.data(), source.size())) return MMSYSERR_ERROR;
        return DecodeFrames(output);
    }
    MMRESULT Finish(std::vector<uint8_t>& output) override {
        const MMRESULT result = DecodeFrames(output);
        return result || FinishRate(output) ? result : MMSYSERR_ERROR;
    }
    void Restart() override {
        if (used_) mpg123_open_feed(decoder_.get());
        used_ = false;
        changer_.reset();
    }

    MMRESULT DecodeFrames(std::vector<uint8_t>& output) {
        for (;;) {
            off_t number;
            unsigned char* audio = nullptr;
            size_t bytes = 0;
            const int state = mpg123_decode_frame(decoder_.get(), &number, &audio, &bytes);
            if (audio && !Append({audio, bytes}, output)) return MMSYSERR_ERROR;
            if (state == MPG123_NEED_MORE || state == MPG123_DONE) return MMSYSERR_NOERROR;
            if (state == MPG123_NEW_FORMAT && !TakeRate(output)) return MMSYSERR_ERROR;
            if (state != MPG123_OK && state != MPG123_NEW_FORMAT) return MMSYSERR_ERROR;
        }
    }
    // Whoever described the sound may have taken other bytes of the file for a frame: its pitch is that of the frames.
    bool TakeRate(std::vector<uint8_t>& output) {
        long rate = 0;
        int channels = 0, encoding = 0;
        if (mpg123_getformat(decoder_.get(), &rate, &channels, &encoding) || !FinishRate(output))
            return false;
        frame_rate_ = static_cast<DWORD>(rate);
        return true;
    }
    // Null without the module that changes rates.
    RateChanger* ChangerForFrames() {
        if (!changer_)
            changer_ = MakeRateChanger({static_cast<double>(frame_rate_), static_cast<double>(rate_)},
                                       target_.channels, target_);
        return changer_.get();
    }
    bool FinishRate(std::vector<uint8_t>& output) {
        const bool done = !changer_ || changer_->Finish(output);
        changer_.reset();
        return done;
    }
    bool Append(std::span<const uint8_t> wide, std::vector<uint8_t>& output) {
        if (frame_rate_ != rate_) {
            RateChanger* const changer = ChangerForFrames();
            return changer && changer->Change(wide, output);
        }
        const FrameLayout layout{16, target_.channels};
        const size_t before = output.size(), frames = wide.size() / layout.Size();
        output.resize(before + frames * target_.Size());
        FindFrameLoop(layout, target_)(wide.data(), output.data() + before, frames);
        return true;
    }

    const DWORD rate_;
    const FrameLayout target_;
    Decoder decoder_;
    DWORD frame_rate_ = rate_;  // as the decoder told it last, maybe before a restart
    std::unique_ptr<RateChanger> changer_;
    bool used_ = false;
};

std::unique_ptr<Stream> OpenDecoder(const Driver&, const FormatView&, const FormatView& pcm) {
    return std::make_unique<MpegDecoder>(pcm.head.nSamplesPerSec, FrameLayout::Of(pcm));
}

}  // namespace
}  // namespace tolvane::platform

TOLVANE_MODULE_OFFERS(tolvane::platform::StreamOpener, tolvane::platform::OpenDecoder)
