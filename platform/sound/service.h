// What the wave services share: the fault check that each begins with, and how devices present themselves.
#ifndef TOLVANE_PLATFORM_SOUND_SERVICE_H
#define TOLVANE_PLATFORM_SOUND_SERVICE_H

#include <mmsystem.h>

#include "platform/testing/faults.h"

namespace tolvane::platform {

// What the capability records of all devices say.
constexpr WORD kNoManufacturer = 0xFFFF;
constexpr MMVERSION kDriverVersion = 0x0100;
constexpr char kMapperName[MAXPNAMELEN] = "Sound mapper";

// The result a test wants this call to fail with, or MMSYSERR_NOERROR.
inline MMRESULT FaultIn(const char* service) {
    uint32_t code = 0;
    if (!PlatformFaultStrikes(service, &code)) return MMSYSERR_NOERROR;
    return code ? code : MMSYSERR_NOMEM;
}

}  // namespace tolvane::platform

#endif
