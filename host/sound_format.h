// The sound of a wave file in numbers and in words.
#ifndef TOLVANE_HOST_SOUND_FORMAT_H
#define TOLVANE_HOST_SOUND_FORMAT_H

#include <tolvane.h>

#include <optional>
#include <string>
#include <string_view>

#include "time_text.h"

namespace tolvane::host {

constexpr uint32_t kLargestRate = 1'000'000;

// What makes one PCM format differ from another.
struct PcmShape {
    uint32_t rate = 0;
    uint16_t bits = 0, channels = 0;
    bool operator==(const PcmShape&) const = default;
};

// "44100/16/2"; the channels may be "mono" and "stereo". Nothing where the text says anything else than 8 or 16
// bits and 1 or 2 channels at a rate.
std::optional<PcmShape> ParsePcmShape(std::string_view text);

struct SoundFormat {
    InputFileInfo format{};
    uint32_t data_size = 0;   // as the file says
    uint32_t data_start = 0;  // in the file
    uint64_t file_size = 0;

    // The data that is really there.
    uint32_t Bytes() const;
    bool IsCutOff() const { return Bytes() < data_size; }
    bool IsPcm() const { return format.wFormatTag == 1; }
    PcmShape Shape() const { return {format.nSamplesPerSec, format.wBitsPerSample, format.nChannels}; }
    // Bytes that are played in one second at the file's own rate; 0 where a damaged file does not tell.
    uint64_t BytesPerSecond() const;
    uint64_t Milliseconds() const;
    // Where in the data a moment lies, at most at its end.
    uint32_t BytesAt(Moment moment) const;
};

// A result code of the library's.
uint16_t ReadSound(const std::string& path, SoundFormat& sound);

// "PCM, 44100 Hz, stereo, 16 bit"; a compressed one is called by its number where no `name` is given.
std::string FormatText(const InputFileInfo& format, std::string_view name = "");

// "44100 Hz, stereo, 16 bit"
std::string ShapeText(const PcmShape& shape);

// "0:10.000 (441000 samples a channel)"
std::string LengthText(const SoundFormat& sound);

}  // namespace tolvane::host

#endif
