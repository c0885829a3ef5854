#include "playback/choice.h"

#include "files/inspect.h"
#include "frame/immortal.h"
#include "tolvane.h"

namespace tolvane {

namespace {

// The last file loaded or played, for which an empty name stands where a host may give one; empty after a failed
// start.
struct CurrentFile {
    Lock lock;
    char path[kPathSize] = "";
    bool copy_valid = false;  // the playback copy file holds a PCM copy of it
};

void SetCurrentFile(const char* path) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    CopyText(current.path, kPathSize, IsUsablePath(path) ? path : "");
    current.copy_valid = false;
}

void SetCopyValid(bool valid) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    current.copy_valid = valid;
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

bool IsCopyValid() {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    return current.copy_valid;
}

void ForgetPlaybackCopy() {
    SetCopyValid(false);
}

// The copy of an unchanged file is played again; played as it is, the file leaves its copy good for later.
uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    const bool same = IsSameFileAsLast(path) != 0;
    if (!same) SetCurrentFile(path);
    const bool copied = same && IsCopyValid();
    options.direct = !convert;
    options.from_copy = copied && convert;
    bool made_copy = false;
    uint16_t result = StartWavePlayback(path, mix_path, options, &made_copy);
    if (result != TOLVANE_OK) SetCurrentFile("");
    if (made_copy) SetCopyValid(result == TOLVANE_OK);
    return result;
}

uint16_t LoadFile(const char* path) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    SetCurrentFile(path);
    return LoadPlaybackFile(path);
}

}  // namespace tolvane
