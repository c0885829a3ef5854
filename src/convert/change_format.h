// The change of format: another sample rate, channel count or sample size by the library's own arithmetic, in up to
// three passes from file to file.
#pragma once

#include <cstdint>

#include "convert/format_pass.h"
#include "edit/job.h"

namespace tolvane {

// Result codes. An empty name means the current file.
uint16_t ChangeFormatNow(const char* name, const char* target, const PcmShape& wanted);
uint16_t StartChangeFormat(const char* name, const char* target, const PcmShape& wanted, EditJob** handle);

}  // namespace tolvane
