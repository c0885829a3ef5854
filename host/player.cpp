// Follows a playback that has been started to its end: in a terminal, in plain lines, or silently.
#include "player.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

#include "codec_names.h"
#include "result_text.h"
#include "sound_format.h"
#include "terminal.h"

namespace tolvane::host {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kRedrawEvery{66};
constexpr milliseconds kRedrawPausedEvery{100};
constexpr milliseconds kPlainLineEvery{5000};
constexpr milliseconds kTooEarly{1000};
constexpr int64_t kStepMilliseconds = 5000;

constexpr std::string_view kKeyHelp = "space pause, left and right 5 s, home to the start, q stop";

// Where the playback is, and when it should be over.
class Playback {
  public:
    Playback(const PlayRequest& request, const std::string& played, Span span);

    const SoundFormat& sound() const { return sound_; }
    bool paused() const { return paused_; }
    uint64_t PositionMs() const;
    uint64_t LengthMs() const { return ToMs(span_.to); }
    bool EndedTooEarly() const;

    void TogglePause();
    void MoveBy(int64_t step_ms);
    void MoveToStart() { MoveTo(span_.from); }

  private:
    uint64_t ToMs(uint32_t bytes) const;
    uint32_t WrappedBytes() const;
    void MoveTo(uint32_t bytes);
    milliseconds Remaining(uint32_t from) const;

    SoundFormat sound_;
    Span span_;
    uint32_t rate_;
    bool repeat_, paused_ = false;
    milliseconds remaining_{};  // while paused
    Clock::time_point due_;
};

Playback::Playback(const PlayRequest& request, const std::string& played, Span span)
    : span_(span), rate_(request.rate), repeat_(request.repeat) {
    ReadSound(played, sound_);
    if (span_.to == 0) span_.to = sound_.Bytes();
    if (rate_ == 0) rate_ = sound_.format.nSamplesPerSec;
    due_ = Clock::now() + Remaining(span_.from);
}

uint64_t Playback::ToMs(uint32_t bytes) const {
    const uint64_t rate = sound_.BytesPerSecond();
    return rate == 0 ? 0 : uint64_t{bytes} * 1000 / rate;
}

milliseconds Playback::Remaining(uint32_t from) const {
    const uint64_t bytes = span_.to > from ? span_.to - from : 0;
    const uint64_t rate =
        sound_.IsPcm() ? uint64_t{rate_} * sound_.format.nBlockAlign : sound_.BytesPerSecond();
    return milliseconds(rate == 0 ? 0 : bytes * 1000 / rate);
}

// The library counts on through repeats; a listener wants the place in the sound.
uint32_t Playback::WrappedBytes() const {
    const uint32_t bytes = AudioGetPosition(TOLVANE_BYTES);
    if (bytes < span_.to || span_.to <= span_.from) return std::min(bytes, span_.to);
    return repeat_ ? span_.from + (bytes - span_.to) % (span_.to - span_.from) : span_.to;
}

uint64_t Playback::PositionMs() const {
    return sound_.IsPcm() ? ToMs(WrappedBytes()) : AudioGetPosition(TOLVANE_MILLISECONDS);
}

bool Playback::EndedTooEarly() const {
    const milliseconds left =
        paused_ ? remaining_ : std::chrono::duration_cast<milliseconds>(due_ - Clock::now());
    return sound_.IsPcm() && (repeat_ || left > kTooEarly);
}

void Playback::TogglePause() {
    paused_ ? AudioResume() : AudioPause();
    paused_ = !paused_;
    if (paused_)
        remaining_ = std::chrono::duration_cast<milliseconds>(due_ - Clock::now());
    else
        due_ = Clock::now() + remaining_;
}

void Playback::MoveTo(uint32_t bytes) {
    if (!sound_.IsPcm()) return;
    AudioMoveTo(bytes, TOLVANE_BYTES);
    remaining_ = Remaining(bytes);
    due_ = Clock::now() + remaining_;
}

void Playback::MoveBy(int64_t step_ms) {
    const auto step = step_ms * static_cast<int64_t>(sound_.BytesPerSecond()) / 1000;
    MoveTo(static_cast<uint32_t>(std::clamp<int64_t>(WrappedBytes() + step, 0, span_.to)));
}

// How a playback came to its end.
enum class Outcome { kEnded, kStopped, kInterrupted };

class Display {
  public:
    Display(Playback& playback, Terminal& terminal) : playback_(playback), terminal_(terminal) {}

    Outcome Follow(MessageWindow& window) {
        for (;;) {
            Show();
            const Event event = window.Wait(playback_.paused() ? kRedrawPausedEvery : kRedrawEvery);
            if (event == Event::kPlaybackEnded) return Outcome::kEnded;
            if (event == Event::kInterrupted) return Outcome::kInterrupted;
            if (!TakeKeys()) return Outcome::kStopped;
        }
    }

  private:
    void Show();
    bool TakeKeys();

    Playback& playback_;
    Terminal& terminal_;
    ProgressView view_;
    uint32_t left_ = 0, right_ = 0;
    Clock::time_point shown_ = Clock::now();
};

void Display::Show() {
    const auto now = Clock::now();
    const double seconds = std::chrono::duration<double>(now - shown_).count();
    shown_ = now;
    AudioGetPlaybackLevel(&left_, &right_);
    view_.paused = playback_.paused();
    view_.left.Update(view_.paused ? 0 : left_, seconds);
    view_.right.Update(view_.paused ? 0 : right_, seconds);
    view_.position_ms = playback_.PositionMs();
    view_.length_ms = playback_.LengthMs();
    terminal_.Redraw(ProgressLine(view_, terminal_.Columns(), terminal_.style()));
}

// False when the user wants to stop.
bool Display::TakeKeys() {
    for (Key key = terminal_.ReadKey(); key != Key::kNone; key = terminal_.ReadKey())
        switch (key) {
            case Key::kPause:
                playback_.TogglePause();
                break;
            case Key::kBack:
                playback_.MoveBy(-kStepMilliseconds);
                break;
            case Key::kForward:
                playback_.MoveBy(kStepMilliseconds);
                break;
            case Key::kStart:
                playback_.MoveToStart();
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

Outcome FollowPlainly(MessageWindow& window, const Playback& playback) {
    for (;;) {
        std::fflush(stdout);
        const Event event = window.Wait(kPlainLineEvery);
        if (event != Event::kNone)
            return event == Event::kInterrupted ? Outcome::kInterrupted : Outcome::kEnded;
        fmt::print("  {} / {}\n", TimeText(playback.PositionMs()), TimeText(playback.LengthMs()));
    }
}

Outcome FollowSilently(MessageWindow& window) {
    return window.Wait(std::nullopt) == Event::kInterrupted ? Outcome::kInterrupted : Outcome::kEnded;
}

Outcome Follow(MessageWindow& window, const PlayRequest& request, Playback& playback) {
    if (request.quiet) return FollowSilently(window);
    SoundFormat sound;
    ReadSound(request.file, sound);
    fmt::print("Playing {}: {}, {}\n", request.file,
               FormatText(sound.format, NameOfTag(sound.format.wFormatTag)),
               TimeText(playback.sound().Milliseconds()));
    Terminal terminal;
    return terminal.IsOurs() ? Display(playback, terminal).Follow(window) : FollowPlainly(window, playback);
}

// The playback is still running when this is called, unless it ended by itself.
int Finish(Outcome outcome, const PlayRequest& request, const Playback& playback) {
    const std::string position = TimeText(playback.PositionMs());
    AudioStop();
    if (outcome == Outcome::kEnded && playback.EndedTooEarly())
        return ReportFailure("stopped playing", request.file, "The output device went away.",
                             "`tolvane devices` lists the devices there are now.");
    if (!request.quiet && outcome == Outcome::kEnded) fmt::print("Played to the end.\n");
    if (!request.quiet && outcome != Outcome::kEnded) fmt::print("Stopped at {}\n", position);
    return outcome == Outcome::kInterrupted ? kExitInterrupted : kExitDone;
}

}  // namespace

int FollowPlayback(MessageWindow& window, const PlayRequest& request, const std::string& played, Span span) {
    Playback playback(request, played, span);
    const Outcome outcome = Follow(window, request, playback);
    return Finish(outcome, request, playback);
}

}  // namespace tolvane::host
