// An open codec driver.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include "convert/manager_lock.h"
#include "frame/handles.h"

namespace tolvane {

struct AcmDriverTraits {
    using Handle = HACMDRIVER;
    static constexpr HACMDRIVER None() { return nullptr; }
    static void Close(HACMDRIVER driver) {
        const CodecManagerGuard guard;
        acmDriverClose(driver, 0);
    }
};
using AcmDriver = UniqueHandle<AcmDriverTraits>;

// None when the driver cannot be opened.
inline AcmDriver OpenAcmDriver(HACMDRIVERID id) {
    const CodecManagerGuard guard;
    HACMDRIVER driver = nullptr;
    return acmDriverOpen(&driver, id, 0) == MMSYSERR_NOERROR ? AcmDriver(driver) : AcmDriver();
}

}  // namespace tolvane
