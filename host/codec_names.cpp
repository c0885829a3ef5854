// Codecs by the names that people give them, and those that a conversion needs.
#include "codec_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>

#include "catalogue.h"

namespace tolvane::host {
namespace {

struct ShortName {
    std::string_view name;
    uint16_t tag;
};

// The first name of a tag is the one that is shown.
constexpr ShortName kShortNames[] = {{"pcm", kPcmTag}, {"msadpcm", 2}, {"adpcm", 2},     {"alaw", 6},
                                     {"ulaw", 7},      {"mulaw", 7},   {"mu", 7},        {"ima", 0x11},
                                     {"dvi", 0x11},    {"gsm", 0x31},  {"gsm610", 0x31}, {"mp3", 0x55},
                                     {"mpeg", 0x55}};

std::vector<CodecTag> ListTags() {
    std::vector<CodecTag> tags;
    for (const Codec& codec : ReadCatalogue())
        for (const FormatTagDescription& tag : codec.tags)
            tags.push_back({static_cast<uint16_t>(tag.codecIndex), tag.formatTagIndex,
                            static_cast<uint16_t>(tag.formatTag), tag.name});
    return tags;
}

template <class Wanted>
std::optional<CodecTag> FirstTag(const std::vector<CodecTag>& tags, Wanted wanted) {
    const auto found = std::find_if(tags.begin(), tags.end(), wanted);
    return found == tags.end() ? std::nullopt : std::optional(*found);
}

std::optional<CodecTag> FindByTag(const std::vector<CodecTag>& tags, uint16_t number) {
    return FirstTag(tags, [=](const CodecTag& tag) { return tag.tag == number; });
}

std::optional<uint16_t> TagOfShortName(const std::string& name) {
    for (const auto& [short_name, tag] : kShortNames)
        if (name == short_name) return tag;
    return std::nullopt;
}

std::optional<uint16_t> TagOfNumber(std::string_view text) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) return std::nullopt;
    const bool number =
        text.size() > 2 && text.size() <= 6 &&
        std::all_of(text.begin() + 2, text.end(), [](unsigned char c) { return std::isxdigit(c); });
    return number ? std::optional(static_cast<uint16_t>(std::stoul(std::string(text), nullptr, 16)))
                  : std::nullopt;
}

std::vector<CodecTag> FindByPart(const std::vector<CodecTag>& tags, const std::string& part) {
    std::vector<CodecTag> found;
    for (const CodecTag& tag : tags) {
        const std::string name = Simplified(tag.name);
        if (name == part) return {tag};
        if (!part.empty() && name.find(part) != name.npos &&
            std::ranges::find(found, tag.tag, &CodecTag::tag) == found.end())
            found.push_back(tag);
    }
    return found;
}

std::string_view ShortNameOf(uint16_t tag) {
    for (const ShortName& known : kShortNames)
        if (known.tag == tag) return known.name;
    return "";
}

}  // namespace

std::string Simplified(std::string_view name) {
    std::string simple;
    for (const char c : name)
        if (std::isalnum(static_cast<unsigned char>(c)))
            simple += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return simple;
}

std::vector<CodecTag> FindCodecs(std::string_view name) {
    const std::vector<CodecTag> tags = ListTags();
    const std::string simple = Simplified(name);
    auto tag = TagOfShortName(simple);
    if (!tag) tag = TagOfNumber(name);
    if (!tag) return FindByPart(tags, simple);
    const auto codec = FindByTag(tags, *tag);
    return codec ? std::vector{*codec} : std::vector<CodecTag>();
}

std::optional<CodecTag> FindDecoder(uint16_t format_tag) {
    const std::vector<CodecTag> tags = ListTags();
    const auto codec = FindByTag(tags, format_tag);
    if (!codec) return std::nullopt;
    return FirstTag(tags,
                    [&](const CodecTag& tag) { return tag.codec == codec->codec && tag.tag == kPcmTag; });
}

// The one that knows nothing but PCM: a codec does not change rates.
std::optional<CodecTag> FindPcmConverter() {
    const std::vector<Codec> codecs = ReadCatalogue();
    return FirstTag(ListTags(), [&](const CodecTag& tag) {
        return tag.tag == kPcmTag && tag.codec < codecs.size() && codecs[tag.codec].tags.size() == 1;
    });
}

std::string NameOfTag(uint16_t format_tag) {
    const auto tag = FindByTag(ListTags(), format_tag);
    return tag ? tag->name : "";
}

std::string CodecNames(const std::vector<CodecTag>& codecs) {
    std::map<uint16_t, std::string> names;
    for (const CodecTag& tag : codecs) {
        const std::string_view known = ShortNameOf(tag.tag);
        names.emplace(tag.tag, known.empty() ? fmt::format("0x{:X} ({})", tag.tag, tag.name)
                                             : fmt::format("{} ({})", known, tag.name));
    }
    std::string list;
    for (const auto& [tag, name] : names)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

std::string CodecNames() {
    return CodecNames(ListTags());
}

}  // namespace tolvane::host
