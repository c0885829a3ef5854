#include "playback/choice.h"

#include "files/inspect.h"
#include "frame/immortal.h"
#include "tolvane.h"

namespace tolvane {

namespace {

// The last file loaded or played, for which an empty name stands where a host may give one; empty after a failed start.
struct CurrentFile {
    Lock lock;
    char path[kPathSize] = "";
};

void SetCurrentFile(const char* path) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    CopyText(current.path, kPathSize, IsUsablePath(path) ? path : "");
}

bool IsPlaying() {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    return playback.playing;
}

}  // namespace

void CopyCurrentFile(char (&path)[kPathSize]) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    CopyText(path, kPathSize, current.path);
}

bool IsPlayingFile(const char* path) {
    char current[kPathSize];
    CopyCurrentFile(current);
    return !IsEmpty(path) && strcmp(path, current) == 0 && IsPlaying();
}

uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    if (!IsSameFileAsLast(path)) SetCurrentFile(path);
    options.direct = !convert;
    uint16_t result = StartWavePlayback(path, mix_path, options);
    if (result != TOLVANE_OK) SetCurrentFile("");
    return result;
}

uint16_t LoadFile(const char* path) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    SetCurrentFile(path);
    return LoadPlaybackFile(path);
}

}  // namespace tolvane
