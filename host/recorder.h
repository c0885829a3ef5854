// Follows a recording that has been started to its end: shows it, takes the user's keys.
#ifndef TOLVANE_HOST_RECORDER_H
#define TOLVANE_HOST_RECORDER_H

#include "commands.h"
#include "message_window.h"

namespace tolvane::host {

// Returns the exit code of the program, the file being written and closed.
int FollowRecording(MessageWindow& window, const RecordRequest& request);

}  // namespace tolvane::host

#endif
