// Wave files taken apart, sounds made up, and how like one another two sounds are.
#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <string>

#include "convert/made_up_codec.h"
#include "support/wave_files.h"

namespace tolvane::test {

struct Wave {
    Bytes record, data;

    Format Shape() const { return record.size() < 16 ? Format{} : ReadFormat(record.data()); }
    uint16_t Block() const { return static_cast<uint16_t>(Number(record, 12, 2)); }
    size_t Frames() const { return data.size() / std::max<size_t>(Block(), 1); }  // of PCM
};

inline Wave TakeApart(const Bytes& file) {
    Wave wave;
    for (size_t at = 12; at + 8 <= file.size();) {
        const size_t size = Number(file, at + 4, 4);
        const std::string id(file.begin() + static_cast<ptrdiff_t>(at),
                             file.begin() + static_cast<ptrdiff_t>(at + 4));
        if (id == "fmt ") wave.record = Part(file, at + 8, at + 8 + size);
        if (id == "data") wave.data = Part(file, at + 8, at + 8 + size);
        at += 8 + size + size % 2;
    }
    return wave;
}

// The samples of all channels in turn, at the scale of 16 bits.
using Sound = std::vector<double>;

inline Sound SoundOf(const Bytes& data, uint16_t bits) {
    Sound sound(data.size() * 8 / bits);
    for (size_t i = 0; i < sound.size(); ++i)
        sound[i] = bits == 8 ? (data[i] - 128) * 256.0 : static_cast<int16_t>(Number(data, 2 * i, 2));
    return sound;
}
inline Sound SoundOf(const Wave& pcm) {
    return SoundOf(pcm.data, pcm.Shape().bits);
}

// `value(time, channel)` is between -1 and 1.
template <typename Value>
Bytes MakePcm(const Format& format, size_t frames, Value value) {
    Bytes data;
    for (size_t i = 0; i < frames * format.channels; ++i) {
        const double time = static_cast<double>(i / format.channels) / format.rate;
        const double top = format.bits == 8 ? 127 : 32767;
        const auto sample = static_cast<int>(std::lround(value(time, i % format.channels) * top));
        data = std::move(data) +
               Little(static_cast<uint32_t>(format.bits == 8 ? sample + 128 : sample), format.bits / 8);
    }
    return data;
}

inline double Sine(double hertz, double time) {
    return std::sin(2 * std::numbers::pi * hertz * time);
}

// Tones with a little noise; each channel has its own.
inline Bytes Music(const Format& format, size_t frames) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> noise(-0.01, 0.01);
    return MakePcm(format, frames, [&](double time, size_t channel) {
        const double pitch = channel ? 1.25 : 1;
        return 0.4 * Sine(440 * pitch, time) + 0.2 * Sine(1300 * pitch, time) + noise(random);
    });
}

// Decibels of the signal over what the other one has different, from frame `from` to `to` of the reference.
inline double Decibels(const Sound& reference, const Sound& heard, ptrdiff_t delay, size_t from, size_t to) {
    double signal = 0, noise = 0;
    for (size_t i = from; i < to; ++i) {
        const auto at = static_cast<size_t>(static_cast<ptrdiff_t>(i) + delay);
        if (i >= reference.size() || at >= heard.size()) continue;
        signal += reference[i] * reference[i];
        noise += (reference[i] - heard[at]) * (reference[i] - heard[at]);
    }
    return signal > 0 ? 10 * std::log10(signal / std::max(noise, signal * 1e-20)) : 0;
}

struct Likeness {
    double decibels;
    ptrdiff_t delay;  // frames
};

// At the delay of at most `most` frames, either way, where they are most alike.
inline Likeness Compare(const Sound& reference, const Sound& heard, uint16_t channels = 1,
                        ptrdiff_t most = 0) {
    const size_t middle = reference.size() / 2, window = std::min<size_t>(middle, 4000);
    Likeness best{-1000, 0};
    for (ptrdiff_t delay = -most; delay <= most; ++delay) {
        const double now = Decibels(reference, heard, delay * channels, middle - window, middle + window);
        if (now > best.decibels) best = {now, delay};
    }
    best.decibels = Decibels(reference, heard, best.delay * channels, 0, reference.size());
    return best;
}

}  // namespace tolvane::test
