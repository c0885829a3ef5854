// Record sources: their names, the microphone and the line input among them, and the choice of one on every kind of
// mixer, with every code.
#include <chrono>

#include "mixer/virtual_mixer.h"
#include "support/faults.h"

namespace tolvane::test {
namespace {

std::string NameOf(uint32_t index) {
    char name[TOLVANE_SOURCE_NAME_SIZE + 4];
    std::fill(std::begin(name), std::end(name), '#');
    EXPECT_EQ(GetRecordSourceName(index, name), TOLVANE_OK);
    EXPECT_EQ(GetRecordSourceName(index, nullptr), TOLVANE_OK);
    EXPECT_EQ(std::string(name + TOLVANE_SOURCE_NAME_SIZE, 4), "####") << "written behind the buffer";
    return *name == '#' ? "(as it was)" : name;
}

// The index that was found; -1: none, and nothing was stored.
int Found(uint16_t(TOLVANE_CALL* find)(uint32_t*), uint16_t none) {
    uint32_t index = 12345;
    const uint16_t code = find(&index);
    EXPECT_EQ(find(nullptr), code);
    if (code == TOLVANE_OK) return static_cast<int>(index);
    EXPECT_EQ(code, none);
    EXPECT_EQ(index, 12345u);
    return -1;
}
int Mic() {
    return Found(GetRecordSourceMic, TOLVANE_NO_MICROPHONE);
}
int Line() {
    return Found(GetRecordSourceLine, TOLVANE_NO_LINE_INPUT);
}

PlatformMixerLine Named(const std::string& name, uint32_t controls = kBoth, bool unreadable = false) {
    PlatformMixerLine line = {"", kMic, controls, unreadable, 0, 0, 0};
    name.copy(line.name, sizeof line.name - 1);
    return line;
}

TEST_F(VirtualMixers, SourcesHaveNames) {
    const std::string longest(63, 'x');
    MakeSources(kMux,
                {Named("CD Audio"), Named("Line In"), Named(longest), Named("lost", kBoth, true), Named("")});
    EXPECT_EQ(GetNumberOfRecordSources(), 5u);
    const char* const names[] = {"CD Audio", "Line In", longest.c_str(), "(as it was)", "", "(as it was)"};
    for (uint32_t i = 0; i < 6; i++)
        EXPECT_EQ(NameOf(i), names[i]);
    for (const uint32_t beyond : {0xFFFFu, 0x10000u, 0x10001u, 0xFFFFFFFFu})
        EXPECT_EQ(NameOf(beyond), "(as it was)");
}

TEST_F(VirtualMixers, TheMicrophoneAndTheLineInputAreFoundByName) {
    struct Case {
        std::vector<PlatformMixerLine> sources;
        int mic, line;
    };
    std::string at_the_end(60, '.');
    at_the_end += "mIc";
    const Case cases[] = {
        {{Named("CD Audio"), Named("Line In"), Named("Microphone")}, 2, 1},
        {{Named("Front Mic"), Named("Mic In"), Named("ONLINE")}, 0, 2},
        {{Named("Mic", kBoth, true), Named("LINE mic"), Named("Line")}, 1, 1},
        {{Named("Aux"), Named("Mi"), Named(" in e lin")}, -1, -1},
        {{Named(at_the_end)}, 0, -1},
        {{}, -1, -1},
    };
    for (const uint32_t selector : {0u, uint32_t{kMux}})
        for (const Case& each : cases) {
            MakeSources(selector, each.sources);
            EXPECT_EQ(Mic(), each.mic) << each.sources.size();
            EXPECT_EQ(Line(), each.line);
        }
}

TEST_F(VirtualMixers, AMachineMayHaveNoSources) {
    const PlatformMixerLine recording = {"Recording", kWaveIn, kVolume, 1, 0, 0, 0};
    const auto expect_none = [] {
        EXPECT_EQ(GetNumberOfRecordSources(), 0u);
        EXPECT_EQ(NameOf(0), "(as it was)");
        EXPECT_EQ(Mic(), -1);
        EXPECT_EQ(Line(), -1);
        EXPECT_EQ(SetTheSource(0), TOLVANE_NO_SOURCE_CONTROL);
        EXPECT_EQ(AudioSetRecVolume(3), TOLVANE_OK);
        EXPECT_EQ(AudioGetRecVolume(), 0);
    };
    MakeSources(kMux, {Named("Mic")}, recording);
    expect_none();
    Make({{"Speakers", kSpeakers, 0, 0, 0, 0, 0}});
    expect_none();
    Make({});
    expect_none();
    ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_NONE));
    expect_none();
}

TEST_F(VirtualMixers, ASelectorSelects) {
    MakeSources(kMux, {Named("a"), Named("b"), Named("c"), Named("d")});
    EXPECT_EQ(SetTheSource(2), TOLVANE_OK);
    EXPECT_EQ(Of(kRecording, kMux), (Values{0, 0, 1, 0}));
    for (const uint16_t beyond : {uint16_t{4}, uint16_t{65535}}) {
        EXPECT_EQ(SetTheSource(beyond), TOLVANE_NO_SUCH_SOURCE);
        EXPECT_EQ(Of(kRecording, kMux), (Values{0, 0, 1, 0}));
        EXPECT_EQ(AudioGetRecVolume(), 0) << "the refused index is the one in use all the same";
    }
    Change(kRecording, kMux, {1, 1, 1, 1});
    EXPECT_EQ(SetTheSource(1), TOLVANE_OK);
    EXPECT_EQ(Of(kRecording, kMux), (Values{0, 1, 0, 0}));
    for (const uint32_t source : {0u, 1u, 2u, 3u})
        EXPECT_EQ(Of(kFirst + source, kMute), Values{0}) << "nothing is muted where there is a selector";

    MakeSources(kMultiple, {Named("a"), Named("b"), Named("c")});
    EXPECT_EQ(SetTheSource(0), TOLVANE_OK);
    EXPECT_EQ(SetTheSource(1), TOLVANE_OK);
    EXPECT_EQ(Of(kRecording, kMultiple), (Values{1, 1, 0}));
    MakeSources(kMux | kMultiple, {Named("a"), Named("b")});
    EXPECT_EQ(SetTheSource(1), TOLVANE_OK);
    EXPECT_EQ(Of(kRecording, kMux), (Values{0, 1})) << "the mux comes first";
    EXPECT_EQ(Of(kRecording, kMultiple), (Values{1, 0}));
}

TEST_F(VirtualMixers, WithoutASelectorTheOthersAreMuted) {
    const auto make = [] {
        MakeSources(
            0, {Named("a"), Named("no switch", kVolume), Named("b"), Named("lost", kBoth, true), Named("c")});
    };
    const auto muted = [] {
        return Values{Of(kFirst, kMute)[0], Of(kFirst + 2, kMute)[0], Of(kFirst + 3, kMute)[0],
                      Of(kFirst + 4, kMute)[0]};
    };
    make();
    EXPECT_EQ(SetTheSource(2), TOLVANE_OK);
    EXPECT_EQ(muted(), (Values{1, 0, 0, 1}));
    EXPECT_EQ(SetTheSource(0), TOLVANE_OK);
    EXPECT_EQ(muted(), (Values{0, 1, 0, 1}));
    EXPECT_EQ(SetTheSource(1), TOLVANE_OK) << "has no switch: only the others are dealt with";
    EXPECT_EQ(muted(), (Values{1, 1, 0, 1}));
    EXPECT_EQ(SetTheSource(5), TOLVANE_NO_SUCH_SOURCE);
    EXPECT_EQ(muted(), (Values{1, 1, 0, 1}));
    MakeSources(0, {Named("a", kVolume)});
    EXPECT_EQ(SetTheSource(0), TOLVANE_OK);
}

// What a mixer says of itself is not to be relied on.
TEST_F(VirtualMixers, CountsThatMixersClaimAreChecked) {
    const auto start = std::chrono::steady_clock::now();
    const auto recording = [](uint32_t sources, uint32_t items) {
        return PlatformMixerLine{"Recording", kWaveIn, kVolume, 0, 0, sources, items};
    };
    MakeSources(kMux, {Named("a"), Named("b"), Named("c")}, recording(0, 2));
    EXPECT_EQ(SetTheSource(2), TOLVANE_NO_SUCH_SOURCE)
        << "the selector has fewer items than there are sources";
    EXPECT_EQ(SetTheSource(1), TOLVANE_OK);
    MakeSources(kMux, {Named("a")}, recording(0, 65536));
    EXPECT_EQ(SetTheSource(0), TOLVANE_OK);
    for (const uint32_t items : {65537u, 0x40000000u, 0x40000001u, 0xFFFFFFFFu}) {
        MakeSources(kMux, {Named("a")}, recording(0, items));
        EXPECT_EQ(SetTheSource(0), TOLVANE_NO_SELECTION_MEMORY) << items;
    }
    PlatformMixerLine source = Named("a");
    source.said_items = 0xFFFFFFFF;
    MakeSources(0, {source, Named("b")});
    EXPECT_EQ(SetTheSource(0), TOLVANE_NO_SELECTION_MEMORY);
    EXPECT_EQ(Of(kFirst + 1, kMute), Values{0}) << "the lines behind it are not reached";
    source.said_items = 3;
    MakeSources(0, {Named("b"), source});
    EXPECT_EQ(SetTheSource(0), TOLVANE_OK);
    EXPECT_EQ(Of(kFirst + 1, kMute), (Values{1, 0, 0}));

    for (const uint32_t sources : {0x10000u, 0x10001u, 0xFFFFFFFFu})
        for (const uint32_t selector : {0u, uint32_t{kMux}}) {
            SCOPED_TRACE(sources);
            MakeSources(selector, {Named("a"), Named("b")}, recording(sources, 0));
            EXPECT_EQ(GetNumberOfRecordSources(), sources);
            EXPECT_EQ(Mic(), -1);
            EXPECT_EQ(NameOf(2), "(as it was)");
            EXPECT_EQ(SetTheSource(0), sources == 0x10000 ? TOLVANE_NO_SUCH_SOURCE : TOLVANE_OK);
            EXPECT_LE(AudioGetRecVolume(), 100);
        }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

class MixerFaults : public VirtualMixers {
  protected:
    static uint16_t WithFault(const char* service, uint32_t nth, uint16_t source) {
        const FaultScope fault(service, nth);
        const uint16_t code = SetTheSource(source);
        EXPECT_EQ(PlatformFaultsStruck(), 1u) << service;
        return code;
    }
};

TEST_F(MixerFaults, EachFailureOfASelectorHasItsCode) {
    for (const uint32_t selector : {kMux, kMultiple}) {
        MakeSources(selector, {Named("a"), Named("b")});
        const uint32_t lookup =
            selector == kMux ? 2 : 3;  // the last look after a control is the one by identifier
        EXPECT_EQ(WithFault("mixerGetLineControlsA", lookup, 1), TOLVANE_NO_SOURCE_CONTROL);
        EXPECT_EQ(WithFault("GlobalAlloc", 1, 1), TOLVANE_NO_SELECTION_MEMORY);
        EXPECT_EQ(WithFault("GlobalLock", 1, 1), TOLVANE_NO_SELECTION_MEMORY);
        EXPECT_EQ(WithFault("mixerGetControlDetailsA", 1, 1), TOLVANE_SOURCE_NOT_READ);
        EXPECT_EQ(WithFault("mixerSetControlDetails", 1, 1), TOLVANE_SOURCE_NOT_SET);
        EXPECT_EQ(WithFault("mixerGetLineInfoA", 1, 1), TOLVANE_NO_SOURCE_CONTROL);
        EXPECT_EQ(Of(kRecording, selector), (Values{1, 0}));
        AudioSetRecVolume(33);
        EXPECT_EQ(Of(kFirst, kVolume), Both(33)) << "both are microphones";
    }
}

TEST_F(MixerFaults, WithoutASelectorTheLastResultIsTold) {
    struct Case {
        const char* service;
        uint32_t nth;
        uint16_t code;
        Values muted;  // of three sources, the second of which is chosen
    };
    const Case cases[] = {
        {"mixerGetLineInfoA", 1, TOLVANE_NO_SOURCE_CONTROL, {7, 7, 7}},
        {"mixerGetLineInfoA", 2, TOLVANE_OK, {7, 0, 1}},
        {"mixerGetLineControlsA", 4, TOLVANE_OK, {1, 7, 1}},  // after two looks for a selector
        {"mixerGetControlDetailsA", 1, TOLVANE_OK, {7, 0, 1}},
        {"mixerGetControlDetailsA", 3, TOLVANE_SOURCE_NOT_READ, {1, 0, 7}},
        {"mixerSetControlDetails", 2, TOLVANE_OK, {1, 7, 1}},
        {"mixerSetControlDetails", 3, TOLVANE_SOURCE_NOT_SET, {1, 0, 7}},
        {"GlobalAlloc", 2, TOLVANE_NO_SELECTION_MEMORY, {1, 7, 7}},
    };
    for (const auto& [service, nth, code, muted] : cases) {
        SCOPED_TRACE(service + std::to_string(nth));
        MakeSources(0, {Named("a"), Named("b"), Named("c")});
        for (const uint32_t source : {0u, 1u, 2u})
            Change(kFirst + source, kMute, {7});
        EXPECT_EQ(WithFault(service, nth, 1), code);
        EXPECT_EQ((Values{Of(kFirst, kMute)[0], Of(kFirst + 1, kMute)[0], Of(kFirst + 2, kMute)[0]}), muted);
    }
}

// Every call of every export fails in turn, on every kind of mixer: nothing is left behind, and the next calls work.
TEST_F(MixerFaults, EveryExportSurvivesEveryFailure) {
    const Step actions[] = {
        [] { AudioSetVolume(50), AudioGetVolume(); },
        [] { AudioMute(1), AudioMute(0); },
        [] { AudioSetRecVolume(50), AudioGetRecVolume(); },
        [] {
            char name[TOLVANE_SOURCE_NAME_SIZE];
            uint32_t index;
            GetRecordSourceName(GetNumberOfRecordSources() - 1, name);
            GetRecordSourceMic(&index), GetRecordSourceLine(&index);
        },
        [] { SetTheSource(1); },
    };
    const auto in_order = [] {
        AudioMute(1), AudioSetVolume(20), AudioMute(0);
        EXPECT_EQ(AudioGetVolume(), 20);
        EXPECT_EQ(SetTheSource(1), TOLVANE_OK);
        AudioSetRecVolume(60);
        EXPECT_EQ(AudioGetRecVolume(), 60);
    };
    for (const uint32_t selector : {0u, uint32_t{kMux}, uint32_t{kMultiple}}) {
        MakeSources(selector, {Named("CD"), Named("Line"), Named("Microphone")});
        for (const auto& action : actions)
            FailEachCall("mixer", action, in_order);
    }
}

}  // namespace
}  // namespace tolvane::test
