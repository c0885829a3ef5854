// Volume and mute of playback and recording, in percent, as controls of the mixer: they act on every program.
#pragma once

#include <cstdint>

namespace tolvane {

void SetPlaybackVolume(uint16_t percent);
uint16_t GetPlaybackVolume();
void MutePlayback(bool mute);
void SetRecordVolume(uint16_t percent);
uint16_t GetRecordVolume();

}  // namespace tolvane
