// Conversions in the background: starting, watching, cancelling and closing them.
#pragma once

#include "convert/convert_file.h"
#include "tolvane.h"

namespace tolvane {

// With `wait` the conversion runs here; otherwise *handle receives the record of the running one, null without
// memory or thread. Without a place for the handle it runs all the same, and frees its record itself.
TolvaneResult StartConversion(ConvertRequest request, ConvertJob** handle, bool wait);

// Null where the handle is none of a job's.
ConvertJob* ValidJob(ConvertJob* handle);

// Frees the record, that of a running job when the worker, told to stop, is done with it.
void CloseConversion(ConvertJob** handle);

// The conversion to PCM: null when it cannot be started.
PcmConversion* BeginPcmConversion(const char* source, const char* target, const WAVEFORMATEX* format);
uint32_t GetPcmStatus(const PcmConversion* conversion, uint32_t* progress);
void AbortPcmConversion(PcmConversion* conversion);

}  // namespace tolvane
