// What an input of the virtual card hears.
#include "platform/sound/heard_sound.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numbers>

namespace tolvane::platform {
namespace {

struct ChunkHead {
    char name[4];
    uint32_t bytes;

    bool Is(const char* wanted) const { return memcmp(name, wanted, sizeof(name)) == 0; }
};

bool Read(std::FILE* file, void* record, size_t bytes) {
    return std::fread(record, bytes, 1, file) == 1;
}

bool BeginsAsWaveFile(std::FILE* file) {
    ChunkHead riff;
    char form[4];
    return Read(file, &riff, sizeof(riff)) && riff.Is("RIFF") && Read(file, form, sizeof(form)) &&
           memcmp(form, "WAVE", sizeof(form)) == 0;
}

// Leaves the file where the chunk's content begins.
std::optional<ChunkHead> FindChunk(std::FILE* file, const char* wanted) {
    ChunkHead chunk;
    while (Read(file, &chunk, sizeof(chunk))) {
        if (chunk.Is(wanted)) return chunk;
        const uint64_t padded = uint64_t{chunk.bytes} + chunk.bytes % 2;
        if (fseeko(file, static_cast<off_t>(padded), SEEK_CUR) != 0) break;
    }
    return std::nullopt;
}

// The format record's first 16 bytes are all that PCM needs.
std::optional<PcmFormat> ReadFormat(std::FILE* file) {
    constexpr uint32_t kPcmRecord = 16;
    WAVEFORMATEX record = {};
    const auto chunk = FindChunk(file, "fmt ");
    if (!chunk || chunk->bytes < kPcmRecord || !Read(file, &record, kPcmRecord)) return std::nullopt;
    const uint64_t rest = uint64_t{chunk->bytes} + chunk->bytes % 2 - kPcmRecord;
    if (fseeko(file, static_cast<off_t>(rest), SEEK_CUR) != 0) return std::nullopt;
    return PcmFormat::From(record);
}

}  // namespace

std::unique_ptr<WaveFileSource> WaveFileSource::Open(const char* path) {
    File file(std::fopen(path, "rb"), std::fclose);
    if (!file || !BeginsAsWaveFile(file.get())) return nullptr;
    const auto format = ReadFormat(file.get());
    const auto data = format ? FindChunk(file.get(), "data") : std::nullopt;
    if (!data) return nullptr;
    return std::unique_ptr<WaveFileSource>(new WaveFileSource(std::move(file), *format, data->bytes));
}

size_t WaveFileSource::Read(std::span<std::byte> room) {
    const size_t wanted = std::min<uint64_t>(room.size(), left_) / format_.frame_bytes;
    const size_t bytes =
        std::fread(room.data(), format_.frame_bytes, wanted, file_.get()) * format_.frame_bytes;
    left_ = bytes < room.size() ? 0 : left_ - bytes;
    return bytes;
}

bool FedBytes::Feed(std::span<const std::byte> bytes) try {
    if (heard_ > bytes_.size() / 2) {
        bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<ptrdiff_t>(heard_));
        heard_ = 0;
    }
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return true;
} catch (const std::exception&) {
    return false;
}

size_t FedBytes::Read(std::span<std::byte> room) {
    const size_t bytes = std::min(room.size(), Left());
    std::copy_n(bytes_.begin() + static_cast<ptrdiff_t>(heard_), bytes, room.begin());
    heard_ += bytes;
    return bytes;
}

void Tone::Set(uint32_t hertz, uint32_t percent) {
    hertz_ = hertz;
    percent_ = percent;
    format_.reset();
}

void Tone::Make(const PcmFormat& format) {
    second_.resize(format.BytesPerSecond());
    format_ = format;
    at_ = 0;
    const double peak = (format.bits == 8 ? 127.0 : 32767.0) * percent_ / 100;
    for (uint32_t frame = 0; frame < format.rate; frame++) {
        const uint64_t turn = uint64_t{hertz_} * frame % format.rate;
        const double angle = 2 * std::numbers::pi * static_cast<double>(turn) / format.rate;
        const auto value = static_cast<int16_t>(std::lround(peak * std::sin(angle)));
        const auto unsigned_value = static_cast<uint8_t>(value + 0x80);
        const size_t bytes = format.bits / 8;
        for (size_t at = frame * format.frame_bytes; at < (frame + 1) * size_t{format.frame_bytes};
             at += bytes)
            memcpy(&second_[at], bytes == 1 ? static_cast<const void*>(&unsigned_value) : &value, bytes);
    }
}

void Tone::Read(const PcmFormat& format, std::span<std::byte> room) {
    if (format_ != format) Make(format);
    while (!room.empty()) {
        const size_t part = std::min(room.size(), second_.size() - at_);
        memcpy(room.data(), &second_[at_], part);
        at_ = (at_ + part) % second_.size();
        room = room.subspan(part);
    }
}

void HeardSound::Hear(const PcmFormat& format, std::span<std::byte> room) {
    const size_t fed = format.WholeFrames(std::min(room.size(), fed_.Left()));
    room = room.subspan(fed_.Read(room.first(fed)));
    if (file_ && !room.empty()) {
        room = room.subspan(file_->Read(room));
        if (file_->HasEnded()) file_.reset();
    }
    if (tone_.Sounds()) return tone_.Read(format, room);
    std::ranges::fill(room, std::byte{format.Silence()});
}

}  // namespace tolvane::platform
