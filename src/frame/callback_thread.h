// The library's own thread, in which every event of a sound device is dealt with, and the window that is
// told.
#pragma once

#include <windows.h>

namespace tolvane {

// The thread's identifier, the target of every device opened for streaming. Starts the thread on first need;
// 0 when it cannot be started.
DWORD CallbackThreadId();

// Asks the callback thread to end a playback that no buffer of a device will come back for. False when there
// is no such thread.
bool AskForEndOfPlayback();

// At unload: ends the thread. No code of the library runs in it any more when this returns.
void EndCallbackThread();

void SetCallbackWindow(HWND window);

// Posts to the callback window, if there is one.
void NotifyCallbackWindow(UINT message, WPARAM wparam, LPARAM lparam);

}  // namespace tolvane
