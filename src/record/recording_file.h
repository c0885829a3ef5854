// The wave file of a recording. It is whole at every moment: should the process end, all blocks that were appended are in
// it. It never grows beyond what a wave file can be.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <algorithm>

#include "files/wave_writer.h"
#include "frame/text.h"

namespace tolvane {

class RecordingFile {
  public:
    // Replaces a file of that name. After a failure nothing is left of the new one.
    bool Create(const char* path, const WAVEFORMATEX& format);
    bool IsOpen() const { return open_; }
    const char* Path() const { return path_; }  // whole

    // Where in the file the next byte goes.
    DWORD Offset() const { return offset_; }
    // False where the disk refuses it: nothing is appended then, and one may go on. What the file has no room for is left
    // out, and that is no failure.
    bool Append(const void* data, DWORD size);
    // Up to where the disk refuses it.
    void AppendSilence(DWORD size);

    // Closes the file. What fails then leaves it as it was after the last block.
    void Finish();
    // Closes and deletes it.
    void Discard();

  private:
    DWORD Room() const { return end_ - std::min(offset_, end_); }
    bool Put(const void* data, DWORD size);

    WaveWriter writer_;
    WAVEFORMATEX format_ = {};
    DWORD offset_ = 0;
    DWORD end_ = 0;  // the file's most bytes
    bool open_ = false;
    bool torn_ = false;  // a part of a block may stand behind the end
    char path_[kPathSize] = {};
};

}  // namespace tolvane
