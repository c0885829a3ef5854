// The wave file builder: RIFF rules written down once more, independent of the library.
#include "support/wave_files.h"

#include <algorithm>

namespace tolvane::test {

Bytes Pattern(size_t size, uint32_t seed) {
    Bytes bytes(size);
    uint64_t state = seed * 0x9E3779B97F4A7C15u + 1;
    for (auto& byte : bytes) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        byte = static_cast<uint8_t>(state >> 56);
    }
    return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes Little(uint64_t value, size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (8 * i));
    return bytes;
}

uint32_t Number(const Bytes& bytes, size_t at, size_t size) {
    uint32_t number = 0;
    for (size_t i = 0; i < size && at + i < bytes.size(); ++i)
        number |= uint32_t{bytes[at + i]} << (8 * i);
    return number;
}

static Bytes Text(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

Bytes Chunk(std::string_view id, const Bytes& content, std::optional<uint32_t> claimed) {
    const Bytes pad(content.size() % 2);
    return Text(id) + Little(claimed.value_or(static_cast<uint32_t>(content.size())), 4) + content + pad;
}

Bytes FormatRecord(const Format& format, const Bytes& codec_data) {
    const Bytes record = Little(format.tag, 2) + Little(format.channels, 2) + Little(format.rate, 4) +
                         Little(format.BytesPerSecond(), 4) + Little(format.Block(), 2) +
                         Little(format.bits, 2);
    return codec_data.empty() ? record : record + Little(codec_data.size(), 2) + codec_data;
}

Bytes Riff(const Bytes& chunks, std::string_view form, std::string_view id, std::optional<uint32_t> claimed) {
    return Chunk(id, Text(form) + chunks, claimed);
}

Bytes WaveFile(const Format& format, const Bytes& data) {
    return Riff(Chunk("fmt ", FormatRecord(format)) + Chunk("data", data));
}

Bytes Part(const Bytes& whole, size_t from, size_t to) {
    const auto at = [&](size_t i) {
        return whole.begin() + static_cast<ptrdiff_t>(std::min(i, whole.size()));
    };
    return from < to ? Bytes(at(from), at(to)) : Bytes();
}

}  // namespace tolvane::test
