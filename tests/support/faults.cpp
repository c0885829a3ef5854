// The sweep over fault points: their number is counted, not written down.
#include "support/faults.h"

#include <numeric>
#include <vector>

namespace tolvane::test {

bool FaultsAvailable() {
    const bool available = PlatformFailCall("none", 1, 0, 0) != 0;
    PlatformFailNone();
    return available;
}

// What the library calls. Where the system refuses for good to take something back, nobody can keep order, so
// those calls only fail once.
struct Service {
    const char* name;
    bool only_once = false;
};
constexpr Service kServices[] = {
    {"AcquireSRWLockExclusive"},
    {"CloseHandle", true},
    {"CopyFileA"},
    {"CreateEventA"},
    {"CreateFileA"},
    {"CreateMutexA"},
    {"CreateThread"},
    {"DeleteFileA"},
    {"DispatchMessageA"},
    {"FreeLibrary", true},
    {"GetDiskFreeSpaceA"},
    {"GetDiskFreeSpaceExA"},
    {"GetFileAttributesA"},
    {"GetFileInformationByHandle"},
    {"GetFileType"},
    {"GetFullPathNameA"},
    {"GetMessageA", true},
    {"GetModuleHandleExA"},
    {"GetProcAddress"},
    {"GetProcessWindowStation"},
    {"GetTempFileNameA"},
    {"GetTempPathA"},
    {"GetTickCount"},
    {"GetUserObjectInformationA"},
    {"GetVersionExA"},
    {"GlobalAlloc"},
    {"GlobalFree", true},
    {"GlobalLock"},
    {"GlobalUnlock", true},
    {"IsBadReadPtr"},
    {"LoadLibraryA"},
    {"LoadLibraryExA"},
    {"MoveFileExA"},
    {"OutputDebugStringA"},
    {"PeekMessageA"},
    {"PostMessageA"},
    {"PostThreadMessageA"},
    {"ReleaseMutex", true},
    {"ReleaseSRWLockExclusive", true},
    {"ReplaceFileA"},
    {"SetEvent"},
    {"SetFileAttributesA"},
    {"Sleep"},
    {"TranslateMessage"},
    {"TryAcquireSRWLockExclusive"},
    {"WaitForSingleObject"},
    {"_beginthreadex"},
    {"acmDriverClose", true},
    {"acmDriverDetailsA"},
    {"acmDriverEnum"},
    {"acmDriverOpen"},
    {"acmFormatChooseA"},
    {"acmFormatSuggest"},
    {"acmFormatTagEnumA"},
    {"acmMetrics"},
    {"acmStreamClose", true},
    {"acmStreamConvert"},
    {"acmStreamOpen"},
    {"acmStreamPrepareHeader"},
    {"acmStreamSize"},
    {"acmStreamUnprepareHeader", true},
    {"mixerGetControlDetailsA"},
    {"mixerGetLineControlsA"},
    {"mixerGetLineInfoA"},
    {"mixerSetControlDetails"},
    {"mmioAscend"},
    {"mmioClose", true},
    {"mmioCreateChunk"},
    {"mmioDescend"},
    {"mmioFlush"},
    {"mmioOpenA"},
    {"mmioRead"},
    {"mmioSeek"},
    {"mmioSetBuffer"},
    {"mmioWrite"},
    {"waveInAddBuffer"},
    {"waveInClose", true},
    {"waveInGetDevCapsA"},
    {"waveInGetNumDevs"},
    {"waveInMessage"},
    {"waveInOpen"},
    {"waveInPrepareHeader"},
    {"waveInReset", true},
    {"waveInStart"},
    {"waveInUnprepareHeader", true},
    {"waveOutClose", true},
    {"waveOutGetDevCapsA"},
    {"waveOutGetNumDevs"},
    {"waveOutGetPosition"},
    {"waveOutMessage"},
    {"waveOutOpen"},
    {"waveOutPause"},
    {"waveOutPrepareHeader"},
    {"waveOutReset", true},
    {"waveOutRestart"},
    {"waveOutUnprepareHeader", true},
    {"waveOutWrite"},
};

using Step = std::function<void()>;

static void FailOnce(const Service& service, uint32_t nth, bool sticky, const Step& action, const Step& check,
                     const Step& prepare) {
    SCOPED_TRACE(std::string(service.name) + " fails at call " + std::to_string(nth) +
                 (sticky ? " and after" : ""));
    prepare();
    {
        FaultScope fault(service.name, nth, sticky);
        action();
    }
    check();
}

// Calls of each service that `action` makes, in the order of the table.
static std::vector<uint32_t> CountCalls(const Step& action, const Step& check, const Step& prepare) {
    std::vector<uint32_t> counts;
    prepare();
    PlatformFailNone();
    action();
    for (const auto& service : kServices)
        counts.push_back(PlatformCallCount(service.name));
    const uint32_t known = std::accumulate(counts.begin(), counts.end(), 0u);
    EXPECT_LE(PlatformCallCount("*"), known + 3)
        << "a service is missing in the table (but for a thread's last calls)";
    PlatformFailNone();
    check();
    return counts;
}

uint32_t FailEachCall(const Step& action, const Step& check, const Step& prepare) {
    const auto counts = CountCalls(action, check, prepare);
    for (size_t i = 0; i < counts.size(); ++i)
        for (uint32_t nth = 1; nth <= counts[i]; ++nth) {
            FailOnce(kServices[i], nth, false, action, check, prepare);
            if (!kServices[i].only_once) FailOnce(kServices[i], nth, true, action, check, prepare);
        }
    return std::accumulate(counts.begin(), counts.end(), 0u);
}

}  // namespace tolvane::test
