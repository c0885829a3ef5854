// Conversions in the background: starting, watching, cancelling and closing them.
#pragma once

#include "convert/convert_file.h"
#include "tolvane.h"

namespace tolvane {

// With `wait` the conversion runs here; otherwise *job receives the record of the running one, null without
// memory or thread.
TolvaneResult StartConversion(const ConvertRequest& request, ConvertJob** job, bool wait);

// Null where the handle is none of a job's.
ConvertJob* ValidJob(ConvertJob* handle);
void CloseConversion(ConvertJob** job);

// The conversion to PCM: null when it cannot be started.
PcmConversion* BeginPcmConversion(const char* source, const char* target, const WAVEFORMATEX* format);
uint32_t GetPcmStatus(const PcmConversion* conversion, uint32_t* progress);
void AbortPcmConversion(PcmConversion* conversion);

}  // namespace tolvane
