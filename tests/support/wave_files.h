// Builds wave files piece by piece, so that a test can also build the ones that lie about themselves.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "support/temp_folder.h"

namespace tolvane::test {

struct Format {
    uint32_t rate = 44100;
    uint16_t channels = 2;
    uint16_t bits = 16;
    uint16_t tag = 1;

    uint16_t Block() const { return static_cast<uint16_t>(uint32_t{channels} * bits / 8); }
    uint32_t BytesPerSecond() const { return rate * Block(); }
    // What a playback's buffer holds: about an eighth of a second in whole kilobytes.
    uint32_t BufferSize() const {
        const uint32_t kilobytes = static_cast<uint32_t>(uint64_t{BytesPerSecond()} / 8192);
        return (kilobytes ? kilobytes : 1) * 1024;
    }
};

// Bytes of which any eight in a row occur once only, so that what is heard tells where it came from.
Bytes Pattern(size_t size, uint32_t seed = 1);

Bytes operator+(Bytes left, const Bytes& right);
Bytes Little(uint64_t value, size_t size);
uint32_t Number(const Bytes& bytes, size_t at, size_t size);  // as far as there are bytes

// A chunk with its pad byte; `claimed` is the size it states instead of its true one.
Bytes Chunk(std::string_view id, const Bytes& content, std::optional<uint32_t> claimed = {});
Bytes FormatRecord(const Format& format, const Bytes& codec_data = {});
Bytes Riff(const Bytes& chunks, std::string_view form = "WAVE", std::string_view id = "RIFF",
           std::optional<uint32_t> claimed = {});
Bytes WaveFile(const Format& format, const Bytes& data);

// The bytes [from, to) of a block.
Bytes Part(const Bytes& whole, size_t from, size_t to);

}  // namespace tolvane::test
