// Frames of PCM: between 8 and 16 bits, and between one and two channels.
#include "platform/codecs/frames.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tolvane::platform {
namespace {

// Samples count in 16 bits.
template <int bits>
int Load(const uint8_t* at) {
    if constexpr (bits == 8) return (*at - 128) * 256;
    int16_t sample;
    std::memcpy(&sample, at, sizeof sample);
    return sample;
}

template <int bits>
void Store(int sample, uint8_t* at) {
    if constexpr (bits == 8) {
        *at = static_cast<uint8_t>(std::min((sample + 128) >> 8, 127) + 128);
    } else {
        const auto value = static_cast<int16_t>(sample);
        std::memcpy(at, &value, sizeof value);
    }
}

template <int source_bits, int source_channels, int target_bits, int target_channels>
void ConvertFrames(const uint8_t* __restrict source, uint8_t* __restrict target, size_t frames) {
    constexpr size_t kFrom = source_bits / 8, kTo = target_bits / 8;
    if constexpr (source_channels == target_channels) {
        for (size_t i = 0; i < frames * source_channels; ++i)
            Store<target_bits>(Load<source_bits>(source + i * kFrom), target + i * kTo);
    } else if constexpr (source_channels == 1) {
        for (size_t i = 0; i < frames; ++i) {
            const int sample = Load<source_bits>(source + i * kFrom);
            Store<target_bits>(sample, target + i * 2 * kTo);
            Store<target_bits>(sample, target + (i * 2 + 1) * kTo);
        }
    } else {
        for (size_t i = 0; i < frames; ++i) {
            const int sum =
                Load<source_bits>(source + i * 2 * kFrom) + Load<source_bits>(source + (i * 2 + 1) * kFrom);
            Store<target_bits>(sum >> 1, target + i * kTo);
        }
    }
}

// The bits of an index say which sides have 16 bits and two channels.
template <size_t... index>
constexpr std::array<FrameLoop*, sizeof...(index)> MakeLoops(std::index_sequence<index...>) {
    return {ConvertFrames < index & 1 ? 16 : 8, index & 2 ? 2 : 1, index & 4 ? 16 : 8,
            index & 8 ? 2 : 1 > ...};
}

constexpr auto kLoops = MakeLoops(std::make_index_sequence<16>());

constexpr size_t IndexOf(FrameLayout layout) {
    return (layout.bits == 16 ? 1u : 0u) + (layout.channels == 2 ? 2u : 0u);
}

}  // namespace

FrameLoop* FindFrameLoop(FrameLayout source, FrameLayout target) {
    return kLoops[IndexOf(source) + 4 * IndexOf(target)];
}

}  // namespace tolvane::platform
