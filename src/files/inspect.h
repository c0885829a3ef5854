// What a host can ask about a file without playing it.
#pragma once

#include <cstdint>

#include "tolvane.h"

namespace tolvane {

uint16_t ReadInputFileInfo(const char* path, InputFileInfo* info);
uint16_t ReadDataChunkSize(const char* path, uint32_t* size);
uint16_t DescribeAudio(AudioFileInfo* info, const char* path, uint16_t unit, bool from_file);
bool IsTheSampleSpeedSupported(const char* path, uint32_t sample_rate);

// 1 when the file is compressed, or its format cannot be read; 0 when it is PCM.
int IsNonPcmWaveFile(const char* path);

// Length of a file in bytes; 0 when it cannot be told.
uint32_t GetFileLength(const char* path);

// 1 when this is the file that the previous call was given, unchanged since; else 0. One memory for the
// library.
int IsSameFileAsLast(const char* path);

}  // namespace tolvane
