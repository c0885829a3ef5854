// The conversion of a wave file into a given PCM format, in two passes where it is compressed.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include "frame/worker.h"
#include "tolvane.h"

namespace tolvane {

// Runs in the caller's thread. With a `job`, whoever asks it to stop gets what has been converted so far, as a
// success; without, the debugger is told of the sizes. Of a second pass that fails, the target keeps what was
// converted.
TolvaneResult ConvertToPcmFile(const char* source, const char* target, const WAVEFORMATEX& format,
                               const JobControl* job);

}  // namespace tolvane
