// Every export with the results that its description allows.
#include <cstring>

#include "abuse/abuser.h"

namespace tolvane::test {

namespace {

// On Windows a format tag that a codec has would make the system ask the user.
#ifdef _WIN32
constexpr std::initializer_list<uint32_t> kFormatTags = {0xFFFFFFFF, 0x80000000};
#else
constexpr std::initializer_list<uint32_t> kFormatTags = {0, 1, 2, 0xFFFF, 0x80000000, 0xFFFFFFFF};
#endif

#define CODES(name, arguments, ...)                                        \
    {                                                                      \
#name, [](Abuser & a) { a.Expect(name arguments, {__VA_ARGS__}); } \
    }
#define NO_CODE(name, arguments)                                        \
    {                                                                   \
#name, [](Abuser & a) { static_cast<void>(a), name arguments; } \
    }
// What every playback, every edit may answer, at once or as the reason of a job.
#define PLAY           \
    {100, 106}, 113, { \
        400, 430       \
    }
#define EDIT {100, 102}, 107, 110, 301, {303, 305}, 310, 311, 313, 318, 319
#define CHANGE                   \
    {100, 102}, 310, 311, 318, { \
        350, 360                 \
    }

const Export kFrame[] = {
    NO_CODE(SetCallbackWindow, (a.Window())),
    CODES(SetTempPath, (a.Folder()), 0, 322),
};

void LevelInBuffer(Abuser& a) {
    const InputFileInfo format = {1, a.Channels(), 8000, 8000, 1, a.Bits()};
    uint32_t left = 101, right = 102;
    const bool unreadable = a.Chance(4);
    const auto* data = unreadable ? reinterpret_cast<const uint8_t*>(16) : a.OrNull(a.block);
    const uint32_t length = unreadable ? a.Any() : a.UpTo(sizeof a.block);
    a.Expect(AudioGetLevelInBuffer(a.OrNull(&format), data, length, a.OrNull(&left), a.OrNull(&right)), {0});
    a.Expect(left, {{0, 101}}), a.Expect(right, {{0, 100}, 102});
}

void FileInfo(Abuser& a) {
    AudioFileInfo info = {};
    a.Expect(AudioGetFileInfo(a.OrNull(&info), a.Source(), a.Short(), a.Any()), {0, 100, 102, 107});
    a.Expect(info.formatTag, {0, 1});
}

void InputInfo(Abuser& a) {
    InputFileInfo info;
    a.Expect(GetInputFileInfo(a.Source(), a.OrNull(&info)), {0, 102});
}

void Mp3Info(Abuser& a) {
    Mp3StreamFormat format;
    a.Expect(GetMP3FileInfo(a.Source(), a.OrNull(&format), a.OrNull(&a.number)), {0, 102, 405});
}

const Export kFiles[] = {
    {"GetInputFileInfo", InputInfo},
    {"AudioGetFileInfo", FileInfo},
    {"GetMP3FileInfo", Mp3Info},
    {"AudioGetLevelInBuffer", LevelInBuffer},
    CODES(GetDataChunkSize, (a.Source(), a.OrNull(&a.number)), 0, 102, 107, 110),
    CODES(AudioIsTheSampleSpeedSupported, (a.Source(), a.Rate()), 0, 1),
    CODES(CanSetPositionAndSampleRate, (a.Source()), 0, 1),
};

void PlaybackLevel(Abuser& a) {
    uint32_t left = 0, right = 0;
    AudioGetPlaybackLevel(a.OrNull(&left), a.OrNull(&right));
    a.ExpectPercent(left, right);
}

void Mix(Abuser& a) {
    uint32_t clipped = 0;
    MixData(a.OrNull(a.block), a.UpTo(sizeof a.block), a.OrNull(a.mix_block), a.UpTo(sizeof a.mix_block),
            a.Channels(), a.Bits(), a.Any(), a.OrNull(&clipped));
    a.Expect(clipped, {0, 1});
}

void SetInfo(Abuser& a) {
    PlaybackSetInfo info = {};
    a.Expect(AudioGetPlaybackSetInfo(a.OrNull(&info), a.Short()), {0});
    a.Expect(memchr(info.path, 0, sizeof info.path) != nullptr, {1});
}

const Export kPlayback[] = {
    CODES(AudioLoadFile, (a.Source()), 0, {100, 102}, 104),
    {"AudioPlayCurrentFile",
     [](Abuser& a) {
         if (a.Chance(2)) AudioLoadFile(a.Edited());
         a.Expect(AudioPlayCurrentFile(a.Any(), a.Short()), {0, {101, 106}, 113});
     }},
    CODES(AudioPlayWave, (a.Source(), a.Any(), a.Short(), a.Rate(), a.Any(), a.Any()), 0, PLAY),
    CODES(AudioPlayWaveEx, (a.Source(), a.Any(), a.Short(), a.Rate(), a.Any(), a.Any(), a.Any()), 0, PLAY),
    CODES(AudioStop, (), 0),
    CODES(AudioPause, (), 0),
    CODES(AudioResume, (), 0),
    CODES(AudioMoveTo, (a.Any(), a.Short()), 0),
    NO_CODE(AudioGetPosition, (a.Short())),
    {"AudioGetPlaybackLevel", PlaybackLevel},
    CODES(AudioPlayMixWave, (a.Source(), a.Source(), a.Any(), a.Short(), a.Rate(), a.Any(), a.Any(), a.Any()),
          0, PLAY),
    NO_CODE(SetVolume, (a.Factor(), a.Factor(), a.Factor(), a.Factor())),
    {"MixData", Mix},
    CODES(AudioPlayWaveFilesSet, (a.Set(false), a.SetCount(), a.Any(), a.Short(), a.Rate(), a.Any(), a.Any()),
          0, PLAY),
    CODES(AudioMoveIntoPlaybackSet, (a.Any(), a.Short()), 0),
    {"AudioGetPlaybackSetInfo", SetInfo},
    CODES(AudioPlayMP3, (a.Source(), a.Any(), a.Short(), a.Rate(), a.Any(), a.Any()), 0, {100, 103},
          {105, 106}, 113),
    CODES(AudioPlayMP3FilesSet,
          (a.Set(true), a.Chance(4) ? INT32_MIN : static_cast<int32_t>(a.SetCount()), a.Any(), a.Short(),
           a.Rate(), a.Any(), a.Any()),
          0, PLAY),
};

void RecordLevel(Abuser& a) {
    uint32_t left = 0, right = 0;
    AudioGetRecordLevel(a.OrNull(&left), a.OrNull(&right));
    a.ExpectPercent(left, right);
}

// Silence of up to 2 GiB is the business of other tests.
uint32_t Offset(Abuser& a) {
    return a.OneOf<uint32_t>({0, 1, 45, 46, 47, 5000, 0x80000000, 0xFFFFFFFF});
}

const Export kRecording[] = {
    CODES(AudioStartRecord, (a.RecordName(), a.Rate(), a.Bits(), a.Channels(), a.Short()), 0, {201, 207}),
    CODES(AudioStartRecordEx,
          (a.Window(), a.Any(), a.RecordName(), a.Rate(), a.Bits(), a.Channels(), a.Short(), a.Any() % 5000,
           Offset(a), Offset(a), Offset(a)),
          0, {201, 207}),
    CODES(AudioStartRecordLevelTest, (a.Rate(), a.Bits(), a.Channels()), 0, 201, 202, {204, 206}),
    CODES(AudioStopRecord, (), 0),
    CODES(AudioStopRecordLevelTest, (), 0),
    NO_CODE(PauseRecording, ()),
    NO_CODE(ResumeRecording, ()),
    {"AudioGetRecordLevel", RecordLevel},
    NO_CODE(AudioGetRecordPosition, (a.Short())),
    CODES(AudioMixEffectWithRecord, (a.Source()), 0, 462, {466, 469}),
    {"LoadEffectFile",
     [](Abuser& a) {
         const int32_t slot = a.Slot();
         a.Expect(LoadEffectFile(slot == Abuser::kLastSlot ? 4 : slot, a.Plugin()), {0, 1});
     }},
    CODES(SetEffectState, (a.Slot(), a.Any()), 0, 1),
    {"SetEffectsParameters",
     [](Abuser& a) {
         const bool none = a.Chance(2);
         const uint32_t size = none ? a.Any() : sizeof a.gain;
         a.Expect(SetEffectsParameters(a.Slot(), none ? nullptr : &a.gain, size), {0, 1});
     }},
    NO_CODE(EffectChanged, ()),
};

const Export kDevices[] = {
    CODES(GetNumberOfOutputDevices, (), {0, 64}),
    CODES(GetNumberOfInputDevices, (), {0, 64}),
    CODES(GetPreferredOutputDeviceIndex, (a.OrNull(&a.number)), 0, 150),
    CODES(GetPreferredInputDeviceIndex, (a.OrNull(&a.number)), 0, 153),
    CODES(GetOutputDeviceDescription, (a.Any(), a.OrNull(a.text)), 0, 151),
    CODES(GetInputDeviceDescription, (a.Any(), a.OrNull(a.text)), 0, 154),
    CODES(SelectOutputDevice, (a.Any()), 0, 152),
    CODES(SelectInputDevice, (a.Any()), 0, 155),
};

const Export kMixer[] = {
    CODES(AudioSetVolume, (a.Short()), 0),
    CODES(AudioGetVolume, (), {0, 100}),
    CODES(AudioMute, (a.Any()), 0),
    CODES(AudioSetRecVolume, (a.Short()), 0),
    CODES(AudioGetRecVolume, (), {0, 100}),
    CODES(GetNumberOfRecordSources, (), {0, 64}),
    CODES(GetRecordSourceName, (a.Any(), a.OrNull(a.text)), 0),
    CODES(GetRecordSourceMic, (a.OrNull(&a.number)), 0, 111),
    CODES(GetRecordSourceLine, (a.OrNull(&a.number)), 0, 112),
    CODES(SetTheSource, (a.Short()), 0, {250, 254}),
};

void CodecText(Abuser& a) {
    CodecDescription out = {};
    a.Expect(GetCodecDescription(a.OrNull(&out), a.Short()), {0, 400});
    a.Expect(memchr(out.longName, 0, sizeof out.longName) != nullptr, {1});
}

void FormatTagText(Abuser& a) {
    FormatTagDescription out = {};
    a.Expect(GetCodecFormatTagDescription(a.OrNull(&out), a.Short(), a.Short()), {0});
    a.Expect(memchr(out.name, 0, sizeof out.name) != nullptr, {1});
}

void CloseEdit(Abuser& a) {
    EditJob** place = a.OrNull(&a.edit_job);
    a.Expect(AudioEditCloseHandle(place), {0});
    if (place) a.Expect(a.edit_job == nullptr, {1});
}

void CloseConvert(Abuser& a) {
    ConvertJob** place = a.OrNull(&a.convert_job);
    a.Expect(AudioConvertCloseHandle(place), {0});
    if (place) a.Expect(a.convert_job == nullptr, {1});
}

const Export kCodecsAndJobs[] = {
    CODES(GetNumberOfCodec, (), {0, 64}),
    {"GetCodecDescription", CodecText},
    {"GetCodecFormatTagDescription", FormatTagText},
    CODES(AudioEditCancelPressed, (a.OldEditJob()), 0),
    CODES(AudioEditProcessIsOver, (a.OldEditJob()), 0, 1),
    CODES(AudioEditGetProcessProgress, (a.OldEditJob()), {0, 100}),
    CODES(AudioEditGetReasonForProcessExit, (a.OldEditJob()), 0, EDIT, CHANGE, 307, 308, 302, 306, 312, 320,
          321),
    {"AudioEditCloseHandle", CloseEdit},
    CODES(AudioChangeFormat,
          (a.Edited(), a.Target(), a.Rate(), a.Bits(), a.Channels(), a.NewEditJob(), a.Any()), 0, CHANGE),
};

void BeginPcm(Abuser& a) {
    AbortACMConversion(a.conversion);
    a.conversion = ACMBeginConvertPCMEx(a.Source(), a.Target(), a.PcmFormat());
}

void AbortPcm(Abuser& a) {
    PcmConversion* old = a.OldConversion();
    a.Expect(AbortACMConversion(old), {0});
    if (old) a.conversion = nullptr;
}

const Export kConversion[] = {
    CODES(AudioConvert,
          (a.Short(), a.OneOf(kFormatTags), a.Source(), a.Target(), a.PcmFormat(), a.Any(), a.NewConvertJob(),
           a.Any()),
          0, {400, 430}),
    CODES(AudioConvertCancelPressed, (a.OldConvertJob()), 0),
    CODES(AudioConvertProcessIsOver, (a.OldConvertJob()), 0, 1),
    CODES(AudioConvertGetProcessProgress, (a.OldConvertJob()), {0, 100}),
    CODES(AudioConvertGetReasonForProcessExit, (a.OldConvertJob()), 0, {400, 430}),
    {"AudioConvertCloseHandle", CloseConvert},
    CODES(ACMAudioConvertFormatPCM, (a.Source(), a.Target(), a.PcmFormat()), 0, {350, 369}, 405, 406,
          {423, 427}, 466, 467),
    {"ACMBeginConvertPCMEx", BeginPcm},
    {"GetACMStatus",
     [](Abuser& a) {
         uint32_t progress = 0;
         a.Expect(GetACMStatus(a.OldConversion(), a.OrNull(&progress)), {0, 1000, 1001});
         a.ExpectPercent(progress);
     }},
    {"AbortACMConversion", AbortPcm},
};

const Export kEditing[] = {
    CODES(AudioCut, (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Target()), 0, EDIT,
          302),
    CODES(AudioCutInFile,
          (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Target(), a.Target()), 0, EDIT,
          302),
    CODES(AudioCopy, (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any()), 0, EDIT, 306),
    CODES(AudioCopyInFile, (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Target()), 0,
          EDIT, 306),
    CODES(AudioPaste, (a.Edited(), a.Any(), a.Short(), a.NewEditJob(), a.Any()), 0, EDIT, 307, 308, 312),
    CODES(AudioPasteEx, (a.Edited(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Source(), a.Target()), 0,
          EDIT, 307, 308, 312),
    CODES(AudioEditCanPaste, (), 0, 1),
    CODES(AudioFlushCutCopyPasteBuffer, (), 0),
    CODES(AudioClear, (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Target()), 0, EDIT,
          320),
    CODES(AudioCrop, (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Target()), 0, EDIT,
          321),
    CODES(AudioEditMute,
          (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Any(), a.Target()), 0, EDIT,
          320),
    CODES(AudioEditTrimSilence,
          (a.Edited(), a.Any(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.Short(), a.Target()), 0, EDIT,
          320),
    CODES(AudioInsertSilence,
          (a.Edited(), a.Any(), a.Short(), a.NewEditJob(), a.Any(), a.OneOf<uint32_t>({0, 1, 50, 0xFFFFFFFF}),
           a.Target()),
          0, EDIT),
    CODES(AudioEditSetUndoRedo, (a.Any()), 0),
    CODES(AudioEditCanUndo, (), 0, 1),
    CODES(AudioEditCanRedo, (), 0, 1),
    CODES(AudioEditUndo, (), 0, 305, {314, 316}),
    CODES(AudioEditRedo, (), 0, {314, 317}),
};

}  // namespace

std::span<const Export> AllExports() {
    static const std::vector<Export> all = [] {
        std::vector<Export> exports;
        for (const std::span<const Export> group :
             {std::span<const Export>(kFrame), std::span<const Export>(kFiles),
              std::span<const Export>(kPlayback), std::span<const Export>(kRecording),
              std::span<const Export>(kDevices), std::span<const Export>(kMixer),
              std::span<const Export>(kCodecsAndJobs), std::span<const Export>(kConversion),
              std::span<const Export>(kEditing)})
            exports.insert(exports.end(), group.begin(), group.end());
        return exports;
    }();
    return all;
}

bool StartsSound(const std::string& name) {
    return name.starts_with("AudioPlay") || name.starts_with("AudioStart");
}

}  // namespace tolvane::test
