// Going to a place in a set.
#pragma once

#include "playback/playback.h"

namespace tolvane {

// At the start of a playback of `path`, which is open, before the device is: goes to the place in the set that the options
// say. False when its file cannot be played; behind the end nothing happens.
bool PositionInSet(Playback& playback, const char* path, const StartOptions& options);

}  // namespace tolvane
