// Telling a thread of a wave device's events.
#include "platform/sound/wave_events.h"

#include "platform/messages/queue.h"

namespace tolvane::platform {

void WaveEvents::Tell(UINT message, const void* header) const {
    if (thread)
        PostToThread(thread, message, reinterpret_cast<WPARAM>(device), reinterpret_cast<LPARAM>(header));
}

}  // namespace tolvane::platform
