// Opening, closing and searching in the codec manager, one thread at a time: not every system's manager keeps its lists
// of what is open for several threads at once, and a damaged one may hang the process at its end. Conversions themselves
// run side by side.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include <atomic>

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

// Of all drivers, which the manager opens one after another for it.
inline MMRESULT SuggestFromAny(const WAVEFORMATEX* source, WAVEFORMATEX* target, DWORD size, DWORD flags) {
    const CodecManagerGuard guard;
    return acmFormatSuggest(nullptr, const_cast<WAVEFORMATEX*>(source), target, size, flags);
}

inline MMRESULT LargestFormat(DWORD* size, HACMDRIVER driver = nullptr) {
    const CodecManagerGuard guard;
    return acmMetrics(reinterpret_cast<HACMOBJ>(driver), ACM_METRIC_MAX_SIZE_FORMAT, size);
}

}  // namespace tolvane
