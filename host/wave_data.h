// Where the sound of a wave file lies in it, and what stands before it.
#ifndef TOLVANE_HOST_WAVE_DATA_H
#define TOLVANE_HOST_WAVE_DATA_H

#include <windows.h>
#include <mmsystem.h>

#include <tolvane.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace tolvane::host {

struct CloseMmio {
    void operator()(HMMIO file) const { mmioClose(file, 0); }
};
using MmioFile = std::unique_ptr<std::remove_pointer_t<HMMIO>, CloseMmio>;

// Positioned at the first byte of the sound; nothing when there is none.
MmioFile OpenSound(std::string path, MMCKINFO& data);

// The byte of the file at which its sound begins, 0 when there is none.
uint32_t DataStart(const std::string& path);

constexpr uint32_t kWaveHeadBytes = 44;  // of one without anything else

// The head of a wave file with `data` bytes of sound, which begin at the byte `start`.
std::vector<uint8_t> WaveHead(const InputFileInfo& format, uint32_t data, uint32_t start = kWaveHeadBytes);

}  // namespace tolvane::host

#endif
