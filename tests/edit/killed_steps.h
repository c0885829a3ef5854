// What a program that is killed does, step by step: one seed gives one sequence, the program does it to files and the test
// to a model.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>

#include "support/wave_files.h"

namespace tolvane::test {

struct EditStep {
    enum class Kind { kCut, kCutInFile, kCopy, kPaste, kClear, kCrop, kMute, kTrim, kSilence, kUndo, kRedo };

    Kind kind;
    uint32_t low, high;  // frames
    uint32_t amount;     // channels, level or milliseconds
    bool elsewhere;      // the result goes to a file of its own
    bool undo_on;
};

class EditSteps {
  public:
    explicit EditSteps(uint32_t seed) : random_(seed) {}

    Format FileFormat() {
        return {8000, static_cast<uint16_t>(1 + Any(2)), static_cast<uint16_t>(Any(2) ? 16 : 8)};
    }
    // From some bytes to some megabytes.
    uint32_t FirstFrames() { return 200 + Any(1u << (7 + Any(14))); }

    EditStep Next(uint32_t frames) {
        using Kind = EditStep::Kind;
        constexpr uint32_t kShort = 100, kLong = 3'000'000;
        EditStep step = {static_cast<Kind>(Any(11)), Any(frames), 0, Any(10001), Any(6) == 0, Any(5) != 0};
        step.high = step.low + 1 + Any(std::max(frames / 3, 1u));
        if (frames < kShort) step.kind = Kind::kSilence;
        if (frames > kLong) step.kind = Kind::kCrop;
        if (step.kind == Kind::kCrop) step.low /= 8;
        if (step.kind == Kind::kCrop && Any(2)) step.high = frames;
        step.high = std::min(step.high, std::max(frames, step.low + 1));
        return step;
    }

  private:
    uint32_t Any(uint32_t below) { return below ? static_cast<uint32_t>(random_() % below) : 0; }

    std::mt19937 random_;
};

}  // namespace tolvane::test
