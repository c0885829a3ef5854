// What the callback thread does: refills the buffers that the device has played, and ends the playback.

#include <windows.h>

#include <utility>

#include "frame/callback_thread.h"
#include "playback/device.h"
#include "playback/mixing.h"
#include "playback/playback.h"
#include "playback/ring.h"
#include "tolvane.h"

namespace tolvane {

namespace {

constexpr int kNoSlot = -1;

// Takes a buffer that came back out of the device's queue. A device hands buffers back in the order they were
// written; one that does not is still understood.
int TakeBack(Playback& playback, const WAVEHDR* header) {
    for (uint16_t i = 0; i < playback.buffers_in_device; ++i) {
        uint8_t& place = playback.queue[(playback.queue_head + i) % kMostBuffers];
        if (playback.buffers[place].Header() != header) continue;
        std::swap(place, playback.queue[playback.queue_head]);
        uint8_t slot = playback.queue[playback.queue_head];
        playback.queue_head = static_cast<uint16_t>((playback.queue_head + 1) % kMostBuffers);
        --playback.buffers_in_device;
        playback.buffers[slot].in_device = false;
        return slot;
    }
    return kNoSlot;
}

// Releases all that the playback holds. Under one lock, so that nobody sees a playback that is half gone.
void EndPlayback(Playback& playback) {
    if (playback.playing && playback.device) ResetDevice(playback);
    ClosePlaybackFiles(playback);
    FreePlaybackBuffers(playback);
    playback.playing = false;
    playback.paused = false;
    playback.changing_device = false;
    CloseOutputDevice(playback);
    ++playback.ended_runs;
}

void EndIfDrained(Playback& playback) {
    const bool waits_for_device = playback.changing_device && playback.playing;
    if (!playback.device || playback.buffers_in_device > 0 || waits_for_device) return;
    EndAndTell(playback);
}

}  // namespace

// Told before the lock is free, so that whoever sees the playback ended knows that its end was told.
void EndAndTell(Playback& playback) {
    EndPlayback(playback);
    NotifyCallbackWindow(TOLVANE_PLAYBACK_ENDED, ClipFlag(), 0);
}

void OnWaveOutDone(HWAVEOUT device, UINT message, DWORD_PTR, DWORD_PTR header, DWORD_PTR) {
    if (message != MM_WOM_DONE) return;
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    if (!playback.device || device != playback.device) return;
    int slot = TakeBack(playback, reinterpret_cast<const WAVEHDR*>(header));
    if (slot == kNoSlot) return;
    if (playback.playing && !playback.changing_device) RefillBuffer(playback, static_cast<uint16_t>(slot));
    EndIfDrained(playback);
}

void EndPlaybackIfDrained() {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    EndIfDrained(playback);
}

}  // namespace tolvane
