// Finding, entering, leaving and making chunks.
#ifndef TOLVANE_PLATFORM_RIFF_CHUNKS_H
#define TOLVANE_PLATFORM_RIFF_CHUNKS_H

#include "platform/riff/mmio_file.h"

namespace tolvane::platform {

MMRESULT Descend(MmioFile& file, MMCKINFO& chunk, const MMCKINFO* parent, UINT flags);
MMRESULT Ascend(MmioFile& file, MMCKINFO& chunk);
MMRESULT CreateChunk(MmioFile& file, MMCKINFO& chunk, UINT flags);

}  // namespace tolvane::platform
#endif
