// The output device of the playback. Every call on its handle is made under the device lock.
#pragma once

#include "playback/playback.h"

namespace tolvane {

// Whether the selected output device can play the main file, at another sample rate unless that is 0.
bool QueryOutputFormat(const Playback& playback, uint32_t sample_rate);

// Opens it for that, with the callback thread as its target, and makes the device lock.
bool OpenOutputDevice(Playback& playback, uint32_t sample_rate);
void CloseOutputDevice(Playback& playback);

bool PreparePlaybackBuffers(Playback& playback);
void UnprepareBuffers(Playback& playback);

// Writes a filled slot and notes it as the last in the device's queue.
bool WriteBuffer(Playback& playback, uint16_t slot);

void PauseDevice(Playback& playback);
bool RestartDevice(Playback& playback);
bool ResetDevice(Playback& playback);
// Resets the device for the first time or, where it has refused until now, once more: it plays out what it has meanwhile.
void InsistOnReset(Playback& playback, bool* reset);

// Bytes or milliseconds played since the device was opened or reset; false when the device cannot tell.
bool GetBytesPlayed(Playback& playback, DWORD* bytes);
bool GetMillisecondsPlayed(Playback& playback, DWORD* milliseconds);

}  // namespace tolvane
