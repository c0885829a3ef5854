// Writing wave files: chunk after chunk, each size filled in when its chunk is closed.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include "frame/handles.h"

namespace tolvane {

// Creates a file, or empties it, buffered by the system; none where the path is unusable. `share` says what others may
// do with it meanwhile (MMIO_DENY...).
MmioFile OpenForWriting(const char* path, DWORD share = MMIO_EXCLUSIVE);

// False also when something written before does not reach the file.
bool CloseWritten(MmioFile file);

// Where the sound of a file of CreatePcm begins; what its RIFF chunk does not count.
inline constexpr DWORD kPcmDataStart = 46, kRiffHeader = 8;

// A wave file being written. The steps are called in the order below; each is false when the disk refuses it.
class WaveWriter {
  public:
    // Creates the file, or empties it. A large buffer gathers small writes; who writes large blocks needs none.
    enum class Buffering { kLarge, kSmall };
    bool Create(const char* path, Buffering buffering = Buffering::kLarge, DWORD share = MMIO_EXCLUSIVE);
    bool BeginWave();
    bool BeginChunk(FOURCC id);
    bool Write(const void* data, DWORD size);
    bool EndChunk();
    bool EndWave();
    // False also when something written before does not reach the file.
    bool Close();

    // Creates the file with its format of 18 bytes and begins the sound; the end of both, and Close.
    bool CreatePcm(const char* path, const WAVEFORMATEX& format, DWORD share = MMIO_EXCLUSIVE);
    bool FinishPcm();

    bool IsOpen() const { return static_cast<bool>(file_); }
    bool MoveTo(DWORD offset);
    // What was written has left the buffer, and the process may end.
    bool Flush();
    // Makes a file of CreatePcm whole as it is, with `end` bytes: its header gets the sizes of what is there.
    bool SavePcm(const WAVEFORMATEX& format, DWORD end);

  private:
    MmioFile file_;
    MMCKINFO riff_ = {};
    MMCKINFO chunk_ = {};
};

}  // namespace tolvane
