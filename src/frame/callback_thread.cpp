#include "frame/callback_thread.h"

#include <mmsystem.h>
#include <process.h>

#include <atomic>

#include "frame/handles.h"
#include "frame/immortal.h"
#include "frame/lock.h"
#include "playback/playback.h"
#include "record/recording.h"

namespace tolvane {

namespace {

constexpr UINT kEndOfPlayback = WM_APP + 1;
constexpr DWORD kTimeToEnd = 1000;  // milliseconds

struct CallbackThread {
    Lock lock;  // the starting of the thread
    std::atomic<DWORD> id = 0;
    KernelHandle thread;
    KernelHandle changed;  // set when the thread has its queue, and again when it has left its loop
    std::atomic<HWND> window = nullptr;
};

CallbackThread& State() {
    return Immortal<CallbackThread>();
}

bool IsWaveOutMessage(UINT message) {
    return message >= MM_WOM_OPEN && message <= MM_WOM_DONE;
}

bool IsWaveInMessage(UINT message) {
    return message >= MM_WIM_OPEN && message <= MM_WIM_DATA;
}

void Handle(const MSG& message) {
    if (IsWaveOutMessage(message.message)) {
        OnWaveOutDone(reinterpret_cast<HWAVEOUT>(message.wParam), message.message, 0,
                      static_cast<DWORD_PTR>(message.lParam), static_cast<DWORD_PTR>(message.lParam));
    } else if (IsWaveInMessage(message.message)) {
        OnWaveInData(reinterpret_cast<HWAVEIN>(message.wParam), message.message, 0,
                     static_cast<DWORD_PTR>(message.lParam), static_cast<DWORD_PTR>(message.lParam));
    } else if (message.message == kEndOfPlayback && !message.hwnd) {
        EndPlaybackIfDrained();
    } else {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

// Inside the loader's lock a thread can neither be waited for nor end by itself; so it says that it is done
// and then sleeps until unload terminates it.
unsigned __stdcall RunCallbackThread(void*) {
    CallbackThread& state = State();
    MSG message;
    PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
    SetEvent(state.changed.Get());
    while (const BOOL got = GetMessageA(&message, nullptr, 0, 0)) {
        got > 0 ? Handle(message) : Sleep(1);  // only the quit message ends the thread, not a failure
    }
    SetEvent(state.changed.Get());
    Sleep(INFINITE);
    return 0;
}

bool StartThread(CallbackThread& state) {
    state.changed.Reset(CreateEventA(nullptr, FALSE, FALSE, nullptr));
    if (!state.changed) return false;
    unsigned id = 0;
    state.thread.Reset(
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, RunCallbackThread, nullptr, 0, &id)));
    if (!state.thread) return false;
    WaitForSingleObject(state.changed.Get(), INFINITE);
    state.id = id;
    return true;
}

}  // namespace

DWORD CallbackThreadId() {
    CallbackThread& state = State();
    LockGuard guard(state.lock);
    if (state.id == 0 && !StartThread(state)) state.changed.Reset();
    return state.id;
}

bool AskForEndOfPlayback() {
    DWORD id = State().id;
    return id != 0 && PostThreadMessageA(id, kEndOfPlayback, 0, 0);
}

void EndCallbackThread() {
    CallbackThread& state = State();
    if (state.id == 0) return;
    if (PostThreadMessageA(state.id, WM_QUIT, 0, 0)) WaitForSingleObject(state.changed.Get(), INFINITE);
    TerminateThread(state.thread.Get(), 0);
    WaitForSingleObject(state.thread.Get(), kTimeToEnd);
    state.thread.Reset();
    state.changed.Reset();
    state.id = 0;
}

void SetCallbackWindow(HWND window) {
    State().window = window;
}

void NotifyCallbackWindow(UINT message, WPARAM wparam, LPARAM lparam) {
    if (HWND window = State().window) PostMessageA(window, message, wparam, lparam);
}

}  // namespace tolvane
