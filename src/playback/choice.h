// What the host asks to be played: the current file, and how it goes to the device.
#pragma once

#include <cstdint>

#include "playback/playback.h"

namespace tolvane {

// Result codes. A failed start forgets the current file.
uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert);
uint16_t LoadFile(const char* path);

}  // namespace tolvane
