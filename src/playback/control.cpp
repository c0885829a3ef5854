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

constexpr DWORD kStopPoll = 10;  // milliseconds

// Marks the playback as stopped, if there is one, and tells which it is.
bool BeginStop(Playback& playback, uint32_t* run) {
    LockGuard guard(playback.lock);
    playback.playing = playback.started = false;
    *run = playback.ended_runs;
    return playback.device != nullptr;
}

// False once the playback has ended. Until then the device is to hand every buffer back.
bool ContinueStop(Playback& playback, uint32_t run, bool* reset) {
    LockGuard guard(playback.lock);
    if (playback.ended_runs != run) return false;
    InsistOnReset(playback, reset);
    return true;
}

// The block that the device plays now; none while it plays nothing.
const WaveBuffer* CurrentBuffer(const Playback& playback) {
    if (!playback.playing || playback.buffers_in_device == 0) return nullptr;
    return &playback.buffers[playback.queue[playback.queue_head]];
}

bool MeasureCurrent(Playback& playback, Peaks* peaks) {
    const WaveBuffer* buffer = CurrentBuffer(playback);
    if (!buffer) return false;
    MutexGuard device_guard(playback.device_lock.Get(), 0);
    if (!device_guard) return false;
    const WAVEFORMATEX& format = playback.main.format;
    return MeasurePeaks(buffer->Data(), buffer->Header()->dwBufferLength, format.nChannels,
                        format.wBitsPerSample, peaks);
}

}  // namespace

void StopPlayback() {
    Playback& playback = ThePlayback();
    uint32_t run;
    if (!BeginStop(playback, &run)) return;
    EndPlaybackIfDrained();
    for (bool reset = false; ContinueStop(playback, run, &reset);)
        Sleep(kStopPoll);
}

void StopPlaybackAtUnload() {
    Playback& playback = ThePlayback();
    StopPlayback();
    LockGuard guard(playback.lock);
    ClosePlaybackFiles(playback);
}

void PausePlayback(bool paused) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    if (paused && !playback.playing) playback.started = false;
    if (!playback.playing || playback.paused == paused) return;
    paused ? PauseDevice(playback) : static_cast<void>(RestartDevice(playback));
    playback.paused = paused;
}

// The callback thread waits meanwhile, so what the reset hands back is refilled from the new place.
void MovePlayback(uint32_t position, uint16_t unit) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    const bool steerable = playback.playing && !playback.direct && !playback.changing_device;
    if (!steerable || playback.buffers_in_device == 0) return;
    ResetDevice(playback);
    if (playback.paused) PauseDevice(playback);
    DWORD bytes = DownToBlock(PlaybackBytes(playback, position, unit), playback.main.format.nBlockAlign);
    DWORD offset = std::min(bytes, PlaybackEnd(playback));
    if (!SeekToData(playback, offset)) playback.bytes_to_play = 0;
    playback.base_position = offset;
    if (playback.set.Current()) playback.set.run_start = StartOfCurrent(playback.set);
    PrimePlaybackBuffers(playback);
}

uint32_t PositionOf(Playback& playback, uint16_t unit) {
    DWORD played = 0;
    if (!playback.playing || playback.buffers_in_device == 0) return 0;
    if (playback.direct) return GetMillisecondsPlayed(playback, &played) ? played : 0;
    if (!GetBytesPlayed(playback, &played)) return 0;
    return BytesToPosition(played + playback.base_position, unit, ToInputFileInfo(playback.main.format));
}

uint32_t GetPlaybackPosition(uint16_t unit) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    return PositionOf(playback, unit);
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
