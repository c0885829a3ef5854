#include "devices/closing.h"

#include <atomic>

#include "frame/handles.h"

namespace tolvane {

namespace {

constexpr DWORD kClosePoll = 10;        // milliseconds
constexpr DWORD kPatienceAtUnload = 3;  // polls

constinit std::atomic<bool> unloading = false;
constinit std::atomic<bool> still_closing = false;

}  // namespace

Closing CloseApart(LPTHREAD_START_ROUTINE close, void* device) {
    const auto outcome = [](DWORD result) {
        return result == MMSYSERR_NOERROR ? Closing::kDone : Closing::kRefused;
    };
    KernelHandle thread(CreateThread(nullptr, 0, close, device, 0, nullptr));
    if (!thread) return outcome(close(device));
    DWORD polls_at_unload = 0;
    while (WaitForSingleObject(thread.Get(), kClosePoll) == WAIT_TIMEOUT) {
        if (!unloading || ++polls_at_unload < kPatienceAtUnload) continue;
        still_closing = true;
        return Closing::kGoesOn;
    }
    DWORD result = MMSYSERR_NOERROR;
    return GetExitCodeThread(thread.Get(), &result) ? outcome(result) : Closing::kRefused;
}

void BeginUnload() {
    unloading = true;
}

bool IsUnloading() {
    return unloading;
}

void EndUnload() {
    if (still_closing) LoadLibraryA("WINMM.DLL");
}

}  // namespace tolvane
