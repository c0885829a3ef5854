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
    return command_is_over || (window && PostMessageA(window, kInterruptMessage, 0, 0));
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
}

Event MessageWindow::Wait(std::optional<std::chrono::milliseconds> limit) {
    Event event = NextEvent();
    if (event != Event::kNone) return event;
    const DWORD timeout = limit ? static_cast<DWORD>(limit->count()) : INFINITE;
    do {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, timeout, QS_ALLINPUT);
        event = NextEvent();
    } while (!limit && event == Event::kNone);
    return event;
}

}  // namespace tolvane::host
