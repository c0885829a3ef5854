#include "convert/sample_loops.h"

namespace tolvane {

namespace {

constexpr int kSilence8 = 128;

// With a factor known when it is compiled, or 0 for one that is not.
template <class Unit, uint32_t kFactor>
void Repeat(const Unit* __restrict in, size_t count, uint32_t factor, Unit* __restrict out) {
    const size_t times = kFactor ? kFactor : factor;
    for (size_t i = 0; i < count; ++i)
        for (size_t j = 0; j < times; ++j)
            out[i * times + j] = in[i];
}

template <class Unit>
size_t RepeatUnits(const void* in, size_t count, uint32_t factor, void* out) {
    const auto repeat = factor == 2 ? Repeat<Unit, 2> : Repeat<Unit, 0>;
    repeat(static_cast<const Unit*>(in), count, factor, static_cast<Unit*>(out));
    return count * factor * sizeof(Unit);
}

template <class Unit, uint32_t kFactor>
void Keep(const Unit* __restrict in, size_t kept, uint32_t factor, Unit* __restrict out) {
    const size_t step = kFactor ? kFactor : factor;
    for (size_t i = 0; i < kept; ++i)
        out[i] = in[i * step];
}

template <class Unit>
size_t KeepUnits(const void* in, size_t count, uint32_t factor, void* out) {
    const size_t kept = (count + factor - 1) / factor;
    const auto keep = factor == 2 ? Keep<Unit, 2> : Keep<Unit, 0>;
    keep(static_cast<const Unit*>(in), kept, factor, static_cast<Unit*>(out));
    return kept * sizeof(Unit);
}

size_t Average8(const void* in, size_t count, uint32_t, void* out) {
    const auto* __restrict from = static_cast<const uint8_t*>(in);
    auto* __restrict to = static_cast<uint8_t*>(out);
    for (size_t i = 0; i < count; ++i) {
        const int sum = (from[2 * i] - kSilence8) + (from[2 * i + 1] - kSilence8);
        to[i] = static_cast<uint8_t>(sum / 2 + kSilence8);
    }
    return count;
}

// Each frame is read as one number, with the left sample in its low half: vectors of 32 bits need no sorting.
size_t Average16(const void* in, size_t count, uint32_t, void* out) {
    const auto* __restrict from = static_cast<const uint32_t*>(in);
    auto* __restrict to = static_cast<int16_t*>(out);
    for (size_t i = 0; i < count; ++i) {
        const int left = static_cast<int32_t>(from[i] << 16) >> 16;
        const int right = static_cast<int32_t>(from[i]) >> 16;
        to[i] = static_cast<int16_t>((left + right) / 2);
    }
    return count * sizeof *to;
}

}  // namespace

BlockLoop RepeatLoop(uint32_t unit_size) {
    return unit_size == 1   ? RepeatUnits<uint8_t>
           : unit_size == 2 ? RepeatUnits<uint16_t>
                            : RepeatUnits<uint32_t>;
}

BlockLoop KeepLoop(uint32_t unit_size) {
    return unit_size == 1 ? KeepUnits<uint8_t> : unit_size == 2 ? KeepUnits<uint16_t> : KeepUnits<uint32_t>;
}

BlockLoop AverageLoop(uint32_t sample_size) {
    return sample_size == 1 ? Average8 : Average16;
}

size_t WidenSamples(const void* in, size_t count, uint32_t, void* out) {
    const auto* __restrict from = static_cast<const uint8_t*>(in);
    auto* __restrict to = static_cast<int16_t*>(out);
    for (size_t i = 0; i < count; ++i)
        to[i] = static_cast<int16_t>((from[i] - kSilence8) * 256);
    return count * sizeof *to;
}

size_t NarrowSamples(const void* in, size_t count, uint32_t, void* out) {
    const auto* __restrict from = static_cast<const int16_t*>(in);
    auto* __restrict to = static_cast<uint8_t*>(out);
    for (size_t i = 0; i < count; ++i)
        to[i] = static_cast<uint8_t>(from[i] / 256 + kSilence8);
    return count;
}

}  // namespace tolvane
