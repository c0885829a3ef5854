// The conversion of a wave file into the format of a codec.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <cstdint>

#include "convert/convert_job.h"

namespace tolvane {

struct ConvertRequest {
    uint16_t codec_index = 0;
    int32_t format_tag_index = -1;  // none: what the driver suggests
    const char* source = nullptr;
    const char* target = nullptr;
    WAVEFORMATEX pcm_format = {};  // read when the format tag is PCM
    bool allow_fallback = false;   // another driver may do it
};

// Runs in the caller's thread; `job` (may be null) is told of the progress and can cancel, which is a success
// without a target. The target appears, or is replaced, only when it is whole.
TolvaneResult ConvertFile(const ConvertRequest& request, ConvertJob* job);

}  // namespace tolvane
