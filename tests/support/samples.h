// Samples of 8 and of 16 bits in a block of bytes, as numbers around 0.
#pragma once

#include <cstdint>

#include "support/wave_files.h"

namespace tolvane::test {

inline int SampleAt(const Bytes& block, size_t i, int bits) {
    return bits == 8 ? block[i] - 128 : static_cast<int16_t>(block[2 * i] | block[2 * i + 1] << 8);
}
inline void PutSample(Bytes& block, size_t i, int bits, int64_t value) {
    if (bits == 8) return static_cast<void>(block[i] = static_cast<uint8_t>(value + 128));
    block[2 * i] = static_cast<uint8_t>(value);
    block[2 * i + 1] = static_cast<uint8_t>(value >> 8);
}
template <class Value>
Bytes Block(int bits, size_t count, Value value) {
    Bytes block(count * static_cast<size_t>(bits) / 8);
    for (size_t i = 0; i < count; ++i)
        PutSample(block, i, bits, value(static_cast<int>(i)));
    return block;
}

inline int64_t Limited(int64_t value, int bits) {
    const int64_t most = (int64_t{1} << (bits - 1)) - 1;
    return value > most ? most : value < -most - 1 ? -most - 1 : value;
}

}  // namespace tolvane::test
