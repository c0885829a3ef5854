// How the sound devices tell a thread something, and how a test knows that it has been dealt with.
#ifndef TOLVANE_PLATFORM_MESSAGES_QUEUE_H
#define TOLVANE_PLATFORM_MESSAGES_QUEUE_H

#include <windows.h>

namespace tolvane::platform {

// Posts a device's message to a thread. False when there is no such thread, or its queue is full.
bool PostToThread(DWORD thread, UINT message, WPARAM wparam, LPARAM lparam);

// Waits until every thread that was posted a device's message has read it, dealt with it and waits for its
// next message again, or has ended; the caller's own thread is left out. False when that took more than five
// seconds.
bool WaitUntilIdle();

}  // namespace tolvane::platform
#endif
