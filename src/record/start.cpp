// How a recording or level test starts.

#include <windows.h>

#include <algorithm>

#include "files/positions.h"
#include "frame/immortal.h"
#include "frame/text.h"
#include "record/device.h"
#include "record/effect_wave.h"
#include "record/effects.h"
#include "record/recording.h"
#include "record/settings.h"
#include "tolvane.h"

namespace tolvane {

namespace {

// A buffer holds 6/16 of a second.
constexpr DWORD kBufferParts = 6;
constexpr DWORD kPartsPerSecond = 16;

// A device that was not started may refuse to give its buffers back as well; the host does not wait for that.
constexpr uint32_t kPatience = 100;  // polls

void Store(const RecordRequest& request) {
    RecordSettings& settings = TheRecordSettings();
    settings.sample_rate = request.sample_rate;
    settings.bits = request.bits;
    settings.channels = request.channels;
}

// False for a format that its own record cannot tell, or that would divide by zero.
bool IsPossible(const WAVEFORMATEX& format) {
    const uint64_t block = uint64_t{format.nChannels} * (format.wBitsPerSample / 8u);
    return block > 0 && block == format.nBlockAlign && format.nSamplesPerSec > 0 &&
           block * format.nSamplesPerSec == format.nAvgBytesPerSec;
}

// At least one frame, however slow the format is.
DWORD BufferSize(const WAVEFORMATEX& format) {
    const DWORD size = format.nAvgBytesPerSec * kBufferParts / kPartsPerSecond;
    return std::max<DWORD>(DownToBlock(size, format.nBlockAlign), format.nBlockAlign);
}

// The clock begins with the play time of what the file holds already.
void StartClock(Recording& recording) {
    RecordClock& clock = recording.clock;
    const DWORD before = recording.file.IsOpen()
                             ? BytesToPosition(recording.file.Offset(), TOLVANE_MILLISECONDS,
                                               ToInputFileInfo(recording.format))
                             : 0;
    LockGuard guard(clock.lock);
    recording.paused = false;
    clock.start = timeGetTime() - before;
    clock.pause_start = 0;
    clock.paused_total = 0;
}

// With the device open. Where it does not start, its buffers come back, and with the last one it is closed.
uint16_t Run(Recording& recording) {
    MakeEffectWaveLock();
    recording.left_peak = 0;
    recording.right_peak = 0;
    recording.notified = false;
    QueueRecordBuffers(recording);
    StartClock(recording);
    recording.start_failed = recording.buffers_in_device == 0 || !StartInputDevice(recording);
    recording.running = !recording.start_failed;
    EndIfDrained(recording);
    return recording.start_failed ? TOLVANE_RECORD_NOT_STARTED : TOLVANE_OK;
}

uint16_t OpenFileAndDevice(Recording& recording, const char* path) {
    if (path && !recording.file.Create(path, recording.format)) return TOLVANE_RECORD_NOT_CREATED;
    if (path) recording.file.AppendSilence(recording.punch_in.lead_in);
    if (OpenInputDevice(recording)) return Run(recording);
    if (path) recording.file.Discard();
    return TOLVANE_RECORDER_NOT_OPENED;
}

// A level test has no path.
uint16_t Begin(Recording& recording, const char* path) {
    ForgetEffectWave();
    recording.paused = false;
    recording.format = RecordFormat();
    if (!IsPossible(recording.format)) return TOLVANE_FORMAT_NOT_RECORDED;
    if (path) PrepareEffects(recording.format);
    if (path) recording.free_space.Prepare();
    if (!QueryInputFormat(recording.format)) return TOLVANE_FORMAT_NOT_RECORDED;
    recording.buffer_size = BufferSize(recording.format);
    uint16_t result = TOLVANE_NO_RECORD_BUFFERS;
    if (AllocateRecordBuffers(recording) >= kFewestRecordBuffers) result = OpenFileAndDevice(recording, path);
    if (!recording.device) FreeRecordBuffers(recording);
    return result;
}

uint16_t Start(const RecordRequest& request, const char* path, uint16_t source) {
    Recording& recording = TheRecording();
    uint16_t result;
    uint32_t run;
    {
        LockGuard guard(recording.lock);
        if (recording.device) return TOLVANE_ALREADY_RECORDING;
        if (path && !IsBounded(path)) return TOLVANE_RECORD_NOT_CREATED;
        Store(request);
        if (path) TheRecordSettings().source = source;
        recording.punch_in = request.punch_in;
        run = recording.ended_runs;
        result = Begin(recording, path);
        if (!recording.device || result == TOLVANE_OK) return result;
    }
    AwaitEndOfRecording(run, kPatience);
    return result;
}

}  // namespace

Recording& TheRecording() {
    return Immortal<Recording>();
}

uint16_t StartRecording(char* path, uint16_t source, const RecordRequest& request) {
    if (path) TrimSpaces(path);
    return IsEmpty(path) ? uint16_t{TOLVANE_NO_RECORD_PATH} : Start(request, path, source);
}

uint16_t StartLevelTest(const RecordRequest& request) {
    return Start(request, nullptr, 0);
}

}  // namespace tolvane
