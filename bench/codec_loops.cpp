// Codecs that are the layer's own: whole streams in pieces as the library hands them over, beside a plain copy of the
// same sound. Bytes a second are those of the 16-bit side.
#include <msacm.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr DWORD kPiece = 65'536;

// A chord with some noise on it: silence or a pure tone would use few of the steps.
std::vector<uint8_t> Sound() {
    std::vector<int16_t> samples(kPiece / 2);
    std::mt19937 random(1);
    std::normal_distribution<> noise(0, 600);
    for (size_t i = 0; i < samples.size(); ++i) {
        const auto t = static_cast<double>(i / 2);
        const double value = 8'000 * std::sin(t * 0.063) + 5'000 * std::sin(t * 0.31) + noise(random);
        samples[i] = static_cast<int16_t>(value);
    }
    std::vector<uint8_t> bytes(kPiece);
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

struct Conversion {
    HACMSTREAM stream = nullptr;
    ACMSTREAMHEADER header{};
    std::vector<uint8_t> source, target;

    Conversion(WAVEFORMATEX* from, WAVEFORMATEX* to, std::vector<uint8_t> sound) : source(std::move(sound)) {
        DWORD room = 0;
        acmStreamOpen(&stream, nullptr, from, to, nullptr, 0, 0, ACM_STREAMOPENF_NONREALTIME);
        acmStreamSize(stream, static_cast<DWORD>(source.size()), &room, ACM_STREAMSIZEF_SOURCE);
        target.resize(room);
        header.cbStruct = sizeof header;
        header.pbSrc = source.data();
        header.cbSrcLength = static_cast<DWORD>(source.size());
        header.pbDst = target.data();
        header.cbDstLength = room;
        acmStreamPrepareHeader(stream, &header, 0);
    }
    ~Conversion() {
        acmStreamUnprepareHeader(stream, &header, 0);
        acmStreamClose(stream, 0);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool Run() { return acmStreamConvert(stream, &header, ACM_STREAMCONVERTF_BLOCKALIGN) == 0; }
};

void Codec(benchmark::State& state, WORD tag, bool forth) {
    WAVEFORMATEX pcm{WAVE_FORMAT_PCM, 2, 44'100, 176'400, 4, 16, 0};
    std::vector<uint8_t> record(256);
    auto* packed = reinterpret_cast<WAVEFORMATEX*>(record.data());
    packed->wFormatTag = tag;
    acmFormatSuggest(nullptr, &pcm, packed, static_cast<DWORD>(record.size()), ACM_FORMATSUGGESTF_WFORMATTAG);
    Conversion there(&pcm, packed, Sound());
    if (!there.Run()) return state.SkipWithError("not converted");
    std::vector<uint8_t> result(there.target.begin(), there.target.begin() + there.header.cbDstLengthUsed);
    const std::vector<uint8_t> blocks = result;
    while (result.size() < kPiece / 2)
        result.insert(result.end(), blocks.begin(), blocks.end());
    Conversion back(packed, &pcm, result);
    Conversion& measured = forth ? there : back;
    int64_t bytes = 0;
    for (auto _ : state) {
        if (!measured.Run()) return state.SkipWithError("not converted");
        bytes += forth ? measured.header.cbSrcLengthUsed : measured.header.cbDstLengthUsed;
    }
    state.SetBytesProcessed(bytes);
}
BENCHMARK_CAPTURE(Codec, to_ima, WAVE_FORMAT_IMA_ADPCM, true);
BENCHMARK_CAPTURE(Codec, from_ima, WAVE_FORMAT_IMA_ADPCM, false);
BENCHMARK_CAPTURE(Codec, to_ms_adpcm, WAVE_FORMAT_ADPCM, true);
BENCHMARK_CAPTURE(Codec, from_ms_adpcm, WAVE_FORMAT_ADPCM, false);
BENCHMARK_CAPTURE(Codec, to_mu_law, WAVE_FORMAT_MULAW, true);
BENCHMARK_CAPTURE(Codec, from_mu_law, WAVE_FORMAT_MULAW, false);
BENCHMARK_CAPTURE(Codec, to_a_law, WAVE_FORMAT_ALAW, true);
BENCHMARK_CAPTURE(Codec, from_a_law, WAVE_FORMAT_ALAW, false);

void Copy(benchmark::State& state) {
    const std::vector<uint8_t> from = Sound();
    std::vector<uint8_t> to(kPiece);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), kPiece);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPiece));
}
BENCHMARK(Copy);

}  // namespace
