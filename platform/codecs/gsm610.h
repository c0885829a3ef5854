// The blocks of GSM 6.10 in wave files.
#ifndef TOLVANE_PLATFORM_CODECS_GSM610_H
#define TOLVANE_PLATFORM_CODECS_GSM610_H

#include <windows.h>

namespace tolvane::platform {

constexpr WORD kGsmBlock = 65;  // bytes
constexpr WORD kGsmBlockSamples = 320;

}  // namespace tolvane::platform
#endif
