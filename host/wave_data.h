// Where the sound of a wave file lies in it.
#ifndef TOLVANE_HOST_WAVE_DATA_H
#define TOLVANE_HOST_WAVE_DATA_H

#include <windows.h>
#include <mmsystem.h>

#include <memory>
#include <string>
#include <type_traits>

namespace tolvane::host {

struct CloseMmio {
    void operator()(HMMIO file) const { mmioClose(file, 0); }
};
using MmioFile = std::unique_ptr<std::remove_pointer_t<HMMIO>, CloseMmio>;

// Positioned at the first byte of the sound; nothing when there is none.
MmioFile OpenSound(std::string path, MMCKINFO& data);

// The byte of the file at which its sound begins, 0 when there is none.
uint32_t DataStart(const std::string& path);

}  // namespace tolvane::host

#endif
