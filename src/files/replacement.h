// Putting a new file in the place of an old one, so that there is always one of them, whole.
#pragma once

#include "frame/text.h"

namespace tolvane {

bool IsThere(const char* path);

// Whether both names lead to one and the same existing file.
bool IsSameFile(const char* path, const char* other);

// A file that is written beside its target and takes the target's place when it is whole; removed otherwise.
class Replacement {
  public:
    // Makes the file, empty. False when it cannot be made, or the target is nothing that can be replaced.
    bool Begin(const char* target);

    // Where to write; the writer has closed it before the commit.
    const char* Path() const { return path_; }

    // False when the target cannot be replaced; the new file is removed then, unless the system lost the old one over
    // the attempt.
    bool Commit();

    Replacement() = default;
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement();

  private:
    void LetBeChanged();

    char path_[kPathSize] = "";
    char target_[kPathSize] = "";
};

// Moves a finished file into the place of `target`, or of nothing; `file` may lie on another volume and is gone
// afterwards. False when that cannot be done: then the target is as it was, unless the system lost it.
bool PlaceFile(const char* file, const char* target);

// Whether the file `target` could itself become `kept`: they are on one volume, and nobody knows it by another name.
bool CanBecome(const char* kept, const char* target);

// As PlaceFile, but what stood there takes the place of `kept`: no byte of it is copied. `file` and `kept` lie on the
// target's volume.
bool PlaceFileKeepingOld(const char* file, const char* target, const char* kept);

}  // namespace tolvane
