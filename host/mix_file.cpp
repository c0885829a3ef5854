// The file that is laid over another.
#include "mix_file.h"

#include <windows.h>
#include <mmsystem.h>

#include <tolvane.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "codec_names.h"
#include "commands.h"
#include "job_screen.h"
#include "result_text.h"
#include "sound_format.h"
#include "wave_data.h"

namespace tolvane::host {
namespace {

constexpr std::string_view kCannot = "cannot mix in";

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

bool CopyBehind(const std::vector<uint8_t>& head, const std::string& source, uint32_t from, uint32_t bytes,
                const std::string& target) {
    const File in(std::fopen(source.c_str(), "rb"), std::fclose);
    File out(std::fopen(target.c_str(), "wb"), std::fclose);
    std::vector<uint8_t> piece(1 << 20);
    if (!in || !out || std::fseek(in.get(), static_cast<long>(from), SEEK_SET) != 0) return false;
    if (std::fwrite(head.data(), 1, head.size(), out.get()) != head.size()) return false;
    while (bytes > 0) {
        const size_t wanted = std::min<size_t>(bytes, piece.size());
        const size_t got = std::fread(piece.data(), 1, wanted, in.get());
        if (std::fwrite(piece.data(), 1, got, out.get()) != got) return false;
        bytes = got < wanted ? 0 : bytes - static_cast<uint32_t>(got);
    }
    return std::fclose(out.release()) == 0;
}

}  // namespace

const std::string& MixFile::NewCopy() {
    return copies_.emplace_back(std::make_unique<WorkFile>(TempFolder()))->path();
}

int MixFile::Convert(uint16_t tag, const PcmShape& shape, MessageWindow& window) {
    const auto codec = tag == kPcmTag ? FindPcmConverter() : FindDecoder(tag);
    if (!codec) return ReportFileFailure(kCannot, name_, TOLVANE_NO_CODEC);
    const std::string source = path_;
    path_ = NewCopy();
    JobScreen screen(window, "Converting", quiet_);
    ConversionJob job(*codec, source, path_, shape);
    const uint16_t code = screen.Follow(job);
    if (code == TOLVANE_CANCELLED) return kExitInterrupted;
    return code == TOLVANE_OK ? kExitDone : ReportFileFailure(kCannot, name_, code);
}

int MixFile::LineUp(uint32_t start) {
    const uint32_t own = DataStart(path_);
    if (start == own) return kExitDone;
    SoundFormat sound;
    const auto code = ReadSound(path_, sound);
    if (code != TOLVANE_OK || start < kWaveHeadBytes)
        return ReportFileFailure(kCannot, name_, code == TOLVANE_OK ? uint16_t{TOLVANE_NO_DATA} : code);
    const std::string source = path_;
    path_ = NewCopy();
    if (CopyBehind(WaveHead(sound.format, sound.Bytes(), start), source, own, sound.Bytes(), path_))
        return kExitDone;
    return ReportFailure(kCannot, name_, "Its copy in the temp folder cannot be written.",
                         "Make room there, or name another temp folder (TMPDIR).");
}

// A codec keeps rate and channels, so a compressed sound may need a second step.
int MixFile::FitTo(const std::string& played, MessageWindow& window) {
    SoundFormat wanted, own;
    if (ReadSound(played, wanted) != TOLVANE_OK || !wanted.IsPcm())
        return ReportFailure(kCannot, name_, "What is played is no PCM, and no codec knows it.",
                             "Leave --mix out.");
    if (const auto code = ReadSound(path_, own); code != TOLVANE_OK)
        return ReportFileFailure(kCannot, name_, code);
    PcmShape shape = own.Shape();
    if (!own.IsPcm()) {
        shape.bits = 16;
        if (const int stopped = Convert(own.format.wFormatTag, shape, window)) return stopped;
    }
    if (shape != wanted.Shape())
        if (const int stopped = Convert(kPcmTag, wanted.Shape(), window)) return stopped;
    return LineUp(DataStart(played));
}

}  // namespace tolvane::host
