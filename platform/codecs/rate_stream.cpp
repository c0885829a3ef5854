// PCM at another sample rate, with other bits and channels on the way.
#include "platform/codecs/rate_stream.h"

#include "platform/codecs/lagging_stream.h"
#include "platform/codecs/rate_changer.h"

namespace tolvane::platform {
namespace {

constexpr double kMostRatio = 120;
// More frames of either side than any filter holds back.
constexpr uint64_t kMostLag = 2'048;

class RateStream final : public LaggingStream {
  public:
    RateStream(Rates rates, FrameLayout source, FrameLayout target)
        : LaggingStream(source.Size()),
          rates_(rates),
          source_(source),
          target_(target),
          middle_{16, std::min(source.channels, target.channels)},
          changer_(rates, middle_.channels, target) {}

    uint64_t Bound(uint64_t source) override {
        const double frames = static_cast<double>(source / source_.Size() + kMostLag);
        return (static_cast<uint64_t>(frames * rates_.target / rates_.source) + kMostLag) * target_.Size();
    }

  private:
    MMRESULT Feed(std::span<const uint8_t> source, std::vector<uint8_t>& output) override {
        const size_t frames = source.size() / source_.Size();
        input_.resize(frames * middle_.Size());
        FindFrameLoop(source_, middle_)(source.data(), input_.data(), frames);
        return changer_.Change(input_, output) ? MMSYSERR_NOERROR : MMSYSERR_ERROR;
    }
    MMRESULT Finish(std::vector<uint8_t>& output) override {
        return changer_.Finish(output) ? MMSYSERR_NOERROR : MMSYSERR_ERROR;
    }
    void Restart() override { changer_.Restart(); }

    const Rates rates_;
    const FrameLayout source_, target_, middle_;
    RateChanger changer_;
    std::vector<uint8_t> input_;
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
