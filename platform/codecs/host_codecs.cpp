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
    PlatformCodecStream stream{};
    void* context;
};

class HostStream final : public Stream {
  public:
    HostStream(const HostDriver& host, const FormatView& source, const FormatView& target)
        : calls_(host.stream), stream_(calls_.open(host.context, source.Record(), target.Record())) {}
    ~HostStream() override {
        if (stream_ && calls_.close) calls_.close(stream_);
    }
    HostStream(const HostStream&) = delete;
    HostStream& operator=(const HostStream&) = delete;
    bool IsOpen() const { return stream_ != nullptr; }

    uint64_t Bound(uint64_t source) override {
        return calls_.bound ? calls_.bound(stream_, static_cast<uint32_t>(source)) : 0;
    }
    MMRESULT Convert(Piece& piece) override {
        uint32_t used = 0, produced = 0;
        const auto size = static_cast<uint32_t>(piece.source.size());
        const auto room = static_cast<uint32_t>(piece.target.size());
        const MMRESULT result = calls_.convert(stream_, piece.source.data(), size, &used, piece.target.data(),
                                               room, &produced, piece.flags);
        piece.used = std::min(used, size);
        piece.produced = std::min(produced, room);
        return result;
    }

  private:
    const PlatformCodecStream calls_;
    void* const stream_;
};

std::unique_ptr<Stream> OpenHostStream(const Driver& self, const FormatView& source,
                                       const FormatView& target) {
    auto stream = std::make_unique<HostStream>(static_cast<const HostDriver&>(self), source, target);
    return stream->IsOpen() ? std::move(stream) : nullptr;
}

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
    return !codec->stream || (codec->stream->open && codec->stream->convert);
}

std::shared_ptr<const Driver> MakeDriver(const PlatformCodec& codec) {
    auto driver = std::make_shared<HostDriver>();
    driver->own_short_name = codec.short_name;
    driver->own_long_name = codec.long_name;
    driver->ask = codec.suggest;
    driver->context = codec.context;
    if (codec.stream) driver->stream = *codec.stream;
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
                                     nullptr,
                                     codec.stream ? OpenHostStream : nullptr};
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
