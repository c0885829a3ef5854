// The playback engine: one wave file, streamed from disk to a wave-out device through a small ring of
// buffers.
//
// Host threads start and steer a playback; the callback thread refills buffers and ends it. The record's lock
// guards everything that both touch and is always taken before the device lock; a start owns the record alone
// through its claim until the playback runs.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <atomic>
#include <cstdint>

#include "devices/wave_buffer.h"
#include "files/wave_reader.h"
#include "frame/handles.h"
#include "frame/lock.h"
#include "playback/set.h"

namespace tolvane {

inline constexpr uint16_t kMostBuffers = 8;
inline constexpr uint16_t kFewestBuffers = 2;

// The file that is played. Of an MP3 file the format is that of the PCM which its codec makes of it: in it buffers and
// positions are counted, while the device is given the file's own bytes and, as their format, `mp3`.
struct PlayedFile : WaveSource {
    MPEGLAYER3WAVEFORMAT mp3 = {};

    bool IsMp3() const { return mp3.wfx.wFormatTag != 0; }
};

struct StartOptions {
    uint32_t start = 0, end = 0;  // in `unit`; an end of 0 is none
    uint16_t unit = 0;
    uint32_t sample_rate = 0;  // 0 = the file's own
    bool direct = false;       // a compressed file may go to the device as it is
    bool from_copy = false;    // the playback copy holds what is to be played
    bool repeat = false;
    bool average = false;      // of a mixed playback
    bool start_paused = true;  // so that the first buffers start together
    bool outside_set = false;
};

struct Playback {
    Lock lock;
    std::atomic<bool> claimed = false;  // a start or load is under way

    PlayedFile main;
    WaveSource mix;
    bool average = false;  // mixed samples are averaged instead of added
    GlobalBlock mix_block;
    PlaybackSet set;

    DWORD data_offset = 0;    // file offset where a repeat begins again
    DWORD bytes_to_play = 0;  // to be read for this run altogether, whole frames
    DWORD bytes_read = 0;     // since the data offset, or the last move or repeat
    DWORD base_position = 0;  // added to the device's own position
    DWORD end_position = 0;   // last byte to play, from the data start; 0 = none
    bool repeat = false;
    bool changing_device = false;  // what comes back from the device is not filled again
    StartOptions options;          // of the start, for what it means in the next file of a set

    WaveBuffer buffers[kMostBuffers];
    DWORD buffer_size = 0;
    uint16_t buffer_count = 0;
    uint8_t queue[kMostBuffers] = {};  // slots in the device, in the order they were written, from queue_head
    uint16_t queue_head = 0;
    uint16_t buffers_in_device = 0;

    HWAVEOUT device = nullptr;
    KernelHandle device_lock;

    bool playing = false;
    bool started = false;  // until a stop, or a pause that finds nothing playing
    bool paused = false;
    bool direct = false;  // a compressed file is played as it is
    uint32_t ended_runs =
        0;  // counts playbacks, so that who waits for the end of one does not wait for the next
};

Playback& ThePlayback();

// Start operations; result codes. *made_copy becomes true when a compressed file was converted into the playback
// copy.
uint16_t StartWavePlayback(const char* path, const char* mix_path, StartOptions options, bool* made_copy);
uint16_t LoadPlaybackFile(const char* path);
bool ClosePlaybackFile();  // that was loaded and does not play; false when there is none
uint16_t StartMp3Playback(const char* path, StartOptions options);
uint16_t StartLoadedFile(uint32_t start, uint16_t unit);

// Opens a file as the start of a playback does: a wave file as it is, or an MP3 file. Result codes.
uint16_t OpenMp3ForPlay(const char* path, PlayedFile* file);

// Steering a running playback.
void StopPlayback();
void StopPlaybackAtUnload();
void PausePlayback(bool paused);
void MovePlayback(uint32_t position, uint16_t unit);
uint32_t GetPlaybackPosition(uint16_t unit);
void GetPlaybackLevel(uint32_t* left, uint32_t* right);

// The caller holds the lock.
uint32_t PositionOf(Playback& playback, uint16_t unit);

// The caller holds the lock. Lets the playback end at once: what the device holds comes back, and nothing is filled
// again.
void GiveUpPlayback(Playback& playback);

// The caller holds the lock. Releases all that the playback holds and tells the callback window.
void EndAndTell(Playback& playback);

// In the callback thread.
void OnWaveOutDone(HWAVEOUT device, UINT message, DWORD_PTR instance, DWORD_PTR header,
                   DWORD_PTR same_header);
void EndPlaybackIfDrained();

}  // namespace tolvane
