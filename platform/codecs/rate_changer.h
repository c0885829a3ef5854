// 16-bit frames at another sample rate, made into frames of a layout on their way out.
#ifndef TOLVANE_PLATFORM_CODECS_RATE_CHANGER_H
#define TOLVANE_PLATFORM_CODECS_RATE_CHANGER_H

#include "platform/codecs/frames.h"

#include <memory>
#include <span>
#include <vector>

namespace tolvane::platform {

struct Rates {
    double source, target;
};

class RateChanger {
  public:
    virtual ~RateChanger() = default;

    // Both append what is ready; false when that failed.
    virtual bool Change(std::span<const uint8_t> frames, std::vector<uint8_t>& output) = 0;
    virtual bool Finish(std::vector<uint8_t>& output) = 0;
    // A new sound begins.
    virtual void Restart() = 0;
};

// Throws where memory runs short. `channels` are those of what comes in.
using RateChangerMaker = std::unique_ptr<RateChanger>(Rates rates, WORD channels, FrameLayout target);

}  // namespace tolvane::platform
#endif
