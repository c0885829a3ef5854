#include "edit/front_checks.h"

#include "files/inspect.h"
#include "frame/scratch_files.h"
#include "playback/choice.h"
#include "tolvane.h"

namespace tolvane {

uint16_t SettleEditedFile(const char* name, char (&path)[kPathSize]) {
    if (IsPlayingFile(name)) return TOLVANE_FILE_IS_PLAYING;
    CopyText(path, kPathSize, IsUsablePath(name) ? name : "");
    if (IsEmpty(name)) CopyCurrentFile(path);
    if (IsEmpty(name) && IsEmpty(path)) return TOLVANE_NO_PATH;
    if (GetFileLength(path) == 0) return TOLVANE_CANNOT_OPEN;
    return IsNonPcmWaveFile(path) ? TOLVANE_EDIT_NOT_PCM : TOLVANE_OK;
}

uint16_t SettleFileToEdit(const char* name, char (&path)[kPathSize]) {
    char current[kPathSize];
    CopyCurrentFile(current);
    CopyText(path, kPathSize, IsEmpty(name) ? current : IsUsablePath(name) ? name : "");
    if (IsPlayingFile(path)) return TOLVANE_FILE_IS_PLAYING;
    if (IsEmpty(name) && !*path) return TOLVANE_NO_PATH;
    if (GetFileLength(path) == 0) return TOLVANE_CANNOT_OPEN;
    if (IsCopyValid() && strcmp(path, current) == 0) CopyScratchName(ScratchFile::kPlaybackCopy, path);
    return IsNonPcmWaveFile(path) ? TOLVANE_EDIT_NOT_PCM : TOLVANE_OK;
}

}  // namespace tolvane
