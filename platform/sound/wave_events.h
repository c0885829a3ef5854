// Whom a wave device tells of its events, and how.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_EVENTS_H
#define TOLVANE_PLATFORM_SOUND_WAVE_EVENTS_H

#include <mmsystem.h>

namespace tolvane::platform {

struct WaveEvents {
    HWAVE device;
    DWORD thread;  // 0: nobody is told

    void Tell(UINT message, const void* header) const;
};

}  // namespace tolvane::platform

#endif
