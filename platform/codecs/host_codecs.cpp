// Drivers that a host or a test brings along (platform_codecs.h).
#include "platform/codecs/manager.h"

#include <platform_codecs.h>

#include <string>

namespace tolvane::platform {
namespace {

struct HostDriver : Driver {
    std::string own_short_name, own_long_name;
    std::vector<std::string> tag_names;
    std::vector<FormatTag> own_tags;
    PlatformCodecSuggest ask;
    void* context;
};

MMRESULT AskHost(const Driver& self, const FormatView& source, const Wish& wish, DWORD size,
                 FormatRecord& target) {
    const auto& host = static_cast<const HostDriver&>(self);
    if (!host.ask) return ACMERR_NOTPOSSIBLE;
    return host.ask(host.context, source.Record(), target.bytes, size, wish.flags);
}

bool IsComplete(const PlatformCodec* codec) {
    if (!codec || !codec->short_name || !codec->long_name || (codec->tag_count && !codec->tags)) return false;
    for (uint32_t i = 0; i < codec->tag_count; ++i)
        if (!codec->tags[i].name) return false;
    return true;
}

std::shared_ptr<const Driver> MakeDriver(const PlatformCodec& codec) {
    auto driver = std::make_shared<HostDriver>();
    driver->own_short_name = codec.short_name;
    driver->own_long_name = codec.long_name;
    driver->ask = codec.suggest;
    driver->context = codec.context;
    driver->tag_names.reserve(codec.tag_count);
    for (const PlatformCodecTag& tag : std::span(codec.tags, codec.tag_count)) {
        const std::string& name = driver->tag_names.emplace_back(tag.name);
        driver->own_tags.push_back(
            {tag.tag, name.c_str(), codec.largest_format ? codec.largest_format : kWaveRecordSize});
    }
    static_cast<Driver&>(*driver) = {driver->own_short_name.c_str(),
                                     driver->own_long_name.c_str(),
                                     codec.support,
                                     driver->own_tags,
                                     [](const FormatView&) { return true; },
                                     AskHost,
                                     nullptr};
    return driver;
}

}  // namespace
}  // namespace tolvane::platform

using namespace tolvane::platform;

uint32_t PlatformAddCodec(const PlatformCodec* codec, int in_front) {
    if (!IsComplete(codec)) return 0;
    try {
        return InstallDriver({.driver = MakeDriver(*codec),
                              .built_in = false,
                              .reported_tags = codec->reported_tags,
                              .priority = codec->priority,
                              .open_result = codec->open_result,
                              .metrics_result = codec->metrics_result},
                             in_front != 0);
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

int PlatformRemoveCodec(uint32_t identifier) {
    return RemoveDriver(identifier);
}

int PlatformShowBuiltInCodecs(int show) {
    ShowBuiltInDrivers(show != 0);
    return 1;
}

uint32_t PlatformOpenCodecs(void) {
    return CountOpenDrivers();
}
