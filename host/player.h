// Follows a playback that has been started to its end: shows it, takes the user's keys.
#ifndef TOLVANE_HOST_PLAYER_H
#define TOLVANE_HOST_PLAYER_H

#include "commands.h"
#include "message_window.h"
#include "play_volume.h"
#include "playing.h"

namespace tolvane::host {

// Returns the exit code of the program, the playback being over.
int FollowPlayback(MessageWindow& window, const PlayRequest& request, Playing& playing, PlayVolume& volume);

}  // namespace tolvane::host

#endif
