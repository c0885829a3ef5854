#include "platform/sound/server_mixer.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace tolvane::platform {
namespace {

constexpr uint32_t kSourceControls = PLATFORM_MIXER_VOLUME | PLATFORM_MIXER_MUTE;
constexpr int kLooksAtDefault = 50;
constexpr pa_usec_t kBetweenLooks = 10 * PA_USEC_PER_MSEC;

constexpr pa_channel_position_mask_t MaskOf(std::initializer_list<pa_channel_position_t> positions) {
    pa_channel_position_mask_t mask = 0;
    for (const pa_channel_position_t position : positions)
        mask |= PA_CHANNEL_POSITION_MASK(position);
    return mask;
}
constexpr pa_channel_position_mask_t kSides[] = {
    MaskOf({PA_CHANNEL_POSITION_FRONT_LEFT, PA_CHANNEL_POSITION_REAR_LEFT,
            PA_CHANNEL_POSITION_FRONT_LEFT_OF_CENTER, PA_CHANNEL_POSITION_SIDE_LEFT,
            PA_CHANNEL_POSITION_TOP_FRONT_LEFT, PA_CHANNEL_POSITION_TOP_REAR_LEFT}),
    MaskOf({PA_CHANNEL_POSITION_FRONT_RIGHT, PA_CHANNEL_POSITION_REAR_RIGHT,
            PA_CHANNEL_POSITION_FRONT_RIGHT_OF_CENTER, PA_CHANNEL_POSITION_SIDE_RIGHT,
            PA_CHANNEL_POSITION_TOP_FRONT_RIGHT, PA_CHANNEL_POSITION_TOP_REAR_RIGHT})};

PlatformMixerLine Line(const std::string& name, DWORD component, uint32_t controls) {
    PlatformMixerLine line = {};
    CopyName(line.name, sizeof(line.name), name.c_str());
    line.component = component;
    line.controls = controls;
    return line;
}

bool Contains(std::string text, const char* part) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text.find(part) != text.npos;
}

// What hosts look for by type they find by the first line of it, so that, as far as they reach, each line gets a type of
// its own. The server's names are not translated, unlike the descriptions.
class SourceTypes {
  public:
    DWORD Next(const std::string& name) {
        for (const char* text : {"mic", "line"})
            if (Contains(name, text) && Take(text[0] == 'm' ? MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE
                                                            : MIXERLINE_COMPONENTTYPE_SRC_LINE))
                return taken_.back();
        for (const DWORD other :
             {DWORD{MIXERLINE_COMPONENTTYPE_SRC_AUXILIARY}, DWORD{MIXERLINE_COMPONENTTYPE_SRC_ANALOG}})
            if (Take(other)) return other;
        return MIXERLINE_COMPONENTTYPE_SRC_UNDEFINED;
    }

  private:
    bool Take(DWORD type) {
        if (std::ranges::count(taken_, type)) return false;
        taken_.push_back(type);
        return true;
    }

    std::vector<DWORD> taken_;
};

void AddSpeakers(ServerLines& lines, const ServerDevices& outputs) {
    const auto sink = std::ranges::find(outputs.devices, outputs.preferred, &ServerDevice::name);
    if (sink == outputs.devices.end()) return;
    lines.told.push_back(Line(sink->text, MIXERLINE_COMPONENTTYPE_DST_SPEAKERS, 0));
    lines.told.push_back(Line("Wave", MIXERLINE_COMPONENTTYPE_SRC_WAVEOUT, kSourceControls));
    lines.targets.resize(2, {Direction::kOutput, sink->name, ""});
}

void AddSource(ServerLines& lines, const std::string& name, const ServerTarget& target, SourceTypes& types) {
    lines.told.push_back(
        Line(name, types.Next(target.port.empty() ? target.device : target.port), kSourceControls));
    lines.targets.push_back(target);
}

void AddWaveIn(ServerLines& lines, const ServerDevices& inputs) {
    if (inputs.devices.empty()) return;
    SourceTypes types;
    lines.told.push_back(
        Line("Recording", MIXERLINE_COMPONENTTYPE_DST_WAVEIN, PLATFORM_MIXER_VOLUME | PLATFORM_MIXER_MUX));
    lines.targets.push_back({Direction::kInput, inputs.preferred, ""});
    for (const ServerDevice& source : inputs.devices) {
        const std::string of = inputs.devices.size() > 1 ? " (" + source.text + ")" : "";
        if (source.ports.empty()) AddSource(lines, source.text, {Direction::kInput, source.name, ""}, types);
        for (const ServerPort& port : source.ports)
            AddSource(lines, port.description + of, {Direction::kInput, source.name, port.name}, types);
    }
}

class TheServerMixer final : public CardMixer {
  public:
    std::shared_ptr<const MixerLines> ReadLines() override {
        const ServerLock lock;
        const auto devices = server_.AskDevices();
        ServerLines found = devices ? MakeServerLines(*devices) : ServerLines();
        targets_ = std::move(found.targets);
        return lines_ = std::make_shared<const MixerLines>(MakeMixerLines(found.told));
    }

    std::shared_ptr<const MixerLines> KnownLines() override {
        const ServerLock lock;
        return lines_ ? lines_ : ReadLines();
    }

    MMRESULT GetValues(const MixerControl& control, std::span<uint32_t> values) override {
        const ServerLock lock;
        const auto devices = server_.AskDevices();
        if (!devices) return MMSYSERR_NODRIVER;
        if (control.type == MIXERCONTROL_CONTROLTYPE_MUX) {
            for (uint32_t i = 0; i < values.size(); i++)
                values[i] = IsUsed(SourceOf(control, i), (*devices)[1]);
            return MMSYSERR_NOERROR;
        }
        const ServerDevice* const device = Find(control, *devices);
        if (!device) return MIXERR_INVALCONTROL;
        if (control.type == MIXERCONTROL_CONTROLTYPE_VOLUME)
            FromServer(*device, values);
        else
            values[0] = device->muted;
        return MMSYSERR_NOERROR;
    }

    MMRESULT SetValues(const MixerControl& control, std::span<const uint32_t> values) override {
        const ServerLock lock;
        if (control.type == MIXERCONTROL_CONTROLTYPE_MUX) {
            const auto chosen = std::ranges::find_if(values, [](uint32_t value) { return value != 0; });
            if (chosen == values.end()) return MMSYSERR_INVALPARAM;
            return Use(SourceOf(control, static_cast<uint32_t>(chosen - values.begin())));
        }
        const auto devices = server_.AskDevices();
        if (!devices) return MMSYSERR_NODRIVER;
        const ServerDevice* const device = Find(control, *devices);
        if (!device) return MIXERR_INVALCONTROL;
        const ServerTarget& target = targets_[control.line];
        if (control.type == MIXERCONTROL_CONTROLTYPE_VOLUME)
            return SetVolume(target, ToServer(values, device->channels));
        return SetMute(target, values[0] != 0);
    }

  private:
    // The source lines follow the line that selects one.
    const ServerTarget& SourceOf(const MixerControl& mux, uint32_t item) const {
        static const ServerTarget none = {};
        const size_t line = mux.line + size_t{1} + item;
        return line < targets_.size() ? targets_[line] : none;
    }

    // The lines may have been read anew since the control was told of, and its device be gone.
    const ServerDevice* Find(const MixerControl& control, const ServerDeviceLists& lists) const {
        if (control.line >= targets_.size()) return nullptr;
        const ServerTarget& target = targets_[control.line];
        const auto& devices = lists[target.direction == Direction::kInput].devices;
        const auto found = std::ranges::find(devices, target.device, &ServerDevice::name);
        return found == devices.end() ? nullptr : &*found;
    }

    static bool IsUsed(const ServerTarget& target, const ServerDevices& inputs) {
        const auto device = std::ranges::find(inputs.devices, target.device, &ServerDevice::name);
        return device != inputs.devices.end() && device->name == inputs.preferred &&
               device->port == target.port;
    }

    // Waits for the answer to what `ask` asks for.
    template <typename Ask>
    MMRESULT Change(Ask ask) {
        struct Outcome {
            ServerConnection& server;
            bool succeeded;
        } outcome = {server_, false};
        const auto answer = [](pa_context*, int success, void* context) {
            static_cast<Outcome*>(context)->succeeded = success != 0;
            static_cast<Outcome*>(context)->server.Signal();
        };
        const ServerOperation operation(ask(server_.Context(), answer, &outcome));
        server_.WaitUntil([&] { return !operation.Runs(); });
        server_.Changed();
        return operation.Done() && outcome.succeeded ? MMSYSERR_NOERROR : MMSYSERR_ERROR;
    }

    MMRESULT SetVolume(const ServerTarget& target, const pa_cvolume& volume) {
        return Change([&](pa_context* context, pa_context_success_cb_t answer, void* to) {
            const auto set = target.direction == Direction::kOutput ? pa_context_set_sink_volume_by_name
                                                                    : pa_context_set_source_volume_by_name;
            return set(context, target.device.c_str(), &volume, answer, to);
        });
    }

    MMRESULT SetMute(const ServerTarget& target, bool muted) {
        return Change([&](pa_context* context, pa_context_success_cb_t answer, void* to) {
            const auto set = target.direction == Direction::kOutput ? pa_context_set_sink_mute_by_name
                                                                    : pa_context_set_source_mute_by_name;
            return set(context, target.device.c_str(), muted, answer, to);
        });
    }

    MMRESULT Use(const ServerTarget target) {
        if (!server_.Connect()) return MMSYSERR_NODRIVER;
        const auto use_port = [&](pa_context* context, pa_context_success_cb_t answer, void* to) {
            return pa_context_set_source_port_by_name(context, target.device.c_str(), target.port.c_str(),
                                                      answer, to);
        };
        const auto use_source = [&](pa_context* context, pa_context_success_cb_t answer, void* to) {
            return pa_context_set_default_source(context, target.device.c_str(), answer, to);
        };
        if (!target.port.empty())
            if (const MMRESULT result = Change(use_port)) return result;
        if (const MMRESULT result = Change(use_source)) return result;
        return AwaitUse(target);
    }

    // A server may answer that it is done a little before that can be seen.
    MMRESULT AwaitUse(const ServerTarget& target) {
        for (int look = 0; look < kLooksAtDefault; look++) {
            const auto devices = server_.AskDevices();
            if (!devices) return MMSYSERR_NODRIVER;
            if (IsUsed(target, (*devices)[1])) return MMSYSERR_NOERROR;
            server_.WaitUntil([] { return false; }, kBetweenLooks);
        }
        return MMSYSERR_ERROR;
    }

    ServerConnection& server_ = ServerConnection::Get();
    std::shared_ptr<const MixerLines> lines_;
    std::vector<ServerTarget> targets_;  // one a line
};

}  // namespace

ServerLines MakeServerLines(const ServerDeviceLists& devices) {
    ServerLines lines;
    AddSpeakers(lines, devices[0]);
    AddWaveIn(lines, devices[1]);
    return lines;
}

pa_volume_t ToServer(uint32_t volume) {
    const uint64_t scaled = uint64_t{std::min(volume, kFullVolume)} * PA_VOLUME_NORM;
    return static_cast<pa_volume_t>((scaled + kFullVolume - 1) / kFullVolume);
}

uint32_t FromServer(pa_volume_t volume) {
    return static_cast<uint32_t>(uint64_t{std::min(volume, PA_VOLUME_NORM)} * kFullVolume / PA_VOLUME_NORM);
}

pa_cvolume ToServer(std::span<const uint32_t> volumes, const pa_channel_map& channels) {
    pa_cvolume volume;
    volume.channels = channels.channels;
    for (uint8_t i = 0; i < channels.channels; i++) {
        const pa_channel_position_mask_t place = PA_CHANNEL_POSITION_MASK(channels.map[i]);
        const uint32_t value = place & kSides[0]   ? volumes[0]
                               : place & kSides[1] ? volumes[1]
                                                   : std::max(volumes[0], volumes[1]);
        volume.values[i] = ToServer(value);
    }
    return volume;
}

void FromServer(const ServerDevice& device, std::span<uint32_t> volumes) {
    for (size_t side = 0; side < volumes.size(); side++) {
        const bool has_side = pa_channel_map_mask(&device.channels) & kSides[side];
        volumes[side] =
            FromServer(has_side ? pa_cvolume_max_mask(&device.volume, &device.channels, kSides[side])
                                : pa_cvolume_max(&device.volume));
    }
}

CardMixer& ServerMixer() {
    static CardMixer& mixer = *new TheServerMixer;
    return mixer;
}

}  // namespace tolvane::platform
