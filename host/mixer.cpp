// `tolvane volume` and `tolvane sources`: the settings of the system's mixer.
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>

#include "kept_volume.h"
#include "painter.h"
#include "result_text.h"
#include "sound_devices.h"
#include "terminal.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kMostSources = 65536;
constexpr int kBarCells = 30;
constexpr unsigned kNear = 3;  // percent that a mixer with coarse steps may be off

constexpr std::string_view kSystemSettings = "Use the system's own sound settings.";
constexpr std::string_view kConnect = "Start a sound server or connect a sound device, then try again.";

std::vector<std::string> SourceNames() {
    std::vector<std::string> names(std::min(GetNumberOfRecordSources(), kMostSources));
    for (uint32_t index = 0; index < names.size(); ++index) {
        char name[TOLVANE_SOURCE_NAME_SIZE] = "(cannot be read)";
        GetRecordSourceName(index, name);
        names[index] = name;
    }
    return names;
}

int ReportNoSources(std::string_view what, std::string_view on) {
    return ReportFailure(what, on, "The mixer tells of nothing that can be recorded from.", kConnect);
}

// One of the two volumes, as the library and as a person knows it.
struct Volume {
    std::string_view title, name;
    uint16_t(TOLVANE_CALL* get)();
    uint16_t(TOLVANE_CALL* set)(uint16_t);
};
constexpr Volume kPlayback = {"Playback", "playback", AudioGetVolume, AudioSetVolume};
constexpr Volume kRecording = {"Recording", "recording", AudioGetRecVolume, AudioSetRecVolume};

void PrintVolume(const Volume& volume, std::string_view of = "") {
    const unsigned percent = volume.get();
    const TerminalStyle style = Terminal().style();
    Painter painter(style.colour);
    PaintBar(painter, percent / 100.0, kBarCells, style.utf8);
    fmt::print("{:<9}  {}  {:>3} %{}{}\n", volume.title, painter.Finish(), percent, of.empty() ? "" : "  ",
               of);
}

int ReportNotSet(const Volume& volume) {
    return ReportFailure("cannot set the volume of", volume.name, "The mixer has none, or did not take it.",
                         kSystemSettings);
}

// A mixer without the control reads 0 too. The smallest volume that it shows, for a moment, tells the difference.
bool CanBeSet(const Volume& volume) {
    if (volume.get() > 0) return true;
    for (unsigned trial = 1; trial <= 100; trial *= 2) {
        volume.set(static_cast<uint16_t>(trial));
        if (volume.get() > 0) return volume.set(0), true;
    }
    return false;
}

int SetVolume(const Volume& volume, unsigned percent) {
    if (percent <= kNear && !CanBeSet(volume)) return ReportNotSet(volume);
    volume.set(static_cast<uint16_t>(percent));
    const unsigned now = volume.get();
    if (std::max(now, percent) - std::min(now, percent) > kNear) return ReportNotSet(volume);
    return kExitDone;
}

int Mute() {
    const unsigned before = AudioGetVolume();
    if (!CanBeSet(kPlayback)) return ReportNotSet(kPlayback);
    AudioMute(1);
    if (AudioGetVolume() != 0) return ReportNotSet(kPlayback);
    if (before > 0 && KeepVolume(before))
        fmt::print("Muted; `tolvane volume --unmute` goes back to {} %.\n", before);
    else
        fmt::print("Muted{}.\n", before > 0 ? fmt::format("; the volume was {} %", before) : "");
    return kExitDone;
}

int Unmute() {
    if (AudioGetVolume() > 0) return kExitDone;
    const unsigned before = KeptVolume();
    if (before == 0)
        return ReportFailure("cannot unmute", kPlayback.name, "No run of this program has muted it.",
                             "Say how loud it is to be: tolvane volume 40");
    return SetVolume(kPlayback, before);
}

int RunPlaybackVolume(const VolumeRequest& request) {
    if (!MachineHasOutput())
        return ReportFailure("cannot use the volume of", kPlayback.name, "This machine has no sound device.",
                             kConnect);
    int failed = kExitDone;
    if (request.percent) failed = SetVolume(kPlayback, *request.percent);
    if (request.mute) failed = Mute();
    if (request.unmute) failed = Unmute();
    if (!failed) PrintVolume(kPlayback);
    return failed;
}

int FirstSource(RecordSource& source) {
    const std::vector<std::string> names = SourceNames();
    if (names.empty()) return ReportNoSources("cannot use the volume of", kRecording.name);
    source = {0, names[0]};
    return kExitDone;
}

int ChooseSource(const std::string& wanted, RecordSource& source) {
    const int failed = SelectSource(wanted, source);
    if (!failed) fmt::print("Record source: {}  {}\n", source.index, source.name);
    return failed;
}

int RunRecordVolume(const VolumeRequest& request) {
    RecordSource source;
    if (const int failed =
            request.source.empty() ? FirstSource(source) : ChooseSource(request.source, source))
        return failed;
    if (request.percent)
        if (const int failed = SetVolume(kRecording, *request.percent)) return failed;
    PrintVolume(kRecording, source.name);
    return kExitDone;
}

std::string_view MarkOf(uint32_t index, uint32_t microphone, uint32_t line) {
    return index == microphone ? "  (microphone)" : index == line ? "  (line input)" : "";
}

}  // namespace

int SelectSource(const std::string& wanted, RecordSource& source) {
    const std::vector<std::string> names = SourceNames();
    if (names.empty()) return ReportNoSources("cannot use the source", wanted);
    const auto found = FindNamed(names, wanted);
    if (!found)
        return ReportFailure("cannot use the source", wanted, "It does not exist, or several have this name.",
                             "`tolvane sources` lists the sources; give the number or the name of one.");
    if (const auto code = SetTheSource(static_cast<uint16_t>(*found)); code != TOLVANE_OK)
        return ReportFailure("cannot use the source", names[*found], ResultSentence(code), kSystemSettings);
    source = {*found, names[*found]};
    return kExitDone;
}

int RunVolume(const VolumeRequest& request) {
    if (const int failed = UseCard(request.card)) return failed;
    const bool both = !request.record && !request.percent && !request.mute && !request.unmute;
    if (!request.record)
        if (const int failed = RunPlaybackVolume(request)) return failed;
    return request.record || (both && !SourceNames().empty()) ? RunRecordVolume(request) : kExitDone;
}

int RunSources(const SourcesRequest& request) {
    if (const int failed = UseCard(request.card)) return failed;
    RecordSource source;
    if (!request.source.empty()) return ChooseSource(request.source, source);
    const std::vector<std::string> names = SourceNames();
    if (names.empty()) return ReportNoSources("cannot list", "the record sources");
    uint32_t microphone = kMostSources, line = kMostSources;
    GetRecordSourceMic(&microphone);
    GetRecordSourceLine(&line);
    for (uint32_t index = 0; index < names.size(); ++index)
        fmt::print("{:>2}  {}{}\n", index, names[index], MarkOf(index, microphone, line));
    return kExitDone;
}

}  // namespace tolvane::host
