// The mixer services on the virtual card: what they tell, what they refuse, and values in and out.
#include <cstring>

#include "platform/sound/server_mixer.h"
#include "platform/wave_player.h"

namespace tolvane::test {
namespace {

class MixerServices : public OnVirtualCard {
  protected:
    static MMRESULT ByType(DWORD type, MIXERLINEA& line) {
        line = {};
        line.cbStruct = sizeof line;
        line.dwComponentType = type;
        return mixerGetLineInfoA(nullptr, &line, MIXER_GETLINEINFOF_COMPONENTTYPE);
    }
    static MMRESULT Source(DWORD destination, DWORD source, MIXERLINEA& line) {
        line = {};
        line.cbStruct = sizeof line;
        line.dwDestination = destination;
        line.dwSource = source;
        return mixerGetLineInfoA(nullptr, &line, MIXER_GETLINEINFOF_SOURCE);
    }
    static MMRESULT Control(DWORD line, DWORD type_or_id, DWORD flags, MIXERCONTROLA& control) {
        MIXERLINECONTROLSA wanted = {sizeof wanted, line, {type_or_id}, 1, sizeof control, &control};
        return mixerGetLineControlsA(nullptr, &wanted, flags);
    }
    static DWORD IdOf(DWORD line, DWORD type) {
        MIXERCONTROLA control = {};
        EXPECT_EQ(Control(line, type, MIXER_GETLINECONTROLSF_ONEBYTYPE, control), MMSYSERR_NOERROR);
        return control.dwControlID;
    }
    static MIXERCONTROLDETAILS Details(DWORD control, DWORD channels, DWORD items, void* values) {
        MIXERCONTROLDETAILS details = {sizeof details, control, channels, {}, sizeof(DWORD), values};
        details.cMultipleItems = items;
        return details;
    }
    static MMRESULT Read(MIXERCONTROLDETAILS details, DWORD flags = 0) {
        return mixerGetControlDetailsA(nullptr, &details, flags);
    }
    static MMRESULT Write(MIXERCONTROLDETAILS details, DWORD flags = 0) {
        return mixerSetControlDetails(nullptr, &details, flags);
    }
};

TEST_F(MixerServices, TellItsLinesAndControls) {
    const std::string longest =
        "abcdefghijklmn\xC3\xA9 and what follows";  // the short name ends inside the letter
    PlatformMixerLine lines[] = {{"Recording", 7, PLATFORM_MIXER_VOLUME | PLATFORM_MIXER_MUX, 0, 0, 0, 0},
                                 {"", 0x1003, 0, 0, 0, 0, 0},
                                 {"Line", 0x1002, 0, 0, 0, 0, 0}};
    longest.copy(lines[1].name, sizeof lines[1].name - 1);
    ASSERT_TRUE(PlatformVirtualSetMixer(lines, 3));
    MIXERLINEA line, source;
    ASSERT_EQ(ByType(MIXERLINE_COMPONENTTYPE_DST_WAVEIN, line), MMSYSERR_NOERROR);
    EXPECT_EQ(line.cConnections, 2u);
    EXPECT_EQ(line.cChannels, 2u);
    ASSERT_EQ(Source(line.dwDestination, 0, source), MMSYSERR_NOERROR);
    EXPECT_EQ(source.szName, longest);
    EXPECT_STREQ(source.szShortName, "abcdefghijklmn");
    EXPECT_EQ(source.fdwLine, MIXERLINE_LINEF_ACTIVE | MIXERLINE_LINEF_SOURCE);
    EXPECT_EQ(Source(line.dwDestination, 2, source), UINT{MIXERR_INVALLINE});
    EXPECT_EQ(Source(1, 0, source), UINT{MIXERR_INVALLINE});
    EXPECT_EQ(ByType(MIXERLINE_COMPONENTTYPE_DST_SPEAKERS, source), UINT{MIXERR_INVALLINE});

    const auto by_type = MIXER_GETLINECONTROLSF_ONEBYTYPE, by_id = MIXER_GETLINECONTROLSF_ONEBYID;
    MIXERCONTROLA control, again;
    ASSERT_EQ(Control(line.dwLineID, MIXERCONTROL_CONTROLTYPE_MUX, by_type, control), MMSYSERR_NOERROR);
    EXPECT_EQ(control.cMultipleItems, 2u);
    EXPECT_EQ(control.fdwControl, MIXERCONTROL_CONTROLF_UNIFORM | MIXERCONTROL_CONTROLF_MULTIPLE);
    ASSERT_EQ(Control(0, control.dwControlID, by_id, again), MMSYSERR_NOERROR);
    EXPECT_EQ(std::memcmp(&control, &again, sizeof control), 0);
    EXPECT_EQ(Control(line.dwLineID, MIXERCONTROL_CONTROLTYPE_MIXER, by_type, control),
              UINT{MIXERR_INVALCONTROL});
    EXPECT_EQ(Control(99, MIXERCONTROL_CONTROLTYPE_VOLUME, by_type, control), UINT{MIXERR_INVALLINE});
    EXPECT_EQ(Control(0, 0, by_id, control), UINT{MIXERR_INVALCONTROL});
}

TEST_F(MixerServices, RefuseWhatIsNotValid) {
    MIXERLINEA line = {};
    MIXERCONTROLA control;
    DWORD values[4] = {100, 200};
    EXPECT_EQ(mixerGetLineInfoA(nullptr, nullptr, MIXER_GETLINEINFOF_SOURCE), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(mixerGetLineInfoA(nullptr, &line, MIXER_GETLINEINFOF_SOURCE), UINT{MMSYSERR_INVALPARAM});
    line.cbStruct = sizeof line;
    EXPECT_EQ(mixerGetLineInfoA(nullptr, &line, 0), UINT{MMSYSERR_INVALFLAG});
    const auto second = reinterpret_cast<HMIXEROBJ>(uintptr_t{1});
    EXPECT_EQ(mixerGetLineInfoA(second, &line, MIXER_GETLINEINFOF_SOURCE), UINT{MMSYSERR_BADDEVICEID});
    MIXERLINECONTROLSA wanted = {sizeof wanted, 0, {1}, 1, sizeof control, nullptr};
    EXPECT_EQ(mixerGetLineControlsA(nullptr, &wanted, 1), UINT{MMSYSERR_INVALPARAM});
    wanted.pamxctrl = &control;
    EXPECT_EQ(mixerGetLineControlsA(nullptr, &wanted, 0), UINT{MMSYSERR_INVALFLAG});
    wanted.cbmxctrl--;
    EXPECT_EQ(mixerGetLineControlsA(nullptr, &wanted, 1), UINT{MMSYSERR_INVALPARAM});

    const DWORD volume = IdOf(1, MIXERCONTROL_CONTROLTYPE_VOLUME),
                mux = IdOf(2, MIXERCONTROL_CONTROLTYPE_MUX);
    EXPECT_EQ(Write(Details(volume, 2, 0, values)), MMSYSERR_NOERROR);
    EXPECT_EQ(Read(Details(volume, 1, 0, values + 1)), MMSYSERR_NOERROR)
        << "the first channel stands for both";
    EXPECT_EQ(values[1], 100u);
    const MIXERCONTROLDETAILS bad[] = {Details(volume, 0, 0, values), Details(volume, 3, 0, values),
                                       Details(volume, 2, 1, values), Details(mux, 1, 2, values),
                                       Details(mux, 2, 3, values),    Details(volume, 2, 0, nullptr)};
    for (size_t i = 0; i < std::size(bad); i++) {
        EXPECT_EQ(Read(bad[i]), UINT{MMSYSERR_INVALPARAM}) << i;
        EXPECT_EQ(Write(bad[i]), UINT{MMSYSERR_INVALPARAM}) << i;
    }
    EXPECT_EQ(Read(Details(99, 2, 0, values)), UINT{MIXERR_INVALCONTROL});
    EXPECT_EQ(Read(Details(volume, 2, 0, values), 1), UINT{MMSYSERR_INVALFLAG});
    ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_NONE));
    EXPECT_EQ(ByType(7, line), UINT{MMSYSERR_BADDEVICEID});

    const PlatformMixerLine source = {"x", 0x1003, 0, 0, 0, 0, 0};
    EXPECT_FALSE(PlatformVirtualSetMixer(&source, 1)) << "a source of nothing";
    EXPECT_FALSE(PlatformVirtualSetMixer(nullptr, 1));
    EXPECT_FALSE(PlatformVirtualSetMixerValues(1, PLATFORM_MIXER_VOLUME, values, 4));
    EXPECT_EQ(PlatformVirtualMixerValues(0, PLATFORM_MIXER_VOLUME, values, 4), 0u);
    EXPECT_EQ(PlatformVirtualMixerValues(99, PLATFORM_MIXER_MUTE, values, 4), 0u);
}

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
