#include "record/device.h"

#include "devices/closing.h"
#include "devices/devices.h"
#include "frame/callback_thread.h"

namespace tolvane {

namespace {

bool Prepare(Recording& recording, WaveBuffer& buffer) {
    WAVEHDR* header = buffer.Header();
    buffer.prepared = waveInPrepareHeader(recording.device, header, sizeof(WAVEHDR)) == MMSYSERR_NOERROR;
    if (buffer.prepared) header->dwFlags = WHDR_PREPARED;
    return buffer.prepared;
}

}  // namespace

bool QueryInputFormat(const WAVEFORMATEX& format) {
    return waveInOpen(nullptr, SelectedInputDevice(), &format, 0, 0, WAVE_FORMAT_QUERY) == MMSYSERR_NOERROR;
}

bool OpenInputDevice(Recording& recording) {
    const DWORD thread = CallbackThreadId();
    if (thread && waveInOpen(&recording.device, SelectedInputDevice(), &recording.format, thread, 0,
                             CALLBACK_THREAD) == MMSYSERR_NOERROR)
        return true;
    recording.device = nullptr;
    return false;
}

// A device that holds on to a buffer refuses to be closed: it is told once more to hand everything back.
void CloseInputDevice(Recording& recording) {
    if (CloseApart(waveInClose, recording.device) == Closing::kRefused) {
        waveInReset(recording.device);
        waveInClose(recording.device);
    }
    recording.device = nullptr;
}

bool StartInputDevice(Recording& recording) {
    return waveInStart(recording.device) == MMSYSERR_NOERROR;
}

bool ResetInputDevice(Recording& recording) {
    return waveInReset(recording.device) == MMSYSERR_NOERROR;
}

uint16_t AllocateRecordBuffers(Recording& recording) {
    uint16_t count = 0;
    while (count < kMostRecordBuffers && recording.buffers[count].Allocate(recording.buffer_size))
        ++count;
    return count;
}

void FreeRecordBuffers(Recording& recording) {
    for (WaveBuffer& buffer : recording.buffers) {
        if (buffer.prepared) waveInUnprepareHeader(recording.device, buffer.Header(), sizeof(WAVEHDR));
        buffer = WaveBuffer();
    }
    recording.buffers_in_device = 0;
}

void QueueRecordBuffers(Recording& recording) {
    for (WaveBuffer& buffer : recording.buffers)
        if (buffer.Data() && Prepare(recording, buffer)) QueueRecordBuffer(recording, buffer);
}

bool QueueRecordBuffer(Recording& recording, WaveBuffer& buffer) {
    if (waveInAddBuffer(recording.device, buffer.Header(), sizeof(WAVEHDR)) != MMSYSERR_NOERROR) return false;
    buffer.in_device = true;
    ++recording.buffers_in_device;
    return true;
}

// A message that says so may be an old one.
WaveBuffer* TakeBack(Recording& recording, const WAVEHDR* header) {
    for (WaveBuffer& buffer : recording.buffers) {
        if (!buffer.in_device || buffer.Header() != header) continue;
        if (!(header->dwFlags & WHDR_DONE)) return nullptr;
        buffer.in_device = false;
        --recording.buffers_in_device;
        return &buffer;
    }
    return nullptr;
}

}  // namespace tolvane
