// Telling a thread of a wave device's events.
#include "platform/sound/wave_events.h"

#include "platform/messages/queue.h"

namespace tolvane::platform {

void WaveEvents::TellOpened() const {
    Tell(direction == Direction::kOutput ? MM_WOM_OPEN : MM_WIM_OPEN, nullptr);
}

void WaveEvents::TellClosed() const {
    Tell(direction == Direction::kOutput ? MM_WOM_CLOSE : MM_WIM_CLOSE, nullptr);
}

void WaveEvents::TellDone(const WAVEHDR& header) const {
    Tell(direction == Direction::kOutput ? MM_WOM_DONE : MM_WIM_DATA, &header);
}

void WaveEvents::Tell(UINT message, const WAVEHDR* header) const {
    if (thread)
        PostToThread(thread, message, reinterpret_cast<WPARAM>(device), reinterpret_cast<LPARAM>(header));
}

}  // namespace tolvane::platform
