// The sound server's card. Without a server it has no device.
#include "platform/sound/server_card.h"

#include <algorithm>

#include "platform/kernel/late_module.h"
#include "platform/sound/server_connection.h"
#include "platform/sound/server_input.h"
#include "platform/sound/server_mixer.h"
#include "platform/sound/server_output.h"

namespace tolvane::platform {
namespace {

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
        return IsTakenByServer(format) ? MMSYSERR_NOERROR : WAVERR_BADFORMAT;
    }

    MMRESULT OpenOutput(uint32_t index, const PcmFormat&, WaveQueue& queue,
                        std::unique_ptr<CardOutput>& output) override {
        return Open<ServerOutput>(Direction::kOutput, index, queue, output);
    }

    MMRESULT OpenInput(uint32_t index, const PcmFormat&, RecordQueue& queue,
                       std::unique_ptr<CardInput>& input) override {
        return Open<ServerInput>(Direction::kInput, index, queue, input);
    }

    CardMixer& Mixer() override { return ServerMixer(); }

    bool Answers() override {
        const ServerLock lock;
        return server_.Connect();
    }

  private:
    template <typename Stream, typename Queue, typename Opened>
    MMRESULT Open(Direction direction, uint32_t index, Queue& queue, std::unique_ptr<Opened>& opened) {
        const ServerLock lock;
        if (!server_.KnowDevices() || index >= List(direction).size()) return MMSYSERR_BADDEVICEID;
        auto stream = std::make_unique<Stream>(server_, queue);
        const MMRESULT result = stream->Open(List(direction)[index].name.c_str());
        if (result == MMSYSERR_NOERROR) opened = std::move(stream);
        return result;
    }

    const std::vector<ServerDevice>& List(Direction direction) const {
        return server_.Devices(direction).devices;
    }

    ServerConnection& server_ = ServerConnection::Get();
};

Card& TheCard() {
    static Card& card = *new TheServerCard;
    return card;
}

}  // namespace
}  // namespace tolvane::platform

TOLVANE_MODULE_OFFERS(tolvane::platform::OfferedServerCard, tolvane::platform::TheCard)
