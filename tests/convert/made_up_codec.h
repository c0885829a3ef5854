// A codec whose arithmetic a test can do in its head: it flips bits, byte by byte. It can misbehave in the ways that
// codecs do.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "convert/registered_codec.h"
#include "support/wave_files.h"

namespace tolvane::test {

inline constexpr uint16_t kFlipTag = 0x7E57;
inline constexpr Format kFlipFormat{8000, 1, 8, kFlipTag};
inline constexpr Format kFlipPcm{8000, 1, 8, 1};

inline Bytes Flipped(Bytes bytes) {
    for (uint8_t& byte : bytes)
        byte ^= 0x5A;
    return bytes;
}

struct FlipCodec {
    uint32_t block = 1;                     // takes whole blocks only, but for the end
    bool hoards = false;                    // takes everything and gives it at the end
    bool stuck = false;                     // takes and gives nothing
    bool sizeless = false;                  // cannot tell how large its output gets
    int fails_at = 0;                       // this call, counted from 1, is an error
    bool suggests = true;                   // knows a format for every source
    std::function<void()> at_work = [] {};  // happens once, within the next conversion
    std::atomic<int> opened{};              // streams so far
    std::atomic<int> calls{};               // conversions so far
};

struct FlipStream {
    FlipCodec& codec;
    Bytes hoard = {};

    uint32_t Convert(const uint8_t* source, uint32_t size, uint32_t* used, uint8_t* target, uint32_t room,
                     uint32_t* produced, bool end) {
        *used = *produced = 0;
        std::exchange(codec.at_work, [] {})();
        if (++codec.calls == codec.fails_at) return 1;
        if (codec.stuck) return 0;
        *used = std::min(end ? size : size - size % codec.block, codec.hoards ? size : room);
        hoard.insert(hoard.end(), source, source + *used);
        if (codec.hoards && !end) return 0;
        *produced = std::min(static_cast<uint32_t>(hoard.size()), room);
        const Bytes flipped = Flipped({hoard.begin(), hoard.begin() + *produced});
        std::copy(flipped.begin(), flipped.end(), target);
        hoard.erase(hoard.begin(), hoard.begin() + *produced);
        return 0;
    }
};

// Formats as the manager hands them over: tag, channels, rate, bytes a second, block, bits.
inline Format ReadFormat(const void* record) {
    Format format;
    const auto* bytes = static_cast<const uint8_t*>(record);
    memcpy(&format.tag, bytes, 2);
    memcpy(&format.channels, bytes + 2, 2);
    memcpy(&format.rate, bytes + 4, 4);
    memcpy(&format.bits, bytes + 14, 2);
    return format;
}

inline bool SameSound(const Format& a, const Format& b) {
    return a.channels == b.channels && a.rate == b.rate && a.bits == b.bits;
}

inline void* OpenFlip(void* context, const void* source, const void* target) {
    auto& codec = *static_cast<FlipCodec*>(context);
    const Format from = ReadFormat(source), to = ReadFormat(target);
    const bool turns = (from.tag == 1 && to.tag == kFlipTag) || (from.tag == kFlipTag && to.tag == 1);
    if (!turns || !SameSound(from, to)) return nullptr;
    ++codec.opened;
    return new FlipStream{codec};
}

inline uint32_t SuggestFlip(void* context, const void* source, void* target, uint32_t size, uint32_t) {
    Format format = ReadFormat(source);
    if (!static_cast<FlipCodec*>(context)->suggests || size < 18) return 512;
    format.tag = format.tag == 1 ? kFlipTag : uint16_t{1};
    const Bytes record = FormatRecord(format) + Little(0, 2);
    memcpy(target, record.data(), record.size());
    return 0;
}

// `codec` must live longer.
inline PlatformCodec FlipDriver(FlipCodec& codec, const std::vector<PlatformCodecTag>& tags) {
    static constexpr PlatformCodecStream kStream{
        OpenFlip,
        [](void* stream, uint32_t size) {
            return static_cast<FlipStream*>(stream)->codec.sizeless ? 0u : std::max(size, 1u);
        },
        [](void* stream, const void* source, uint32_t size, uint32_t* used, void* target, uint32_t room,
           uint32_t* produced, uint32_t flags) {
            return static_cast<FlipStream*>(stream)->Convert(static_cast<const uint8_t*>(source), size, used,
                                                             static_cast<uint8_t*>(target), room, produced,
                                                             (flags & 0x20) != 0);
        },
        [](void* stream) { delete static_cast<FlipStream*>(stream); }};
    PlatformCodec driver = CodecNamed("Flip", 1, tags);
    driver.largest_format = 40;
    driver.suggest = SuggestFlip;
    driver.context = &codec;
    driver.stream = &kStream;
    return driver;
}

}  // namespace tolvane::test
