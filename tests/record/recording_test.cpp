// What a recording writes, measures and tells, byte for byte.
#include <chrono>
#include <random>

#include <gmock/gmock.h>

#include <windows.h>
#include <mmsystem.h>

#include "record/recorder.h"
#include "support/level.h"
#include "support/samples.h"

namespace tolvane::test {
namespace {

using Recording = Recorder;
constexpr Format kBytes{8000, 1, 8};  // buffers of 3,000 bytes
constexpr Format kStereo{44100, 2, 16};

TEST_F(Recording, WritesWhatItHears) {
    const std::pair<Format, uint32_t> formats[] = {
        {kStereo, 66148},      {{48000, 2, 16}, 72000},  {kBytes, 3000},
        {{11025, 1, 8}, 4134}, {{22050, 2, 8}, 16536},   {{1, 1, 8}, 1},  // at least one frame
        {{1, 2, 16}, 4},       {{192000, 1, 16}, 144000}};
    for (const auto& [format, buffer] : formats) {
        SCOPED_TRACE(buffer);
        ASSERT_EQ(Start(format), TOLVANE_OK);
        uint32_t lengths[kRecordBuffers + 1] = {};
        EXPECT_EQ(PlatformVirtualInputQueued(0, lengths, kRecordBuffers + 1), kRecordBuffers);
        EXPECT_EQ(std::count(lengths, lengths + kRecordBuffers, buffer), kRecordBuffers);
        EXPECT_EQ(File(), RecordedFile(format, {}));
        AudioFileInfo info = {};
        EXPECT_EQ(AudioGetFileInfo(&info, "", 0, 0), TOLVANE_OK);
        EXPECT_EQ(info.recordingSampleRate, format.rate);
        EXPECT_EQ(info.recordingBitsPerSample, format.bits);
        EXPECT_EQ(info.recordingChannels, format.channels);

        Bytes sound = HearBuffers();
        for (int i = 0; i < 40; ++i)
            sound = std::move(sound) + HearFrames(buffer / format.Block() / 3 + 1);
        const size_t whole = sound.size() / buffer * buffer;
        EXPECT_EQ(File(), Part(RecordedFile(format, Part(sound, 0, whole), whole & ~size_t{1}), 0,
                               kHeaderBytes + whole))
            << "whole after every buffer";
        EXPECT_EQ(AudioStopRecord(), TOLVANE_OK);
        EXPECT_EQ(File(), RecordedFile(format, sound));
        EXPECT_FALSE(State().open || Runs());
        EXPECT_EQ(AudioStopRecord(), TOLVANE_OK) << "nothing to stop";
    }
}

// Every rule by itself, the limits of the rules, and any mixture of them.
TEST_F(Recording, PunchesIn) {
    std::vector<std::pair<Format, Punch>> cases = {{kBytes, {0, 0, 6046, 0}},  // at the end of a buffer
                                                   {kBytes, {0, 0, 46, 0}},
                                                   {kBytes, {0, 0, 1, 5000}},
                                                   {kBytes, {0, 0, 0, 0x80000000}},
                                                   {kBytes, {0, 4000, 4100, 0}},  // both in one buffer
                                                   {kBytes, {0, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}}};
    std::mt19937 random(7);
    const auto any = [&] { return static_cast<uint32_t>(random() % 4 ? random() % 30000 : 0); };
    for (int i = 0; i < 150; ++i)
        cases.push_back({i % 3 ? kBytes : Format{4000, 2, 16}, {any(), any(), any(), any()}});
    for (const auto& [format, punch] : cases) {
        SCOPED_TRACE(::testing::Message()
                     << punch.lead_in << ' ' << punch.start << ' ' << punch.stop << ' ' << punch.minimum);
        SoundModel model(format, punch);
        ASSERT_EQ(Start(format, punch), TOLVANE_OK);
        int told = 0;
        for (uint32_t n = 3 + static_cast<uint32_t>(random() % 5); n > 0; --n) {
            model.Take(HearBuffers());
            told += Told();
            EXPECT_EQ(told, model.told);
        }
        EXPECT_TRUE(Runs());
        model.Take(HearFrames(random() % 700));
        AudioStopRecord();
        EXPECT_EQ(told + Told(), model.told) << "once";
        ASSERT_EQ(File(), RecordedFile(format, model.AtTheEnd()));
    }
    window_ = nullptr;
    ASSERT_EQ(Start(kBytes, {0, 0, 100, 0}), TOLVANE_OK) << "where nobody is to be told";
    HearBuffers(2);
    AudioStopRecord();
    EXPECT_EQ(File().size(), 100u);
}

TEST_F(Recording, DropsWhatComesInAPause) {
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    Bytes sound = HearBuffers(2);
    ResumeRecording();
    sound = std::move(sound) + HearBuffers();
    PauseRecording();
    PauseRecording();
    HearBuffers(3);
    Hear(Bytes(3000, 128 + 64));
    EXPECT_EQ(RecordLevel(), (Level{50, 50})) << "measured all the same";
    ResumeRecording();
    sound = std::move(sound) + HearBuffers();
    PauseRecording();
    HearFrames(10);
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound));
    ExpectToRecord();
}

TEST_F(Recording, MeasuresLevels) {
    const auto levels = [this](const Bytes& sound) {
        Hear(sound);
        return RecordLevel();
    };
    const auto wide = [](int left, int right, int odd_left) {
        return Block(16, 2 * 8268, [=](int i) { return i % 2 ? right : i % 4 ? odd_left : left; });
    };
    EXPECT_EQ(levels({}), Level()) << "nothing runs";
    ASSERT_EQ(AudioStartRecordLevelTest(8000, 8, 1), TOLVANE_OK);
    format_ = kBytes;
    EXPECT_EQ(levels({}), (Level{0, 0}));
    EXPECT_EQ(levels(Bytes(3000, 128)), (Level{0, 0}));
    EXPECT_EQ(levels(Bytes(3000, 0)), (Level{100, 100}));
    EXPECT_EQ(levels(Bytes(2999, 128) + Bytes{255}), (Level{99, 99}));
    EXPECT_EQ(levels(Bytes(1000, 0)), (Level{99, 99})) << "of whole buffers";
    AudioGetRecordLevel(nullptr, nullptr);
    AudioStopRecord();
    ASSERT_EQ(Start({22050, 2, 16}), TOLVANE_OK);
    EXPECT_EQ(levels({}), (Level{0, 0})) << "forgotten with the last recording";
    EXPECT_EQ(levels(wide(16384, -3277, 32767)), (Level{50, 10})) << "every second frame counts";
    EXPECT_EQ(levels(wide(-32768, 32767, 0)), (Level{100, 100}));
    AudioStopRecord();
    EXPECT_EQ(levels({}), Level());
}

TEST_F(Recording, OnlyOneRuns) {
    folder_.Write("record.wav", {1, 2, 3});
    ASSERT_EQ(AudioStartRecordLevelTest(8000, 8, 1), TOLVANE_OK);
    EXPECT_EQ(Start(kStereo), TOLVANE_ALREADY_RECORDING);
    EXPECT_EQ(AudioStartRecordLevelTest(44100, 16, 2), TOLVANE_ALREADY_RECORDING);
    format_ = kBytes;
    Hear(Bytes(3000, 0));
    EXPECT_EQ(RecordLevel(), (Level{100, 100})) << "undisturbed";
    EXPECT_EQ(AudioStopRecordLevelTest(), TOLVANE_OK);
    EXPECT_EQ(File(), Bytes({1, 2, 3})) << "a level test writes nothing";
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    EXPECT_EQ(AudioStartRecordLevelTest(8000, 8, 1), TOLVANE_ALREADY_RECORDING);
    EXPECT_EQ(AudioStopRecordLevelTest(), TOLVANE_OK);
    EXPECT_EQ(File(), RecordedFile(kBytes, {}));
}

// The position follows the system's clock, which is asked before and after.
class RecordPosition : public Recorder {
  protected:
    // Whether it lies where the clock allows, in each unit; `before` is what the file held at the start, in milliseconds.
    void ExpectPosition(double before) {
        for (const int unit : {int{TOLVANE_MILLISECONDS}, int{TOLVANE_SAMPLES}, int{TOLVANE_BYTES}, 9}) {
            const DWORD least = timeGetTime() - started_after_ - paused_;
            const uint32_t position = AudioGetRecordPosition(static_cast<uint16_t>(unit));
            const DWORD most = timeGetTime() - started_before_ - paused_;
            const double scale = unit == TOLVANE_SAMPLES ? format_.rate / 1000.0
                                 : unit == TOLVANE_BYTES ? format_.BytesPerSecond() / 1000.0
                                                         : 1;
            EXPECT_GE(position, (least + before - 2) * scale) << unit;
            EXPECT_LE(position, (most + before + 2) * scale) << unit;
        }
    }
    static void LetPass(DWORD milliseconds) {
        for (const DWORD from = timeGetTime(); timeGetTime() - from < milliseconds;)
            ;
    }
    uint16_t StartNow(const Format& format, const Punch& punch) {
        started_before_ = timeGetTime();
        const uint16_t result = Start(format, punch);
        started_after_ = timeGetTime();
        paused_ = 0;
        return result;
    }
    DWORD started_before_ = 0, started_after_ = 0, paused_ = 0;
};

TEST_F(RecordPosition, FollowsTheClock) {
    EXPECT_EQ(StartNow({44100, 2, 16}, {1764000, 0, 0, 0}), TOLVANE_OK);
    ExpectPosition(10000);
    LetPass(5);
    ExpectPosition(10000);
    AudioStopRecord();
    LetPass(5);
    ExpectPosition(10000);
    ASSERT_EQ(StartNow({8000, 1, 8}, {}), TOLVANE_OK);
    ExpectPosition(46 / 8.0);
    const DWORD before = timeGetTime();
    PauseRecording();
    const uint32_t position = AudioGetRecordPosition(TOLVANE_BYTES);
    LetPass(20);
    PauseRecording();
    EXPECT_EQ(AudioGetRecordPosition(TOLVANE_BYTES), position);
    ResumeRecording();
    paused_ = timeGetTime() - before;
    started_before_ -= 1;
    ExpectPosition(46 / 8.0);
    AudioStopRecord();
    format_ = {11025, 2, 8};
    started_before_ = timeGetTime();
    ASSERT_EQ(AudioStartRecordLevelTest(11025, 8, 2), TOLVANE_OK);
    started_after_ = timeGetTime();
    paused_ = 0;
    ExpectPosition(0);
}

}  // namespace
}  // namespace tolvane::test
