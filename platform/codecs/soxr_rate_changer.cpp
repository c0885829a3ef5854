// The module "rate-changer", on libsoxr.
#include "platform/codecs/rate_changer.h"
#include "platform/kernel/late_module.h"

#include <soxr.h>

#include <new>

namespace tolvane::platform {
namespace {

// Callers offer 64 KiB, at worst 16,384 frames, and output has to come of that: the coarser filter has a sixth of
// the delay of the finer one, which counts in frames of the target.
constexpr double kFineRatio = 24;

struct Destroy {
    void operator()(soxr* resampler) const { soxr_delete(resampler); }
};
using Resampler = std::unique_ptr<soxr, Destroy>;

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

class SoxrRateChanger final : public RateChanger {
  public:
    SoxrRateChanger(Rates rates, WORD channels, FrameLayout target)
        : rates_(rates), middle_{16, channels}, target_(target), resampler_(MakeResampler(rates, channels)) {}

    bool Change(std::span<const uint8_t> input, std::vector<uint8_t>& output) override {
        const uint8_t* at = input.data();
        for (size_t frames = input.size() / middle_.Size();;) {
            size_t taken = 0, made = 0;
            if (!Process(at, frames, &taken, &made, output)) return false;
            at += taken * middle_.Size();
            frames -= taken;
            if (!frames && made < kRoom) return true;
        }
    }
    bool Finish(std::vector<uint8_t>& output) override {
        for (size_t made = kRoom; made == kRoom;)
            if (!Process(nullptr, 0, nullptr, &made, output)) return false;
        return true;
    }
    void Restart() override {
        if (used_) resampler_ = MakeResampler(rates_, middle_.channels);
        used_ = false;
    }

  private:
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
    const FrameLayout middle_, target_;
    Resampler resampler_;
    bool used_ = false;
    int16_t room_[kRoom * 2];
};

std::unique_ptr<RateChanger> Make(Rates rates, WORD channels, FrameLayout target) {
    return std::make_unique<SoxrRateChanger>(rates, channels, target);
}

}  // namespace
}  // namespace tolvane::platform

TOLVANE_MODULE_OFFERS(tolvane::platform::RateChangerMaker, tolvane::platform::Make)
