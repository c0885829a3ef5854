#include "playback/choice.h"

#include <atomic>

#include "files/inspect.h"
#include "frame/immortal.h"
#include "frame/scratch_files.h"
#include "frame/text.h"
#include "tolvane.h"

namespace tolvane {

namespace {

struct Choice {
    Lock lock;
    char current_file[kPathSize] = "";      // the last file loaded or played; empty after a failed start
    std::atomic<bool> copy_valid = false;   // the playback copy file holds a PCM copy of the current file
    std::atomic<bool> direct_play = false;  // the running playback plays a compressed file as it is
    std::atomic<bool> started = false;      // by an export, and not stopped
    std::atomic<bool> host_paused = false;  // AudioPause is in force
};

Choice& TheChoice() {
    return Immortal<Choice>();
}

void SetCurrentFile(Choice& choice, const char* path) {
    LockGuard guard(choice.lock);
    CopyText(choice.current_file, kPathSize, path);
}

void NoteStarted(Choice& choice) {
    choice.host_paused = false;
    choice.started = true;
}

// A file that is not the one played last, or of which there is no copy.
uint16_t PlayNew(Choice& choice, const char* path, const char* mix_path, StartOptions& options,
                 bool convert) {
    choice.copy_valid = IsNonPcmWaveFile(path) != 0;
    options.direct = !convert && choice.copy_valid;
    uint16_t result = StartWavePlayback(path, mix_path, options);
    if (result == TOLVANE_OK && options.direct) {
        choice.direct_play = true;
        choice.copy_valid = false;
    }
    return result;
}

// The compressed file that was converted for the last playback.
uint16_t PlayAgain(Choice& choice, const char* path, const char* mix_path, StartOptions& options,
                   bool convert) {
    options.direct = !convert;
    char copy[kPathSize];
    CopyScratchName(ScratchFile::kPlaybackCopy, copy);
    uint16_t result = StartWavePlayback(convert ? copy : path, mix_path, options);
    if (result == TOLVANE_OK && options.direct) choice.direct_play = true;
    return result;
}

}  // namespace

uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert) {
    Choice& choice = TheChoice();
    choice.direct_play = false;
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    bool same = IsSameFileAsLast(path) != 0;
    if (!same && IsUsablePath(path)) SetCurrentFile(choice, path);
    uint16_t result = same && choice.copy_valid ? PlayAgain(choice, path, mix_path, options, convert)
                                                : PlayNew(choice, path, mix_path, options, convert);
    if (result == TOLVANE_OK) {
        NoteStarted(choice);
    } else {
        choice.copy_valid = false;
        SetCurrentFile(choice, "");
    }
    return result;
}

uint16_t LoadFile(const char* path) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    Choice& choice = TheChoice();
    SetCurrentFile(choice, IsUsablePath(path) ? path : "");
    choice.copy_valid = false;
    return LoadPlaybackFile(path);
}

uint16_t PlayCurrentFile(uint32_t start, uint16_t unit) {
    Choice& choice = TheChoice();
    uint16_t result = StartLoadedFile(start, unit);
    if (result != TOLVANE_OK) return result;
    choice.direct_play = false;
    NoteStarted(choice);
    return TOLVANE_OK;
}

void Stop() {
    Choice& choice = TheChoice();
    StopPlayback();
    choice.started = false;
    choice.host_paused = false;
}

void Pause() {
    Choice& choice = TheChoice();
    if (!IsPlaying()) {
        choice.started = false;
    } else if (choice.started && !choice.host_paused.exchange(true)) {
        TogglePause();
    }
}

void Resume() {
    Choice& choice = TheChoice();
    if (choice.started && choice.host_paused.exchange(false)) TogglePause();
}

void MoveTo(uint32_t position, uint16_t unit) {
    Choice& choice = TheChoice();
    if (choice.started && !choice.direct_play) MovePlayback(position, unit);
}

uint32_t GetPosition(uint16_t unit) {
    return GetPlaybackPosition(unit, TheChoice().direct_play);
}

void ForgetPlaybackCopy() {
    TheChoice().copy_valid = false;
}

}  // namespace tolvane
