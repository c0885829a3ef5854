// The recording engine: sound streamed from a wave-in device into a wave file, or, for a level test, only measured.
//
// Host threads start and stop a recording; the callback thread takes the filled buffers and ends it with the last of them.
// The record's lock guards the recording and every call on its device. Levels, pause and position are asked without it, so
// that nobody waits for the disk.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <atomic>
#include <cstdint>

#include "devices/wave_buffer.h"
#include "frame/disk_space.h"
#include "frame/lock.h"
#include "record/recording_file.h"

namespace tolvane {

inline constexpr uint16_t kMostRecordBuffers = 16;
inline constexpr uint16_t kFewestRecordBuffers = 2;

// When the file is silent, when it stops growing, who is told of that, and how long it is at least. Offsets count from the
// first byte of the file.
struct PunchIn {
    HWND window = nullptr;
    UINT message = 0;
    DWORD lead_in = 0;  // bytes
    DWORD start = 0;
    DWORD stop = 0;  // 0 = none
    DWORD minimum = 0;
};

struct RecordRequest {
    uint32_t sample_rate;
    uint16_t bits;
    uint16_t channels;
    PunchIn punch_in = {};
};

// Milliseconds of the system's clock.
struct RecordClock {
    Lock lock;
    DWORD start = 0;
    DWORD pause_start = 0;
    DWORD paused_total = 0;
};

struct Recording {
    Lock lock;

    HWAVEIN device = nullptr;  // open from a start until the last buffer has come back
    WaveBuffer buffers[kMostRecordBuffers];
    DWORD buffer_size = 0;
    uint16_t buffers_in_device = 0;

    WAVEFORMATEX format = {};
    RecordingFile file;  // open while a recording writes one
    PunchIn punch_in;
    bool notified = false;
    bool start_failed = false;  // the device gives back what it was to record into
    FreeSpaceQuery free_space;
    uint32_t ended_runs =
        0;  // counts recordings, so that who waits for the end of one does not wait for the next

    std::atomic<bool> running = false;
    std::atomic<bool> paused = false;
    std::atomic<uint16_t> left_peak = 0;
    std::atomic<uint16_t> right_peak = 0;
    RecordClock clock;
};

Recording& TheRecording();

// Start operations; result codes. The name is trimmed where it stands.
uint16_t StartRecording(char* path, uint16_t source, const RecordRequest& request);
uint16_t StartLevelTest(const RecordRequest& request);

void StopRecording();
// Returns when the recording `run`, which is stopping, has ended, or after so many looks.
void AwaitEndOfRecording(uint32_t run, uint32_t most_polls = UINT32_MAX);
void StopRecordingAtUnload();
void PauseRecordingClock();
void ResumeRecordingClock();
void GetRecordLevel(uint32_t* left, uint32_t* right);
uint32_t GetRecordPosition(uint16_t unit);

// In the callback thread.
void OnWaveInData(HWAVEIN device, UINT message, DWORD_PTR instance, DWORD_PTR header, DWORD_PTR same_header);

// Ends a recording that is stopping when no buffer is left in the device. The caller holds the lock.
void EndIfDrained(Recording& recording);

}  // namespace tolvane
