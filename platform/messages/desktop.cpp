// The desktop that dialogs open on: the process has one, and whoever answers them can be asked.
#include "platform/kernel/error.h"

namespace {

HWINSTA__ station{};

}  // namespace

using namespace tolvane::platform;

HWINSTA WINAPI GetProcessWindowStation() {
    return FaultStrikes("GetProcessWindowStation", ERROR_ACCESS_DENIED) ? nullptr : &station;
}

BOOL WINAPI GetUserObjectInformationA(HANDLE object, int index, PVOID information, DWORD size,
                                      LPDWORD needed) {
    if (FaultStrikes("GetUserObjectInformationA", ERROR_ACCESS_DENIED)) return FALSE;
    if (object != &station) return Fail(ERROR_INVALID_HANDLE);
    if (index != UOI_FLAGS) return Fail(ERROR_INVALID_PARAMETER);
    const USEROBJECTFLAGS flags = {FALSE, FALSE, WSF_VISIBLE};
    if (needed) *needed = sizeof flags;
    if (!information || size < sizeof flags) return Fail(ERROR_INSUFFICIENT_BUFFER);
    memcpy(information, &flags, sizeof flags);
    return TRUE;
}
