// What host threads do with a running playback.

#include <windows.h>

#include <algorithm>

#include "files/peaks.h"
#include "files/positions.h"
#include "playback/device.h"
#include "playback/playback.h"
#include "playback/ring.h"
#include "tolvane.h"

namespace tolvane {

namespace {

constexpr DWORD kStopPoll = 10;            // milliseconds
constexpr DWORD kTimeLeftForClosing = 20;  // milliseconds

// Makes the device hand every buffer back, and asks again where it refuses; false when it is closed.
bool IsStopping(Playback& playback, bool* reset) {
    LockGuard guard(playback.lock);
    if (playback.device && !*reset) *reset = ResetDevice(playback);
    return playback.device != nullptr;
}

// The caller of unload holds the loader's lock, for which the closing of a device may wait; so a thread that
// runs nothing but the system's own code closes it, now or when the lock is free.
void CloseApart(HWAVEOUT device) {
    auto close = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(waveOutClose));
    LoadLibraryA("WINMM.DLL");  // that code must stay
    KernelHandle thread(CreateThread(nullptr, 0, close, device, 0, nullptr));
    if (thread) WaitForSingleObject(thread.Get(), kTimeLeftForClosing);
}

void SetPaused(Playback& playback, bool paused) {
    paused ? PauseDevice(playback) : RestartDevice(playback);
    playback.paused = paused;
}

// The block that the device plays now; none while it plays nothing.
const PlaybackBuffer* CurrentBuffer(const Playback& playback) {
    if (!playback.playing || playback.buffers_in_device == 0) return nullptr;
    return &playback.buffers[playback.queue[playback.queue_head]];
}

bool MeasureCurrent(Playback& playback, Peaks* peaks) {
    const PlaybackBuffer* buffer = CurrentBuffer(playback);
    if (!buffer) return false;
    MutexGuard device_guard(playback.device_lock.Get(), 0);
    if (!device_guard) return false;
    const WAVEFORMATEX& format = playback.main.format;
    return MeasurePeaks(buffer->Data(), buffer->Header()->dwBufferLength, format.nChannels,
                        format.wBitsPerSample, peaks);
}

}  // namespace

bool IsPlaying() {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    return playback.playing;
}

void StopPlayback() {
    Playback& playback = ThePlayback();
    {
        LockGuard guard(playback.lock);
        playback.playing = false;
    }
    EndPlaybackIfDrained();
    for (bool reset = false; IsStopping(playback, &reset);)
        Sleep(kStopPoll);
}

void StopPlaybackAtUnload() {
    Playback& playback = ThePlayback();
    {
        LockGuard guard(playback.lock);
        playback.unloading = true;
    }
    StopPlayback();
    ClosePlaybackFiles(playback);
    if (playback.left_open) CloseApart(playback.left_open);
}

void TogglePause() {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    if (playback.playing) SetPaused(playback, !playback.paused);
}

// The callback thread waits meanwhile, so what the reset hands back is refilled from the new place.
void MovePlayback(uint32_t position, uint16_t unit) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    if (!playback.playing) return;
    ResetDevice(playback);
    if (playback.paused) PauseDevice(playback);
    DWORD bytes = DownToBlock(PlaybackBytes(playback, position, unit), playback.main.format.nBlockAlign);
    DWORD offset = std::min(bytes, PlaybackEnd(playback));
    if (!SeekToData(playback, offset)) playback.bytes_to_play = 0;
    playback.base_position = offset;
    PrimePlaybackBuffers(playback);
}

uint32_t GetPlaybackPosition(uint16_t unit, bool direct) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    DWORD played = 0;
    if (!playback.playing || playback.buffers_in_device == 0) return 0;
    if (direct) return GetMillisecondsPlayed(playback, &played) ? played : 0;
    if (!GetBytesPlayed(playback, &played)) return 0;
    return BytesToPosition(played + playback.base_position, unit, ToInputFileInfo(playback.main.format));
}

void GetPlaybackLevel(uint32_t* left, uint32_t* right) {
    Playback& playback = ThePlayback();
    TryLockGuard guard(playback.lock);
    Peaks peaks;
    if (!guard || !MeasureCurrent(playback, &peaks)) return;
    uint16_t bits = playback.main.format.wBitsPerSample;
    if (left) *left = ToPercent(peaks.left, bits);
    if (right) *right = ToPercent(peaks.right, bits);
}

}  // namespace tolvane
