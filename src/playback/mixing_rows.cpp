// All arithmetic is in numbers of 16 bits, of which a vector holds the most; products are exact all the same.
#include "playback/mixing_rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace tolvane {

namespace {

constexpr uint8_t kMiddle = 128;  // the silence of 8-bit samples
constexpr size_t kRow = 32;

template <class Sample>
using Row = Sample[kRow];
using WholeRow = std::integral_constant<size_t, kRow>;

template <class Sample>
void Load(const uint8_t* from, size_t count, Row<Sample>& row) {
    memcpy(row, from, count * sizeof(Sample));
}

template <class Sample>
void Store(const Row<Sample>& row, size_t count, uint8_t* to) {
    memcpy(to, row, count * sizeof(Sample));
}

// Calls `work` with where each row of samples begins and how many it has: the last one may be short.
template <class Work>
void ForEachRow(size_t samples, Work work) {
    size_t at = 0;
    for (; at + kRow <= samples; at += kRow)
        work(at, WholeRow());
    if (at < samples) work(at, samples - at);
}

bool HasMark(const Row<int16_t>& marks) {
    int all = 0;
    for (const int16_t mark : marks)
        all |= mark;
    return all != 0;
}

// The value of each place of a row, in which the channels take turns.
template <class Set>
void SetPlaces(Gains gains, uint16_t channels, Set set) {
    for (size_t i = 0; i < kRow; ++i)
        set(i, double{channels == 2 && i % 2 ? gains.right : gains.left});
}

uint16_t HighOfProduct(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>(uint32_t{a} * b >> 16);
}

uint16_t LowOfProduct(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>(uint32_t{a} * b);
}

// By value: references would keep a compiler from its vectors.
int16_t Between(int16_t least, int16_t value, int16_t most) {
    const int16_t limited = value > most ? most : value;
    return limited < least ? least : limited;
}

// -1 below zero.
int16_t SignOf(int value) {
    return static_cast<int16_t>(value < 0 ? -1 : 0);
}

// Turns a value into its size, and a size into a value.
uint16_t TakeSign(uint16_t size, int16_t sign) {
    return static_cast<uint16_t>((size ^ sign) - sign);
}

// ---- 16 bits ----

// A factor has 24 bits: from the lower of these limits on, a whole number of 16 bits and a fraction of 32 hold it.
constexpr float kLeastFactor16 = 1.0F / 256, kMostFactor16 = 30'000;

bool HasRow16(float gain) {
    const float size = std::abs(gain);
    return size == 0 || (size >= kLeastFactor16 && size <= kMostFactor16);
}

struct Factors16 {
    Factors16(Gains gains, uint16_t channels) {
        SetPlaces(gains, channels, [this](size_t i, double gain) {
            const double size = std::abs(gain);
            whole[i] = static_cast<uint16_t>(size);
            most[i] = static_cast<int16_t>(whole[i] > 1 ? INT16_MAX / whole[i] + 1 : INT16_MAX);
            least[i] = static_cast<int16_t>(whole[i] > 1 ? -most[i] : INT16_MIN);
            const auto fraction = static_cast<uint32_t>((size - whole[i]) * 4294967296.0);
            high[i] = static_cast<uint16_t>(fraction >> 16);
            low[i] = static_cast<uint16_t>(fraction);
            sign[i] = static_cast<int16_t>(gain < 0 ? -1 : 0);
        });
    }
    Row<uint16_t> whole, high, low;
    Row<int16_t> sign;
    Row<int16_t> least, most;  // beyond these a product is at its limit, and up to them it has 16 bits
};

enum class Scaling { kNone, kBelowOne, kAny };

bool AreBelowOne(Gains gains) {
    return std::abs(gains.left) < 1 && std::abs(gains.right) < 1;
}

Scaling ScalingFor(Gains main, Gains mixed) {
    if (main.AreUnity() && mixed.AreUnity()) return Scaling::kNone;
    return AreBelowOne(main) && AreBelowOne(mixed) ? Scaling::kBelowOne : Scaling::kAny;
}

// The product with the fraction; sizes are cut, which truncates values toward zero.
uint16_t PartOf(uint16_t size, uint16_t high, uint16_t low) {
    const uint16_t rest = LowOfProduct(size, high);
    const auto whole_rest = static_cast<uint16_t>(rest + HighOfProduct(size, low));
    return static_cast<uint16_t>(HighOfProduct(size, high) + (whole_rest < rest));
}

// With a factor below one every product fits.
void ScaleRowBelowOne16(Row<int16_t>& row, const Factors16& by) {
    for (size_t i = 0; i < kRow; ++i) {
        const int16_t sign = SignOf(row[i]);
        const uint16_t size = TakeSign(static_cast<uint16_t>(row[i]), sign);
        const uint16_t scaled = PartOf(size, by.high[i], by.low[i]);
        row[i] = static_cast<int16_t>(TakeSign(scaled, static_cast<int16_t>(sign ^ by.sign[i])));
    }
}

void ScaleRowByAny16(Row<int16_t>& row, const Factors16& by) {
    for (size_t i = 0; i < kRow; ++i) {
        const int16_t value = Between(by.least[i], row[i], by.most[i]);
        const int16_t own_sign = SignOf(value), sign = static_cast<int16_t>(own_sign ^ by.sign[i]);
        const uint16_t size = TakeSign(static_cast<uint16_t>(value), own_sign);
        const auto scaled =
            static_cast<uint16_t>(PartOf(size, by.high[i], by.low[i]) + LowOfProduct(size, by.whole[i]));
        const auto limit = static_cast<int16_t>(INT16_MAX ^ sign);
        row[i] = scaled > INT16_MAX ? limit : static_cast<int16_t>(TakeSign(scaled, sign));
    }
}

template <Scaling kScaling>
void ScaleRow16(Row<int16_t>& row, const Factors16& by) {
    if (kScaling == Scaling::kBelowOne) ScaleRowBelowOne16(row, by);
    if (kScaling == Scaling::kAny) ScaleRowByAny16(row, by);
}

// Marks where a sum does not fit.
void AddRow16(Row<int16_t>& row, const Row<int16_t>& other, Row<int16_t>& marks) {
    for (size_t i = 0; i < kRow; ++i) {
        const auto least = static_cast<int16_t>(INT16_MIN - std::min<int16_t>(row[i], 0));
        const auto most = static_cast<int16_t>(INT16_MAX - std::max<int16_t>(row[i], 0));
        const int16_t fitting = Between(least, other[i], most);
        marks[i] = static_cast<int16_t>(marks[i] | (fitting ^ other[i]));
        row[i] = static_cast<int16_t>(row[i] + fitting);
    }
}

void AverageRow16(Row<int16_t>& row, const Row<int16_t>& other) {
    for (size_t i = 0; i < kRow; ++i)
        row[i] = static_cast<int16_t>(row[i] / 2 + other[i] / 2);
}

template <Scaling kScaling>
void Gain16(uint8_t* frames, size_t samples, const Factors16& by) {
    ForEachRow(samples, [&](size_t at, auto count) {
        Row<int16_t> row = {};
        Load(frames + at * 2, count, row);
        ScaleRow16<kScaling>(row, by);
        Store(row, count, frames + at * 2);
    });
}

template <Scaling kScaling, bool kAverage>
bool Mix16(uint8_t* frames, uint8_t* mixed, size_t samples, const Mix& mix) {
    const Factors16 main(mix.main, mix.layout.channels), other(mix.mixed, mix.layout.channels);
    Row<int16_t> marks = {};
    ForEachRow(samples, [&](size_t at, auto count) {
        Row<int16_t> row = {}, other_row = {};
        Load(frames + at * 2, count, row);
        Load(mixed + at * 2, count, other_row);
        ScaleRow16<kScaling>(row, main);
        ScaleRow16<kScaling>(other_row, other);
        if (kScaling != Scaling::kNone) Store(other_row, count, mixed + at * 2);
        kAverage ? AverageRow16(row, other_row) : AddRow16(row, other_row, marks);
        Store(row, count, frames + at * 2);
    });
    return HasMark(marks);
}

template <bool kAverage>
bool MixScaled16(uint8_t* frames, uint8_t* mixed, size_t samples, const Mix& mix) {
    switch (ScalingFor(mix.main, mix.mixed)) {
        case Scaling::kNone:
            return Mix16<Scaling::kNone, kAverage>(frames, mixed, samples, mix);
        case Scaling::kBelowOne:
            return Mix16<Scaling::kBelowOne, kAverage>(frames, mixed, samples, mix);
        default:
            return Mix16<Scaling::kAny, kAverage>(frames, mixed, samples, mix);
    }
}

void GainRows16(uint8_t* frames, size_t samples, FrameLayout layout, Gains gains) {
    const Factors16 by(gains, layout.channels);
    AreBelowOne(gains) ? Gain16<Scaling::kBelowOne>(frames, samples, by)
                       : Gain16<Scaling::kAny>(frames, samples, by);
}

// ---- 8 bits ----

// A factor counts in these parts of one. Whether the product of a sample reaches a whole number is the same for all
// factors between two fractions with denominators up to 128, and any two of those are farther apart than one such part.
constexpr int kPartBits8 = 14;
constexpr uint32_t kLargestSize8 = 128;
constexpr float kMostFactor8 = 3;  // in parts still a number of 16 bits

bool HasRow8(float gain) {
    return std::abs(gain) <= kMostFactor8;
}

// So the parts on one side of the factor or the other make of every sample what the factor itself does.
uint16_t PartsOf(double factor) {
    const auto below = static_cast<uint32_t>(factor * (1 << kPartBits8)), above = below + 1;
    bool same = true;
    for (uint32_t size = 1; size <= kLargestSize8; ++size)
        same &= size * above >> kPartBits8 == static_cast<uint32_t>(size * factor);
    return static_cast<uint16_t>(same ? above : below);
}

struct Factors8 {
    Factors8(Gains gains, uint16_t channels) {
        const uint16_t left = PartsOf(std::abs(gains.left)), right = PartsOf(std::abs(gains.right));
        SetPlaces(gains, channels, [&](size_t i, double gain) {
            parts[i] = channels == 2 && i % 2 ? right : left;
            sign[i] = static_cast<int16_t>(gain < 0 ? -1 : 0);
        });
    }
    Row<uint16_t> parts;
    Row<int16_t> sign;
};

// The samples about their middle, multiplied; not limited to a sample's range.
void ScaleRow8(const Row<uint8_t>& row, const Factors8& by, Row<int16_t>& scaled) {
    for (size_t i = 0; i < kRow; ++i) {
        const auto value = static_cast<int16_t>(row[i] - kMiddle);
        const int16_t own_sign = SignOf(value), sign = static_cast<int16_t>(own_sign ^ by.sign[i]);
        const auto size =
            static_cast<uint16_t>(TakeSign(static_cast<uint16_t>(value), own_sign) << (16 - kPartBits8));
        scaled[i] = static_cast<int16_t>(TakeSign(HighOfProduct(size, by.parts[i]), sign));
    }
}

// Marks where a value does not fit.
void LimitRow8(const Row<int16_t>& values, Row<uint8_t>& row, Row<int16_t>& marks) {
    for (size_t i = 0; i < kRow; ++i) {
        const int16_t fitting = Between(-kMiddle, values[i], kMiddle - 1);
        marks[i] = static_cast<int16_t>(marks[i] | (fitting ^ values[i]));
        row[i] = static_cast<uint8_t>(fitting + kMiddle);
    }
}

// What lies behind the last sample must not be marked.
void LoadRow8(const uint8_t* from, size_t count, Row<uint8_t>& row) {
    if (count < kRow) std::fill(row, row + kRow, uint8_t{kMiddle});
    Load(from, count, row);
}

void GainRows8(uint8_t* frames, size_t samples, FrameLayout layout, Gains gains) {
    const Factors8 by(gains, layout.channels);
    Row<int16_t> marks = {};
    ForEachRow(samples, [&](size_t at, auto count) {
        Row<uint8_t> row;
        Row<int16_t> scaled;
        LoadRow8(frames + at, count, row);
        ScaleRow8(row, by, scaled);
        LimitRow8(scaled, row, marks);
        Store(row, count, frames + at);
    });
}

template <bool kAverage>
bool Mix8(uint8_t* frames, const uint8_t* mixed, size_t samples, const Mix& mix) {
    const Factors8 main(mix.main, mix.layout.channels), other(mix.mixed, mix.layout.channels);
    Row<int16_t> marks = {};
    ForEachRow(samples, [&](size_t at, auto count) {
        Row<uint8_t> row, other_row;
        Row<int16_t> a, b;
        LoadRow8(frames + at, count, row);
        LoadRow8(mixed + at, count, other_row);
        ScaleRow8(row, main, a);
        ScaleRow8(other_row, other, b);
        for (size_t i = 0; i < kRow; ++i)
            a[i] = static_cast<int16_t>(kAverage ? a[i] / 2 + b[i] / 2 : a[i] + b[i]);
        LimitRow8(a, row, marks);
        Store(row, count, frames + at);
    });
    return !kAverage && HasMark(marks);
}

}  // namespace

bool HasRows(FrameLayout layout, Gains gains) {
    const auto has = layout.bits == 8 ? HasRow8 : HasRow16;
    return layout.channels <= 2 && has(gains.left) && has(gains.right);
}

void GainRows(uint8_t* frames, size_t count, FrameLayout layout, Gains gains) {
    (layout.bits == 8 ? GainRows8 : GainRows16)(frames, count * layout.channels, layout, gains);
}

bool MixRows(uint8_t* frames, uint8_t* mixed, size_t count, const Mix& mix) {
    const size_t samples = count * mix.layout.channels;
    if (mix.layout.bits == 8) return (mix.average ? Mix8<true> : Mix8<false>)(frames, mixed, samples, mix);
    return (mix.average ? MixScaled16<true> : MixScaled16<false>)(frames, mixed, samples, mix);
}

}  // namespace tolvane
