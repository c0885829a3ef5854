// Volume and mute: percentages, which control is meant, and mixers that lack it.
#include <cmath>
#include <cstddef>

#include <windows.h>
#include <mmsystem.h>

#include "mixer/virtual_mixer.h"

namespace tolvane::test {
namespace {

// The layer's records and numbers are the system's own: these hold with the declarations of either.
constexpr size_t kPointer = sizeof(void*);
static_assert(sizeof(MIXERLINEA) == 164 + kPointer && sizeof(MIXERCONTROLA) == 148 &&
              sizeof(MIXERLINECONTROLSA) == 20 + kPointer &&
              sizeof(MIXERCONTROLDETAILS) == 16 + 2 * kPointer);
static_assert(offsetof(MIXERLINEA, dwComponentType) == 20 + kPointer &&
              offsetof(MIXERLINEA, szName) == 52 + kPointer &&
              offsetof(MIXERCONTROLA, cMultipleItems) == 16 && offsetof(MIXERCONTROLA, Bounds) == 100 &&
              offsetof(MIXERLINECONTROLSA, pamxctrl) == 20 &&
              offsetof(MIXERCONTROLDETAILS, cbDetails) == 12 + kPointer);
static_assert(MIXER_GETLINEINFOF_SOURCE == 1 && MIXER_GETLINEINFOF_COMPONENTTYPE == 3 &&
              MIXER_GETLINECONTROLSF_ONEBYID == 1 && MIXER_GETLINECONTROLSF_ONEBYTYPE == 2 &&
              MIXER_GETCONTROLDETAILSF_VALUE == 0 && MIXER_SETCONTROLDETAILSF_VALUE == 0 &&
              MIXER_OBJECTF_MIXER == 0);
static_assert(MIXERCONTROL_CONTROLTYPE_VOLUME == 0x50030001 && MIXERCONTROL_CONTROLTYPE_MUTE == 0x20010002 &&
              MIXERCONTROL_CONTROLTYPE_MUX == 0x70010001 && MIXERCONTROL_CONTROLTYPE_MIXER == 0x71010001 &&
              MIXERCONTROL_CONTROLF_UNIFORM == 1 && MIXERCONTROL_CONTROLF_MULTIPLE == 2);
static_assert(kSpeakers == MIXERLINE_COMPONENTTYPE_DST_SPEAKERS &&
              kWaveIn == MIXERLINE_COMPONENTTYPE_DST_WAVEIN && kLineIn == MIXERLINE_COMPONENTTYPE_SRC_LINE &&
              kMic == MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE &&
              kSynth == MIXERLINE_COMPONENTTYPE_SRC_SYNTHESIZER &&
              kCd == MIXERLINE_COMPONENTTYPE_SRC_COMPACTDISC &&
              kWaveOut == MIXERLINE_COMPONENTTYPE_SRC_WAVEOUT);
static_assert(MIXERR_INVALLINE == 1024 && MIXERR_INVALCONTROL == 1025 &&
              MIXERLINE_LINEF_SOURCE == 0x80000000 && MIXERLINE_COMPONENTTYPE_SRC_AUXILIARY == 0x1009 &&
              MIXERLINE_COMPONENTTYPE_SRC_ANALOG == 0x100A);

// Holds wherever the library runs, whatever mixer there is.
TEST(Mixer, AnswersHere) {
    const uint32_t sources = GetNumberOfRecordSources();
    EXPECT_LE(AudioGetVolume(), 100);
    EXPECT_LE(AudioGetRecVolume(), 100);
    char name[TOLVANE_SOURCE_NAME_SIZE] = "#";
    EXPECT_EQ(GetRecordSourceName(sources, name), TOLVANE_OK);
    EXPECT_STREQ(name, "#");
    uint32_t index = 0;
    EXPECT_TRUE(GetRecordSourceMic(&index) == TOLVANE_NO_MICROPHONE || index < sources);
    EXPECT_TRUE(GetRecordSourceLine(&index) == TOLVANE_NO_LINE_INPUT || index < sources);
    EXPECT_EQ(SetTheSource(65535), sources ? TOLVANE_NO_SUCH_SOURCE : TOLVANE_NO_SOURCE_CONTROL);
    EXPECT_EQ(AudioGetRecVolume(), 0) << "there is no such source, or none at all";
    EXPECT_EQ(AudioSetRecVolume(0), TOLVANE_OK);
    SetTheSource(0);
}

TEST_F(VirtualMixers, EveryPercentageReadsAsItWasSet) {
    for (uint16_t percent = 0; percent <= 100; percent++) {
        EXPECT_EQ(AudioSetVolume(percent), TOLVANE_OK);
        EXPECT_EQ(Of(1, kVolume), Both(percent));
        EXPECT_EQ(AudioGetVolume(), percent);
        EXPECT_EQ(AudioSetRecVolume(percent), TOLVANE_OK);
        EXPECT_EQ(Of(kFirst, kVolume), Both(percent));
        EXPECT_EQ(AudioGetRecVolume(), percent);
    }
    for (const uint16_t beyond : {uint16_t{101}, uint16_t{250}, uint16_t{65535}}) {
        AudioSetVolume(0), AudioSetRecVolume(0);
        AudioSetVolume(beyond), AudioSetRecVolume(beyond);
        EXPECT_EQ(Of(1, kVolume), Both(100));
        EXPECT_EQ(Of(kFirst, kVolume), Both(100));
    }
}

TEST_F(VirtualMixers, WhatOtherProgramsSetIsRoundedUpToAPercentage) {
    for (uint32_t volume = 0; volume < 66000; volume += 13) {
        Change(1, kVolume, {volume, 7});  // the left channel counts
        const auto percent = static_cast<int>(std::ceil(volume * 100.0 / 65535.0));
        ASSERT_EQ(AudioGetVolume(), std::min(percent, 100)) << volume;
    }
    Change(1, kVolume, {0xFFFFFFFF});
    EXPECT_EQ(AudioGetVolume(), 100);
    Change(kFirst, kVolume, {0x10000 + 655});
    EXPECT_EQ(AudioGetRecVolume(), 1) << "of a source's volume 16 bits are looked at";
}

TEST_F(VirtualMixers, MuteKeepsTheVolumeAndNothingElse) {
    Change(1, kVolume, {5, 5});
    AudioMute(0);
    EXPECT_EQ(Of(1, kVolume), Both(100)) << "nothing was kept yet";
    AudioSetVolume(70);
    EXPECT_EQ(AudioMute(1), TOLVANE_OK);
    EXPECT_EQ(AudioGetVolume(), 0);
    EXPECT_EQ(Of(1, kVolume), Both(0));
    AudioSetVolume(30);
    EXPECT_EQ(Of(1, kVolume), Both(0)) << "a volume set while muted waits for the end of the mute";
    Change(1, kVolume, {500, 500});
    EXPECT_EQ(AudioMute(0), TOLVANE_OK);
    EXPECT_EQ(Of(1, kVolume), Both(30));
    AudioSetVolume(20);
    EXPECT_EQ(Of(1, kVolume), Both(20));
    AudioMute(0);
    EXPECT_EQ(Of(1, kVolume), Both(30)) << "without a mute, what was kept last";

    Change(1, kVolume, {12345, 54321});
    AudioMute(0x80000000);
    AudioMute(0);
    EXPECT_EQ(Of(1, kVolume), (Values{12345, 12345}));
    AudioMute(1), AudioMute(1), AudioMute(0);
    EXPECT_EQ(Of(1, kVolume), Both(0)) << "the second mute kept 0";
    EXPECT_EQ(Of(1, kMute), Values{0}) << "the mixer's own switch is the user's";
    EXPECT_EQ(Of(kRecording, kVolume), Both(100));
}

TEST_F(VirtualMixers, PlaybackIsTheFirstWaveLineOfTheSpeakers) {
    constexpr uint32_t kNone = 99;
    const PlatformMixerLine speakers = {"Speakers", kSpeakers, kVolume, 0, 0, 0, 0},
                            wave = {"Wave", kWaveOut, kVolume, 0, 0, 0, 0},
                            synth = {"Synth", kSynth, kVolume, 0, 0, 0, 0},
                            hidden = {"Hidden", kWaveOut, kVolume, 1, 0, 0, 0},
                            bare = {"Bare", kWaveOut, kMute, 0, 0, 0, 0},
                            mono = {"Mono", kWaveOut, kVolume, 0, 1, 0, 0},
                            record = {"Recording", kWaveIn, kVolume, 0, 0, 0, 0};
    PlatformMixerLine lost = speakers, lying = speakers;
    lost.unreadable = 1;
    lying.said_sources = 0xFFFFFFFF;
    const struct {
        const char* name;
        std::vector<PlatformMixerLine> lines;
        uint32_t set;  // the line whose volume is the playback's
    } shapes[] = {
        {"among others", {record, wave, speakers, synth, wave, wave}, 4},
        {"behind one that cannot be read", {speakers, hidden, wave}, 2},
        {"without a volume, though a second has one", {speakers, bare, wave}, kNone},
        {"mono", {speakers, mono}, 1},
        {"none", {speakers, synth}, kNone},
        {"no sources", {speakers, record, wave}, kNone},
        {"speakers that cannot be read", {lost, wave}, kNone},
        {"no speakers", {record, wave}, kNone},
        {"no mixer", {}, kNone},
        {"more sources said than there are", {lying, synth, wave}, 2},
        {"more sources said, none of them it", {lying, synth}, kNone},
    };
    for (const auto& [name, lines, set] : shapes) {
        SCOPED_TRACE(name);
        Make(lines);
        AudioSetVolume(40);
        EXPECT_EQ(AudioGetVolume(), set == kNone ? 0 : 40);
        for (uint32_t line = 0; line < lines.size(); line++)
            for (const uint32_t value : Of(line, kVolume))
                EXPECT_EQ(value, Volume(line == set ? 40 : 100)) << "line " << line;
        EXPECT_EQ(AudioMute(1), TOLVANE_OK);
        EXPECT_EQ(AudioGetVolume(), 0);
        EXPECT_EQ(AudioMute(0), TOLVANE_OK);
        EXPECT_EQ(AudioGetVolume(), set == kNone ? 0 : 40);
    }
    ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_NONE));
    EXPECT_EQ(AudioSetVolume(50), TOLVANE_OK);
    EXPECT_EQ(AudioMute(1), TOLVANE_OK);
    EXPECT_EQ(AudioMute(0), TOLVANE_OK);
    EXPECT_EQ(AudioGetVolume(), 0);
}

TEST_F(VirtualMixers, RecordingIsTheChosenSourceWhereThereIsASelector) {
    const PlatformMixerLine mic = {"Mic", kMic, kVolume, 0, 0, 0, 0},
                            line = {"Line", kLineIn, kVolume, 0, 0, 0, 0},
                            second = {"Second Mic", kMic, kVolume, 0, 0, 0, 0},
                            bare = {"CD", kCd, kMute, 0, 0, 0, 0},
                            hidden = {"Hidden", kSynth, kVolume, 1, 0, 0, 0};
    constexpr uint16_t kNone = 99;
    const uint16_t meant[] = {0,     1,     0,
                              kNone, kNone, kNone};  // by the chosen index, the last of which is none
    for (const uint32_t selector : {kMux, kMultiple})
        for (uint16_t chosen = 0; chosen < 6; chosen++) {
            SCOPED_TRACE(chosen);
            MakeSources(selector, {mic, line, second, bare, hidden});
            EXPECT_EQ(SetTheSource(chosen), chosen < 5 ? TOLVANE_OK : TOLVANE_NO_SUCH_SOURCE);
            AudioSetRecVolume(25);
            EXPECT_EQ(AudioGetRecVolume(), meant[chosen] == kNone ? 0 : 25);
            for (const uint32_t source : {0u, 1u, 2u, 4u})
                EXPECT_EQ(Of(kFirst + source, kVolume), Both(source == meant[chosen] ? 25 : 100)) << source;
            EXPECT_EQ(Of(kRecording, kVolume), Both(100));
        }
}

TEST_F(VirtualMixers, RecordingIsTheRecordingLineWhereThereIsNoSelector) {
    const PlatformMixerLine mic = {"Mic", kMic, kVolume, 0, 0, 0, 0};
    for (const uint32_t channels : {1u, 2u, 6u, 64u, 65u, 65536u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(channels);
        MakeSources(0, {mic}, {"Recording", kWaveIn, kVolume, 0, channels, 0, 0});
        SetTheSource(5);  // has no say here
        AudioSetRecVolume(40);
        EXPECT_EQ(AudioGetRecVolume(), channels <= 64 ? 40 : 0) << "more channels than any line has";
        const Values expected(channels <= 65536 ? channels : 0, Volume(40));
        EXPECT_EQ(Of(kRecording, kVolume), expected);
        EXPECT_EQ(Of(kFirst, kVolume), Both(100));
    }
    MakeSources(0, {mic}, {"Recording", kWaveIn, 0, 0, 0, 0, 0});
    AudioSetRecVolume(40);
    EXPECT_EQ(AudioGetRecVolume(), 0) << "what was read of another line is forgotten";
    Make({});
    EXPECT_EQ(AudioSetRecVolume(40), TOLVANE_OK);
    EXPECT_EQ(AudioGetRecVolume(), 0);
}

TEST_F(VirtualMixers, AVolumeMayHaveItemsAsFarAsThereIsRoom) {
    for (const uint32_t items : {20u, 21u, 4000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(items);
        MakeSources(kMux, {{"Mic", kMic, kVolume, 0, 1, 0, items}});
        if (items <= 4000) Change(kFirst, kVolume, Values(items, 77));
        AudioSetRecVolume(50);
        EXPECT_EQ(AudioGetRecVolume(), items <= 20 ? 50 : 0);
        if (items > 4000) continue;
        Values expected(items, 77);
        if (items <= 20) expected[0] = Volume(50);
        EXPECT_EQ(Of(kFirst, kVolume), expected);
    }
}

}  // namespace
}  // namespace tolvane::test
