// The outline of a sound. Long files are read at the speed of memory: in large pieces, whose samples are compared
// many at a time.
#include "waveform.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

#include "wave_data.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kPiece = 1 << 20;

// Takes runs of frames and keeps the lowest and highest sample of each channel. Samples are compared in rows of
// kLanes, beside each other; after `period` rows the channels stand in the same lanes again.
template <class Sample>
class RowExtremes {
  public:
    explicit RowExtremes(uint16_t channels)
        : channels_(channels), rows_(channels / std::gcd(uint32_t{channels}, kLanes)) {}

    // Adds to what `peaks` holds, one for each channel.
    void Add(const uint8_t* data, size_t frames, Peaks* peaks) {
        const auto* samples = reinterpret_cast<const Sample*>(data);
        const size_t count = frames * channels_, in_rows = count - count % (kLanes * rows_.size());
        std::ranges::fill(rows_, Row());
        for (size_t at = 0, row = 0; at < in_rows; at += kLanes, row = row + 1 == rows_.size() ? 0 : row + 1)
            rows_[row].Add(samples + at);
        if (in_rows > 0) Fold(peaks);
        for (size_t at = in_rows; at < count; ++at)
            Widen(peaks[at % channels_], samples[at], samples[at]);
    }

  private:
    static constexpr uint32_t kLanes = 64 / sizeof(Sample);

    struct Row {
        std::array<Sample, kLanes> low, high;
        Row() {
            low.fill(std::numeric_limits<Sample>::max());
            high.fill(std::numeric_limits<Sample>::min());
        }
        // Values of its own, so that the compiler sees that nothing else changes them.
        void Add(const Sample* samples) {
            std::array<Sample, kLanes> lowest = low, highest = high;
            for (uint32_t lane = 0; lane < kLanes; ++lane) {
                const Sample sample = samples[lane];
                lowest[lane] = sample < lowest[lane] ? sample : lowest[lane];
                highest[lane] = sample > highest[lane] ? sample : highest[lane];
            }
            low = lowest;
            high = highest;
        }
    };

    static int16_t Wide(Sample sample) {
        if constexpr (sizeof(Sample) == 1) return static_cast<int16_t>(sample * 257 + INT16_MIN);
        return static_cast<int16_t>(sample);
    }
    static void Widen(Peaks& peaks, Sample low, Sample high) {
        peaks.low = std::min(peaks.low, Wide(low));
        peaks.high = std::max(peaks.high, Wide(high));
    }
    void Fold(Peaks* peaks) const {
        for (size_t at = 0; at < rows_.size() * kLanes; ++at)
            Widen(peaks[at % channels_], rows_[at / kLanes].low[at % kLanes],
                  rows_[at / kLanes].high[at % kLanes]);
    }

    const size_t channels_;
    std::vector<Row> rows_;
};

// Wider samples count by their upper 16 bits.
class WideExtremes {
  public:
    WideExtremes(uint16_t channels, uint32_t width) : channels_(channels), width_(width) {}
    void Add(const uint8_t* data, size_t frames, Peaks* peaks) const {
        for (size_t sample = 0; sample < frames * channels_; ++sample) {
            const uint8_t* top = data + (sample + 1) * width_ - 2;
            const auto value = static_cast<int16_t>(top[0] | top[1] << 8);
            Peaks& channel = peaks[sample % channels_];
            channel = {std::min(channel.low, value), std::max(channel.high, value)};
        }
    }

  private:
    const size_t channels_, width_;
};

// Where a column ends, in frames.
size_t EndOf(uint32_t column, size_t frames, uint32_t columns) {
    return static_cast<size_t>(uint64_t{frames} * (column + 1) / columns);
}

// Hands the frames of `file` to the columns they belong to; each column has at least one. False when they end early.
template <class Extremes>
bool ReadColumns(HMMIO file, Extremes extremes, size_t frames, size_t frame_size, Waveform& waveform) {
    const std::vector<uint8_t>::size_type piece = std::max<size_t>(kPiece / frame_size, 1);
    std::vector<uint8_t> buffer(piece * frame_size);
    size_t done = 0;
    for (uint32_t column = 0; done < frames;) {
        const size_t wanted = std::min(piece, frames - done);
        const auto bytes = static_cast<LONG>(wanted * frame_size);
        if (mmioRead(file, reinterpret_cast<HPSTR>(buffer.data()), bytes) != bytes) return false;
        for (size_t at = 0; at < wanted;) {
            const size_t left = EndOf(column, frames, waveform.columns) - (done + at);
            const size_t run = std::min(wanted - at, left);
            extremes.Add(buffer.data() + at * frame_size, run,
                         &waveform.peaks[size_t{column} * waveform.channels]);
            at += run;
            column += run == left;
        }
        done += wanted;
    }
    return true;
}

bool ReadColumnsOf(const SoundFormat& sound, HMMIO file, size_t frames, Waveform& waveform) {
    const size_t frame_size = sound.format.nBlockAlign;
    const auto width = static_cast<uint32_t>(frame_size / waveform.channels);
    if (width == 1)
        return ReadColumns(file, RowExtremes<uint8_t>(waveform.channels), frames, frame_size, waveform);
    if (width == 2)
        return ReadColumns(file, RowExtremes<int16_t>(waveform.channels), frames, frame_size, waveform);
    return ReadColumns(file, WideExtremes(waveform.channels, width), frames, frame_size, waveform);
}

// A short sound fills several columns with each frame.
void Stretch(Waveform& waveform, uint32_t columns) {
    Waveform wide{columns, waveform.channels, {}};
    for (uint32_t column = 0; column < columns; ++column)
        for (uint16_t channel = 0; channel < waveform.channels; ++channel)
            wide.peaks.push_back(
                waveform.At(static_cast<uint32_t>(uint64_t{column} * waveform.columns / columns), channel));
    waveform = std::move(wide);
}

bool HasWholeSamples(const InputFileInfo& format) {
    return format.nChannels > 0 && format.nBlockAlign > 0 && format.nBlockAlign % format.nChannels == 0;
}

}  // namespace

uint16_t ReadWaveform(const std::string& path, const SoundFormat& sound, ByteSpan span, uint32_t columns,
                      Waveform& waveform) {
    if (!sound.IsPcm()) return TOLVANE_EDIT_NOT_PCM;
    if (!HasWholeSamples(sound.format)) return TOLVANE_NO_FORMAT;
    MMCKINFO data = {};
    const MmioFile file = OpenSound(path, data);
    if (!file) return TOLVANE_CANNOT_OPEN;
    const size_t frame = sound.format.nBlockAlign, first = span.begin / frame;
    const size_t last = std::min(span.end, sound.Bytes()) / frame;
    if (last <= first) return TOLVANE_EMPTY_DATA;
    const size_t frames = last - first;
    const auto start = static_cast<LONG>(data.dwDataOffset + first * frame);
    if (mmioSeek(file.get(), start, SEEK_SET) != start) return TOLVANE_CANNOT_SEEK;

    const auto distinct = static_cast<uint32_t>(std::min<size_t>(columns, frames));
    constexpr Peaks kNothingYet{std::numeric_limits<int16_t>::max(), std::numeric_limits<int16_t>::min()};
    waveform = {distinct, sound.format.nChannels, {}};
    waveform.peaks.assign(size_t{distinct} * waveform.channels, kNothingYet);
    if (!ReadColumnsOf(sound, file.get(), frames, waveform)) return TOLVANE_CANNOT_SEEK;
    if (distinct < columns) Stretch(waveform, columns);
    return TOLVANE_OK;
}

}  // namespace tolvane::host
