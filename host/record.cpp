// `tolvane record`: from the arguments to a running recording, and what is said when it cannot start.
#include <platform.h>
#include <tolvane.h>

#include <fmt/format.h>

#include "commands.h"
#include "conversion_files.h"
#include "message_window.h"
#include "recorder.h"
#include "result_text.h"
#include "sound_devices.h"
#include "sound_format.h"
#include "work_file.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kHeaderBytes = 46;  // of the file, before its sound

int LoadEffects(const RecordRequest& request) {
    for (size_t i = 0; i < request.effects.size(); ++i) {
        const Effect& effect = request.effects[i];
        const auto slot = static_cast<int32_t>(i);
        if (!LoadEffectFile(slot, effect.library.c_str()))
            return ReportFailure("cannot load the effect", effect.library,
                                 "It is no effect plug-in for this program.",
                                 "Name a library with its path: ./gain.so");
        SetEffectsParameters(slot, effect.parameters.data(), static_cast<uint32_t>(effect.parameters.size()));
        SetEffectState(slot, 1);
    }
    return kExitDone;
}

// What the virtual card is to hear.
int PrepareInput(const RecordRequest& request) {
    if (const int failed = UseCard(request.card)) return failed;
    if (request.hear.empty() || PlatformVirtualRecordFrom(0, request.hear.c_str()))
        return SelectInput(request.device);
    return ReportFailure("cannot record from", request.hear, "It is no PCM wave file.",
                         "Name another file with --hear.");
}

// The library takes the bytes of any wave for sound of the recording's format.
int CheckInserted(const RecordRequest& request) {
    constexpr std::string_view kCannot = "cannot insert";
    SoundFormat sound;
    if (request.insert.empty()) return kExitDone;
    auto code = ReadSound(request.insert, sound);
    if (code == TOLVANE_OK && sound.Bytes() == 0) code = TOLVANE_EMPTY_DATA;
    if (code != TOLVANE_OK) return ReportFileFailure(kCannot, request.insert, code);
    if (sound.IsPcm() && sound.Shape() == request.shape) return kExitDone;
    return ReportFailure(
        kCannot, request.insert,
        fmt::format("It is {}, and the recording {}.", FormatText(sound.format), ShapeText(request.shape)),
        "`tolvane convert --pcm RATE/BITS/CHANNELS` makes it so.");
}

int CheckFiles(const RecordRequest& request) {
    if (const int failed = CheckNewFile(request.file, request.yes)) return failed;
    for (const std::string& read : {request.hear, request.insert})
        if (!read.empty() && IsSameFile(request.file, read))
            return ReportFailure("cannot write", request.file, "Its sound is what is to be recorded.",
                                 "Name another file.");
    return CheckInserted(request);
}

// In whole frames: half a sample more would turn all that follows into noise.
uint32_t BytesIn(const RecordRequest& request, const std::optional<Moment>& moment) {
    if (!moment) return 0;
    SoundFormat sound;
    sound.format.wFormatTag = 1;
    sound.format.nChannels = request.shape.channels;
    sound.format.nSamplesPerSec = request.shape.rate;
    sound.format.wBitsPerSample = request.shape.bits;
    sound.format.nBlockAlign = static_cast<uint16_t>(request.shape.channels * request.shape.bits / 8);
    sound.format.nAvgBytesPerSec = sound.format.nBlockAlign * request.shape.rate;
    sound.data_size = INT32_MAX - kHeaderBytes;
    sound.file_size = INT32_MAX;
    const uint32_t bytes = sound.BytesAt(*moment);
    return bytes - bytes % sound.format.nBlockAlign;
}

// A place in the file, its header included; 0 where none is asked for.
uint32_t PlaceIn(const RecordRequest& request, const std::optional<Moment>& moment) {
    return moment ? kHeaderBytes + BytesIn(request, moment) : 0;
}

uint16_t Start(const RecordRequest& request, MessageWindow& window, uint32_t source) {
    std::string name = request.file;
    const PcmShape& shape = request.shape;
    return AudioStartRecordEx(window.handle(), kStopReachedMessage, name.data(), shape.rate, shape.bits,
                              shape.channels, static_cast<uint16_t>(source),
                              BytesIn(request, request.lead_in), PlaceIn(request, request.punch_in),
                              PlaceIn(request, request.stop_at), PlaceIn(request, request.min_length));
}

int ReportStartFailure(const RecordRequest& request, uint16_t code) {
    if (code == TOLVANE_RECORD_NOT_CREATED)
        return ReportFailure("cannot write", request.file, ResultSentence(code),
                             "Name a file that can be written.");
    if (GetNumberOfInputDevices() == 0)
        return ReportFailure("cannot record", request.file, "This machine has no sound input.",
                             "Start a sound server or connect a microphone, then try again.");
    return ReportFailure(
        "cannot record", request.file, ResultSentence(code),
        "Try another --rate, --bits, --channels or --device; `tolvane devices` lists the inputs.");
}

// As the library does it: what is asked of the name beforehand has to be asked of the same file.
std::string WithoutBlanksAround(const std::string& name) {
    constexpr const char* kBlanks = " \t\n\v\f\r";
    const size_t first = name.find_first_not_of(kBlanks);
    return first == name.npos ? "" : name.substr(first, name.find_last_not_of(kBlanks) + 1 - first);
}

}  // namespace

int RunRecord(const RecordRequest& asked) {
    RecordRequest request = asked;
    request.file = WithoutBlanksAround(asked.file);
    if (request.file.empty())
        return ReportFailure("cannot record into", fmt::format("'{}'", asked.file),
                             ResultSentence(TOLVANE_NO_RECORD_PATH), "Name a wave file.");
    MessageWindow window;
    if (!window.handle())
        return ReportFailure("cannot record", request.file, "The system gave no message window.",
                             "Try again; close other programs if memory is short.");
    RecordSource source;
    if (const int failed = CheckFiles(request)) return failed;
    if (const int failed = PrepareInput(request)) return failed;
    if (!request.source.empty())
        if (const int failed = SelectSource(request.source, source)) return failed;
    if (const int failed = LoadEffects(request)) return failed;
    if (const uint16_t code = Start(request, window, source.index); code != TOLVANE_OK)
        return ReportStartFailure(request, code);
    return FollowRecording(window, request);
}

}  // namespace tolvane::host
