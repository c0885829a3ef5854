// The ring of playback buffers: its memory, and the reading of the file into it. The caller holds the
// playback's lock or its claim.
#pragma once

#include "playback/playback.h"

namespace tolvane {

// Returns how many slots are complete.
uint16_t AllocatePlaybackBuffers(Playback& playback);
void FreePlaybackBuffers(Playback& playback);

enum class Refill { kQueued, kRefused, kNothingLeft };

// Reads the next part of the sound into a slot and writes it to the device.
Refill RefillBuffer(Playback& playback, uint16_t slot);

// Fills and queues every slot that is not in the device, while there is sound left.
void PrimePlaybackBuffers(Playback& playback);

// Positions the file `offset` bytes behind the start of its sound and plays from there.
bool SeekToData(Playback& playback, DWORD offset);

// The playback's own rule for positions: milliseconds are counted with 64-bit integers.
uint32_t PlaybackBytes(const Playback& playback, uint32_t position, uint16_t unit);
uint32_t PlaybackBytes(const WAVEFORMATEX& format, uint32_t position, uint16_t unit);

// Sets the end position to what the start of the playback asked for, in the file that is open now.
void SetPlaybackEnd(Playback& playback);

// The end of what is played, in bytes from the data start: whole frames.
DWORD PlaybackEnd(const Playback& playback);

void ClosePlaybackFiles(Playback& playback);

}  // namespace tolvane
