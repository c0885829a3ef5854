// Follows a playback that has been started to its end: in a terminal, in plain lines, or silently.
#include "player.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <chrono>
#include <string>

#include "play_volume.h"
#include "result_text.h"
#include "terminal.h"

namespace tolvane::host {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kRedrawEvery{66};
constexpr milliseconds kRedrawPausedEvery{100};
constexpr milliseconds kPlainLineEvery{5000};
constexpr int64_t kStepMilliseconds = 5000;
constexpr int kStepVolume = 5;

constexpr std::string_view kKeyHelp =
    "space pause, left and right 5 s, home to the start, n and p next and previous file, + and - volume, q "
    "stop";
constexpr std::string_view kNoVolume =
    "MP3 is as loud as the system plays it: `tolvane volume 40` in another terminal.";

// How a playback came to its end.
enum class Outcome { kEnded, kStopped, kInterrupted };

class Display {
  public:
    Display(Playing& playing, PlayVolume& volume, Terminal& terminal)
        : playing_(playing), volume_(volume), terminal_(terminal) {
        view_.has_levels = playing.HasLevels();
    }

    Outcome Follow(MessageWindow& window) {
        for (;;) {
            Show();
            const Event event = window.Wait(playing_.paused() ? kRedrawPausedEvery : kRedrawEvery);
            if (event == Event::kPlaybackEnded && !playing_.GoOn()) return Outcome::kEnded;
            if (event == Event::kInterrupted) return Outcome::kInterrupted;
            if (!TakeKeys()) return Outcome::kStopped;
        }
    }

  private:
    void Show();
    bool TakeKeys();
    void ChangeVolume(int points);

    Playing& playing_;
    PlayVolume& volume_;
    Terminal& terminal_;
    ProgressView view_;
    std::string title_;
    uint32_t left_ = 0, right_ = 0;
    Clock::time_point shown_ = Clock::now();
};

void Display::Show() {
    const auto now = Clock::now();
    const double seconds = std::chrono::duration<double>(now - shown_).count();
    shown_ = now;
    if (std::string title = playing_.Title(); title != title_)
        terminal_.PrintAbove(title_ = std::move(title));
    AudioGetPlaybackLevel(&left_, &right_);
    view_.paused = playing_.paused();
    view_.left.Update(view_.paused ? 0 : left_, seconds);
    view_.right.Update(view_.paused ? 0 : right_, seconds);
    view_.position_ms = playing_.PositionMs();
    view_.length_ms = playing_.LengthMs();
    view_.place = playing_.Place();
    view_.volume = view_.has_levels ? volume_.Text() : "";
    terminal_.Redraw(ProgressLine(view_, terminal_.Columns(), terminal_.style()));
}

void Display::ChangeVolume(int points) {
    view_.has_levels ? volume_.Change(points) : terminal_.PrintAbove(kNoVolume);
}

// False when the user wants to stop.
bool Display::TakeKeys() {
    for (Key key = terminal_.ReadKey(); key != Key::kNone; key = terminal_.ReadKey())
        switch (key) {
            case Key::kPause:
                playing_.TogglePause();
                break;
            case Key::kBack:
                playing_.MoveBy(-kStepMilliseconds);
                break;
            case Key::kForward:
                playing_.MoveBy(kStepMilliseconds);
                break;
            case Key::kStart:
                playing_.MoveToStart();
                break;
            case Key::kNext:
                playing_.MoveToNext();
                break;
            case Key::kPrevious:
                playing_.MoveToPrevious();
                break;
            case Key::kLouder:
                ChangeVolume(kStepVolume);
                break;
            case Key::kQuieter:
                ChangeVolume(-kStepVolume);
                break;
            case Key::kHelp:
                terminal_.PrintAbove(kKeyHelp);
                break;
            case Key::kStop:
                return false;
            default:
                break;
        }
    return true;
}

Outcome FollowPlainly(MessageWindow& window, Playing& playing) {
    for (std::string title;;) {
        if (playing.Title() != title) fmt::print("{}\n", title = playing.Title());
        std::fflush(stdout);
        const Event event = window.Wait(kPlainLineEvery);
        if (event == Event::kInterrupted) return Outcome::kInterrupted;
        if (event == Event::kPlaybackEnded && !playing.GoOn()) return Outcome::kEnded;
        if (event == Event::kNone)
            fmt::print("  {} / {}\n", TimeText(playing.PositionMs()), TimeText(playing.LengthMs()));
    }
}

Outcome FollowSilently(MessageWindow& window, Playing& playing) {
    for (;;) {
        if (window.Wait(std::nullopt) == Event::kInterrupted) return Outcome::kInterrupted;
        if (!playing.GoOn()) return Outcome::kEnded;
    }
}

Outcome Follow(MessageWindow& window, bool quiet, Playing& playing, PlayVolume& volume) {
    if (quiet) return FollowSilently(window, playing);
    Terminal terminal;
    return terminal.IsOurs() ? Display(playing, volume, terminal).Follow(window)
                             : FollowPlainly(window, playing);
}

}  // namespace

// The playback is still running when it has been followed, unless it ended by itself.
int FollowPlayback(MessageWindow& window, const PlayRequest& request, Playing& playing, PlayVolume& volume) {
    const Outcome outcome = Follow(window, request.quiet, playing, volume);
    const std::string position = TimeText(playing.PositionMs());
    AudioStop();
    if (const int failed = playing.Failure()) return failed;
    if (outcome == Outcome::kEnded && playing.HasEndedTooEarly())
        return ReportFailure("stopped playing", request.files[0], "The output device went away.",
                             "`tolvane devices` lists the devices there are now.");
    if (!request.quiet && outcome == Outcome::kEnded) fmt::print("Played to the end.\n");
    if (!request.quiet && outcome != Outcome::kEnded) fmt::print("Stopped at {}\n", position);
    return outcome == Outcome::kInterrupted ? kExitInterrupted : kExitDone;
}

}  // namespace tolvane::host
