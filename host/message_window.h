// The window nobody sees: hears of the end of a playback and of Ctrl-C, and sleeps until one of them or a
// deadline.
#ifndef TOLVANE_HOST_MESSAGE_WINDOW_H
#define TOLVANE_HOST_MESSAGE_WINDOW_H

#include <windows.h>

#include <chrono>
#include <optional>

namespace tolvane::host {

enum class Event { kNone, kPlaybackEnded, kStopReached, kInterrupted };

// What the program has the library post when a recording has come to where it is to stop.
inline constexpr UINT kStopReachedMessage = WM_APP + 1;

// One a command, from its beginning to its end. While it lives, Ctrl-C is an event; a second Ctrl-C ends the program
// as ever.
class MessageWindow {
  public:
    MessageWindow();
    ~MessageWindow();
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;

    HWND handle() const { return window_; }

    // Whether Ctrl-C was an event, whoever waited for it.
    bool WasInterrupted() const { return interrupted_; }

    // After a Ctrl-C that was taken: the next one is an event again.
    void HeedInterruptAgain();

    // Without a limit it sleeps until there is an event.
    Event Wait(std::optional<std::chrono::milliseconds> limit);

  private:
    HWND window_;
    bool interrupted_ = false;
};

}  // namespace tolvane::host

#endif
