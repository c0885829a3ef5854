// The callback window of a test: counts the messages that tell of a playback's end.
#pragma once

#include <windows.h>

namespace tolvane::test {

class HostWindow {
  public:
    HostWindow();   // makes itself the callback window
    ~HostWindow();  // there is no callback window then
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;

    HWND Handle() const { return window_; }
    // Ends told so far. To be asked in the thread that made the window.
    int Ended();
    // Waits until `count` ends have been told in all; false when that takes too long.
    bool AwaitEnd(int count = 1, int milliseconds = 10000);
    // Every message so far was a plain one: wParam and lParam 0.
    bool AllPlain() const { return all_plain_; }

  private:
    HWND window_;
    int ended_ = 0;
    bool all_plain_ = true;
};

}  // namespace tolvane::test
