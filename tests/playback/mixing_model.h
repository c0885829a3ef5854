// The plain rule of software volume and mixing, sample by sample, for the models of the tests.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "support/samples.h"

namespace tolvane::test {

// Truncated toward zero. A double holds the product of a sample and a gain exactly.
inline int64_t Product(int sample, float gain) {
    const double product = sample == 0 || std::isnan(gain) ? 0 : double{gain} * sample;
    return static_cast<int64_t>(std::clamp(product, -1e12, 1e12));
}
// Gains of the first two channels; others stay as they are.
struct MixRule {
    size_t channels;
    int bits;
    float main[2] = {1, 1}, mixed[2] = {1, 1};
    bool average = false;
};

inline Bytes Gained(Bytes block, const MixRule& rule) {
    for (size_t i = 0; (i + 1) * static_cast<size_t>(rule.bits) / 8 <= block.size(); ++i) {
        const size_t channel = i % rule.channels;
        if (channel > 1) continue;
        const int64_t product = Product(SampleAt(block, i, rule.bits), rule.main[channel]);
        PutSample(block, i, rule.bits, Limited(product, rule.bits));
    }
    return block;
}

// As far as both blocks go.
struct Mixed {
    Bytes block, mixed;
    bool limited = false;

    Mixed(const Bytes& own, const Bytes& other, const MixRule& rule) : block(own), mixed(other) {
        const size_t count = std::min(own.size(), other.size()) * 8 / static_cast<size_t>(rule.bits);
        for (size_t i = 0; i < count; ++i) {
            const size_t channel = i % rule.channels;
            if (channel > 1) continue;
            const auto gained = [&](const Bytes& bytes, float gain) {
                const int64_t value = Product(SampleAt(bytes, i, rule.bits), gain);
                return rule.bits == 8 ? value : Limited(value, 16);
            };
            const int64_t a = gained(own, rule.main[channel]), b = gained(other, rule.mixed[channel]);
            const int64_t sum = rule.average ? a / 2 + b / 2 : a + b;
            PutSample(block, i, rule.bits, Limited(sum, rule.bits));
            if (rule.bits == 16) PutSample(mixed, i, rule.bits, b);
            limited |= !rule.average && Limited(sum, rule.bits) != sum;
        }
    }
};

}  // namespace tolvane::test
