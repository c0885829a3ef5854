// The sound of a wave file in numbers and in words.
#include "sound_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace tolvane::host {
namespace {

std::string ChannelText(uint16_t channels) {
    if (channels == 1) return "mono";
    if (channels == 2) return "stereo";
    return fmt::format("{} channels", channels);
}

}  // namespace

uint32_t SoundFormat::Bytes() const {
    return static_cast<uint32_t>(std::min<uint64_t>(data_size, file_size));
}

uint64_t SoundFormat::BytesPerSecond() const {
    return IsPcm() ? uint64_t{format.nSamplesPerSec} * format.nBlockAlign : format.nAvgBytesPerSec;
}

uint64_t SoundFormat::Milliseconds() const {
    const uint64_t rate = BytesPerSecond();
    return rate == 0 ? 0 : uint64_t{Bytes()} * 1000 / rate;
}

uint32_t SoundFormat::BytesAt(Moment moment) const {
    uint64_t bytes = moment.value;
    if (moment.unit == Unit::kSamples) bytes *= format.nBlockAlign;
    if (moment.unit == Unit::kMilliseconds && format.nBlockAlign != 0)
        bytes = bytes * format.nSamplesPerSec / 1000 * format.nBlockAlign;
    return static_cast<uint32_t>(std::min<uint64_t>(bytes, Bytes()));
}

uint16_t ReadSound(const std::string& path, SoundFormat& sound) {
    auto code = GetInputFileInfo(path.c_str(), &sound.format);
    if (code == TOLVANE_OK) code = GetDataChunkSize(path.c_str(), &sound.data_size);
    std::error_code unknown;
    sound.file_size = std::filesystem::file_size(path, unknown);
    return code;
}

std::string FormatText(const InputFileInfo& format) {
    const std::string kind =
        format.wFormatTag == 1 ? "PCM" : fmt::format("compressed 0x{:04X}", format.wFormatTag);
    std::string text =
        fmt::format("{}, {} Hz, {}", kind, format.nSamplesPerSec, ChannelText(format.nChannels));
    if (format.wBitsPerSample != 0) text += fmt::format(", {} bit", format.wBitsPerSample);
    if (format.wFormatTag != 1) text += fmt::format(", {} bytes a second", format.nAvgBytesPerSec);
    return text;
}

std::string LengthText(const SoundFormat& sound) {
    if (sound.BytesPerSecond() == 0) return "unknown: the format record gives no rate";
    const std::string time = TimeText(sound.Milliseconds(), 3);
    if (!sound.IsPcm()) return fmt::format("about {}, by its average rate", time);
    return fmt::format("{} ({} samples a channel)", time, sound.Bytes() / sound.format.nBlockAlign);
}

}  // namespace tolvane::host
