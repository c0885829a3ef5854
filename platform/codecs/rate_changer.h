// 16-bit frames at another sample rate, made into frames of a layout on their way out.
#ifndef TOLVANE_PLATFORM_CODECS_RATE_CHANGER_H
#define TOLVANE_PLATFORM_CODECS_RATE_CHANGER_H

#include "platform/codecs/frames.h"

#include <memory>
#include <span>
#include <vector>

struct soxr;

namespace tolvane::platform {

struct Rates {
    double source, target;
};

class RateChanger {
  public:
    // Throws where memory runs short. `channels` are those of what comes in.
    RateChanger(Rates rates, WORD channels, FrameLayout target);

    // Both append what is ready; false when that failed.
    bool Change(std::span<const uint8_t> frames, std::vector<uint8_t>& output);
    bool Finish(std::vector<uint8_t>& output);
    // A new sound begins.
    void Restart();

  private:
    struct Destroy {
        void operator()(soxr* resampler) const;
    };
    using Resampler = std::unique_ptr<soxr, Destroy>;

    static Resampler Make(Rates rates, unsigned channels);
    bool Process(const uint8_t* input, size_t frames, size_t* taken, size_t* made,
                 std::vector<uint8_t>& output);

    static constexpr size_t kRoom = 4'096;  // frames

    const Rates rates_;
    const FrameLayout middle_, target_;
    Resampler resampler_;
    bool used_ = false;
    int16_t room_[kRoom * 2];
};

}  // namespace tolvane::platform
#endif
