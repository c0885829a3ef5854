// PCM at another sample rate, with other bits and channels on the way.
#include "platform/codecs/rate_stream.h"

#include "platform/codecs/frames.h"
#include "platform/codecs/lagging_stream.h"

#include <soxr.h>

#include <new>

namespace tolvane::platform {
namespace {

// Callers offer 64 KiB, at worst 16,384 frames, and output has to come of that: the coarser filter has a sixth of
// the delay of the finer one, which counts in frames of the target.
constexpr double kFineRatio = 24, kMostRatio = 120;
// More frames of either side than any filter holds back.
constexpr uint64_t kMostLag = 2'048;

struct DestroyResampler {
    void operator()(soxr_t resampler) const { soxr_delete(resampler); }
};
using Resampler = std::unique_ptr<std::remove_pointer_t<soxr_t>, DestroyResampler>;

struct Rates {
    double source, target;
};

Resampler MakeResampler(Rates rates, unsigned channels) {
    const bool fine = rates.source <= rates.target * kFineRatio;
    const soxr_quality_spec_t quality = soxr_quality_spec(fine ? SOXR_HQ : SOXR_LQ, 0);
    soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
    io.flags = SOXR_NO_DITHER;  // the same sound becomes the same bytes
    soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    runtime.log2_min_dft_size = runtime.log2_large_dft_size = 8;
    soxr_error_t error = nullptr;
    Resampler resampler(soxr_create(rates.source, rates.target, channels, &error, &io, &quality, &runtime));
    if (error || !resampler) throw std::bad_alloc();
    return resampler;
}

class RateStream final : public LaggingStream {
  public:
    RateStream(Rates rates, FrameLayout source, FrameLayout target)
        : LaggingStream(source.Size()),
          rates_(rates),
          source_(source),
          target_(target),
          middle_{16, std::min(source.channels, target.channels)},
          resampler_(MakeResampler(rates, middle_.channels)) {}

    uint64_t Bound(uint64_t source) override {
        const double frames = static_cast<double>(source / source_.Size() + kMostLag);
        return (static_cast<uint64_t>(frames * rates_.target / rates_.source) + kMostLag) * target_.Size();
    }

  private:
    MMRESULT Feed(std::span<const uint8_t> source, std::vector<uint8_t>& output) override {
        size_t frames = source.size() / source_.Size();
        input_.resize(frames * middle_.Size());
        FindFrameLoop(source_, middle_)(source.data(), input_.data(), frames);
        for (const uint8_t* at = input_.data();;) {
            size_t taken = 0, made = 0;
            if (!Process(at, frames, &taken, &made, output)) return MMSYSERR_ERROR;
            at += taken * middle_.Size();
            frames -= taken;
            if (!frames && made < kRoom) return MMSYSERR_NOERROR;
        }
    }
    MMRESULT Finish(std::vector<uint8_t>& output) override {
        for (size_t made = kRoom; made == kRoom;)
            if (!Process(nullptr, 0, nullptr, &made, output)) return MMSYSERR_ERROR;
        return MMSYSERR_NOERROR;
    }
    void Restart() override {
        if (used_) resampler_ = MakeResampler(rates_, middle_.channels);
        used_ = false;
    }
    bool Process(const uint8_t* input, size_t frames, size_t* taken, size_t* made,
                 std::vector<uint8_t>& output) {
        used_ = true;
        if (soxr_process(resampler_.get(), input, frames, taken, room_, kRoom, made)) return false;
        const size_t before = output.size();
        output.resize(before + *made * target_.Size());
        FindFrameLoop(middle_, target_)(reinterpret_cast<const uint8_t*>(room_), output.data() + before,
                                        *made);
        return true;
    }

    static constexpr size_t kRoom = 4'096;  // frames

    const Rates rates_;
    const FrameLayout source_, target_, middle_;
    Resampler resampler_;
    bool used_ = false;
    std::vector<uint8_t> input_;
    int16_t room_[kRoom * 2];
};

}  // namespace

std::unique_ptr<Stream> OpenRateStream(const FormatView& source, const FormatView& target) {
    const Rates rates{static_cast<double>(source.head.nSamplesPerSec),
                      static_cast<double>(target.head.nSamplesPerSec)};
    const auto [low, high] = std::minmax(rates.source, rates.target);
    if (high > low * kMostRatio) return nullptr;
    return std::make_unique<RateStream>(rates, FrameLayout::Of(source), FrameLayout::Of(target));
}

}  // namespace tolvane::platform
