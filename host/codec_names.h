// Codecs by the names that people give them, and those that a conversion needs.
#ifndef TOLVANE_HOST_CODEC_NAMES_H
#define TOLVANE_HOST_CODEC_NAMES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane::host {

constexpr uint16_t kPcmTag = 1;

// A format tag of a codec, as the library wants it named.
struct CodecTag {
    uint16_t codec = 0;
    uint32_t index = 0;
    uint16_t tag = 0;
    std::string name;
};

// Names of codecs and of their formats are compared without signs and case: "MS-ADPCM" is "msadpcm".
std::string Simplified(std::string_view name);

// Those that a name may mean, one of each format tag: a short name (ima, ulaw, mp3 ...), the tag's number (0x11), its
// whole name, or else a part of it.
std::vector<CodecTag> FindCodecs(std::string_view name);

// Of the codec that knows the compressed format, its way into PCM.
std::optional<CodecTag> FindDecoder(uint16_t format_tag);

// What changes PCM into PCM.
std::optional<CodecTag> FindPcmConverter();

// "IMA ADPCM" for 0x11; empty where no codec knows the tag.
std::string NameOfTag(uint16_t format_tag);

// "pcm (PCM), ima (IMA ADPCM), ..."
std::string CodecNames(const std::vector<CodecTag>& codecs);

// Of everything that can be named.
std::string CodecNames();

}  // namespace tolvane::host

#endif
