// Follows a playback that has been started to its end: shows it, takes the user's keys.
#ifndef TOLVANE_HOST_PLAYER_H
#define TOLVANE_HOST_PLAYER_H

#include <cstdint>
#include <string>

#include "commands.h"
#include "message_window.h"

namespace tolvane::host {

// Part of the data in bytes; `to` 0 means its end.
struct Span {
    uint32_t from = 0, to = 0;
};

// `played` is the file of the request or its copy in PCM. Returns the exit code of the program, the playback being
// over.
int FollowPlayback(MessageWindow& window, const PlayRequest& request, const std::string& played, Span span);

}  // namespace tolvane::host

#endif
