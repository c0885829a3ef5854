// An MP3 file in numbers and in words. The library takes the first bytes that look like a frame header for one, also
// inside a tag; here a tag is passed over, so that what is shown is what is heard.
#include "mp3_sound.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "sound_format.h"
#include "time_text.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kTagHead = 10, kHeaderBytes = 4;
// A frame's beginning up to what an encoder notes there: a checksum is not counted by those who write it.
constexpr size_t kNoteEnd = kHeaderBytes + 32 + 12;

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

File Open(const std::string& path) {
    return {std::fopen(path.c_str(), "rb"), std::fclose};
}

uint32_t BigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

bool IsSync(const uint8_t* bytes) {
    return bytes[0] == 0xFF && bytes[1] >= 0xE0;
}

// Seven bits of every byte count.
uint64_t TagBytes(const uint8_t* head) {
    if (std::memcmp(head, "ID3", 3) != 0) return 0;
    const uint32_t size =
        (head[6] & 0x7Fu) << 21 | (head[7] & 0x7Fu) << 14 | (head[8] & 0x7Fu) << 7 | (head[9] & 0x7Fu);
    constexpr uint8_t kHasFoot = 0x10;
    return uint64_t{kTagHead} + size + (head[5] & kHasFoot ? kTagHead : 0);
}

struct Frame {
    bool mpeg1 = false;
    uint32_t rate = 0, kilobits = 0;
    uint16_t channels = 0;

    uint32_t Samples() const { return mpeg1 ? 1152 : 576; }
    // Behind the header and what every layer 3 frame says of its content.
    size_t NoteAt() const {
        return kHeaderBytes + (mpeg1 ? (channels == 2 ? 32u : 17u) : (channels == 2 ? 17u : 9u));
    }
};

std::optional<Frame> ParseLayer3(const uint8_t* bytes) {
    constexpr uint16_t kMpeg1[] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
    constexpr uint16_t kMpeg2[] = {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
    constexpr uint32_t kRates[] = {44'100, 48'000, 32'000};
    const uint32_t value = BigEndian(bytes), version = value >> 19 & 3, bitrate = value >> 12 & 15;
    const uint32_t rate = value >> 10 & 3;
    const bool layer3 = (value >> 17 & 3) == 1;
    if (!IsSync(bytes) || !layer3 || version == 1 || bitrate == 0 || bitrate == 15 || rate == 3)
        return std::nullopt;
    Frame frame;
    frame.mpeg1 = version == 3;
    frame.rate = kRates[rate] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
    frame.kilobits = (frame.mpeg1 ? kMpeg1 : kMpeg2)[bitrate - 1];
    frame.channels = (value >> 6 & 3) == 3 ? 1 : 2;
    return frame;
}

// How many frames the encoder counted, 0 where it noted nothing.
uint32_t NotedFrames(const Frame& frame, const uint8_t* bytes) {
    const uint8_t* note = bytes + frame.NoteAt();
    const bool has_note = std::memcmp(note, "Xing", 4) == 0 || std::memcmp(note, "Info", 4) == 0;
    return has_note && note[7] & 1 ? BigEndian(note + 8) : 0;
}

// What stands where the tag ends replaces what the library found, if it is a frame.
void LookBehindTag(const std::string& path, Mp3Sound& sound) {
    const File file = Open(path);
    uint8_t head[kTagHead] = {}, start[kNoteEnd] = {};
    if (!file || std::fread(head, sizeof head, 1, file.get()) != 1) return;
    const uint64_t first = TagBytes(head);
    if (first >= sound.size || std::fseek(file.get(), static_cast<long>(first), SEEK_SET) != 0) return;
    if (std::fread(start, 1, sizeof start, file.get()) < kHeaderBytes) return;
    const auto frame = ParseLayer3(start);
    if (!frame) return;
    sound.rate = frame->rate;
    sound.kilobits = frame->kilobits;
    sound.channels = frame->channels;
    sound.first_byte = first;
    if (const uint32_t frames = NotedFrames(*frame, start)) {
        sound.is_exact = true;
        sound.milliseconds = uint64_t{frames} * frame->Samples() * 1000 / frame->rate;
    }
}

bool EndsAsMp3(const std::string& path) {
    if (path.size() < 4) return false;
    std::string end = path.substr(path.size() - 4);
    std::ranges::transform(end, end.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    return end == ".mp3";
}

}  // namespace

uint64_t Mp3Sound::ByteAt(uint64_t at_ms) const {
    if (milliseconds == 0) return first_byte;
    return first_byte + std::min(at_ms, milliseconds) * (size - first_byte) / milliseconds;
}

uint64_t Mp3Sound::MillisecondsAt(uint64_t byte) const {
    const uint64_t bytes = size - first_byte, behind = std::clamp(byte, first_byte, size) - first_byte;
    return bytes == 0 ? 0 : behind * milliseconds / bytes;
}

bool LooksLikeMp3(const std::string& path) {
    uint32_t ignored = 0;
    if (GetDataChunkSize(path.c_str(), &ignored) != TOLVANE_NOT_WAVE) return false;
    const File file = Open(path);
    uint8_t head[3] = {};
    if (!file || std::fread(head, sizeof head, 1, file.get()) != 1) return false;
    return std::memcmp(head, "ID3", 3) == 0 || IsSync(head) || EndsAsMp3(path);
}

uint16_t ReadMp3(const std::string& path, Mp3Sound& sound) {
    Mp3StreamFormat format{};
    uint32_t size = 0;
    if (const auto code = GetMP3FileInfo(path.c_str(), &format, &size); code != TOLVANE_OK) return code;
    sound = {format.nSamplesPerSec, format.nAvgBytesPerSec / 125, format.nChannels, 0, size, 0, false};
    LookBehindTag(path, sound);
    if (!sound.is_exact && sound.kilobits > 0)
        sound.milliseconds = (sound.size - sound.first_byte) * 8 / sound.kilobits;
    return TOLVANE_OK;
}

std::string FormatText(const Mp3Sound& sound) {
    return fmt::format("MP3, {} Hz, {}, {} kbit/s in the first frame", sound.rate,
                       sound.channels == 1 ? "mono" : "stereo", sound.kilobits);
}

std::string LengthText(const Mp3Sound& sound) {
    const std::string time = TimeText(sound.milliseconds, 3);
    return sound.is_exact ? time : fmt::format("about {}, by that bit rate", time);
}

}  // namespace tolvane::host
