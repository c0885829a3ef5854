// `tolvane info`: what can be said of wave files, compressed ones too, and of MP3 files.
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>

#include "catalogue.h"
#include "commands.h"
#include "mp3_sound.h"
#include "result_text.h"
#include "sound_format.h"

namespace tolvane::host {
namespace {

void PrintLine(std::string_view label, std::string_view text) {
    fmt::print("  {:<8}{}\n", label, text);
}

int DescribeMp3(const std::string& path) {
    constexpr uint16_t kMp3Tag = 85;
    Mp3Sound sound;
    if (const auto code = ReadMp3(path, sound); code != TOLVANE_OK)
        return ReportFileFailure("cannot read", path, code);
    fmt::print("{}\n", path);
    PrintLine("Format", FormatText(sound));
    PrintLine("Codec", CodecText(kMp3Tag));
    PrintLine("Length", LengthText(sound));
    PrintLine("Data", fmt::format("{} bytes in the file", sound.size));
    return kExitDone;
}

int Describe(const std::string& path) {
    if (LooksLikeMp3(path)) return DescribeMp3(path);
    SoundFormat sound;
    if (const auto code = ReadSound(path, sound); code != TOLVANE_OK)
        return ReportFileFailure("cannot read", path, code);
    fmt::print("{}\n", path);
    PrintLine("Format", FormatText(sound.format));
    if (!sound.IsPcm()) PrintLine("Codec", CodecText(sound.format.wFormatTag));
    PrintLine("Length", LengthText(sound));
    PrintLine("Data", fmt::format("{} bytes of {} in the file", sound.data_size, sound.file_size));
    if (sound.IsCutOff()) PrintLine("Note", "The file is shorter than it says: its end is missing.");
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
