// What host threads do with a running recording.

#include <windows.h>

#include "files/peaks.h"
#include "files/positions.h"
#include "record/device.h"
#include "record/effect_wave.h"
#include "record/recording.h"
#include "record/settings.h"
#include "tolvane.h"

namespace tolvane {

namespace {

constexpr DWORD kStopPoll = 10;  // milliseconds

// Marks the recording as stopped, if there is one, and tells which it is.
bool BeginStop(Recording& recording, uint32_t* run) {
    LockGuard guard(recording.lock);
    recording.running = false;
    *run = recording.ended_runs;
    return recording.device != nullptr;
}

DWORD RecordedMilliseconds(Recording& recording) {
    RecordClock& clock = recording.clock;
    LockGuard guard(clock.lock);
    const DWORD now = timeGetTime();
    const DWORD paused_now = recording.paused ? now - clock.pause_start : 0;
    return now - (clock.start + paused_now + clock.paused_total);
}

}  // namespace

void AwaitEndOfRecording(uint32_t run, uint32_t most_polls) {
    Recording& recording = TheRecording();
    bool reset = false;
    for (uint32_t polls = 0; polls < most_polls; ++polls, Sleep(kStopPoll)) {
        LockGuard guard(recording.lock);
        if (recording.ended_runs != run) return;
        // A device that refuses records into its buffers to their end and is asked again.
        if (!reset) reset = ResetInputDevice(recording);
    }
}

void StopRecording() {
    uint32_t run;
    if (BeginStop(TheRecording(), &run)) AwaitEndOfRecording(run);
}

void StopRecordingAtUnload() {
    StopRecording();
    ReleaseEffectWave();
}

void PauseRecordingClock() {
    Recording& recording = TheRecording();
    LockGuard guard(recording.clock.lock);
    if (recording.paused.exchange(true)) return;
    recording.clock.pause_start = timeGetTime();
}

void ResumeRecordingClock() {
    Recording& recording = TheRecording();
    LockGuard guard(recording.clock.lock);
    if (!recording.paused.exchange(false)) return;
    recording.clock.paused_total += timeGetTime() - recording.clock.pause_start;
    recording.clock.pause_start = 0;
}

void GetRecordLevel(uint32_t* left, uint32_t* right) {
    const Recording& recording = TheRecording();
    if (!recording.running) return;
    const uint16_t bits = TheRecordSettings().bits;
    if (left) *left = ToPercent(recording.left_peak, bits);
    if (right) *right = ToPercent(recording.right_peak, bits);
}

uint32_t GetRecordPosition(uint16_t unit) {
    const InputFileInfo format = ToInputFileInfo(RecordFormat());
    const uint32_t bytes =
        PositionToBytes(RecordedMilliseconds(TheRecording()), TOLVANE_MILLISECONDS, format);
    return BytesToPosition(bytes, unit, format);
}

}  // namespace tolvane
