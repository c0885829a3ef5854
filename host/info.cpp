// `tolvane info`: what can be said of wave files, compressed ones too.
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>

#include "catalogue.h"
#include "commands.h"
#include "result_text.h"
#include "sound_format.h"

namespace tolvane::host {
namespace {

void PrintLine(std::string_view label, std::string_view text) {
    fmt::print("  {:<8}{}\n", label, text);
}

void PrintSound(const std::string& path, const SoundFormat& sound) {
    std::error_code unknown;
    const auto file_size = std::filesystem::file_size(path, unknown);
    PrintLine("Length", LengthText(sound));
    PrintLine("Data", unknown ? fmt::format("{} bytes", sound.data_size)
                              : fmt::format("{} bytes of {} in the file", sound.data_size, file_size));
    if (!unknown && sound.data_size > file_size)
        PrintLine("Note", "The file is shorter than it says: its end is missing.");
}

int Describe(const std::string& path) {
    SoundFormat sound;
    if (const auto code = GetInputFileInfo(path.c_str(), &sound.format); code != TOLVANE_OK)
        return ReportFileFailure("cannot read", path, code);
    if (const auto code = GetDataChunkSize(path.c_str(), &sound.data_size); code != TOLVANE_OK)
        return ReportFileFailure("cannot read", path, code);
    fmt::print("{}\n", path);
    PrintLine("Format", FormatText(sound.format));
    if (!sound.IsPcm()) PrintLine("Codec", CodecText(sound.format.wFormatTag));
    PrintSound(path, sound);
    return kExitDone;
}

}  // namespace

int RunInfo(const std::vector<std::string>& files) {
    int worst = kExitDone;
    for (const std::string& file : files)
        worst = std::max(worst, Describe(file));
    return worst;
}

}  // namespace tolvane::host
