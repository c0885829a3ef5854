// Keeps what an output of the virtual card plays: in memory, and in a wave file where one is wished.
#ifndef TOLVANE_PLATFORM_SOUND_CAPTURE_H
#define TOLVANE_PLATFORM_SOUND_CAPTURE_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/sound/pcm_format.h"

namespace tolvane::platform {

// A wave file being written; whole and readable once destroyed.
class WaveFileSink {
  public:
    WaveFileSink(const char* path, const PcmFormat& format);
    ~WaveFileSink();
    WaveFileSink(const WaveFileSink&) = delete;
    WaveFileSink& operator=(const WaveFileSink&) = delete;

    bool IsOpen() const { return file_ != nullptr; }
    void Write(std::span<const std::byte> bytes);

  private:
    void WriteHeader();

    std::FILE* file_;
    const PcmFormat format_;
    uint32_t data_bytes_ = 0;
};

class Capture {
  public:
    // Begins the wave file, where one is wished. False where it cannot be written.
    bool Begin(const PcmFormat& format);
    void Write(std::span<const std::byte> bytes);
    void End() { file_.reset(); }

    // Empty: no file. A file wished while the output plays begins with what is played next.
    bool SetPath(const char* path, const PcmFormat* playing);
    void Keep(bool keep) { keep_ = keep; }
    void Clear() { played_.clear(); }
    size_t Copy(size_t from, void* bytes, size_t size) const;

  private:
    std::vector<std::byte> played_;
    bool keep_ = true;
    std::string path_;
    std::unique_ptr<WaveFileSink> file_;
};

}  // namespace tolvane::platform

#endif
