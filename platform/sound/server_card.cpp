// The sound server's card. Without a server it has no device.
#include "platform/sound/server_card.h"

#include <algorithm>

#include "platform/sound/server_connection.h"
#include "platform/sound/server_output.h"

namespace tolvane::platform {
namespace {

pa_sample_format_t SampleFormat(uint16_t bits) {
    switch (bits) {
        case 8:
            return PA_SAMPLE_U8;
        case 16:
            return PA_SAMPLE_S16LE;
        case 24:
            return PA_SAMPLE_S24LE;
        case 32:
            return PA_SAMPLE_S32LE;
        default:
            return PA_SAMPLE_INVALID;
    }
}

bool IsTaken(const PcmFormat& format) {
    return format.channels <= PA_CHANNELS_MAX && format.rate <= PA_RATE_MAX &&
           SampleFormat(format.bits) != PA_SAMPLE_INVALID;
}

class TheServerCard final : public Card {
  public:
    uint32_t Count(Direction direction) override {
        const ServerLock lock;
        return server_.ReadDevices() ? static_cast<uint32_t>(List(direction).size()) : 0;
    }

    std::optional<CardDevice> Describe(Direction direction, uint32_t index) override {
        const ServerLock lock;
        if (!server_.KnowDevices() || index >= List(direction).size()) return std::nullopt;
        return List(direction)[index].description;
    }

    std::optional<uint32_t> Preferred(Direction direction) override {
        const ServerLock lock;
        if (!server_.ReadDevices()) return std::nullopt;
        const auto& list = List(direction);
        const auto found = std::ranges::find(list, server_.Devices(direction).preferred, &ServerDevice::name);
        if (found == list.end()) return std::nullopt;
        return static_cast<uint32_t>(found - list.begin());
    }

    MMRESULT Accepts(Direction direction, uint32_t index, const PcmFormat& format) override {
        const ServerLock lock;
        if (!server_.KnowDevices() || index >= List(direction).size()) return MMSYSERR_BADDEVICEID;
        return IsTaken(format) ? MMSYSERR_NOERROR : WAVERR_BADFORMAT;
    }

    MMRESULT OpenOutput(uint32_t index, const PcmFormat& format, WaveQueue& queue,
                        std::unique_ptr<CardOutput>& output) override {
        const ServerLock lock;
        if (!server_.KnowDevices() || index >= List(Direction::kOutput).size()) return MMSYSERR_BADDEVICEID;
        const pa_sample_spec spec = {SampleFormat(format.bits), format.rate,
                                     static_cast<uint8_t>(format.channels)};
        auto opened = std::make_unique<ServerOutput>(server_, queue);
        const MMRESULT result = opened->Open(List(Direction::kOutput)[index].name.c_str(), spec);
        if (result == MMSYSERR_NOERROR) output = std::move(opened);
        return result;
    }

    MMRESULT OpenInput(uint32_t, const PcmFormat&, RecordQueue&, std::unique_ptr<CardInput>&) override {
        return MMSYSERR_NODRIVER;
    }

  private:
    const std::vector<ServerDevice>& List(Direction direction) const {
        return server_.Devices(direction).devices;
    }

    ServerConnection& server_ = ServerConnection::Get();
};

}  // namespace

Card& ServerCard() {
    static Card& card = *new TheServerCard;
    return card;
}

bool ServerAnswers() {
    const ServerLock lock;
    return ServerConnection::Get().Connect();
}

}  // namespace tolvane::platform
