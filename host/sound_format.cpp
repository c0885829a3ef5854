// The sound of a wave file in numbers and in words.
#include "sound_format.h"

#include <fmt/format.h>

#include <algorithm>

namespace tolvane::host {
namespace {

std::string ChannelText(uint16_t channels) {
    if (channels == 1) return "mono";
    if (channels == 2) return "stereo";
    return fmt::format("{} channels", channels);
}

}  // namespace

uint64_t SoundFormat::BytesPerSecond() const {
    return IsPcm() ? uint64_t{format.nSamplesPerSec} * format.nBlockAlign : format.nAvgBytesPerSec;
}

uint64_t SoundFormat::Milliseconds() const {
    const uint64_t rate = BytesPerSecond();
    return rate == 0 ? 0 : uint64_t{data_size} * 1000 / rate;
}

uint32_t SoundFormat::BytesAt(Moment moment) const {
    uint64_t bytes = moment.value;
    if (moment.unit == Unit::kSamples) bytes *= format.nBlockAlign;
    if (moment.unit == Unit::kMilliseconds && format.nBlockAlign != 0)
        bytes = bytes * format.nSamplesPerSec / 1000 * format.nBlockAlign;
    return static_cast<uint32_t>(std::min<uint64_t>(bytes, data_size));
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
    return fmt::format("{} ({} samples a channel)", time, sound.data_size / sound.format.nBlockAlign);
}

}  // namespace tolvane::host
