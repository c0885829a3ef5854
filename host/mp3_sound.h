// An MP3 file in numbers and in words: what its first frame says.
#ifndef TOLVANE_HOST_MP3_SOUND_H
#define TOLVANE_HOST_MP3_SOUND_H

#include <cstdint>
#include <string>

namespace tolvane::host {

struct Mp3Sound {
    uint32_t rate = 0, kilobits = 0;
    uint16_t channels = 0;
    uint64_t first_byte = 0, size = 0;  // of the frames, behind a tag; of the whole file
    uint64_t milliseconds = 0;
    bool is_exact = false;  // the encoder noted the length; otherwise it follows from the bit rate

    // Every byte counts as much time as any other.
    uint64_t ByteAt(uint64_t at_ms) const;
    uint64_t MillisecondsAt(uint64_t byte) const;
};

// Whether a file is no wave file and looks like MP3: by its first bytes, or by its name where other things stand before
// the frames.
bool LooksLikeMp3(const std::string& path);

// A result code of the library's.
uint16_t ReadMp3(const std::string& path, Mp3Sound& sound);

// "MP3, 44100 Hz, stereo, 128 kbit/s in the first frame"
std::string FormatText(const Mp3Sound& sound);

// "0:10.031" or "about 0:10.031, by that bit rate"
std::string LengthText(const Mp3Sound& sound);

}  // namespace tolvane::host

#endif
