// Format records, conversion streams and sounds for tests of the codecs.
#pragma once

#include <msacm.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

using Bytes = std::vector<uint8_t>;

// A record of any tag with room behind it, as a caller's buffer has.
struct AnyFormat {
    Bytes bytes = Bytes(64);
    WAVEFORMATEX* get() { return reinterpret_cast<WAVEFORMATEX*>(bytes.data()); }
    WAVEFORMATEX* operator->() { return get(); }
};

inline AnyFormat Pcm(WORD channels, DWORD rate, WORD bits) {
    AnyFormat format;
    const auto block = static_cast<WORD>(channels * bits / 8);
    *format.get() = {WAVE_FORMAT_PCM, channels, rate, rate * block, block, bits, 0};
    return format;
}

// What the manager suggests to compress `pcm` to.
inline AnyFormat Compressed(WORD tag, AnyFormat pcm) {
    AnyFormat format;
    format->wFormatTag = tag;
    EXPECT_EQ(acmFormatSuggest(nullptr, pcm.get(), format.get(), static_cast<DWORD>(format.bytes.size()),
                               ACM_FORMATSUGGESTF_WFORMATTAG),
              0u);
    return format;
}

class AcmStream {
  public:
    AcmStream(AnyFormat source, AnyFormat target, HACMDRIVER driver = nullptr) {
        result = acmStreamOpen(&handle, driver, source.get(), target.get(), nullptr, 0, 0,
                               ACM_STREAMOPENF_NONREALTIME);
    }
    ~AcmStream() {
        if (handle) {
            EXPECT_EQ(acmStreamClose(handle, 0), 0u);
        }
    }
    AcmStream(const AcmStream&) = delete;
    AcmStream& operator=(const AcmStream&) = delete;

    DWORD Size(DWORD input, DWORD flags = ACM_STREAMSIZEF_SOURCE) const {
        DWORD size = 0;
        EXPECT_EQ(acmStreamSize(handle, input, &size, flags), 0u) << input;
        return size;
    }

    HACMSTREAM handle = nullptr;
    MMRESULT result;
};

// A header with its two buffers, prepared while it lives.
class AcmHeader {
  public:
    AcmHeader(HACMSTREAM stream, size_t source_size, size_t target_size)
        : source(source_size), target(target_size), stream_(stream) {
        Restore();
        EXPECT_EQ(acmStreamPrepareHeader(stream, &header, 0), 0u);
    }
    ~AcmHeader() {
        Restore();
        EXPECT_EQ(acmStreamUnprepareHeader(stream_, &header, 0), 0u);
    }
    AcmHeader(const AcmHeader&) = delete;
    AcmHeader& operator=(const AcmHeader&) = delete;

    MMRESULT Convert(DWORD size, DWORD room, DWORD flags) {
        header.cbSrcLength = size;
        header.cbDstLength = room;
        return acmStreamConvert(stream_, &header, flags);
    }

    Bytes source, target;
    ACMSTREAMHEADER header{};

  private:
    void Restore() {
        header.cbStruct = sizeof header;
        header.pbSrc = source.data();
        header.cbSrcLength = static_cast<DWORD>(source.size());
        header.pbDst = target.data();
        header.cbDstLength = static_cast<DWORD>(target.size());
    }
    HACMSTREAM stream_;
};

// Converts all of `input` as callers do: what was not used stays in front of what comes next, and the end comes
// when nothing else does. Checks what every call must keep to.
inline Bytes ConvertAll(AcmStream& stream, const Bytes& input, size_t piece, size_t room, unsigned seed = 0) {
    AcmHeader header(stream.handle, std::max<size_t>(input.size(), 1), room);
    std::mt19937 random(seed);
    Bytes output;
    size_t at = 0, least = 1;
    for (bool last = false, over = false; !over;) {
        const size_t wish = seed ? least + random() % piece : std::max(least, piece);
        const size_t size = last ? input.size() - at : std::min(wish, input.size() - at);
        last = at + size == input.size();
        const size_t space = seed ? 1 + random() % room : room;
        std::copy_n(input.data() + at, size, header.source.data());
        const DWORD flags = last ? DWORD{ACM_STREAMCONVERTF_END} : DWORD{ACM_STREAMCONVERTF_BLOCKALIGN};
        const MMRESULT result = header.Convert(static_cast<DWORD>(size), static_cast<DWORD>(space), flags);
        const DWORD used = header.header.cbSrcLengthUsed, produced = header.header.cbDstLengthUsed;
        EXPECT_EQ(result, 0u);
        EXPECT_TRUE(header.header.fdwStatus & ACMSTREAMHEADER_STATUSF_DONE);
        EXPECT_LE(used, size);
        EXPECT_LE(produced, space);
        EXPECT_TRUE(last || produced || !used) << "nothing produced, and yet " << used << " used";
        if (result || used > size || produced > space) return output;
        output.insert(output.end(), header.target.begin(), header.target.begin() + produced);
        at += used;
        least = size - used + (used || produced ? 0 : 1);
        over = last && used == size && produced < space;
    }
    return output;
}

inline Bytes ConvertAll(AcmStream& stream, const Bytes& input) {
    return ConvertAll(stream, input, std::max<size_t>(input.size(), 1),
                      stream.Size(static_cast<DWORD>(std::max<size_t>(input.size(), 1))) + 1);
}

// A chord that moves, at 16 or 8 bits; the second channel is another one.
inline Bytes Sound(WORD channels, DWORD rate, WORD bits, size_t frames) {
    Bytes bytes;
    for (size_t i = 0; i < frames * channels; ++i) {
        const double t = static_cast<double>(i / channels) / rate * (i % channels ? 1.3 : 1);
        const double value = 0.4 * std::sin(440 * 6.2831853 * t) + 0.2 * std::sin(900 * t * (1 + t / 20)) +
                             0.2 * std::sin(1'300 * 6.2831853 * t);
        const auto sample = static_cast<int>(std::lround(value * 32'767));
        if (bits == 16) bytes.push_back(static_cast<uint8_t>(sample & 0xFF));
        bytes.push_back(static_cast<uint8_t>((sample >> 8) + (bits == 8 ? 128 : 0)));
    }
    return bytes;
}
