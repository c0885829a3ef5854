// PCM at another sample rate, with other bits and channels on the way.
#include "platform/codecs/rate_stream.h"

#include "platform/codecs/lagging_stream.h"
#include "platform/codecs/modules.h"

namespace tolvane::platform {
namespace {

constexpr double kMostRatio = 120;
// More frames of either side than any filter holds back.
constexpr uint64_t kMostLag = 2'048;

class RateStream final : public LaggingStream {
  public:
    // `changer` takes frames of `middle`.
    RateStream(Rates rates, FrameLayout source, FrameLayout middle, FrameLayout target,
               std::unique_ptr<RateChanger> changer)
        : LaggingStream(source.Size()),
          rates_(rates),
          source_(source),
          middle_(middle),
          target_(target),
          changer_(std::move(changer)) {}

    uint64_t Bound(uint64_t source) override {
        const double frames = static_cast<double>(source / source_.Size() + kMostLag);
        return (static_cast<uint64_t>(frames * rates_.target / rates_.source) + kMostLag) * target_.Size();
    }

  private:
    MMRESULT Feed(std::span<const uint8_t> source, std::vector<uint8_t>& output) override {
        const size_t frames = source.size() / source_.Size();
        input_.resize(frames * middle_.Size());
        FindFrameLoop(source_, middle_)(source.data(), input_.data(), frames);
        return changer_->Change(input_, output) ? MMSYSERR_NOERROR : MMSYSERR_ERROR;
    }
    MMRESULT Finish(std::vector<uint8_t>& output) override {
        return changer_->Finish(output) ? MMSYSERR_NOERROR : MMSYSERR_ERROR;
    }
    void Restart() override { changer_->Restart(); }

    const Rates rates_;
    const FrameLayout source_, middle_, target_;
    const std::unique_ptr<RateChanger> changer_;
    std::vector<uint8_t> input_;
};

}  // namespace

std::unique_ptr<Stream> OpenRateStream(const FormatView& source, const FormatView& target) {
    const Rates rates{static_cast<double>(source.head.nSamplesPerSec),
                      static_cast<double>(target.head.nSamplesPerSec)};
    const auto [low, high] = std::minmax(rates.source, rates.target);
    if (high > low * kMostRatio) return nullptr;
    const auto from = FrameLayout::Of(source), to = FrameLayout::Of(target);
    const FrameLayout middle{16, std::min(from.channels, to.channels)};
    auto changer = MakeRateChanger(rates, middle.channels, to);
    if (!changer) return nullptr;
    return std::make_unique<RateStream>(rates, from, middle, to, std::move(changer));
}

}  // namespace tolvane::platform
