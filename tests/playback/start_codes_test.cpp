// The rules of starting and loading, and the code of each way in which they fail.
#include <functional>
#include <set>

#include <gmock/gmock.h>

#include "support/faults.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

using ::testing::Contains;

constexpr Format kStereo{44100, 2, 16};
constexpr uint32_t kFrames = 60000;

class StartCodes : public Playing {
  protected:
    std::string Write(const Bytes& file) { return folder_.Write("bad.wav", file); }
    void ExpectPlayable() {
        PlatformVirtualClearPlayed(0);
        ASSERT_EQ(Play(kFrames - 500), TOLVANE_OK);
        PlayOut();
        EXPECT_TRUE(Heard({{kFrames - 500, kFrames}}));
    }
};

TEST_F(StartCodes, RefuseFilesThatCannotBePlayed) {
    const Bytes format = Chunk("fmt ", FormatRecord(kStereo)), data = Chunk("data", Pattern(400));
    const std::pair<const char*, Bytes> files[] = {
        {"no wave file", Pattern(500)},
        {"another form", Riff(format + data, "AVI ")},
        {"no format", Riff(data)},
        {"short format", Riff(Chunk("fmt ", Bytes(14, 1)) + data)},
        {"no data", Riff(format)},
        {"no sound", Riff(format + Chunk("data", {}))},
        {"no channel", WaveFile({44100, 0, 16}, Pattern(400))},
        {"no rate", WaveFile({0, 2, 16}, Pattern(400))},
        {"no sample size", WaveFile({44100, 2, 0}, Pattern(400))},
        {"4 GiB a second", WaveFile({0xFFFFFFFF, 2, 16}, Pattern(400))},
    };
    for (const auto& [name, file] : files) {
        EXPECT_EQ(AudioPlayWave(Write(file).c_str(), 0, 0, 0, 1, 0), TOLVANE_CANNOT_OPEN) << name;
        EXPECT_EQ(AudioPlayWave(Write(file).c_str(), 0, 0, 0, 0, 0), TOLVANE_CANNOT_OPEN) << name;
        EXPECT_EQ(AudioLoadFile(Write(file).c_str()), TOLVANE_CANNOT_OPEN) << name;
        EXPECT_EQ(AudioPlayCurrentFile(0, 0), TOLVANE_CANNOT_OPEN) << name;
    }
    for (const std::string& path : {folder_.Path("missing.wav"), folder_.Path(), std::string(5000, 'x')}) {
        EXPECT_EQ(AudioPlayWave(path.c_str(), 0, 0, 0, 1, 0), TOLVANE_CANNOT_OPEN) << path;
        EXPECT_EQ(AudioLoadFile(path.c_str()), TOLVANE_CANNOT_OPEN) << path;
    }
    for (const char* nothing : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(AudioPlayWave(nothing, 0, 0, 0, 1, 0), TOLVANE_NO_PATH);
        EXPECT_EQ(AudioPlayWaveEx(nothing, 0, 0, 0, 1, 0, 1), TOLVANE_NO_PATH);
        EXPECT_EQ(AudioLoadFile(nothing), TOLVANE_NO_PATH);
    }
    EXPECT_EQ(State().opens, 0u);
    EXPECT_EQ(window_.Ended(), 0) << "nothing began, nothing ended";
}

TEST_F(StartCodes, RefuseFormatsThatTheDeviceCannotPlay) {
    const PlatformVirtualDevice narrow{"narrow", 8000, 22050, 1, 1};
    ASSERT_TRUE(PlatformVirtualSetOutputs(&narrow, 1));
    ASSERT_EQ(SelectOutputDevice(0), TOLVANE_OK);
    for (const Format& format :
         {Format{44100, 1, 8}, Format{8000, 2, 8}, Format{8000, 1, 16}, Format{7999, 1, 8}}) {
        Make(format, 500);
        EXPECT_EQ(Play(), TOLVANE_FORMAT_NOT_PLAYABLE);
        EXPECT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_FORMAT_NOT_PLAYABLE);
        EXPECT_EQ(AudioPlayCurrentFile(0, 0), TOLVANE_CANNOT_OPEN) << "it is not kept open";
    }
    Make({8000, 1, 8}, 500);
    EXPECT_EQ(Play(0, 0, TOLVANE_SAMPLES, false, 22051), TOLVANE_FORMAT_NOT_PLAYABLE);
    EXPECT_EQ(Play(0, 0, TOLVANE_SAMPLES, false, 22050), TOLVANE_OK);
    AudioStop();
    ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_NONE));
    ASSERT_EQ(SelectOutputDevice(TOLVANE_WAVE_MAPPER), TOLVANE_OK);
    EXPECT_EQ(Play(), TOLVANE_FORMAT_NOT_PLAYABLE) << "a machine without sound";
}

TEST_F(StartCodes, KeepALoadedFileUntilItIsPlayed) {
    const auto expect_none = [] { EXPECT_EQ(AudioPlayCurrentFile(0, 0), TOLVANE_CANNOT_OPEN); };
    expect_none();
    Make(kStereo, kFrames);
    ASSERT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_OK);
    EXPECT_TRUE(Closed());
    ASSERT_EQ(AudioPlayCurrentFile(kFrames - 1000, TOLVANE_SAMPLES), TOLVANE_OK);
    PlayOut();
    EXPECT_TRUE(Heard({{kFrames - 1000, kFrames}}));
    expect_none();  // its end has closed it
    ASSERT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_OK);
    ASSERT_EQ(AudioPlayCurrentFile(0, TOLVANE_SAMPLES), TOLVANE_OK);
    AudioStop();
    expect_none();
    ASSERT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_OK);
    EXPECT_EQ(AudioLoadFile(folder_.Path("missing.wav").c_str()), TOLVANE_CANNOT_OPEN);
    expect_none();
}

// A start that fails is not told as an end, leaves nothing open and a loaded file loaded, and the next one works.
TEST_F(StartCodes, TellWhichServiceFailed) {
    Make(kStereo, kFrames);
    const struct {
        const char* service;
        uint32_t nth;
        uint16_t code;
        bool opens = false;
    } faults[] = {{"mmioOpenA", 1, 102, true},      {"mmioSetBuffer", 1, 102, true},
                  {"waveOutOpen", 1, 104},          {"waveOutOpen", 2, 105},
                  {"waveOutPrepareHeader", 1, 106}, {"waveOutPrepareHeader", 8, 106},
                  {"CreateMutexA", 1, 105}};
    for (const auto& item : faults) {
        SCOPED_TRACE(::testing::Message() << item.service << ' ' << item.nth);
        const int ended = window_.Ended();
        const auto expect_failure = [&](const std::function<uint16_t()>& start) {
            const FaultScope fault(item.service, item.nth, true);
            EXPECT_EQ(start(), item.code);
            EXPECT_TRUE(Closed());
        };
        expect_failure([this] { return Play(); });
        if (item.opens) continue;
        ASSERT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_OK);
        expect_failure([] { return AudioPlayCurrentFile(0, 0); });
        PlatformVirtualClearPlayed(0);
        ASSERT_EQ(AudioPlayCurrentFile(100, TOLVANE_SAMPLES), TOLVANE_OK) << "it is still loaded";
        PlayOut();
        EXPECT_TRUE(Heard({{100, kFrames}}));
        EXPECT_EQ(window_.Ended(), ended + 1);
    }
    ASSERT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_OK);
    const FaultScope fault("GlobalAlloc", 1, true);
    EXPECT_EQ(AudioPlayCurrentFile(0, 0), TOLVANE_NO_BUFFERS);
}

TEST_F(StartCodes, ComeFromMissingMemoryAndFilesThatCannotBePositioned) {
    Make(kStereo, kFrames);
    std::set<uint16_t> seeking, memory;
    for (uint32_t nth = 1; nth <= 20; ++nth) {
        FaultScope fault("mmioSeek", nth);
        seeking.insert(Play());
        AudioStop();
    }
    EXPECT_THAT(seeking, Contains(TOLVANE_CANNOT_SEEK));
    std::set<size_t> rings;
    for (uint32_t nth = 1; nth <= 20; ++nth) {
        PlatformVirtualClearPlayed(0);
        FaultScope fault("GlobalAlloc", nth);
        const uint16_t code = Play();
        memory.insert(code);
        if (code != TOLVANE_OK) continue;
        rings.insert(PlatformVirtualQueued(0, nullptr, 0));
        PlayOut();
        EXPECT_TRUE(Heard({{0, kFrames}})) << "with fewer buffers";
    }
    EXPECT_THAT(memory, ::testing::IsSubsetOf({0, 102, 103, 104, 105}));
    EXPECT_THAT(memory, Contains(TOLVANE_NO_BUFFERS));
    EXPECT_THAT(rings, ::testing::AllOf(Contains(size_t{8}), Contains(size_t{2}),
                                        ::testing::Not(Contains(size_t{1}))));
    ExpectPlayable();
}

}  // namespace
}  // namespace tolvane::test
