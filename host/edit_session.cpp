// A file that is edited command by command. Every edit is in the file as soon as it is done; undo takes it back.
#include "edit_session.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "conversion_files.h"
#include "copy_file.h"
#include "drawing.h"
#include "result_text.h"
#include "sound_devices.h"

namespace tolvane::host {
namespace {

constexpr std::string_view kNoTime = "It is no time, or one too many.";

int ReportBadCommand(const std::string& word, std::string_view why) {
    ReportFailure("cannot do", word, why, "`help` lists the commands.");
    return kExitBadArguments;
}

// "2%" in hundredths of a percent.
std::optional<uint16_t> ParseLevel(const std::string& word) {
    char* end = nullptr;
    const double percent = std::strtod(word.c_str(), &end);
    if (end == word.c_str() || std::string_view(end) != "%" || !(percent >= 0 && percent <= 100))
        return std::nullopt;
    return HundredthsOf(percent);
}

// What an edit takes besides times.
bool TakeOption(EditStep& step, const std::string& word) {
    if (step.kind == EditKind::kMute && (word == "left" || word == "right" || word == "all"))
        return step.channels = *ParseChannelMask(word), true;
    const auto level = step.kind == EditKind::kTrim ? ParseLevel(word) : std::nullopt;
    if (level) step.level = *level;
    return level.has_value();
}

}  // namespace

struct EditSession::Command {
    std::string_view name, arguments, help;
    int (EditSession::*run)(const Words&);
};

const EditSession::Command EditSession::kCommands[] = {
    {"select", "START [END] | all | none", "mark a part; one time alone reaches to the end",
     &EditSession::Select},
    {"cut", "[START [END]]", "take the part out and into the clipboard", &EditSession::Edit},
    {"copy", "[START [END]]", "take the part into the clipboard", &EditSession::Edit},
    {"paste", "[AT]", "insert the clipboard, where the selection begins or at a time", &EditSession::Edit},
    {"clear", "[START [END]]", "take the part out", &EditSession::Edit},
    {"crop", "[START [END]]", "keep nothing but the part", &EditSession::Edit},
    {"mute", "[START [END]] [left|right|all]", "silence it", &EditSession::Edit},
    {"trim", "[START [END]] [2%]", "take what is not louder off both ends", &EditSession::Edit},
    {"silence", "LENGTH [AT]", "insert silence", &EditSession::Edit},
    {"undo", "", "take the last edit back", &EditSession::Undo},
    {"redo", "", "do it again", &EditSession::Redo},
    {"play", "[START [END]]", "play the selection, the part or everything", &EditSession::Play},
    {"stop", "", "end the playback", &EditSession::Stop},
    {"draw", "[START [END]]", "draw the waveform, the selection marked", &EditSession::Draw},
    {"info", "", "tell format, length, selection, clipboard", &EditSession::Info},
    {"save-as", "FILE [-y]", "write a copy; -y replaces a file", &EditSession::SaveAs},
    {"help", "", "list the commands", &EditSession::Help},
    {"quit", "", "leave; the file is as you see it", &EditSession::Quit},
};

std::optional<Words> SplitLine(std::string_view line) {
    Words words;
    constexpr std::string_view kBlanks = " \t\r";
    for (size_t at = 0; (at = line.find_first_not_of(kBlanks, at)) != line.npos && line[at] != '#';) {
        std::string word;
        for (; at < line.size() && kBlanks.find(line[at]) == kBlanks.npos; ++at) {
            if (line[at] != '"' && line[at] != '\'') {
                word += line[at];
                continue;
            }
            const size_t close = line.find(line[at], at + 1);
            if (close == line.npos) return std::nullopt;
            word += line.substr(at + 1, close - at - 1);
            at = close;
        }
        words.push_back(std::move(word));
    }
    return words;
}

EditSession::EditSession(std::string file, MessageWindow& window, bool script)
    : file_(std::move(file)), window_(window), script_(script) {
    if (script_) SetCallbackWindow(window_.handle());
}

EditSession::~EditSession() {
    AudioStop();
}

int EditSession::Open() {
    if (const auto code = ReadSound(file_, sound_); code != TOLVANE_OK)
        return ReportFileFailure("cannot edit", file_, code);
    selection_.end = std::min(selection_.end, sound_.data_size);
    selection_.begin = std::min(selection_.begin, selection_.end);
    return kExitDone;
}

int EditSession::Do(const Words& words) {
    if (words.empty()) return kExitDone;
    for (const Command& command : kCommands)
        if (command.name == words[0]) return (this->*command.run)(words);
    return ReportBadCommand(words[0], "There is no such command.");
}

std::vector<std::string> EditSession::Complete(const std::string& text) {
    namespace fs = std::filesystem;
    std::vector<std::string> found;
    const std::string word = text.substr(text.find_last_of(" \t") + 1);
    if (word.size() == text.size()) {
        for (const Command& command : kCommands)
            if (command.name.starts_with(word)) found.emplace_back(command.name);
    } else if (text.starts_with("save-as ")) {
        std::error_code ignored;
        const std::string folder = FolderOf(word);
        for (const auto& entry : fs::directory_iterator(folder.empty() ? "." : folder, ignored)) {
            const std::string name = folder + entry.path().filename().string();
            if (name.starts_with(word)) found.push_back(name + (entry.is_directory(ignored) ? "/" : ""));
        }
    }
    std::ranges::sort(found);
    return found;
}

uint32_t EditSession::FrameAt(const Place& place) const {
    const uint32_t bytes = BytesAt(sound_, place), frame = std::max<uint32_t>(sound_.format.nBlockAlign, 1);
    return bytes - bytes % frame;
}

std::string EditSession::TimeAt(uint32_t bytes) const {
    return TimeText(uint64_t{bytes} * 1000 / std::max<uint64_t>(sound_.BytesPerSecond(), 1), 3);
}

void EditSession::SayState() const {
    fmt::print("{}, {}\n", LengthText(sound_),
               HasSelection()
                   ? fmt::format("selected {} to {}", TimeAt(selection_.begin), TimeAt(selection_.end))
                   : fmt::format("at {}", TimeAt(selection_.begin)));
}

// Nothing when it is no time, which is reported.
std::optional<uint32_t> EditSession::BytesOf(const std::string& time) const {
    const auto place = ParsePlace(time);
    if (!place) return ReportBadCommand(time, kNoTime), std::nullopt;
    return FrameAt(*place);
}

// The times behind the command, `usual` where there are none; nothing when they are no times, which is reported.
std::optional<ByteSpan> EditSession::SpanOf(const Words& words, ByteSpan usual) const {
    if (words.size() == 1) return usual;
    if (words.size() > 3) return ReportBadCommand(words[3], kNoTime), std::nullopt;
    const auto one = BytesOf(words[1]);
    if (!one) return std::nullopt;
    const auto other = words.size() == 2 ? std::optional(sound_.data_size) : BytesOf(words[2]);
    if (!other) return std::nullopt;
    return ByteSpan{std::min(*one, *other), std::max(*one, *other)};
}

int EditSession::FillStep(EditStep& step, const Words& words) const {
    Words times{words[0]};
    for (size_t at = 1; at < words.size(); ++at)
        if (!TakeOption(step, words[at])) times.push_back(words[at]);
    if (step.kind == EditKind::kSilence) {
        const auto length = times.size() > 1 ? ParseMoment(times[1]) : std::nullopt;
        if (!length) return ReportBadCommand(words[0], "Say how long the silence is.");
        step.milliseconds = MillisecondsOf(sound_, *length);
        times.erase(times.begin() + 1);
    }
    return FillPlaces(step, times);
}

int EditSession::FillPlaces(EditStep& step, const Words& words) const {
    if (!TakesSelection(step.kind)) {
        if (words.size() > 2) return ReportBadCommand(words[0], "It happens at one time only.");
        const auto at = words.size() == 1 ? std::optional(selection_.begin) : BytesOf(words[1]);
        step.start = at.value_or(0);
        return at ? kExitDone : kExitBadArguments;
    }
    const bool everything = step.kind == EditKind::kMute || step.kind == EditKind::kTrim;
    const auto span = SpanOf(words, everything ? SelectionOr(Everything()) : selection_);
    if (!span) return kExitBadArguments;
    step.start = span->begin;
    step.end = span->end;
    return kExitDone;
}

// The library forgets the last edit when another begins: one that is bound to fail would cost its undo.
uint16_t EditSession::WhyImpossible(const EditStep& step) const {
    const bool inserts = !TakesSelection(step.kind);
    if (!inserts && step.start == step.end) return NothingSelectedCode(step.kind);
    if ((inserts ? step.start : step.end) > sound_.data_size) return TOLVANE_BEYOND_END;
    return step.kind == EditKind::kPaste && !AudioEditCanPaste() ? TOLVANE_NOTHING_TO_PASTE : TOLVANE_OK;
}

// What was worked on stays selected, or what is new; where something was taken out, its place.
void EditSession::SelectAfter(const EditStep& step, uint32_t before) {
    const uint32_t now = sound_.data_size;
    if (!TakesSelection(step.kind)) selection_ = {step.start, step.start + (now - std::min(before, now))};
    if (step.kind == EditKind::kCrop) selection_ = Everything();
    if (step.kind == EditKind::kCut || step.kind == EditKind::kClear) selection_ = {step.start, step.start};
    if (step.kind == EditKind::kTrim) selection_ = {step.start, step.end - (before - std::min(before, now))};
}

int EditSession::Edit(const Words& words) {
    EditStep step;
    step.kind = *FindEdit(words[0]);
    step.file = file_;
    step.level = kUsualLevel;
    if (const int failed = FillStep(step, words)) return failed;
    const uint32_t before = sound_.data_size;
    const ByteSpan selected = selection_;
    uint16_t code = WhyImpossible(step);
    if (code == TOLVANE_OK) code = PerformEdit(step, window_, false);
    if (code != TOLVANE_OK) return ReportEditFailure(step, code, false);
    if (const int failed = Open()) return failed;
    SelectAfter(step, before);
    if (ChangesTheFile(step.kind)) other_selection_ = selected, undone_ = false;
    SayState();
    return kExitDone;
}

int EditSession::Select(const Words& words) {
    const bool all = words.size() == 2 && words[1] == "all", none = words.size() == 2 && words[1] == "none";
    if (words.size() == 1) return ReportBadCommand(words[0], "Say from when to when.");
    const auto span = all ? Everything() : none ? ByteSpan{} : SpanOf(words, {});
    if (!span) return kExitBadArguments;
    if (span->end > sound_.data_size)
        return ReportFailure("cannot select", file_, "The position lies behind the end of the sound.",
                             fmt::format("The sound is {} long.", TimeAt(sound_.data_size)));
    selection_ = *span;
    SayState();
    return kExitDone;
}

int EditSession::Restore(bool undo) {
    if (const auto code = undo ? AudioEditUndo() : AudioEditRedo(); code != TOLVANE_OK)
        return ReportFileFailure(undo ? "cannot undo" : "cannot redo", file_, code);
    if (undone_ != undo) std::swap(selection_, other_selection_);
    undone_ = undo;
    if (const int failed = Open()) return failed;
    SayState();
    return kExitDone;
}

int EditSession::WaitForEnd() {
    Event event = Event::kNone;
    while (event == Event::kNone && !window_.WasInterrupted())
        event = window_.Wait(std::nullopt);
    return event == Event::kPlaybackEnded ? kExitDone : kExitInterrupted;
}

int EditSession::Play(const Words& words) {
    const auto span = SpanOf(words, SelectionOr(Everything()));
    if (!span) return kExitBadArguments;
    if (span->begin >= std::min(span->end, sound_.data_size))
        return ReportFailure("cannot play", file_, "There is no sound between these times.",
                             fmt::format("The sound is {} long.", TimeAt(sound_.data_size)));
    AudioStop();
    while (window_.Wait(std::chrono::milliseconds(0)) == Event::kPlaybackEnded) {
    }
    const auto code = AudioPlayWaveEx(file_.c_str(), span->begin, TOLVANE_BYTES, 0, 0, span->end, 0);
    const bool device = code == TOLVANE_FORMAT_NOT_PLAYABLE || code == TOLVANE_DEVICE_NOT_OPENED;
    if (device && !MachineHasOutput()) return ReportNoSound("cannot play", file_);
    if (code != TOLVANE_OK) return ReportFileFailure("cannot play", file_, code);
    fmt::print("Playing {} to {}\n", TimeAt(span->begin), TimeAt(span->end));
    return script_ ? WaitForEnd() : kExitDone;
}

int EditSession::Stop(const Words&) {
    AudioStop();
    return kExitDone;
}

int EditSession::Draw(const Words& words) {
    const auto span = SpanOf(words, Everything());
    return span ? DrawInTerminal(file_, sound_, *span, selection_, 0) : kExitBadArguments;
}

int EditSession::Info(const Words&) {
    fmt::print("{}: {}\n", file_, FormatText(sound_.format));
    SayState();
    fmt::print("clipboard {}, undo {}, redo {}\n", AudioEditCanPaste() ? "full" : "empty",
               AudioEditCanUndo() ? "possible" : "impossible",
               AudioEditCanRedo() ? "possible" : "impossible");
    return kExitDone;
}

int EditSession::SaveAs(const Words& words) {
    const bool replace = words.size() == 3 && words[2] == "-y";
    if (words.size() != 2 && !replace) return ReportBadCommand(words[0], "Say the name of one file.");
    return CopyWhole(file_, words[1], replace);
}

int EditSession::Help(const Words&) {
    for (const Command& command : kCommands)
        fmt::print("  {:<39} {}\n", fmt::format("{} {}", command.name, command.arguments), command.help);
    fmt::print(
        "Without times: the selection. Times: 12.5, 1:02.5, 250ms, 44100s (samples), 4096b (bytes), end.\n");
    return kExitDone;
}

int EditSession::Quit(const Words&) {
    over_ = true;
    return kExitDone;
}

}  // namespace tolvane::host
