// The temp folder and the five scratch files through which edits, undo and the playback copy work.
#pragma once

#include <windows.h>

#include <cstdint>

#include "frame/text.h"

namespace tolvane {

enum class ScratchFile { kClipboard, kEditWork, kUndo, kRedo, kPlaybackCopy };
inline constexpr int kScratchFileCount = 5;

// At load: the system's temp folder, with five new scratch files in it. What cannot be made stays an empty
// name, and whoever opens it fails.
void SetUpScratchFiles();

// At unload and at process exit.
void DeleteScratchFiles();

// Moves to another temp folder; the contents of the old scratch files are lost. A result code.
uint32_t SetTempPath(const char* folder);

// Copies, because SetTempPath may come from another thread at any time.
void CopyTempFolder(char (&folder)[kPathSize]);
void CopyScratchName(ScratchFile file, char (&name)[kPathSize]);

// Makes the file of one role anew: under another name, empty. What it held before stays where it is.
void RenewScratchFile(ScratchFile file);

// The names as they are when a long operation begins; one of a file that is gone is made anew. Should the temp folder
// be changed meanwhile, what the operation leaves under the old names is removed with its end.
class ScratchLease {
  public:
    ScratchLease();
    ~ScratchLease();
    ScratchLease(const ScratchLease&) = delete;
    ScratchLease& operator=(const ScratchLease&) = delete;
    const char* Name(ScratchFile file) const { return names_[static_cast<int>(file)]; }

  private:
    char names_[kScratchFileCount][kPathSize];
};

// A new empty file for the time of an operation; false where it could not be made.
class TempFile {
  public:
    static TempFile InSystemFolder();
    static TempFile InLibraryFolder();  // that of SetTempPath
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const char* Path() const { return path_; }
    explicit operator bool() const { return *path_ != 0; }

  private:
    TempFile(const char* folder, const char* prefix);

    char path_[kPathSize];
};

}  // namespace tolvane
