// Exports: callback window and temp folder.

#include "frame/callback_thread.h"
#include "frame/scratch_files.h"
#include "playback/choice.h"
#include "tolvane.h"

void TOLVANE_CALL SetCallbackWindow(void* window) {
    tolvane::SetCallbackWindow(static_cast<HWND>(window));
}

uint32_t TOLVANE_CALL SetTempPath(const char* folder) {
    const uint32_t result = tolvane::SetTempPath(folder);
    if (result == TOLVANE_OK) tolvane::ForgetPlaybackCopy();
    return result;
}
