// What is open in the system's codec manager, and what is asked of all its drivers at once.
//
// One thread at a time opens, closes and searches: not every system's manager keeps its lists of what is open for
// several threads at once, and a damaged one may hang the process at its end. Conversions themselves run side by side.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include <atomic>

#include "frame/handles.h"
#include "frame/lock.h"

namespace tolvane {

// May be nested: a driver can come back to the library while it is opened.
class CodecManagerGuard {
  public:
    CodecManagerGuard() : nested_(owner_ == GetCurrentThreadId()) {
        if (nested_) return;
        AcquireSRWLockExclusive(&lock_.srw);
        owner_ = GetCurrentThreadId();
    }
    ~CodecManagerGuard() {
        if (nested_) return;
        owner_ = 0;
        ReleaseSRWLockExclusive(&lock_.srw);
    }
    CodecManagerGuard(const CodecManagerGuard&) = delete;
    CodecManagerGuard& operator=(const CodecManagerGuard&) = delete;

  private:
    static inline constinit Lock lock_;
    static inline constinit std::atomic<DWORD> owner_ = 0;
    bool nested_;
};

template <class Opened, auto close>
struct CodecManagerTraits {
    using Handle = Opened;
    static constexpr Handle None() { return nullptr; }
    static void Close(Handle handle) {
        const CodecManagerGuard guard;
        close(handle, 0);
    }
};
using AcmDriver = UniqueHandle<CodecManagerTraits<HACMDRIVER, acmDriverClose>>;
using AcmStream = UniqueHandle<CodecManagerTraits<HACMSTREAM, acmStreamClose>>;

// None when the driver cannot be opened.
inline AcmDriver OpenAcmDriver(HACMDRIVERID id) {
    const CodecManagerGuard guard;
    HACMDRIVER driver = nullptr;
    return acmDriverOpen(&driver, id, 0) == MMSYSERR_NOERROR ? AcmDriver(driver) : AcmDriver();
}

// None when `driver` (null: any) cannot convert between the formats.
inline AcmStream OpenAcmStream(HACMDRIVER driver, const WAVEFORMATEX* source, const WAVEFORMATEX* target) {
    const CodecManagerGuard guard;
    HACMSTREAM stream = nullptr;
    const MMRESULT result =
        acmStreamOpen(&stream, driver, const_cast<WAVEFORMATEX*>(source), const_cast<WAVEFORMATEX*>(target),
                      nullptr, 0, 0, ACM_STREAMOPENF_NONREALTIME);
    return AcmStream(result == MMSYSERR_NOERROR ? stream : nullptr);
}

inline MMRESULT SuggestFromAny(const WAVEFORMATEX* source, WAVEFORMATEX* target, DWORD size, DWORD flags) {
    const CodecManagerGuard guard;
    return acmFormatSuggest(nullptr, const_cast<WAVEFORMATEX*>(source), target, size, flags);
}

// The size of the longest format record of `driver` (null: of any).
inline MMRESULT LargestFormat(DWORD* size, HACMDRIVER driver = nullptr) {
    const CodecManagerGuard guard;
    return acmMetrics(reinterpret_cast<HACMOBJ>(driver), ACM_METRIC_MAX_SIZE_FORMAT, size);
}

}  // namespace tolvane
