// What the host plays: the current file, and what AudioPause and AudioStop go by.
#pragma once

#include <cstdint>

#include "playback/playback.h"

namespace tolvane {

uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert);
uint16_t LoadFile(const char* path);
uint16_t PlayCurrentFile(uint32_t start, uint16_t unit);
void Stop();
void Pause();
void Resume();
void MoveTo(uint32_t position, uint16_t unit);
uint32_t GetPosition(uint16_t unit);

}  // namespace tolvane
