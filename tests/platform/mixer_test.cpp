// The lines and volumes that the sound server's sinks and sources become: what no server without hardware shows.
#include "platform/sound/server_mixer.h"

#include <gtest/gtest.h>

namespace tolvane::test {
namespace {

namespace layer = tolvane::platform;

layer::ServerDevice Device(const char* name, const char* text, std::vector<layer::ServerPort> ports = {}) {
    layer::ServerDevice device = {};
    device.name = name;
    device.text = text;
    device.ports = std::move(ports);
    return device;
}

// Sources with ports, which no server without hardware has.
TEST(SinksAndSourcesAsAMixer, HasALineForEachPort) {
    layer::ServerDeviceLists devices;
    devices[0] = {{Device("other", "Other"), Device("speakers", "Speakers")}, "speakers"};
    devices[1] = {
        {Device("card", "Card", {{"analog-input-mic", "Mikrofon"}, {"analog-input-linein", "Leitung"}}),
         Device("usb-mic", "Microphone"), Device("thing", "Thing"), Device("more", "More"),
         Device("last", "Last"), Device("least", "Least")},
        "card"};
    const layer::ServerLines lines = layer::MakeServerLines(devices);
    struct Expected {
        const char* name;
        DWORD component;
        const char *device, *port;
    };
    const Expected expected[] = {{"Speakers", 4, "speakers", ""},
                                 {"Wave", 0x1008, "speakers", ""},
                                 {"Recording", 7, "card", ""},
                                 {"Mikrofon (Card)", 0x1003, "card", "analog-input-mic"},
                                 {"Leitung (Card)", 0x1002, "card", "analog-input-linein"},
                                 {"Microphone", 0x1009, "usb-mic", ""},
                                 {"Thing", 0x100A, "thing", ""},
                                 {"More", 0x1000, "more", ""},
                                 {"Last", 0x1000, "last", ""},
                                 {"Least", 0x1000, "least", ""}};
    ASSERT_EQ(lines.told.size(), std::size(expected));
    ASSERT_EQ(lines.targets.size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); i++) {
        EXPECT_STREQ(lines.told[i].name, expected[i].name);
        EXPECT_EQ(lines.told[i].component, expected[i].component) << i;
        EXPECT_EQ(lines.targets[i].device, expected[i].device);
        EXPECT_EQ(lines.targets[i].port, expected[i].port);
    }
    devices[1] = {{Device("card", "Card", {{"a", "Port"}})}, "gone"};
    devices[0].preferred = "gone";
    EXPECT_STREQ(layer::MakeServerLines(devices).told[1].name, "Port")
        << "one source needs no name of its own";
    devices[1].devices.clear();
    EXPECT_TRUE(layer::MakeServerLines(devices).told.empty());
}

TEST(SinksAndSourcesAsAMixer, VolumesComeBackAsTheyWere) {
    for (uint32_t volume = 0; volume <= 65535; volume++)
        ASSERT_EQ(layer::FromServer(layer::ToServer(volume)), volume);
    EXPECT_EQ(layer::ToServer(65535u), PA_VOLUME_NORM);
    EXPECT_EQ(layer::ToServer(0xFFFFFFFFu), PA_VOLUME_NORM);
    EXPECT_EQ(layer::FromServer(PA_VOLUME_NORM * 2), 65535u) << "louder than normal is full";

    layer::ServerDevice device = Device("surround", "");
    const uint32_t sides[] = {100, 50000};
    constexpr auto kLeft = PA_CHANNEL_POSITION_FRONT_LEFT, kRight = PA_CHANNEL_POSITION_FRONT_RIGHT;
    const pa_channel_map maps[] = {
        {2, {kLeft, kRight}},
        {2, {kRight, kLeft}},
        {1, {PA_CHANNEL_POSITION_MONO}},
        {6,
         {kLeft, kRight, PA_CHANNEL_POSITION_REAR_LEFT, PA_CHANNEL_POSITION_REAR_RIGHT,
          PA_CHANNEL_POSITION_FRONT_CENTER, PA_CHANNEL_POSITION_LFE}}};
    for (const pa_channel_map& map : maps) {
        device.channels = map;
        device.volume = layer::ToServer(sides, device.channels);
        uint32_t read[2];
        layer::FromServer(device, read);
        EXPECT_EQ(read[0], map.channels == 1 ? 50000u : 100u) << int{map.channels};
        EXPECT_EQ(read[1], 50000u) << int{map.channels};
    }
}

}  // namespace
}  // namespace tolvane::test
