#include "playback/choice.h"

#include <atomic>

#include "files/inspect.h"
#include "frame/immortal.h"
#include "frame/text.h"
#include "tolvane.h"

namespace tolvane {

namespace {

struct Choice {
    Lock lock;
    char current_file[kPathSize] = "";      // the last file loaded or played; empty after a failed start
    std::atomic<bool> direct_play = false;  // the running playback plays a compressed file as it is
    std::atomic<bool> started = false;      // by an export, and not stopped
    std::atomic<bool> host_paused = false;  // AudioPause is in force
};

Choice& TheChoice() {
    return Immortal<Choice>();
}

void SetCurrentFile(Choice& choice, const char* path) {
    LockGuard guard(choice.lock);
    CopyText(choice.current_file, kPathSize, IsUsablePath(path) ? path : "");
}

void NoteStarted(Choice& choice) {
    choice.host_paused = false;
    choice.started = true;
}

}  // namespace

uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert) {
    Choice& choice = TheChoice();
    choice.direct_play = false;
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    if (!IsSameFileAsLast(path)) SetCurrentFile(choice, path);
    options.direct = !convert;
    uint16_t result = StartWavePlayback(path, mix_path, &options);
    if (result == TOLVANE_OK) {
        choice.direct_play = options.direct;
        NoteStarted(choice);
    } else {
        SetCurrentFile(choice, "");
    }
    return result;
}

uint16_t LoadFile(const char* path) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    Choice& choice = TheChoice();
    SetCurrentFile(choice, path);
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

}  // namespace tolvane
