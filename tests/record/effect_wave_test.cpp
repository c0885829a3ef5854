// The effect wave: what of a recording it replaces, what it says to a debugger, and which files it takes.
#include <cstdlib>

#include <gmock/gmock.h>

#include "record/recorder.h"
#include "support/child.h"
#include "support/level.h"

namespace tolvane::test {
namespace {

using ::testing::ElementsAre;

constexpr Format kBytes{11025, 1, 8};
constexpr size_t kBuffer = 4134;

// In a child, where nothing has been recorded; needs no device.
TEST(EffectWaves, WantARecordingFirst) {
    constexpr const char* kChild = "TOLVANE_TEST_NOTHING_RECORDED";
    if (!std::getenv(kChild)) {
        const Variable child(kChild, "1");
        EXPECT_TRUE(PassesInAChild());
        return;
    }
    const TempFolder folder;
    const std::string wave = folder.Write("x.wav", WaveFile(kBytes, Bytes(10)));
    EXPECT_EQ(AudioMixEffectWithRecord(wave.c_str()), TOLVANE_NOTHING_RECORDED);
    EXPECT_EQ(AudioMixEffectWithRecord(nullptr), TOLVANE_NOTHING_RECORDED);
    EXPECT_EQ(AudioStartRecordLevelTest(0, 0, 0), TOLVANE_FORMAT_NOT_RECORDED);
    EXPECT_EQ(AudioMixEffectWithRecord(wave.c_str()), TOLVANE_NOTHING_RECORDED) << "no device was opened";
}

class EffectWave : public Recorder {
  protected:
    void TearDown() override {
        PlatformSetDebugHook(nullptr, nullptr);
        Recorder::TearDown();
    }
    uint16_t Drop(const Bytes& file) {
        return AudioMixEffectWithRecord(folder_.Write("effect.wav", file).c_str());
    }
    // What a debugger is told from now on.
    std::vector<std::string> Told(const std::function<void()>& action) {
        std::vector<std::string> texts;
        PlatformSetDebugHook(
            [](const char* text, void* to) { static_cast<std::vector<std::string>*>(to)->push_back(text); },
            &texts);
        action();
        PlatformVirtualSettle();
        PlatformSetDebugHook(nullptr, nullptr);
        return texts;
    }
    const Bytes effect_ = Pattern(10000, 99);
};

TEST_F(EffectWave, TakesThePlaceOfTheInput) {
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    Bytes sound = HearBuffers();
    EXPECT_THAT(Told([&] { EXPECT_EQ(Drop(WaveFile(kBytes, effect_)), TOLVANE_OK); }),
                ElementsAre("Got the mutex ownership!", "Successfully opened the wave file",
                            "Descended to the DATA Chunk.", "dataSize = 10000"));
    Bytes heard;
    EXPECT_THAT(Told([&] { heard = HearBuffers(4); }),
                ElementsAre("data left: 10000", "ReadingBytes: 4134", "Reading without mixing",
                            "data left: 5866", "ReadingBytes: 4134", "Reading without mixing",
                            "data left: 1732", "ReadingBytes: 1732", "Reading without mixing"));
    sound = std::move(sound) + effect_ + Part(heard, 10000, 4 * kBuffer);
    EXPECT_THAT(Told([&] { EXPECT_EQ(Drop(WaveFile(kBytes, effect_)), TOLVANE_OK); }), ::testing::SizeIs(4))
        << "it was closed at its end";
    {
        const FaultScope fault("mmioRead", 1);
        sound = std::move(sound) + HearBuffers(2);
    }
    EXPECT_EQ(Told([&] { Drop({}); })[0], "Closing file") << "it cannot be read, but is still open";
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound));
}

TEST_F(EffectWave, BeginsAnewWithEveryFile) {
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    ASSERT_EQ(Drop(WaveFile(kBytes, effect_)), TOLVANE_OK);
    HearBuffers();
    const Bytes other = Pattern(kBuffer + 100, 98);
    EXPECT_THAT(Told([&] { ASSERT_EQ(Drop(WaveFile(kBytes, other)), TOLVANE_OK); }),
                ElementsAre("Closing file", "Got the mutex ownership!", "Successfully opened the wave file",
                            "Descended to the DATA Chunk.", "dataSize = 4234"));
    const Bytes heard = HearBuffers(2);
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, Part(effect_, 0, kBuffer) + other +
                                               Part(heard, other.size(), 2 * kBuffer)));

    ASSERT_EQ(Drop(WaveFile(kBytes, effect_)), TOLVANE_OK) << "after the recording";
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    const Bytes sound = HearBuffers();
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound)) << "a start ends it";
}

TEST_F(EffectWave, IsMeasuredAndUsedUpInPausesAndLevelTests) {
    for (const bool level_test : {false, true}) {
        format_ = kBytes;
        ASSERT_EQ(level_test ? AudioStartRecordLevelTest(11025, 8, 1) : Start(kBytes), TOLVANE_OK);
        ASSERT_EQ(Drop(WaveFile(kBytes, Bytes(kBuffer, 128 + 64) + Bytes(kBuffer, 128 + 32))), TOLVANE_OK);
        PauseRecording();
        Hear(Bytes(kBuffer, 128));
        EXPECT_EQ(RecordLevel().left, 50u);
        ResumeRecording();
        Hear(Bytes(kBuffer, 128));
        EXPECT_EQ(RecordLevel().left, 25u);
        Hear(Bytes(kBuffer, 128));
        EXPECT_EQ(RecordLevel().left, 0u);
        AudioStopRecord();
        EXPECT_EQ(File(), RecordedFile(kBytes, Bytes(kBuffer, 128 + 32) + Bytes(kBuffer, 128)));
    }
}

TEST_F(EffectWave, OfNoUseLeavesTheInput) {
    const Bytes format = Chunk("fmt ", FormatRecord(kBytes));
    const struct {
        Bytes file;
        uint16_t code;
        std::vector<std::string> told;
    } files[] = {{Bytes(5000, 'x'), TOLVANE_EFFECT_WAVE_NO_RIFF, {"265", "Couldnot find RIFF chunk."}},
                 {{}, TOLVANE_EFFECT_WAVE_NO_RIFF, {"265", "Couldnot find RIFF chunk."}},
                 {Riff(format), TOLVANE_EFFECT_WAVE_NO_DATA, {"265"}},
                 {Riff({}), TOLVANE_EFFECT_WAVE_NO_DATA, {"265"}},
                 {Riff(Chunk("dat_", effect_)), TOLVANE_EFFECT_WAVE_NO_DATA, {"265"}},
                 {WaveFile(kBytes, {}), TOLVANE_EFFECT_WAVE_EMPTY, {"Descended to the DATA Chunk."}}};
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    Bytes sound;
    for (const auto& [file, code, told] : files) {
        ASSERT_EQ(Drop(WaveFile(kBytes, effect_)), TOLVANE_OK);
        sound = std::move(sound) + Part(effect_, 0, kBuffer);
        HearBuffers();
        std::vector<std::string> texts = {"Closing file", "Got the mutex ownership!",
                                          "Successfully opened the wave file"};
        texts.insert(texts.end(), told.begin(), told.end());
        EXPECT_EQ(Told([&, &content = file, expected = code] { EXPECT_EQ(Drop(content), expected); }), texts)
            << code;
        sound = std::move(sound) + HearBuffers();
    }
    for (const std::string& missing :
         {folder_.Path("missing"), std::string(), std::string(300, 'x'), folder_.Path()}) {
        ASSERT_EQ(Drop(WaveFile(kBytes, effect_)), TOLVANE_OK);
        EXPECT_EQ(AudioMixEffectWithRecord(missing.c_str()), TOLVANE_EFFECT_WAVE_MISSING);
        sound = std::move(sound) + HearBuffers();
    }
    EXPECT_EQ(AudioMixEffectWithRecord(nullptr), TOLVANE_EFFECT_WAVE_MISSING);
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound));
}

TEST_F(EffectWave, MayClaimMoreThanItHas) {
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    // Of any form; what follows the sound belongs to what it claims.
    const Bytes liar = Riff(Chunk("fmt ", FormatRecord(kBytes)) + Chunk("data", effect_, 20000), "LIAR");
    ASSERT_EQ(Drop(liar), TOLVANE_OK);
    Bytes sound = effect_, heard = HearBuffers(4);
    sound = std::move(sound) + Part(heard, 10000, 4 * kBuffer);
    EXPECT_THAT(Told([&] { sound = std::move(sound) + HearBuffers(); }),
                ElementsAre("data left: 3464", "ReadingBytes: 3464", "Reading without mixing"));
    EXPECT_THAT(Told([&] { sound = std::move(sound) + HearBuffers(); }), ElementsAre());
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound));
}

}  // namespace
}  // namespace tolvane::test
