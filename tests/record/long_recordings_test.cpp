// An hour of recording holds no more than a minute of it; a file that has become as large as a wave file can be stays whole
// while the recording goes on.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <thread>

#include "record/recorder.h"
#include "support/real_devices.h"
#include "support/resources.h"

namespace tolvane::test {
namespace {

class LongRecording : public Recorder {};

TEST_F(LongRecording, HoldsNoMoreInAnHour) {
    constexpr Format kFormat{8000, 1, 16};
    constexpr uint32_t kHour = 3600 * 16000;
    ExpectToRecord();
    PlatformVirtualSetClock(PLATFORM_CLOCK_FREE_RUNNING);
    const Stopwatch watch;
    ASSERT_EQ(Start(kFormat, {0, 0, kHeaderBytes + kHour, 0}), TOLVANE_OK);
    const auto wait_for = [&](uint64_t bytes) {
        watchdog_.At(std::to_string(bytes));
        while (std::filesystem::file_size(path_) < bytes)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    wait_for(kHour / 60);
    const Resources early = Resources::Now();
    wait_for(kHeaderBytes + kHour);
    EXPECT_TRUE(NothingLeft(early, 32768));
    AudioStopRecord();
    EXPECT_EQ(std::filesystem::file_size(path_), kHeaderBytes + kHour);
    EXPECT_EQ(Told(), 1);
    std::cout << "an hour in " << watch.Seconds() << " s\n";
}

// Asked for with TOLVANE_LARGE_EDITS, since it writes 2 GiB. Three channels, so that the largest file does not end with a whole frame.
TEST_F(LongRecording, StopsGrowingWhereAWaveFileEnds) {
    if (!getenv("TOLVANE_LARGE_EDITS")) GTEST_SKIP() << "TOLVANE_LARGE_EDITS is not set";
    constexpr uint64_t kRoom = uint64_t{5} << 30;
    constexpr Format kFormat{8000, 3, 8};
    constexpr uint32_t kMost = 0x7FFFFFFE - kHeaderBytes, kSound = kMost - kMost % 3, kBuffer = 9000;
    const std::filesystem::path disk = std::filesystem::exists("/var/tmp") ? "/var/tmp" : folder_.Path();
    if (std::filesystem::space(disk).available < kRoom) GTEST_SKIP() << "less than 5 GiB of disk is free";
    const PlatformVirtualDevice three = {"three", 1, 8000, 3, 1};
    PlatformVirtualSetInputs(&three, 1);
    path_ = (disk / ("tolvane-longest-" + std::to_string(GetCurrentProcessId()) + ".wav")).string();
    watchdog_.At("two buffers before the end");
    ASSERT_EQ(Start(kFormat, {kSound - kBuffer - 3000, 0, 0xFFFFFFFF, 0x7FFFFFFF}), TOLVANE_OK);
    const Bytes first = HearBuffers();
    const Bytes second = HearBuffers();
    const auto tail = [this] {
        std::ifstream file(path_, std::ios::binary);
        Bytes bytes(kBuffer + 3000);
        file.seekg(-static_cast<std::streamoff>(bytes.size()), std::ios::end);
        file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return bytes;
    };
    const auto expect_full = [&] {
        EXPECT_EQ(std::filesystem::file_size(path_), kHeaderBytes + kSound);
        EXPECT_EQ(tail(), first + Part(second, 0, 3000));
        uint32_t size = 0;
        EXPECT_EQ(GetDataChunkSize(path_.c_str(), &size), TOLVANE_OK);
        EXPECT_EQ(size, kSound);
    };
    expect_full();
    Hear(Bytes(kBuffer, 0));
    EXPECT_TRUE(Runs());
    EXPECT_EQ(Told(), 0);
    AudioStopRecord();
    expect_full();
    std::filesystem::remove(path_);
}

}  // namespace
}  // namespace tolvane::test
