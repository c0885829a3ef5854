// How a recording ends when it is not stopped, and what it does with writes that fail: the file is whole in the end.
#include <gmock/gmock.h>

#include "record/recorder.h"

#ifndef _WIN32
#include <sys/resource.h>

#include <csignal>
#endif

namespace tolvane::test {
namespace {

constexpr Format kBytes{8000, 1, 8};
constexpr size_t kBuffer = 3000;

class RecordEnding : public Recorder {
  protected:
    void ExpectEnded(const Bytes& sound) {
        PlatformVirtualSettle();
        EXPECT_FALSE(Runs());
        EXPECT_FALSE(State().open);
        EXPECT_EQ(File(), RecordedFile(format_, sound));
        AudioStopRecord();
        ExpectToRecord();
    }
};

TEST_F(RecordEnding, ComesWithAFullTempDisk) {
    ASSERT_EQ(Start(kBytes, {0, 0, 0, 20000}), TOLVANE_OK);
    Bytes sound = HearBuffers(2);
    {
        FaultScope fault("GetDiskFreeSpaceExA", 2);
        sound = std::move(sound) + HearBuffers(2);
        HearBuffers();
    }
    sound.resize(20000 - kHeaderBytes, 128);
    ExpectEnded(sound);
    ASSERT_EQ(AudioStartRecordLevelTest(8000, 8, 1), TOLVANE_OK);
    FaultScope fault("GetDiskFreeSpaceExA", 1, true);
    HearBuffers(2);
    EXPECT_TRUE(Runs()) << "a level test needs no room";
}

TEST_F(RecordEnding, ComesWhenTheDeviceIsGone) {
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    Bytes sound = HearBuffers(20);
    sound = std::move(sound) + HearFrames(77);
    PlatformVirtualUnplugInput(0);
    ExpectEnded(sound);
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    sound = HearBuffers(3);
    {
        FaultScope fault("waveInAddBuffer", 1, true);
        sound = std::move(sound) + HearBuffers(kRecordBuffers);
    }
    ExpectEnded(sound);
}

TEST_F(RecordEnding, OneBufferLessIsNoEnd) {
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    Bytes sound;
    {
        FaultScope fault("waveInAddBuffer", 2);
        sound = HearBuffers(3);
    }
    EXPECT_EQ(PlatformVirtualInputQueued(0, nullptr, 0), kRecordBuffers - 1u);
    sound = std::move(sound) + HearBuffers(40);
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound));
}

TEST_F(RecordEnding, ComesWithABufferThatClaimsTooMuch) {
    for (const uint32_t claim : {3001u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        ASSERT_EQ(Start(kBytes), TOLVANE_OK);
        PlatformVirtualMisreport(0, 2, claim);
        const Bytes sound = HearBuffers(3);
        HearBuffers();
        ExpectEnded(sound);
    }
    ASSERT_EQ(Start(kBytes), TOLVANE_OK);
    PlatformVirtualMisreport(0, 0, 100);
    const Bytes sound = Part(HearBuffers(), 0, 100);
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound)) << "less is believed";
    ASSERT_EQ(AudioStartRecordLevelTest(8000, 8, 1), TOLVANE_OK);
    PlatformVirtualMisreport(0, 0, 3001);
    HearBuffers(2);
    EXPECT_FALSE(Runs());
}

TEST_F(RecordEnding, DoesNotComeWithAWriteThatFails) {
    for (const char* service : {"mmioWrite", "mmioFlush", "mmioSeek"}) {
        SCOPED_TRACE(service);
        ASSERT_EQ(Start(kBytes), TOLVANE_OK);
        Bytes sound = HearBuffers(2);
        {
            FaultScope fault(service, 1, true);
            HearBuffers(3);
        }
        EXPECT_EQ(Part(File(), 0, kHeaderBytes + 2 * kBuffer), RecordedFile(kBytes, sound));
        sound = std::move(sound) + HearBuffers(4);
        {
            FaultScope fault(service, 2);  // the sizes in the header
            sound = std::move(sound) + HearBuffers();
        }
        AudioStopRecord();
        EXPECT_EQ(Part(File(), 0, kHeaderBytes + sound.size()), RecordedFile(kBytes, sound));
    }
}

TEST_F(RecordEnding, AFileIsWholeHoweverItIsClosed) {
    for (const char* service : {"mmioAscend", "mmioWrite", "mmioSeek", "mmioFlush"})
        for (const bool sticky : {false, true})
            for (uint32_t nth = 1; nth <= 4; ++nth) {
                SCOPED_TRACE(::testing::Message() << service << nth << sticky);
                ASSERT_EQ(Start({8001, 1, 8}), TOLVANE_OK);
                const Bytes sound = HearBuffers();
                ASSERT_EQ(sound.size() % 2, 0u);
                FaultScope fault(service, nth, sticky);
                AudioStopRecord();
                EXPECT_EQ(Part(File(), 0, kHeaderBytes + sound.size()), RecordedFile(format_, sound));
            }
}

#ifndef _WIN32
// The file's own disk has no room; here only files of that size are allowed, and the disk says that it is full.
class SmallFiles {
  public:
    explicit SmallFiles(rlim_t most) : handler_(signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{most, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallFiles() {
        setrlimit(RLIMIT_FSIZE, &before_);
        signal(SIGXFSZ, handler_);
    }
    SmallFiles(const SmallFiles&) = delete;
    SmallFiles& operator=(const SmallFiles&) = delete;

  private:
    rlimit before_;
    void (*handler_)(int);
};

TEST_F(RecordEnding, ComesWhenItsOwnDiskIsFull) {
    for (const uint32_t question : {2u, 4u}) {  // after the write that fails; after the one behind it
        ASSERT_EQ(Start(kBytes), TOLVANE_OK);
        const Bytes sound = HearBuffers(3);
        {
            const SmallFiles small(kHeaderBytes + 3 * kBuffer + 500);
            FaultScope fault("GetDiskFreeSpaceExA", question);
            HearBuffers();
            EXPECT_EQ(Runs(), question == 4);
            HearBuffers();
            PlatformVirtualSettle();
            EXPECT_FALSE(Runs());
        }
        EXPECT_EQ(File(), RecordedFile(kBytes, sound)) << "the part of a block that it took is gone again";
        ExpectToRecord();
    }
}
#endif

// With an odd sound, so that a pad byte has to be written at the end.
class RecordFaults : public Recorder {
  protected:
    // Whatever failed: a whole file or none, in it only what was heard, and the next recording is as any other.
    void ExpectGoodOrder() {
        watchdog_.At("good order");
        AudioStopRecord();
        PlatformVirtualSettle();
        EXPECT_FALSE(Runs() || State().open);
        const Bytes file = File();
        if (!file.empty()) {
            ASSERT_GE(file.size(), kHeaderBytes);
            const size_t size = Number(file, 42, 4);
            EXPECT_EQ(Part(file, 0, kHeaderBytes + size),
                      Part(RecordedFile(format_, Part(file, kHeaderBytes, kHeaderBytes + size)), 0,
                           kHeaderBytes + size));
            EXPECT_LE(size, heard_.size());
        }
        std::filesystem::remove(path_);
        ExpectToRecord();
        format_ = kOdd;
        heard_.clear();
    }
    void Sweep(
        const char* name, const Step& action, const Step& prepare = [] {}) {
        FailEachCall(
            name, action, [&] { ExpectGoodOrder(); }, prepare);
    }
    void Listen(size_t frames) { heard_ = std::move(heard_) + HearFrames(frames); }

    static constexpr Format kOdd{100, 1, 8};  // buffers of 37 bytes
    Bytes heard_;
};

TEST_F(RecordFaults, EveryCallMayFail) {
    ExpectGoodOrder();
    const auto start = [this](const char* what) {
        watchdog_.At(what);
        return Start(kOdd, {0, 30, 700, 0});
    };
    Sweep("start of a recording",
          [&] { EXPECT_THAT(start("start"), ::testing::AnyOf(0, 201, 202, 203, 204, 205)); });
    Sweep("start of a level test", [&] {
        watchdog_.At("level test");
        EXPECT_THAT(AudioStartRecordLevelTest(100, 8, 1), ::testing::AnyOf(0, 201, 202, 204, 205));
    });
    const auto while_recording = [&](const char* name, const Step& steps) {
        Sweep(name, steps, [&, name] {
            ASSERT_EQ(start(name), TOLVANE_OK);
            Listen(50);
        });
    };
    while_recording("three buffers", [this] { Listen(3 * 37); });
    while_recording("unplugging", [] { PlatformVirtualUnplugInput(0), PlatformVirtualSettle(); });
    while_recording("stop", [] { AudioStopRecord(); });
}

}  // namespace
}  // namespace tolvane::test
