// Keeps what an output of the virtual card plays.
#include "platform/sound/capture.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace tolvane::platform {
namespace {

#pragma pack(push, 1)
struct WaveFileHeader {
    char riff[4] = {'R', 'I', 'F', 'F'};
    uint32_t riff_bytes;
    char wave[4] = {'W', 'A', 'V', 'E'};
    char fmt[4] = {'f', 'm', 't', ' '};
    uint32_t format_bytes = 16;
    uint16_t tag = WAVE_FORMAT_PCM, channels;
    uint32_t rate, bytes_per_second;
    uint16_t frame_bytes, bits;
    char data[4] = {'d', 'a', 't', 'a'};
    uint32_t data_bytes;
};
#pragma pack(pop)
static_assert(sizeof(WaveFileHeader) == 44);

// Chunk sizes are 32-bit: what a longer playback plays beyond is not written.
constexpr uint32_t kLongestData = UINT32_MAX - sizeof(WaveFileHeader);

}  // namespace

WaveFileSink::WaveFileSink(const char* path, const PcmFormat& format)
    : file_(std::fopen(path, "wb")), format_(format) {
    if (file_) WriteHeader();
}

WaveFileSink::~WaveFileSink() {
    if (!file_) return;
    if (data_bytes_ % 2) std::fputc(0, file_);
    std::rewind(file_);
    WriteHeader();
    std::fclose(file_);
}

void WaveFileSink::WriteHeader() {
    WaveFileHeader header = {};
    header.data_bytes = data_bytes_;
    header.riff_bytes = static_cast<uint32_t>(sizeof(header)) - 8 + data_bytes_ + data_bytes_ % 2;
    header.channels = format_.channels;
    header.rate = format_.rate;
    header.bytes_per_second = static_cast<uint32_t>(std::min<uint64_t>(format_.BytesPerSecond(), UINT32_MAX));
    header.frame_bytes = format_.frame_bytes;
    header.bits = format_.bits;
    std::fwrite(&header, sizeof(header), 1, file_);
}

void WaveFileSink::Write(std::span<const std::byte> bytes) {
    const size_t fitting = std::min<size_t>(bytes.size(), format_.WholeFrames(kLongestData - data_bytes_));
    data_bytes_ += static_cast<uint32_t>(std::fwrite(bytes.data(), 1, fitting, file_));
}

bool Capture::Begin(const PcmFormat& format) {
    if (path_.empty()) return true;
    file_ = std::make_unique<WaveFileSink>(path_.c_str(), format);
    if (file_->IsOpen()) return true;
    file_.reset();
    return false;
}

void Capture::Write(std::span<const std::byte> bytes) {
    if (file_) file_->Write(bytes);
    if (!keep_) return;
    try {
        played_.insert(played_.end(), bytes.begin(), bytes.end());
    } catch (const std::bad_alloc&) {
        keep_ = false;
    }
}

bool Capture::SetPath(const char* path, const PcmFormat* playing) {
    file_.reset();
    path_ = path ? path : "";
    return !playing || Begin(*playing);
}

size_t Capture::Copy(size_t from, void* bytes, size_t size) const {
    if (from >= played_.size()) return 0;
    const size_t left = played_.size() - from;
    if (bytes) std::memcpy(bytes, played_.data() + from, std::min(size, left));
    return left;
}

}  // namespace tolvane::platform
