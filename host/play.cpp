// `tolvane play`: from the arguments to a running playback, and what is said when it cannot start.
#include <platform.h>
#include <tolvane.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "codec_names.h"
#include "commands.h"
#include "job_screen.h"
#include "message_window.h"
#include "player.h"
#include "result_text.h"
#include "sound_devices.h"
#include "sound_format.h"
#include "work_file.h"

namespace tolvane::host {
namespace {

namespace fs = std::filesystem;

int ReportBadSpan(const PlayRequest& request, const std::string& why, std::string_view advice) {
    ReportFailure("cannot play", request.file, why, advice);
    return kExitBadArguments;
}

// A compressed sound is converted first, so that it has positions, another rate and levels as any other has.
// Converting it here rather than in the start of the playback leaves Ctrl-C its effect and shows the progress.
// `played` becomes the copy; it stays the file itself where no codec knows it, for a device that might.
int ConvertFirst(const PlayRequest& request, MessageWindow& window, const WorkFile& copy,
                 std::string& played) {
    SoundFormat sound;
    if (ReadSound(request.file, sound) != TOLVANE_OK || sound.IsPcm() || sound.Bytes() == 0) return kExitDone;
    const auto decoder = FindDecoder(sound.format.wFormatTag);
    if (!decoder) return kExitDone;
    played = copy.path();
    JobScreen screen(window, "Converting", request.quiet);
    ConversionJob job(*decoder, request.file, copy.path(),
                      {sound.format.nSamplesPerSec, 16, sound.format.nChannels});
    const uint16_t code = screen.Follow(job);
    if (code == TOLVANE_CANCELLED) return kExitInterrupted;
    return code == TOLVANE_OK ? kExitDone : ReportFileFailure("cannot play", request.file, code);
}

// Looks into the file only where the arguments ask for a part of it: the start of a playback is not to wait.
int CheckSpan(const PlayRequest& request, const std::string& played, Span& span) {
    if (!request.from && !request.to && request.rate == 0) return kExitDone;
    SoundFormat sound;
    if (const auto code = ReadSound(played, sound); code != TOLVANE_OK)
        return ReportFileFailure("cannot play", request.file, code);
    if (!sound.IsPcm())
        return ReportBadSpan(request, "The sound is compressed, and no codec knows it.",
                             "Leave --from, --to and --rate out.");
    span.from = sound.BytesAt(request.from.value_or(Moment{}));
    if (request.to) span.to = sound.BytesAt(*request.to);
    if (span.from > 0 && span.from >= sound.Bytes())
        return ReportBadSpan(
            request, fmt::format("--from lies behind its end, {}.", TimeText(sound.Milliseconds(), 3)),
            "Name an earlier start.");
    if (request.to && span.to <= span.from)
        return ReportBadSpan(request, "--to does not lie behind --from.",
                             "Name a later end, or leave --to out.");
    return kExitDone;
}

// A file of its own for every run: what was heard before is not overwritten unasked.
std::string FreeNameForHeard() {
    std::error_code ignored;
    const fs::path folder = fs::temp_directory_path(ignored);
    fs::path name = folder / "tolvane-heard.wav";
    for (int number = 2; fs::exists(name, ignored); ++number)
        name = folder / fmt::format("tolvane-heard-{}.wav", number);
    return name.string();
}

// The wave file that the virtual card writes, empty where nothing is kept.
int PrepareCard(const PlayRequest& request, std::string& heard) {
    if (const int failed = UseCard(request.card)) return failed;
    if (request.card.name != "virtual") return kExitDone;
    PlatformVirtualKeepPlayed(0, 0);
    heard = request.into.empty() && !request.quiet ? FreeNameForHeard() : request.into;
    if (heard.empty() || PlatformVirtualPlayInto(0, heard.c_str())) return kExitDone;
    return ReportFailure("cannot write", heard, "The virtual card does not take this file.",
                         "Name another file with --into.");
}

bool CanWrite(const std::string& path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "ab"), std::fclose);
    return file != nullptr;
}

int ReportStartFailure(const PlayRequest& request, const std::string& heard, uint32_t code) {
    if (code == TOLVANE_DEVICE_NOT_OPENED && !heard.empty() && !CanWrite(heard))
        return ReportFailure("cannot write", heard, fmt::format("{}.", std::strerror(errno)),
                             "Name a file that can be written with --into.");
    const bool device = code == TOLVANE_FORMAT_NOT_PLAYABLE || code == TOLVANE_DEVICE_NOT_OPENED;
    if (device && !MachineHasOutput()) return ReportNoSound("cannot play", request.file);
    return ReportFileFailure("cannot play", request.file, code);
}

void SayWhereItLies(const std::string& heard, bool quiet) {
    if (!heard.empty() && !quiet) fmt::print("What was heard lies in {}\n", heard);
}

}  // namespace

int RunPlay(const PlayRequest& request) {
    MessageWindow window;
    std::string heard;
    Span span;
    if (!window.handle())
        return ReportFailure("cannot play", request.file, "The system gave no message window.",
                             "Try again; close other programs if memory is short.");
    if (const int failed = PrepareCard(request, heard)) return failed;
    if (const int failed = SelectOutput(request.device)) return failed;

    const WorkFile copy(TempFolder());
    std::string played = request.file;
    if (const int stopped = ConvertFirst(request, window, copy, played)) return stopped;
    if (const int failed = CheckSpan(request, played, span)) return failed;
    SetCallbackWindow(window.handle());
    const auto code =
        AudioPlayWaveEx(played.c_str(), span.from, TOLVANE_BYTES, request.rate, 0, span.to, request.repeat);
    if (code != TOLVANE_OK) return ReportStartFailure(request, heard, code);
    const int exit_code = FollowPlayback(window, request, played, span);
    SayWhereItLies(heard, request.quiet);
    return exit_code;
}

}  // namespace tolvane::host
