// The first frame header of an MP3 file, which is all that describes it: such a file has no header of its own.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <cstdint>

namespace tolvane {

struct Mp3Header {
    uint32_t sample_rate = 0;
    uint16_t kilobits = 0;  // a second
    bool stereo = false;    // two channels that belong together; dual channel is one of either
    bool has_checksum = false;
};

// Whether four bytes of a file, the first of them in the highest place, can begin a frame; fills the header.
bool ParseMp3Header(uint32_t bytes, Mp3Header* header);

// The first such place of a file, wherever it lies. False where there is none or the file cannot be read.
bool FindMp3Header(const char* path, Mp3Header* header);

// The format record by which a codec knows the stream.
MPEGLAYER3WAVEFORMAT ToMp3Format(const Mp3Header& header);

}  // namespace tolvane
