// Whom a wave device tells of its events, and how.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_EVENTS_H
#define TOLVANE_PLATFORM_SOUND_WAVE_EVENTS_H

#include <mmsystem.h>

namespace tolvane::platform {

enum class Direction { kOutput, kInput };

struct WaveEvents {
    Direction direction;
    HWAVE device;
    DWORD thread;  // 0: nobody is told

    void TellOpened() const;
    void TellClosed() const;
    void TellDone(const WAVEHDR& header) const;

  private:
    void Tell(UINT message, const WAVEHDR* header) const;
};

}  // namespace tolvane::platform

#endif
