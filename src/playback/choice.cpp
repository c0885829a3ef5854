#include "playback/choice.h"

#include "edit/state.h"
#include "files/inspect.h"
#include "files/replacement.h"
#include "frame/immortal.h"
#include "frame/scratch_files.h"
#include "tolvane.h"

namespace tolvane {

namespace {

// The last file loaded or played, for which an empty name stands where a host may give one; empty after a failed
// start.
struct CurrentFile {
    Lock lock;
    char path[kPathSize] = "";
    bool load_again = false;  // it was loaded, and closed because it was to be replaced
    bool copy_valid = false;  // the playback copy file holds a PCM copy of it
    uint32_t choice = 0;  // which choice this is, counted whenever another begins or the copy is forgotten
};

void ForgetCopyOf(CurrentFile& current) {
    current.copy_valid = false;
    ++current.choice;
}

void Set(CurrentFile& current, const char* path) {
    CopyText(current.path, kPathSize, IsUsablePath(path) ? path : "");
    current.load_again = false;
    ForgetCopyOf(current);
}

void SetCurrentFile(const char* path) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    Set(current, path);
}

struct Choice {
    uint32_t number;
    bool copied;
};

// In one step: what is the last file and what is the current one must not come from two starts.
Choice Choose(const char* path) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    if (!IsSameFileAsLast(path)) Set(current, path);
    return {current.choice, current.copy_valid};
}

// A copy that was made for this choice. Another thread may have chosen another file, or thrown the copy away.
void KeepCopy(const Choice& choice) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    if (current.choice == choice.number) current.copy_valid = true;
}

// What can be undone is another sound's than the one that the copy holds now.
void ForgetUndoOfCopy() {
    char copy[kPathSize];
    CopyScratchName(ScratchFile::kPlaybackCopy, copy);
    ForgetUndoOf(copy);
}

void SetLoadAgain() {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    current.load_again = true;
}

bool TakeLoadAgain(char (&path)[kPathSize]) {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    CopyText(path, kPathSize, current.path);
    return std::exchange(current.load_again, false);
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
    if (IsEmpty(path)) return false;
    return (strcmp(path, current) == 0 && IsPlaying()) || IsPlayingInSet(path);
}

bool IsCopyValid() {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    return current.copy_valid;
}

void ForgetPlaybackCopy() {
    CurrentFile& current = Immortal<CurrentFile>();
    LockGuard guard(current.lock);
    ForgetCopyOf(current);
}

// The copy of an unchanged file is played again; played as it is, the file leaves its copy good for later.
uint16_t PlayWave(const char* path, const char* mix_path, StartOptions options, bool convert) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    const Choice choice = Choose(path);
    options.direct = !convert;
    options.from_copy = choice.copied && convert;
    bool made_copy = false;
    uint16_t result = StartWavePlayback(path, mix_path, options, &made_copy);
    if (result != TOLVANE_OK) SetCurrentFile("");
    if (made_copy) ForgetUndoOfCopy();
    if (made_copy && result == TOLVANE_OK) KeepCopy(choice);
    return result;
}

// The file's identity is noted, so that a wave file played before is not taken for unchanged because of it.
uint16_t PlayMp3(const char* path, const StartOptions& options) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    IsSameFileAsLast(path);
    ForgetPlaybackCopy();
    const uint16_t result = StartMp3Playback(path, options);
    if (result != TOLVANE_OK) SetCurrentFile("");
    return result;
}

uint16_t LoadFile(const char* path) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    SetCurrentFile(path);
    return LoadPlaybackFile(path);
}

void CloseLoadedFile(const char* path) {
    char current_path[kPathSize];
    CopyCurrentFile(current_path);
    if (IsEmpty(current_path) || !IsSameFile(path, current_path) || !ClosePlaybackFile()) return;
    SetLoadAgain();
}

// A failure leaves the file to be loaded, so that the call can be repeated.
uint16_t PlayLoadedFile(uint32_t start, uint16_t unit) {
    char path[kPathSize];
    const uint16_t failed = TakeLoadAgain(path) ? LoadPlaybackFile(path) : uint16_t{TOLVANE_OK};
    if (failed == TOLVANE_OK) return StartLoadedFile(start, unit);
    SetLoadAgain();
    return failed;
}

}  // namespace tolvane
