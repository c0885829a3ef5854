// MP3 files: described for a codec, measured for a host.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <cstdint>

namespace tolvane {

// The stream's format and the file's size in bytes; neither is written unless the result is TOLVANE_OK.
uint16_t ReadMp3FileInfo(const char* path, MPEGLAYER3WAVEFORMAT* format, uint32_t* size);

}  // namespace tolvane
