// What a result code of the library means, and how the program reports a failure.
#include "result_text.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "commands.h"

namespace tolvane::host {
namespace {

struct Entry {
    uint32_t code;
    std::string_view sentence;
    std::string_view advice;
};

constexpr std::string_view kLookInside = "`tolvane info` shows what can be said of the file.";
constexpr std::string_view kSeeDevices = "`tolvane devices` lists the devices; choose one with --device.";
constexpr std::string_view kSeeSources = "`tolvane sources` lists what can be recorded from.";
constexpr std::string_view kSeeInputs =
    "`tolvane devices` lists the inputs; choose another device, sample rate or number of channels.";
constexpr std::string_view kFreeMemory = "Close other programs and try again.";
constexpr std::string_view kSeeCodecs = "`tolvane codecs` lists what is installed.";
constexpr std::string_view kChangePcm =
    "`tolvane convert --pcm RATE/BITS/CHANNELS` makes PCM of any rate and channels.";
constexpr std::string_view kDamaged = "Make the file anew, it is damaged.";
constexpr std::string_view kSelect = "Name two different times inside the sound.";
constexpr std::string_view kTempDisk =
    "An edit needs twice the file's size there: make room, or name another temp folder (TMPDIR).";
constexpr std::string_view kDisk = "Check the free space, and that you may write in its folder.";

constexpr Entry kEntries[] = {
    {TOLVANE_OK, "Done.", ""},
    {TOLVANE_NO_PATH, "No file was named.", "Name a wave file."},
    {TOLVANE_ALREADY_PLAYING, "A playback is already running.", "Wait for its end or stop it."},
    {TOLVANE_CANNOT_OPEN, "The file cannot be opened, or it is no usable wave file.", kLookInside},
    {TOLVANE_NO_BUFFERS, "There is not enough memory for the playback buffers.", kFreeMemory},
    {TOLVANE_FORMAT_NOT_PLAYABLE, "The output device cannot play this format or sample rate.",
     "Leave --rate out, or choose another device with --device (`tolvane devices`)."},
    {TOLVANE_DEVICE_NOT_OPENED, "The output device cannot be opened.", kSeeDevices},
    {TOLVANE_BUFFER_NOT_PREPARED, "The output device refused a playback buffer.", kSeeDevices},
    {TOLVANE_NOT_WAVE, "The file is no wave file, or its format is of no use here.", kLookInside},
    {TOLVANE_NO_FORMAT, "The wave file has no usable format record.", kDamaged},
    {TOLVANE_NOT_PCM, "The sound is compressed.", kLookInside},
    {TOLVANE_NO_DATA, "The wave file has no data chunk.", kDamaged},
    {TOLVANE_NO_MICROPHONE, "No record source is called a microphone.", kSeeSources},
    {TOLVANE_NO_LINE_INPUT, "No record source is called a line input.", kSeeSources},
    {TOLVANE_CANNOT_SEEK, "The file cannot be positioned at its sound.", "Play it from a local disk."},
    {TOLVANE_FORMAT_NOT_LEFT, "The wave file breaks off behind its format record.", kDamaged},
    {TOLVANE_NO_MEMORY, "There is not enough memory.", kFreeMemory},
    {TOLVANE_MEMORY_NOT_LOCKED, "The system did not hand out the memory it had granted.", kFreeMemory},
    {TOLVANE_EMPTY_DATA, "The wave file holds no sound.", "Choose a file with sound in it."},
    {TOLVANE_NO_PREFERRED_OUTPUT, "There is no output device, or the system prefers none.", kSeeDevices},
    {TOLVANE_NO_SUCH_OUTPUT, "This output device does not exist.", kSeeDevices},
    {TOLVANE_OUTPUT_NOT_SELECTED, "This output device cannot be selected: it does not exist.", kSeeDevices},
    {TOLVANE_NO_PREFERRED_INPUT, "There is no input device, or the system prefers none.", kSeeDevices},
    {TOLVANE_NO_SUCH_INPUT, "This input device does not exist.", kSeeDevices},
    {TOLVANE_INPUT_NOT_SELECTED, "This input device cannot be selected: it does not exist.", kSeeDevices},
    {TOLVANE_NO_FILE_BUFFER, "There is not enough memory to read the file.", kFreeMemory},
    {TOLVANE_NOT_A_FOLDER, "The temp folder is not an existing folder.",
     "Set TMPDIR to a folder that exists."},
    {TOLVANE_NO_CODEC, "No such codec is installed.", kSeeCodecs},
    {TOLVANE_NO_FORMAT_SIZE, "The system does not tell how large a format record can be.", kSeeCodecs},
    {TOLVANE_NO_FORMAT_MEMORY, "There is not enough memory for a format record.", kFreeMemory},
    {TOLVANE_NO_PCM_SUGGESTION, "No codec knows a format into which this sound can be converted.",
     kSeeCodecs},
    {TOLVANE_FILE_IS_PLAYING, "The file is being played.", "Wait for the end of the playback or stop it."},
    {TOLVANE_CANCELLED, "The operation was cancelled.", ""},
    {TOLVANE_NO_SOURCE_CONTROL, "The mixer has nothing to choose a record source with.", kSeeSources},
    {TOLVANE_NO_SUCH_SOURCE, "This record source does not exist.", kSeeSources},
    {TOLVANE_NO_SELECTION_MEMORY, "There is not enough memory for what the mixer tells.", kFreeMemory},
    {TOLVANE_SOURCE_NOT_READ, "The mixer does not tell which record sources are chosen.", kSeeSources},
    {TOLVANE_SOURCE_NOT_SET, "The mixer refused the choice of the record source.",
     "Choose it in the system's own sound settings."},
    {TOLVANE_EDIT_NOT_PCM, "The sound is compressed: it has to be converted to PCM first.", kChangePcm},
    {TOLVANE_INPUT_NOT_OPENED, "The file to convert cannot be opened.", kLookInside},
    {TOLVANE_INPUT_NOT_WAVE, "The file to convert is no wave file.", kLookInside},
    {TOLVANE_INPUT_NO_FORMAT, "The file to convert has no format record.", kDamaged},
    {TOLVANE_INPUT_BAD_FORMAT, "The format record of the file to convert cannot be read.", kDamaged},
    {TOLVANE_INPUT_NOT_PCM, "The file to convert is compressed.", kChangePcm},
    {TOLVANE_BLOCK_NOT_SIZED, "The codec does not tell how much room its output needs.", kSeeCodecs},
    {TOLVANE_INPUT_NO_DATA, "The file to convert has no data chunk.", kDamaged},
    {TOLVANE_INPUT_EMPTY, "The file to convert holds no sound.", "Choose a file with sound in it."},
    {TOLVANE_NO_CHANGE_MEMORY, "There is not enough memory for the conversion.", kFreeMemory},
    {TOLVANE_OUTPUT_NOT_WRITTEN, "The new file cannot be created or written: is the disk full?", kDisk},
    {TOLVANE_CHANGE_NOT_POSSIBLE, "Only whole ratios of rates, 1 or 2 channels, 8 or 16 bits.", kChangePcm},
    {TOLVANE_SAME_FORMAT, "The file has this format already.", "Say what is to be changed."},
    {TOLVANE_NO_INPUT_PATH, "No file to convert was named.", "Name a wave file."},
    {TOLVANE_NO_OUTPUT_PATH, "No file to create was named.", "Name a wave file."},
    {TOLVANE_OUTPUT_NO_FORM, "The new wave file cannot be begun: is the disk full?", kDisk},
    {TOLVANE_OUTPUT_NO_FORMAT, "The format record of the new file cannot be begun.", kDisk},
    {TOLVANE_OUTPUT_NO_DATA, "The data chunk of the new file cannot be begun.", kDisk},
    {TOLVANE_OUTPUT_FORMAT_LOST, "The format record of the new file cannot be written.", kDisk},
    {TOLVANE_FORMAT_NOT_CLOSED, "A format record breaks off.", kDamaged},
    {TOLVANE_OUTPUT_NOT_PREPARED, "The codec refused the buffers of the conversion.", kSeeCodecs},
    {TOLVANE_NO_PRIORITY, "The codec does not answer.", kSeeCodecs},
    {TOLVANE_CODEC_NOT_OPENED, "The codec cannot be opened.", kSeeCodecs},
    {TOLVANE_NO_STREAM, "No codec can convert between these formats.", kChangePcm},
    {TOLVANE_SOURCE_NOT_OPENED, "The file to convert cannot be opened.", kLookInside},
    {TOLVANE_TARGET_NOT_CREATED, "The new file cannot be created.", kDisk},
    {TOLVANE_SOURCE_NOT_WAVE, "The file to convert is no wave file.", kLookInside},
    {TOLVANE_SOURCE_NO_DATA, "The file to convert has no data chunk.", kDamaged},
    {TOLVANE_TARGET_NOT_SIZED, "The codec does not tell how much room its output needs.", kSeeCodecs},
    {TOLVANE_NO_SOURCE_MEMORY, "There is not enough memory to read the file.", kFreeMemory},
    {TOLVANE_NO_TARGET_MEMORY, "There is not enough memory for the converted sound.", kFreeMemory},
    {TOLVANE_NOT_PREPARED, "The codec refused the buffers of the conversion.", kSeeCodecs},
    {TOLVANE_TARGET_NO_FORM, "The new wave file cannot be begun: is the disk full?", kDisk},
    {TOLVANE_TARGET_NO_FORMAT, "The format record of the new file cannot be begun.", kDisk},
    {TOLVANE_TARGET_FORMAT_LOST, "The format record of the new file cannot be written.", kDisk},
    {TOLVANE_TARGET_FORMAT_OPEN, "The format record of the new file cannot be closed.", kDisk},
    {TOLVANE_TARGET_NO_FACT, "The fact chunk of the new file cannot be begun.", kDisk},
    {TOLVANE_TARGET_FACT_LOST, "The fact chunk of the new file cannot be written.", kDisk},
    {TOLVANE_TARGET_FACT_OPEN, "The fact chunk of the new file cannot be closed.", kDisk},
    {TOLVANE_TARGET_NO_DATA, "The data chunk of the new file cannot be begun.", kDisk},
    {TOLVANE_SOURCE_CUT_SHORT, "The file to convert ends before its sound does.", kDamaged},
    {TOLVANE_NOT_CONVERTED, "The codec could not convert a part of the sound.", kSeeCodecs},
    {TOLVANE_TARGET_NOT_WRITTEN, "The new file cannot be written: is the disk full?", kDisk},
    {TOLVANE_TARGET_DATA_OPEN, "The data chunk of the new file cannot be closed.", kDisk},
    {TOLVANE_TARGET_FORM_OPEN, "The new file cannot be closed: is the disk full?", kDisk},
    {TOLVANE_SOURCE_NO_FORMAT, "The file to convert has no format record.", kDamaged},
    {TOLVANE_SOURCE_BAD_FORMAT, "The format record of the file to convert cannot be read.", kDamaged},
    {TOLVANE_PCM_SOURCE_NOT_WAVE, "The file to convert is no wave file.", kLookInside},
    {TOLVANE_PCM_SOURCE_NO_DATA, "The file to convert has no data chunk.", kDamaged},
    {TOLVANE_FORMAT_NOT_RECORDED, "The input device cannot record this format.", kSeeInputs},
    {TOLVANE_NO_RECORD_BUFFERS, "There is not enough memory for the recording buffers.", kFreeMemory},
    {TOLVANE_RECORD_NOT_CREATED, "The file to record into cannot be created.", kDisk},
    {TOLVANE_RECORDER_NOT_OPENED, "The input device cannot be opened.", kSeeInputs},
    {TOLVANE_RECORD_NOT_STARTED, "The input device does not start.", kSeeInputs},
    {TOLVANE_ALREADY_RECORDING, "A recording or level test is already running.", "Stop it first."},
    {TOLVANE_NO_RECORD_PATH, "No file to record into was named.", "Name a wave file."},
    {TOLVANE_EFFECT_WAVE_CLOSED, "No effect wave is open.", ""},
    {TOLVANE_EFFECT_WAVE_EMPTY, "The effect wave holds no sound.", "Choose a file with sound in it."},
    {TOLVANE_EFFECT_WAVE_USED_UP, "The effect wave has been played to its end.", ""},
    {TOLVANE_EFFECT_WAVE_BROKEN, "The effect wave cannot be read.", kDamaged},
    {TOLVANE_EFFECT_WAVE_BUSY, "The effect wave cannot be waited for.", ""},
    {TOLVANE_EFFECT_WAVE_NO_RIFF, "The effect wave is no wave file.", kLookInside},
    {TOLVANE_EFFECT_WAVE_NO_DATA, "The effect wave has no data chunk.", kDamaged},
    {TOLVANE_EFFECT_WAVE_MISSING, "The effect wave cannot be opened.", kLookInside},
    {TOLVANE_NOTHING_RECORDED, "Nothing has been recorded yet.", "Start a recording first."},
    {TOLVANE_EDIT_NOT_WRITTEN, "The edited sound cannot be written, or the file breaks off.", kDisk},
    {TOLVANE_NOTHING_TO_CUT, "Nothing is selected.", kSelect},
    {TOLVANE_DISK_FULL, "There is not enough room on the disk of the temp folder.", kTempDisk},
    {TOLVANE_NO_UNDO_COPY, "The copy for undo cannot be made, or not be copied back.", kTempDisk},
    {TOLVANE_NOTHING_TO_COPY, "Nothing is selected.", kSelect},
    {TOLVANE_NO_PASTE_FILE, "The file to paste does not exist.", "Name a wave file that exists."},
    {TOLVANE_PASTE_NOT_FITTING, "The file to paste is no PCM wave file of the same format, with sound in it.",
     kChangePcm},
    {TOLVANE_NOTHING_TO_PASTE, "There is nothing to paste.",
     "Name a wave file with sound in it; in a session cut or copy first."},
    {TOLVANE_BEYOND_END, "The position lies behind the end of the sound.",
     "Name an earlier time; `end` names the end."},
    {TOLVANE_UNDO_OFF, "Undo is switched off.", ""},
    {TOLVANE_NO_REDO_COPY, "The copy for redo cannot be made.", kTempDisk},
    {TOLVANE_NOTHING_TO_UNDO, "There is no edit to take back or to repeat.",
     "Only the last edit can be taken back, and repeated."},
    {TOLVANE_NOT_REDONE, "The edit cannot be repeated: is the disk full?", kDisk},
    {TOLVANE_NOT_PUT_IN_PLACE, "The file cannot be replaced by the edited one.", kDisk},
    {TOLVANE_NOTHING_SELECTED, "Nothing is selected.", kSelect},
    {TOLVANE_NOTHING_TO_CROP, "Nothing is selected.", kSelect},
};

const Entry* Find(uint32_t code) {
    for (const Entry& entry : kEntries)
        if (entry.code == code) return &entry;
    return nullptr;
}

struct Cause {
    std::string why;
    std::string_view advice;
};

Cause CauseOf(uint32_t code) {
    const Entry* entry = Find(code);
    return {fmt::format("{} (result {})", ResultSentence(code), code), entry ? entry->advice : kLookInside};
}

// The one code of a file that cannot be used stands for many causes: asks the system, then the reader.
Cause CauseInFile(const std::string& path) {
    if (path.size() > TOLVANE_MAX_PATH)
        return {fmt::format("The path has {} characters, more than {}.", path.size(), int{TOLVANE_MAX_PATH}),
                "Use a shorter path, for instance from inside the file's folder."};
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        return {"It is a folder.", "Name a wave file inside it."};
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file)
        return {fmt::format("{}.", std::strerror(errno)), "Check the name and that you may read the file."};
    uint32_t size = 0;
    InputFileInfo info;
    if (const auto code = GetDataChunkSize(path.c_str(), &size); code != TOLVANE_OK) return CauseOf(code);
    if (GetInputFileInfo(path.c_str(), &info) != TOLVANE_OK) return CauseOf(TOLVANE_NO_FORMAT);
    return CauseOf(size == 0 ? TOLVANE_EMPTY_DATA : TOLVANE_CANNOT_OPEN);
}

}  // namespace

std::string_view ResultSentence(uint32_t code) {
    const Entry* entry = Find(code);
    return entry ? entry->sentence : "It failed for a reason that this program does not know.";
}

int ReportFailure(std::string_view what, std::string_view on, std::string_view why, std::string_view advice) {
    std::fflush(stdout);
    fmt::print(stderr, "tolvane: {} {}: {}\n", what, on, why);
    if (!advice.empty()) fmt::print(stderr, "  {}\n", advice);
    return kExitFailed;
}

int ReportFileFailure(std::string_view what, const std::string& path, uint32_t code,
                      std::string_view advice) {
    const Cause cause = code == TOLVANE_CANNOT_OPEN ? CauseInFile(path) : CauseOf(code);
    return ReportFailure(what, path, cause.why, advice.empty() ? cause.advice : advice);
}

}  // namespace tolvane::host
