// Follows a recording that has been started to its end: in a terminal, in plain lines, or silently.
#include "recorder.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "result_text.h"
#include "sound_format.h"
#include "terminal.h"
#include "work_file.h"

namespace tolvane::host {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kRedrawEvery{66};
constexpr milliseconds kLookEvery{500};  // whether the recording has ended by itself
constexpr int kLooksAPlainLine = 10;
constexpr milliseconds kSpaceEvery{2000};
constexpr uint32_t kFullScale = 100;  // percent

enum class Outcome { kStopped, kReachedStop, kEndedByItself };

bool IsRunning() {
    AudioFileInfo info{};
    AudioGetFileInfo(&info, nullptr, 0, 0);
    return info.recordingSampleRate != 0;
}

namespace fs = std::filesystem;

uint64_t SpaceIn(const fs::path& folder) {
    std::error_code failed;
    const fs::space_info space = fs::space(folder, failed);
    return failed ? 0 : space.available;
}

// A recording ends when its own disk is full, and when the temp folder's is.
uint64_t FreeSpace(const std::string& file) {
    std::error_code ignored;
    return std::min(SpaceIn(fs::absolute(file, ignored).parent_path()), SpaceIn(TempFolder()));
}

int InsertWave(const RecordRequest& request) {
    if (request.insert.empty()) return kExitDone;
    const uint16_t code = AudioMixEffectWithRecord(request.insert.c_str());
    // Numbers that conversions have too, and then mean a file to convert.
    const bool no_wave = code == TOLVANE_EFFECT_WAVE_NO_RIFF || code == TOLVANE_EFFECT_WAVE_NO_DATA;
    if (code == TOLVANE_OK) return kExitDone;
    return ReportFailure("cannot insert", request.insert,
                         no_wave ? "It is no wave file." : ResultSentence(code),
                         "Name a wave file of the format of the recording.");
}

class Display {
  public:
    Display(const RecordRequest& request, Terminal& terminal) : request_(request), terminal_(terminal) {}

    Outcome Follow(MessageWindow& window) {
        for (;;) {
            Show();
            const Event event = window.Wait(kRedrawEvery);
            if (event == Event::kStopReached) return Outcome::kReachedStop;
            if (event == Event::kInterrupted || !TakeKeys()) return Outcome::kStopped;
            if (!IsRunning()) return Outcome::kEndedByItself;
        }
    }

  private:
    void Show();
    bool TakeKeys();

    const RecordRequest& request_;
    Terminal& terminal_;
    RecordView view_;
    uint32_t left_ = 0, right_ = 0;
    Clock::time_point shown_ = Clock::now(), space_asked_;
};

void Display::Show() {
    const auto now = Clock::now();
    const double seconds = std::chrono::duration<double>(now - shown_).count();
    shown_ = now;
    if (now - space_asked_ > kSpaceEvery) {
        space_asked_ = now;
        view_.free_bytes = FreeSpace(request_.file);
    }
    AudioGetRecordLevel(&left_, &right_);
    view_.left.Update(left_, seconds);
    view_.right.Update(right_, seconds);
    view_.clipped |= left_ >= kFullScale || right_ >= kFullScale;
    view_.position_ms = AudioGetRecordPosition(TOLVANE_MILLISECONDS);
    terminal_.Redraw(RecordLine(view_, terminal_.Columns(), terminal_.style()));
}

// False when the user wants to stop.
bool Display::TakeKeys() {
    for (Key key = terminal_.ReadKey(); key != Key::kNone; key = terminal_.ReadKey())
        switch (key) {
            case Key::kPause:
                view_.paused ? ResumeRecording() : PauseRecording();
                view_.paused = !view_.paused;
                break;
            case Key::kStart:
                view_.clipped = false;
                break;
            case Key::kInsert:
                InsertWave(request_);
                break;
            case Key::kHelp:
                terminal_.PrintAbove(
                    "space pause, i insert the wave of --insert, home clears the clip mark, q stop");
                break;
            case Key::kStop:
                return false;
            default:
                break;
        }
    return true;
}

Outcome FollowWithoutTerminal(MessageWindow& window, bool quiet) {
    for (int looks = 1;; ++looks) {
        std::fflush(stdout);
        const Event event = window.Wait(kLookEvery);
        if (event == Event::kStopReached) return Outcome::kReachedStop;
        if (event == Event::kInterrupted) return Outcome::kStopped;
        if (!IsRunning()) return Outcome::kEndedByItself;
        if (!quiet && looks % kLooksAPlainLine == 0)
            fmt::print("  {}\n", TimeText(AudioGetRecordPosition(TOLVANE_MILLISECONDS)));
    }
}

Outcome Follow(MessageWindow& window, const RecordRequest& request) {
    if (request.quiet) return FollowWithoutTerminal(window, true);
    fmt::print("Recording {}: {}; Ctrl-C ends it.\n", request.file, ShapeText(request.shape));
    Terminal terminal;
    return terminal.IsOurs() ? Display(request, terminal).Follow(window)
                             : FollowWithoutTerminal(window, false);
}

void SayWhatWasWritten(const std::string& file) {
    SoundFormat sound;
    if (ReadSound(file, sound) == TOLVANE_OK)
        fmt::print("{}: {}, {}\n", file, FormatText(sound.format), LengthText(sound));
}

}  // namespace

int FollowRecording(MessageWindow& window, const RecordRequest& request) {
    if (const int failed = InsertWave(request)) {
        AudioStopRecord();
        return failed;
    }
    const Outcome outcome = Follow(window, request);
    AudioStopRecord();
    if (!request.quiet) SayWhatWasWritten(request.file);
    if (outcome != Outcome::kEndedByItself) return kExitDone;
    return ReportFailure("stopped recording", request.file,
                         "The disk is full, or the input device went away.",
                         "What was recorded until then is in the file.");
}

}  // namespace tolvane::host
