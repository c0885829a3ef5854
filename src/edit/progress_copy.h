// Copying a whole file in steps that show progress and can be interrupted.
#pragma once

#include "frame/worker.h"

namespace tolvane {

// Byte for byte. A copy that is cancelled breaks off and is no failure: who cancelled it knows.
bool CopyWithProgress(const char* from, const char* to, const JobControl& job);

// How much to write at `position` so that the write ends where the system's own pages do, which is faster; at most
// `left` and one block.
uint32_t AlignedLength(uint32_t position, uint32_t left);

}  // namespace tolvane
