// Loops over samples, beside a plain read of the same memory: the level of a block of about an eighth of a second, as
// a host measures it while it plays or records, and the change of format of a block.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "convert/sample_loops.h"
#include "files/peaks.h"
#include "playback/mixing_loops.h"
#include "tolvane.h"

namespace {

constexpr size_t kBlock = 21 * 1024;

std::vector<uint8_t> Noise() {
    std::vector<uint8_t> block(kBlock);
    std::mt19937 random(1);
    for (uint8_t& byte : block)
        byte = static_cast<uint8_t>(random() | 1);
    return block;
}

void Level(benchmark::State& state) {
    const std::vector<uint8_t> block = Noise();
    InputFileInfo format = {};
    format.nChannels = static_cast<uint16_t>(state.range(0));
    format.wBitsPerSample = static_cast<uint16_t>(state.range(1));
    uint32_t left = 0, right = 0;
    for (auto _ : state) {
        AudioGetLevelInBuffer(&format, block.data(), kBlock, &left, &right);
        benchmark::DoNotOptimize(left + right);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBlock));
}
BENCHMARK(Level)->ArgNames({"channels", "bits"})->Args({1, 8})->Args({2, 8})->Args({1, 16})->Args({2, 16});

// The loop alone: the export asks the system first whether the block can be read.
void Peaks(benchmark::State& state) {
    const std::vector<uint8_t> block = Noise();
    tolvane::Peaks peaks;
    for (auto _ : state) {
        tolvane::MeasurePeaks(block.data(), kBlock, static_cast<uint16_t>(state.range(0)),
                              static_cast<uint16_t>(state.range(1)), &peaks);
        benchmark::DoNotOptimize(peaks);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBlock));
}
BENCHMARK(Peaks)->ArgNames({"channels", "bits"})->Args({1, 8})->Args({2, 8})->Args({1, 16})->Args({2, 16});

void Sum(benchmark::State& state) {
    const std::vector<uint8_t> block = Noise();
    const auto* words = reinterpret_cast<const uint64_t*>(block.data());
    for (auto _ : state)
        benchmark::DoNotOptimize(std::accumulate(words, words + kBlock / 8, uint64_t{0}));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBlock));
}
BENCHMARK(Sum);

void Copy(benchmark::State& state) {
    const std::vector<uint8_t> block = Noise();
    std::vector<uint8_t> out(kBlock);
    for (auto _ : state) {
        memcpy(out.data(), block.data(), kBlock);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBlock));
}
BENCHMARK(Copy);

void Gain(benchmark::State& state) {
    std::vector<uint8_t> block = Noise();
    const tolvane::FrameLayout layout{static_cast<uint16_t>(state.range(0)),
                                      static_cast<uint16_t>(state.range(1))};
    const float gain = static_cast<float>(state.range(2)) / 100;
    for (auto _ : state) {
        tolvane::GainFrames(block.data(), kBlock / layout.Bytes(), layout, {gain, gain});
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBlock));
}
BENCHMARK(Gain)
    ->ArgNames({"channels", "bits", "percent"})
    ->Args({1, 8, 99})
    ->Args({2, 8, 101})
    ->Args({1, 16, 99})
    ->Args({2, 16, 99})
    ->Args({2, 16, 101});

void Mixing(benchmark::State& state, tolvane::Gains gains, bool average) {
    std::vector<uint8_t> block = Noise(), mixed = Noise();
    const tolvane::Mix mix{{2, 16}, gains, gains, average};
    for (auto _ : state) {
        benchmark::DoNotOptimize(tolvane::MixFrames(block.data(), mixed.data(), kBlock / 4, mix));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBlock));
}
BENCHMARK_CAPTURE(Mixing, Added, {1, 1}, false);
BENCHMARK_CAPTURE(Mixing, Averaged, {1, 1}, true);
BENCHMARK_CAPTURE(Mixing, AddedWithGain, {0.7F, 0.7F}, false);

void Change(benchmark::State& state, tolvane::BlockLoop loop, size_t unit, uint32_t factor) {
    const std::vector<uint8_t> block = Noise();
    std::vector<uint8_t> out(kBlock * factor * 2);
    for (auto _ : state) {
        benchmark::DoNotOptimize(loop(block.data(), kBlock / unit, factor, out.data()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBlock));
}
BENCHMARK_CAPTURE(Change, RateHalved, tolvane::KeepLoop(4), 4, 2);
BENCHMARK_CAPTURE(Change, RateByThree, tolvane::KeepLoop(4), 4, 3);
BENCHMARK_CAPTURE(Change, RateDoubled, tolvane::RepeatLoop(4), 4, 2);
BENCHMARK_CAPTURE(Change, ToStereo, tolvane::RepeatLoop(2), 2, 2);
BENCHMARK_CAPTURE(Change, ToMono16, tolvane::AverageLoop(2), 4, 2);
BENCHMARK_CAPTURE(Change, ToMono8, tolvane::AverageLoop(1), 2, 2);
BENCHMARK_CAPTURE(Change, To8Bits, tolvane::NarrowSamples, 2, 1);
BENCHMARK_CAPTURE(Change, To16Bits, tolvane::WidenSamples, 1, 1);

}  // namespace
