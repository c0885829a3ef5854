// The sweep over fault points: their number is counted, not written down.
#include "support/faults.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <vector>

#include "support/resources.h"

namespace tolvane::test {

bool FaultsAvailable() {
    const bool available = PlatformFailCall("none", 1, 0, 0) != 0;
    PlatformFailNone();
    return available;
}

// What the library calls.
constexpr char kServices[] =
    "AcquireSRWLockExclusive CopyFileA CreateEventA CreateFileA CreateMutexA CreateThread DeleteFileA "
    "DispatchMessageA GetDiskFreeSpaceA GetDiskFreeSpaceExA GetFileAttributesA "
    "GetFileInformationByHandle GetFileType GetFullPathNameA GetModuleHandleExA GetProcAddress "
    "GetProcessWindowStation GetTempFileNameA GetTempPathA GetTickCount GetUserObjectInformationA "
    "GetVersionExA GlobalAlloc GlobalLock IsBadReadPtr LoadLibraryA LoadLibraryExA MoveFileExA "
    "OutputDebugStringA PeekMessageA PostMessageA PostThreadMessageA ReplaceFileA SetEvent "
    "SetFileAttributesA Sleep TranslateMessage TryAcquireSRWLockExclusive WaitForSingleObject "
    "_beginthreadex acmDriverDetailsA acmDriverEnum acmDriverOpen acmFormatChooseA acmFormatSuggest "
    "acmFormatTagEnumA acmMetrics acmStreamConvert acmStreamOpen acmStreamPrepareHeader acmStreamSize "
    "mixerGetControlDetailsA mixerGetLineControlsA mixerGetLineInfoA mixerSetControlDetails mmioAscend "
    "mmioCreateChunk mmioDescend mmioFlush mmioOpenA mmioRead mmioSeek mmioSetBuffer mmioWrite "
    "waveInAddBuffer waveInGetDevCapsA waveInGetNumDevs waveInMessage waveInOpen waveInPrepareHeader "
    "waveInStart waveOutGetDevCapsA waveOutGetNumDevs waveOutGetPosition waveOutMessage waveOutOpen "
    "waveOutPause waveOutPrepareHeader waveOutRestart waveOutWrite";

// Where the system refuses for good to take something back, or to wait, nobody can keep order: these only fail once.
constexpr char kOnlyOnce[] =
    "CloseHandle FreeLibrary GetMessageA GlobalFree GlobalUnlock ReleaseMutex ReleaseSRWLockExclusive "
    "acmDriverClose acmStreamClose acmStreamUnprepareHeader mmioClose waveInClose waveInReset "
    "waveInUnprepareHeader waveOutClose waveOutReset waveOutUnprepareHeader";

static std::vector<std::string> Names(const char* list) {
    std::istringstream words(list);
    return {std::istream_iterator<std::string>(words), {}};
}

static void FailOnce(const std::string& service, uint32_t nth, bool sticky, const Step& action,
                     const Step& check, const Step& prepare) {
    SCOPED_TRACE(service + " fails at call " + std::to_string(nth) + (sticky ? " and after" : ""));
    prepare();
    {
        FaultScope fault(service, nth, sticky);
        action();
    }
    check();
}

// Of each service that `action` calls.
static std::map<std::string, uint32_t> CountCalls(const Step& action, const Step& check,
                                                  const Step& prepare) {
    std::map<std::string, uint32_t> counts;
    uint32_t known = 0;
    prepare();
    PlatformFailNone();
    action();
    for (const char* list : {kServices, kOnlyOnce})
        for (const std::string& service : Names(list))
            known += counts[service] = PlatformCallCount(service.c_str());
    EXPECT_LE(PlatformCallCount("*"), known + 3)
        << "a service is missing in the table (but for a thread's last calls)";
    PlatformFailNone();
    check();
    return counts;
}

// What was prepared is given back.
static void ExpectPairs(const Step& action, const Step& check, const Step& prepare) {
    PlatformFailNone();
    prepare(), action(), check();
    for (const std::string kind : {"waveOut", "waveIn", "acmStream"})
        EXPECT_EQ(PlatformCallCount((kind + "PrepareHeader").c_str()),
                  PlatformCallCount((kind + "UnprepareHeader").c_str()))
            << kind;
}

uint32_t FailEachCall(const char* name, const Step& action, const Step& check, const Step& prepare,
                      size_t slack) {
    ExpectPairs(action, check, prepare);
    const auto counts = CountCalls(action, check, prepare);
    const auto fail_once = Names(kOnlyOnce);
    const Resources before = Resources::WithoutJobs();
    uint32_t points = 0;
    for (const auto& [service, count] : counts) {
        const bool only_once = std::ranges::count(fail_once, service) > 0;
        for (uint32_t nth = 1; nth <= count; ++nth, ++points) {
            FailOnce(service, nth, false, action, check, prepare);
            if (!only_once) FailOnce(service, nth, true, action, check, prepare);
        }
    }
    EXPECT_TRUE(NothingLeft(before, slack)) << name;
    EXPECT_GT(points, 0u) << name;
    std::cout << name << ": " << points << " service calls failed in turn\n";
    return points;
}

}  // namespace tolvane::test
