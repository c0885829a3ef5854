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
constexpr std::string_view kFreeMemory = "Close other programs and try again.";

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
    {TOLVANE_NO_FORMAT, "The wave file has no usable format record.", "Make the file anew, it is damaged."},
    {TOLVANE_NOT_PCM, "The sound is compressed.", kLookInside},
    {TOLVANE_NO_DATA, "The wave file has no data chunk.", "Make the file anew, it is damaged."},
    {TOLVANE_CANNOT_SEEK, "The file cannot be positioned at its sound.", "Play it from a local disk."},
    {TOLVANE_FORMAT_NOT_LEFT, "The wave file breaks off behind its format record.",
     "Make the file anew, it is damaged."},
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
    {TOLVANE_NO_CODEC, "No such codec is installed.", "`tolvane codecs` lists what is installed."},
    {TOLVANE_NO_FORMAT_SIZE, "The system does not tell how large a format record can be.",
     "`tolvane codecs` lists what is installed."},
    {TOLVANE_NO_FORMAT_MEMORY, "There is not enough memory for a format record.", kFreeMemory},
    {TOLVANE_NO_PCM_SUGGESTION, "No codec can turn this sound into PCM.",
     "`tolvane codecs` lists what is installed."},
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

int ReportFileFailure(std::string_view what, const std::string& path, uint32_t code) {
    const Cause cause = code == TOLVANE_CANNOT_OPEN ? CauseInFile(path) : CauseOf(code);
    return ReportFailure(what, path, cause.why, cause.advice);
}

}  // namespace tolvane::host
