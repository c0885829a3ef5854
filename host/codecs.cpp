// `tolvane codecs`: the drivers that can code and decode, with their format tags.
#include <fmt/format.h>

#include "catalogue.h"
#include "commands.h"

namespace tolvane::host {

std::vector<Codec> ReadCatalogue() {
    const uint16_t count = GetNumberOfCodec();
    std::vector<Codec> codecs(count);
    for (uint16_t index = 0; index < count; ++index) {
        Codec& codec = codecs[index];
        GetCodecDescription(&codec.description, index);
        const auto tags = static_cast<uint16_t>(codec.description.listedFormatTagCount);
        codec.tags.resize(tags);
        for (uint16_t tag = 0; tag < tags; ++tag)
            GetCodecFormatTagDescription(&codec.tags[tag], index, tag);
    }
    return codecs;
}

std::string CodecText(uint16_t format_tag) {
    for (const Codec& codec : ReadCatalogue())
        for (const FormatTagDescription& tag : codec.tags)
            if (tag.formatTag == format_tag)
                return fmt::format("{}, by {}", tag.name, codec.description.longName);
    return fmt::format("none installed for format tag 0x{:04X} (`tolvane codecs` lists them)", format_tag);
}

int RunCodecs() {
    const std::vector<Codec> codecs = ReadCatalogue();
    if (codecs.empty()) fmt::print("No codec is installed.\n");
    for (const Codec& codec : codecs) {
        fmt::print("{:>2}  {}\n", codec.description.codecIndex, codec.description.longName);
        for (const FormatTagDescription& tag : codec.tags)
            fmt::print("      {:>2}  0x{:04X}  {}\n", tag.formatTagIndex, tag.formatTag, tag.name);
    }
    return kExitDone;
}

}  // namespace tolvane::host
