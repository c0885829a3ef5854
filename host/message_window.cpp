// The window nobody sees: hears of the end of a playback and of Ctrl-C.
#include "message_window.h"

#include <tolvane.h>

#include <atomic>

namespace tolvane::host {
namespace {

constexpr UINT kInterruptMessage = WM_APP;

std::atomic<HWND> interrupt_target{nullptr};
std::atomic<bool> command_is_over{false};

// Runs in a thread of the system's. The first Ctrl-C is taken, a second one finds nobody and gets the usual
// end. One that comes when all is done must not keep the library from leaving in order.
BOOL WINAPI OnConsoleEvent(DWORD) {
    const HWND window = interrupt_target.exchange(nullptr);
    const bool taken = window && PostMessageA(window, kInterruptMessage, 0, 0);
    return taken || command_is_over;  // asked last: the window may have gone in between
}

Event NextEvent() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == TOLVANE_PLAYBACK_ENDED) return Event::kPlaybackEnded;
        if (message.message == kStopReachedMessage) return Event::kStopReached;
        if (message.message == kInterruptMessage) return Event::kInterrupted;
        DispatchMessageA(&message);
    }
    return Event::kNone;
}

}  // namespace

MessageWindow::MessageWindow()
    : window_(CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
    interrupt_target = window_;
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

MessageWindow::~MessageWindow() {
    command_is_over = true;
    interrupt_target = nullptr;
    if (window_) DestroyWindow(window_);
}

void MessageWindow::HeedInterruptAgain() {
    while (NextEvent() != Event::kNone) {
    }
    interrupt_target = window_;
    interrupted_ = false;
}

Event MessageWindow::Wait(std::optional<std::chrono::milliseconds> limit) {
    Event event = NextEvent();
    const DWORD timeout = limit ? static_cast<DWORD>(limit->count()) : INFINITE;
    for (bool slept = false; event == Event::kNone && !(slept && limit); slept = true) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, timeout, QS_ALLINPUT);
        event = NextEvent();
    }
    interrupted_ |= event == Event::kInterrupted;
    return event;
}

}  // namespace tolvane::host
