// The drivers that are installed and the handles to them.
//
// Handles are numbers that are never used twice, so that a stale or invented one is recognised; those of
// drivers fit into 32 bits. Who holds an `InstalledDriver` may use it even when it is removed meanwhile.
#ifndef TOLVANE_PLATFORM_CODECS_MANAGER_H
#define TOLVANE_PLATFORM_CODECS_MANAGER_H

#include "platform/codecs/driver.h"
#include "platform/testing/faults.h"

#include <memory>
#include <new>
#include <vector>

namespace tolvane::platform {

struct Installed {
    std::shared_ptr<const Driver> driver;
    bool built_in = true;
    // Peculiarities of a host's driver; 0 = none (see PlatformCodec).
    DWORD reported_tags = 0;
    DWORD priority = 0;
    MMRESULT open_result = 0;
    MMRESULT metrics_result = 0;
    DWORD id = 0;  // given at installation

    bool IsDisabled() const { return (driver->support & ACMDRIVERDETAILS_SUPPORTF_DISABLED) != 0; }
    DWORD TagCount() const { return reported_tags ? reported_tags : static_cast<DWORD>(driver->tags.size()); }
    DWORD LargestFormat() const;
    HACMDRIVERID Handle() const { return reinterpret_cast<HACMDRIVERID>(uintptr_t{id}); }
};
using InstalledDriver = std::shared_ptr<const Installed>;

DWORD InstallDriver(Installed driver, bool in_front);
bool RemoveDriver(DWORD id);
void ShowBuiltInDrivers(bool show);

// All drivers in the order of their priority, the disabled ones where the flags ask for them.
std::vector<InstalledDriver> ListDrivers(DWORD flags);

// Null for a handle that is none of theirs.
InstalledDriver FindDriver(HACMDRIVERID handle);
InstalledDriver FindOpenDriver(HACMDRIVER handle);
InstalledDriver FindEither(HACMOBJ handle);

// The drivers that a service is about: the open one, or without a handle all that are enabled. Empty for a
// bad handle.
std::vector<InstalledDriver> DriversBehind(HACMDRIVER open);

HACMDRIVER OpenDriver(InstalledDriver driver);
bool CloseDriver(HACMDRIVER handle);
DWORD CountOpenDrivers();

// The frame of every service: a fault that a test asked for (`usual` where it names no result), then the
// work; lack of memory becomes a result.
template <class Work>
MMRESULT Serve(const char* service, MMRESULT usual, Work&& work) noexcept {
    uint32_t fault = 0;
    if (PlatformFaultStrikes(service, &fault)) return fault ? fault : usual;
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return MMSYSERR_NOMEM;
    }
}

// For what gives something back: it does so even when a fault makes it answer that it could not, because nobody
// could ever give it back then.
template <class Work>
MMRESULT ServeAnyway(const char* service, MMRESULT usual, Work&& work) noexcept {
    uint32_t fault = 0;
    const bool strikes = PlatformFaultStrikes(service, &fault);
    const MMRESULT done = work();
    if (strikes) return fault ? fault : usual;
    return done;
}

}  // namespace tolvane::platform
#endif
