// The sound server as a mixer: the volume of the default sink, and every source as something to record from.
#ifndef TOLVANE_PLATFORM_SOUND_SERVER_MIXER_H
#define TOLVANE_PLATFORM_SOUND_SERVER_MIXER_H

#include "platform/sound/mixer.h"
#include "platform/sound/server_connection.h"

namespace tolvane::platform {

// What a line of the mixer stands for.
struct ServerTarget {
    Direction direction;
    std::string device, port;  // the server's names; a device may have no ports
};

struct ServerLines {
    std::vector<PlatformMixerLine> told;
    std::vector<ServerTarget> targets;
};

// Speakers with the default sink; wave-in with each port of each source, a source without ports as a line of its own.
ServerLines MakeServerLines(const ServerDeviceLists& devices);

// A mixer's full volume is a server's normal one. Every value of a mixer comes back as it was; those of a server round so
// that a percentage of it is the same percentage of the mixer.
pa_volume_t ToServer(uint32_t volume);
uint32_t FromServer(pa_volume_t volume);

// Two channels, whatever the device has.
pa_cvolume ToServer(std::span<const uint32_t> volumes, const pa_channel_map& channels);
void FromServer(const ServerDevice& device, std::span<uint32_t> volumes);

CardMixer& ServerMixer();

}  // namespace tolvane::platform

#endif
