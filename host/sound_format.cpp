// The sound of a wave file in numbers and in words.
#include "sound_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "wave_data.h"

namespace tolvane::host {
namespace {

std::string ChannelText(uint16_t channels) {
    if (channels == 1) return "mono";
    if (channels == 2) return "stereo";
    return fmt::format("{} channels", channels);
}

std::optional<uint32_t> ParseWhole(std::string_view text) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

uint16_t ParseChannels(std::string_view text) {
    if (text == "1" || text == "mono") return 1;
    return text == "2" || text == "stereo" ? 2 : 0;
}

}  // namespace

std::optional<PcmShape> ParsePcmShape(std::string_view text) {
    const size_t first = text.find('/'), second = text.find('/', first + 1);
    if (first == text.npos || second == text.npos) return std::nullopt;
    const auto rate = ParseWhole(text.substr(0, first));
    const auto bits = ParseWhole(text.substr(first + 1, second - first - 1));
    const uint16_t channels = ParseChannels(text.substr(second + 1));
    if (!rate || *rate == 0 || *rate > kLargestRate || !bits || (*bits != 8 && *bits != 16) || channels == 0)
        return std::nullopt;
    return PcmShape{*rate, static_cast<uint16_t>(*bits), channels};
}

uint32_t SoundFormat::Bytes() const {
    return static_cast<uint32_t>(
        std::min(uint64_t{data_size}, file_size - std::min<uint64_t>(data_start, file_size)));
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
    sound.data_start = code == TOLVANE_OK ? DataStart(path) : 0;
    return code;
}

std::string ShapeText(const PcmShape& shape) {
    return fmt::format("{} Hz, {}, {} bit", shape.rate, ChannelText(shape.channels), shape.bits);
}

std::string FormatText(const InputFileInfo& format, std::string_view name) {
    const std::string kind = !name.empty()            ? std::string(name)
                             : format.wFormatTag == 1 ? "PCM"
                                                      : fmt::format("compressed 0x{:04X}", format.wFormatTag);
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
