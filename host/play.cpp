// `tolvane play`: from the arguments to a running playback, and what is said when it cannot start.
#include <platform.h>
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <vector>

#include "codec_names.h"
#include "commands.h"
#include "job_screen.h"
#include "message_window.h"
#include "mix_file.h"
#include "player.h"
#include "result_text.h"
#include "set_playing.h"
#include "sound_devices.h"
#include "sound_format.h"
#include "wave_playing.h"
#include "work_file.h"

namespace tolvane::host {
namespace {

namespace fs = std::filesystem;

using Copies = std::vector<std::unique_ptr<WorkFile>>;

int ReportBadSpan(const PlayRequest& request, const std::string& why, std::string_view advice) {
    ReportFailure("cannot play", request.files[0], why, advice);
    return kExitBadArguments;
}

// A compressed sound is converted first, so that it has positions, another rate and levels as any other has.
// Converting it here rather than in the start of the playback leaves Ctrl-C its effect and shows the progress.
// `played` becomes the copy; it stays the file itself where no codec knows it, for a device that might.
int ConvertFirst(const std::string& file, bool quiet, MessageWindow& window, Copies& copies,
                 std::string& played) {
    SoundFormat sound;
    if (ReadSound(file, sound) != TOLVANE_OK || sound.IsPcm() || sound.Bytes() == 0) return kExitDone;
    const auto decoder = FindDecoder(sound.format.wFormatTag);
    if (!decoder) return kExitDone;
    played = copies.emplace_back(std::make_unique<WorkFile>(TempFolder()))->path();
    JobScreen screen(window, "Converting", quiet);
    ConversionJob job(*decoder, file, played, {sound.format.nSamplesPerSec, 16, sound.format.nChannels});
    const uint16_t code = screen.Follow(job);
    if (code == TOLVANE_CANCELLED) return kExitInterrupted;
    return code == TOLVANE_OK ? kExitDone : ReportFileFailure("cannot play", file, code);
}

// Looks into the file only where the arguments ask for a part of it: the start of a playback is not to wait.
int CheckSpan(const PlayRequest& request, const std::string& played, Span& span) {
    if (!request.from && !request.to && request.rate == 0) return kExitDone;
    SoundFormat sound;
    if (const auto code = ReadSound(played, sound); code != TOLVANE_OK)
        return ReportFileFailure("cannot play", request.files[0], code);
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

// The wave files that the virtual card writes: one each time the device is opened. No path where nothing is kept.
struct Heard {
    std::string path, last;
    int files = 1;

    void StartAnother() {
        if (path.empty()) return;
        const fs::path first(path);
        last = (first.parent_path() /
                fmt::format("{}-{}{}", first.stem().string(), ++files, first.extension().string()))
                   .string();
        PlatformVirtualPlayInto(0, last.c_str());
    }
    void Tell() const {
        fmt::print("What was heard lies in {}{}\n", path, last.empty() ? "" : " to " + last);
    }
};

bool IsPlayed(const PlayRequest& request, const std::string& file) {
    return (!request.mix.empty() && IsSameFile(request.mix, file)) ||
           std::ranges::any_of(request.files, [&](const std::string& one) { return IsSameFile(one, file); });
}

int PrepareCard(const PlayRequest& request, std::string& heard) {
    if (const int failed = UseCard(request.card)) return failed;
    if (request.card.name != "virtual") return kExitDone;
    PlatformVirtualKeepPlayed(0, 0);
    if (!request.into.empty() && IsPlayed(request, request.into))
        return ReportFailure("cannot write", request.into, "It is the file to play.",
                             "Name another file with --into.");
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
    if (device && !MachineHasOutput()) return ReportNoSound("cannot play", request.files[0]);
    return ReportFileFailure("cannot play", request.files[0], code);
}

int FollowAndTell(MessageWindow& window, const PlayRequest& request, Playing& playing, PlayVolume& volume,
                  const Heard& heard) {
    const int exit_code = FollowPlayback(window, request, playing, volume);
    if (!heard.path.empty() && !request.quiet) heard.Tell();
    return exit_code;
}

uint16_t StartWave(const PlayRequest& request, const std::string& played, const MixFile* mix, Span span) {
    if (!mix)
        return AudioPlayWaveEx(played.c_str(), span.from, TOLVANE_BYTES, request.rate, 0, span.to,
                               request.repeat);
    return AudioPlayMixWave(played.c_str(), mix->path().c_str(), span.from, TOLVANE_BYTES, request.rate, 0,
                            span.to, request.average);
}

int PlayWave(const PlayRequest& request, MessageWindow& window, const Heard& heard) {
    Copies copies;
    std::string played = request.files[0];
    Span span;
    std::unique_ptr<MixFile> mix;
    if (const int stopped = ConvertFirst(request.files[0], request.quiet, window, copies, played))
        return stopped;
    if (const int failed = CheckSpan(request, played, span)) return failed;
    if (!request.mix.empty()) {
        mix = std::make_unique<MixFile>(request.mix, request.quiet);
        if (const int stopped = mix->FitTo(played, window)) return stopped;
    }
    PlayVolume volume(request.volume, request.mix_volume);
    const auto code = StartWave(request, played, mix.get(), span);
    if (code != TOLVANE_OK) return ReportStartFailure(request, heard.path, code);
    WavePlaying playing(request, played, span);
    return FollowAndTell(window, request, playing, volume, heard);
}

// What can be said of an MP3 file only, or only of wave files.
int CheckKinds(const PlayRequest& request, const std::vector<SetFile>& files) {
    const auto mp3 = std::ranges::count(files, true, &SetFile::is_mp3);
    const bool all = mp3 == std::ssize(files);
    std::string why;
    if (mp3 > 0 && !all) why = "There are wave files and MP3 files: one playback takes one kind.";
    if (all && (request.to || request.rate || !request.mix.empty()))
        why = "--to, --rate and --mix are for wave files.";
    if (all && !request.device.empty())
        why = "--device is for wave files; MP3 goes to the output that the system prefers.";
    if (why.empty()) return kExitDone;
    ReportFailure("cannot play", request.files[0], why, "`tolvane play --help` says what goes together.");
    return kExitBadArguments;
}

int ReadSetFile(const PlayRequest& request, MessageWindow& window, Copies& copies, SetFile& file) {
    if (!file.is_mp3)
        if (const int stopped = ConvertFirst(file.name, request.quiet, window, copies, file.played))
            return stopped;
    auto code = file.is_mp3 ? ReadMp3(file.name, file.mp3) : ReadSound(file.played, file.wave);
    if (code == TOLVANE_OK && !file.is_mp3 && !file.wave.IsPcm()) code = TOLVANE_NOT_PCM;
    if (code == TOLVANE_OK && file.Milliseconds() == 0) code = TOLVANE_EMPTY_DATA;
    return code == TOLVANE_OK ? kExitDone : ReportFileFailure("cannot play", file.name, code);
}

int PlaySet(const PlayRequest& request, MessageWindow& window, Heard& heard) {
    Copies copies;
    std::vector<SetFile> files;
    uint64_t length = 0;
    for (const std::string& name : request.files)
        files.push_back({name, name, LooksLikeMp3(name), {}, {}});
    if (const int failed = CheckKinds(request, files)) return failed;
    for (SetFile& file : files) {
        if (const int stopped = ReadSetFile(request, window, copies, file)) return stopped;
        length += file.Milliseconds();
    }
    const uint64_t from = request.from ? request.from->value : 0;
    if (request.from && request.from->unit != Unit::kMilliseconds)
        return ReportBadSpan(request, "--from is no time.", "Say it in seconds: 12.5 or 1:02.5.");
    if (from >= length)
        return ReportBadSpan(request, fmt::format("--from lies behind its end, {}.", TimeText(length, 3)),
                             "Name an earlier start.");
    PlayVolume volume(request.volume, request.mix_volume);
    SetPlaying playing(std::move(files), request.repeat, [&heard] { heard.StartAnother(); });
    if (const auto code = playing.Start(from); code != TOLVANE_OK)
        return ReportStartFailure(request, heard.path, code);
    return FollowAndTell(window, request, playing, volume, heard);
}

}  // namespace

int RunPlay(const PlayRequest& request) {
    MessageWindow window;
    Heard heard;
    if (!window.handle())
        return ReportFailure("cannot play", request.files[0], "The system gave no message window.",
                             "Try again; close other programs if memory is short.");
    if (const int failed = PrepareCard(request, heard.path)) return failed;
    if (const int failed = SelectOutput(request.device)) return failed;
    SetCallbackWindow(window.handle());
    const bool set = request.files.size() > 1 || LooksLikeMp3(request.files[0]);
    return set ? PlaySet(request, window, heard) : PlayWave(request, window, heard);
}

}  // namespace tolvane::host
