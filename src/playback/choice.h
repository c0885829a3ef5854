// What the host asks to be played: the current file, and how it goes to the device.
#pragma once

#include <cstdint>

#include "frame/text.h"
#include "playback/playback.h"

namespace tolvane {

// Result codes. A failed start forgets the current file.
uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert);
uint16_t LoadFile(const char* path);
uint16_t PlayLoadedFile(uint32_t start, uint16_t unit);
uint16_t PlayMp3(const char* path, const StartOptions& options);  // leaves the current file what it was

// The last file loaded or played; empty when there is none.
void CopyCurrentFile(char (&path)[kPathSize]);

// Whether a file of exactly this name is being played.
bool IsPlayingFile(const char* path);

// Before a file is replaced: on some systems nothing takes the place of a file that is open. If it is the loaded one,
// playing it opens it again.
void CloseLoadedFile(const char* path);

// Whether the playback copy file holds a PCM copy of the current file, and when it does so no more.
bool IsCopyValid();
void ForgetPlaybackCopy();

}  // namespace tolvane
