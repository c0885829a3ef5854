// What an input of the virtual card hears: fed bytes, then a wave file, then a tone, then silence.
#ifndef TOLVANE_PLATFORM_SOUND_HEARD_SOUND_H
#define TOLVANE_PLATFORM_SOUND_HEARD_SOUND_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/sound/pcm_format.h"

namespace tolvane::platform {

// The sound of a wave file, read once from its beginning to its end.
class WaveFileSource {
  public:
    // Null where it is no wave file of PCM that can be read.
    static std::unique_ptr<WaveFileSource> Open(const char* path);

    const PcmFormat& Format() const { return format_; }
    // Whole frames; less than `room` only at the end.
    size_t Read(std::span<std::byte> room);
    bool HasEnded() const { return left_ < format_.frame_bytes; }

  private:
    using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

    WaveFileSource(File file, const PcmFormat& format, uint32_t bytes)
        : file_(std::move(file)), format_(format), left_(bytes) {}

    File file_;
    const PcmFormat format_;
    uint64_t left_;
};

class FedBytes {
  public:
    bool Feed(std::span<const std::byte> bytes);
    size_t Left() const { return bytes_.size() - heard_; }
    size_t Read(std::span<std::byte> room);

  private:
    std::vector<std::byte> bytes_;
    size_t heard_ = 0;
};

// A sine on every channel. Its frequency is a whole number, so one second of it says everything.
class Tone {
  public:
    void Set(uint32_t hertz, uint32_t percent);
    bool Sounds() const { return hertz_ > 0; }
    void Read(const PcmFormat& format, std::span<std::byte> room);

  private:
    void Make(const PcmFormat& format);

    uint32_t hertz_ = 0, percent_ = 0;
    std::optional<PcmFormat> format_;  // of `second_`
    std::vector<std::byte> second_;
    size_t at_ = 0;
};

class HeardSound {
  public:
    // False without memory.
    bool Feed(std::span<const std::byte> bytes) { return fed_.Feed(bytes); }
    void SetFile(std::unique_ptr<WaveFileSource> file) { file_ = std::move(file); }
    // A file that has sound left can be heard in its own format only.
    bool MayBeHeardIn(const PcmFormat& format) const { return !file_ || file_->Format() == format; }
    void SetTone(uint32_t hertz, uint32_t percent) { tone_.Set(hertz, percent); }

    // Fills whole frames. Part of a frame that was fed waits for the rest of it.
    void Hear(const PcmFormat& format, std::span<std::byte> room);

  private:
    FedBytes fed_;
    std::unique_ptr<WaveFileSource> file_;
    Tone tone_;
};

}  // namespace tolvane::platform

#endif
