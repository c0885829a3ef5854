// What the callback thread does: takes the sound of every buffer that the device has filled, gives the buffer back, and
// ends the recording with the last one.

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "devices/closing.h"
#include "files/peaks.h"
#include "record/device.h"
#include "record/effect_wave.h"
#include "record/effects.h"
#include "record/recording.h"
#include "record/settings.h"

namespace tolvane {

namespace {

constexpr uint64_t kLeastFreeSpace = 102400;   // bytes
constexpr DWORD kLongestMinimum = 0x7FFFFFFF;  // a larger minimum length counts as negative

void StopDevice(Recording& recording) {
    recording.running = false;
    ResetInputDevice(recording);
}

void Measure(Recording& recording, const SoundBlock& block) {
    Peaks peaks;
    const WAVEFORMATEX& format = recording.format;
    if (!MeasurePeaks(block.data, block.bytes, format.nChannels, format.wBitsPerSample, &peaks)) return;
    recording.left_peak = peaks.left;
    recording.right_peak = peaks.right;
}

// A message to no window would be one to this thread.
void NotifyOnce(Recording& recording) {
    const PunchIn& punch_in = recording.punch_in;
    if (!recording.notified && punch_in.window) PostMessageA(punch_in.window, punch_in.message, 0, 0);
    recording.notified = true;
}

// What lies before the start offset becomes silence; from the stop offset on the file does not grow.
bool Write(Recording& recording, const SoundBlock& block) {
    const PunchIn& punch_in = recording.punch_in;
    const DWORD from = recording.file.Offset();
    if (from < punch_in.start) {
        memset(block.data, SilenceByte(recording.format), std::min(block.bytes, punch_in.start - from));
    } else if (punch_in.stop != 0 && uint64_t{from} + block.bytes >= punch_in.stop) {
        const bool written = from >= punch_in.stop || recording.file.Append(block.data, punch_in.stop - from);
        NotifyOnce(recording);
        return written;
    }
    return recording.file.Append(block.data, block.bytes);
}

// The file may lie on another volume than the temp folder; that it is full shows when nothing more can be written.
bool IsDiskFull(Recording& recording, bool written) {
    return recording.free_space.OfTempFolder() < kLeastFreeSpace ||
           (!written && recording.free_space.Around(recording.file.Path()) < kLeastFreeSpace);
}

// A device may say that its buffer holds more than it can; the plug-ins may say so too.
void TakeSound(Recording& recording, const WaveBuffer& buffer) {
    SoundBlock block(buffer.Data(), recording.buffer_size, buffer.Header()->dwBytesRecorded);
    if (IsEffectWaveActive()) PlayEffectWave(block.data, block.bytes);
    Measure(recording, block);
    if (recording.file.IsOpen() && !recording.paused) {
        // A plug-in that ends a thread of its own would wait for who unloads the library; so at the end, too.
        if (!IsUnloading()) PrepareEffects(recording.format);
        ApplyEffects(block);
        const bool written = Write(recording, block);
        if (recording.running && IsDiskFull(recording, written)) StopDevice(recording);
    }
    if (recording.running && block.misreported) StopDevice(recording);
}

void PadToMinimum(Recording& recording) {
    const DWORD minimum = recording.punch_in.minimum, size = recording.file.Offset();
    if (minimum <= kLongestMinimum && size < minimum) recording.file.AppendSilence(minimum - size);
}

void EndFile(Recording& recording) {
    if (!recording.file.IsOpen()) return;
    if (recording.start_failed) return recording.file.Discard();
    PadToMinimum(recording);
    recording.file.Finish();
}

void EndRecording(Recording& recording) {
    const bool wrote_file = recording.file.IsOpen() && !recording.start_failed;
    EndFile(recording);
    FreeRecordBuffers(recording);
    if (wrote_file && !IsUnloading()) ReleaseEffects();
    CloseInputDevice(recording);
    recording.running = false;
    ++recording.ended_runs;
}

}  // namespace

void EndIfDrained(Recording& recording) {
    if (recording.device && recording.buffers_in_device == 0) EndRecording(recording);
}

void OnWaveInData(HWAVEIN device, UINT message, DWORD_PTR, DWORD_PTR header, DWORD_PTR) {
    if (message != MM_WIM_DATA) return;
    Recording& recording = TheRecording();
    LockGuard guard(recording.lock);
    if (!recording.device || device != recording.device) return;
    WaveBuffer* buffer = TakeBack(recording, reinterpret_cast<const WAVEHDR*>(header));
    if (!buffer) return;
    if (!recording.start_failed) TakeSound(recording, *buffer);
    if (recording.running) QueueRecordBuffer(recording, *buffer);
    EndIfDrained(recording);
}

}  // namespace tolvane
