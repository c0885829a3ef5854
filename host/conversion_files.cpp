// The two files of a conversion: what is checked before it begins, and what is said when it fails.
#include "conversion_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>

#include "result_text.h"

namespace tolvane::host {
namespace {

namespace fs = std::filesystem;

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

constexpr std::string_view kCannotWrite = "cannot write";

File Open(const std::string& path, const char* mode) {
    return {std::fopen(path.c_str(), mode), std::fclose};
}

// An MPEG stream without a wave file around it: a tag, or the sync bits of a frame.
bool IsBareMpeg(const std::string& path) {
    std::array<unsigned char, 3> start{};
    const File file = Open(path, "rb");
    if (!file || std::fread(start.data(), 1, start.size(), file.get()) != start.size()) return false;
    return std::memcmp(start.data(), "ID3", 3) == 0 || (start[0] == 0xFF && (start[1] & 0xE6) == 0xE2);
}

// Whether a code speaks of the new file.
bool ConcernsTarget(uint16_t code) {
    constexpr uint16_t kAlone[] = {TOLVANE_OUTPUT_NOT_WRITTEN, TOLVANE_TARGET_NOT_CREATED};
    return std::ranges::find(kAlone, code) != std::end(kAlone) ||
           (code >= TOLVANE_TARGET_NO_FORM && code <= TOLVANE_TARGET_NO_DATA) ||
           (code >= TOLVANE_TARGET_NOT_WRITTEN && code <= TOLVANE_TARGET_FORM_OPEN);
}

int CheckExisting(const std::string& path, bool replace) {
    if (!replace)
        return ReportFailure(kCannotWrite, path, "It exists already.",
                             "Name another file, or replace it with -y.");
    if (Open(path, "r+b")) return kExitDone;
    return ReportFailure(kCannotWrite, path, fmt::format("{}.", std::strerror(errno)),
                         "Name a file that may be replaced.");
}

}  // namespace

int CheckSource(const ConversionFiles& files, SoundFormat& sound) {
    const std::string& path = files.source;
    if (const auto code = ReadSound(path, sound); code != TOLVANE_OK) {
        if (!IsBareMpeg(path)) return ReportFileFailure(files.cannot, path, code);
        return ReportFailure(files.cannot, path, "It is an MPEG stream without a wave file around it.",
                             "Only wave files can be converted so far, also those with MPEG sound in them.");
    }
    return sound.Bytes() > 0 ? kExitDone : ReportFileFailure(files.cannot, path, TOLVANE_EMPTY_DATA);
}

int CheckNewFile(const std::string& path, bool replace) {
    std::error_code ignored;
    const std::string folder = FolderOf(path);
    if (path.size() > TOLVANE_MAX_PATH)
        return ReportFailure(kCannotWrite, path,
                             fmt::format("The path has more than {} characters.", int{TOLVANE_MAX_PATH}),
                             "Use a shorter path.");
    if (fs::is_directory(path, ignored))
        return ReportFailure(kCannotWrite, path, "It is a folder.", "Name a file inside it.");
    if (!folder.empty() && !fs::is_directory(folder, ignored))
        return ReportFailure(kCannotWrite, path, "Its folder does not exist.", "Make the folder first.");
    return fs::exists(path, ignored) ? CheckExisting(path, replace) : kExitDone;
}

int CheckTarget(const ConversionFiles& files) {
    if (IsSameFile(files.source, files.target))
        return ReportFailure(kCannotWrite, files.target, "It is the file to convert.", "Name another file.");
    return CheckNewFile(files.target, files.yes);
}

int ReportConversionEnd(const ConversionFiles& files, uint16_t code, std::string_view advice) {
    if (code == TOLVANE_CANCELLED) {
        if (!files.quiet) fmt::print("Stopped; nothing was written.\n");
        return kExitInterrupted;
    }
    const bool target = ConcernsTarget(code);
    return ReportFileFailure(target ? kCannotWrite : files.cannot, target ? files.target : files.source, code,
                             advice);
}

int FinishConversion(const ConversionFiles& files, WorkFile& finished, std::string_view format_name) {
    SoundFormat sound;
    if (const auto code = ReadSound(finished.path(), sound); code != TOLVANE_OK)
        return ReportFileFailure(kCannotWrite, files.target, code);
    if (!finished.PutInPlace(files.target, files.yes))
        return ReportFailure(kCannotWrite, files.target, "The finished file could not be put in its place.",
                             "Check that nobody else uses the file, and that you may write in its folder.");
    if (!files.quiet)
        fmt::print("{}: {}, {}, {} bytes\n", files.target, FormatText(sound.format, format_name),
                   TimeText(sound.Milliseconds()), sound.file_size);
    return kExitDone;
}

}  // namespace tolvane::host
