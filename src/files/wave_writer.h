// Writing wave files: chunk after chunk, each size filled in when its chunk is closed.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include "frame/handles.h"

namespace tolvane {

// Creates a file, or empties it, buffered by the system; none where the path is unusable.
MmioFile OpenForWriting(const char* path);

// False also when something written before does not reach the file.
bool CloseWritten(MmioFile file);

// A wave file being written. The steps are called in the order below; each is false when the disk refuses it.
class WaveWriter {
  public:
    // Creates the file, or empties it. A large buffer gathers small writes; who writes large blocks needs none.
    enum class Buffering { kLarge, kSmall };
    bool Create(const char* path, Buffering buffering = Buffering::kLarge);
    bool BeginWave();
    bool BeginChunk(FOURCC id);
    bool Write(const void* data, DWORD size);
    bool EndChunk();
    bool EndWave();
    // False also when something written before does not reach the file.
    bool Close();

    // Creates the file with its format of 18 bytes and begins the sound; the end of both, and Close.
    bool CreatePcm(const char* path, const WAVEFORMATEX& format);
    bool FinishPcm();

  private:
    MmioFile file_;
    MMCKINFO riff_ = {};
    MMCKINFO chunk_ = {};
};

}  // namespace tolvane
