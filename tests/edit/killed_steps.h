// What a program that is killed does, step by step: one seed gives one sequence, the program does it to files and the test
// to a model.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>

#include "edit/edit_steps.h"

namespace tolvane::test {

class EditSteps {
  public:
    explicit EditSteps(uint32_t seed) : random_(seed) {}

    Format FileFormat() {
        return {8000, static_cast<uint16_t>(1 + Any(2)), static_cast<uint16_t>(Any(2) ? 16 : 8)};
    }
    // From some bytes to some megabytes.
    uint32_t FirstFrames() { return 200 + Any(1u << (7 + Any(14))); }

    // In frames of a file that has so many.
    EditStep Next(uint32_t frames) {
        using Kind = EditStep::Kind;
        constexpr uint32_t kShort = 100, kLong = 3'000'000;
        EditStep step;
        step.kind = static_cast<Kind>(Any(10));
        step.low = Any(frames);
        step.high = step.low + 1 + Any(std::max(frames / 3, 1u));
        step.amount = Any(10001);
        step.elsewhere = Any(6) == 0;
        step.undo_on = Any(5) != 0;
        if (frames < kShort) step.kind = Kind::kSilence;
        if (frames > kLong) step.kind = Kind::kCrop;
        if (step.kind == Kind::kCrop) step.low /= 8;
        if (step.kind == Kind::kCrop && Any(2)) step.high = frames;
        step.high = std::min(step.high, std::max(frames, step.low + 1));
        return step;
    }
    // Of a cut, whether it goes into the file of what is taken.
    static bool TakesIntoFile(const EditStep& step) {
        return step.kind != EditStep::Kind::kCut || step.amount % 2;
    }

  private:
    uint32_t Any(uint32_t below) { return below ? static_cast<uint32_t>(random_() % below) : 0; }

    std::mt19937 random_;
};

}  // namespace tolvane::test
