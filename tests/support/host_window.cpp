// A message-only window, looked at without waiting so that a lost message is a failed check and no hang.
#include "support/host_window.h"

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "tolvane.h"

namespace tolvane::test {

HostWindow::HostWindow()
    : window_(CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
    EXPECT_NE(window_, nullptr);
    SetCallbackWindow(window_);
}

HostWindow::~HostWindow() {
    SetCallbackWindow(nullptr);
    DestroyWindow(window_);
}

int HostWindow::Ended() {
    MSG message;
    while (PeekMessageA(&message, window_, 0, 0, PM_REMOVE)) {
        if (message.message != TOLVANE_PLAYBACK_ENDED) continue;
        ++ended_;
        all_plain_ = all_plain_ && message.wParam == 0 && message.lParam == 0;
    }
    return ended_;
}

bool HostWindow::AwaitEnd(int count, int milliseconds) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (Ended() < count) {
        if (std::chrono::steady_clock::now() > limit) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace tolvane::test
