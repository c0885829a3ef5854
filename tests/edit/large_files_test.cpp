// An edit of a file near 2 GiB holds no more of it in memory than of a small one.
#include <filesystem>

#include <gtest/gtest.h>

#ifdef _WIN32
TEST(LargeFiles, NeedNoMoreMemory) {
    GTEST_SKIP() << "the system does not tell how much memory an edit needed at most";
}
#else

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>

#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

constexpr uint64_t kRoom = uint64_t{8} << 30;
constexpr size_t kMostGrowth = 4 << 20;
constexpr uint32_t kFrames = (0x7FFFFFFFu - 1'000'000) / 4;
constexpr Format kFormat{44100, 2, 16};

size_t Bytes1024(const char* field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(field)) return std::stoul(line.substr(line.find(':') + 1)) * 1024;
    return 0;
}

class LargeFiles : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directory(folder_);
        if (std::filesystem::space(folder_).available < kRoom)
            GTEST_SKIP() << "less than 8 GiB of disk is free";
        ASSERT_EQ(SetTempPath(folder_.c_str()), 0u);
        // The sound is a hole, but for its ends.
        Bytes file = WaveFile(kFormat, Pattern(4000));
        const Bytes sizes[] = {Little(36 + uint64_t{kFrames} * 4, 4), Little(uint64_t{kFrames} * 4, 4)};
        std::copy(sizes[0].begin(), sizes[0].end(), file.begin() + 4);
        std::copy(sizes[1].begin(), sizes[1].end(), file.begin() + 40);
        WriteFile(path_, file);
        std::filesystem::resize_file(path_, 44 + uint64_t{kFrames} * 4);
        WriteFile(clip_, WaveFile(kFormat, Pattern(400'000)));
    }
    void TearDown() override {
        AudioEditSetUndoRedo(1);
        SetTempPath(testing::TempDir().c_str());
        std::filesystem::remove_all(folder_);
    }

    // How much more memory the process has at some moment of the action than before it.
    static size_t GrowthIn(const std::function<void()>& action) {
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins anew
        const size_t before = Bytes1024("VmRSS");
        action();
        const size_t peak = Bytes1024("VmHWM");
        return peak - std::min(peak, before);
    }
    void ExpectConstantMemory(const char* name, uint64_t expected_frames,
                              const std::function<uint16_t()>& edit) {
        watchdog_.At(name);
        uint16_t result = 0;
        const auto start = std::chrono::steady_clock::now();
        const size_t growth = GrowthIn([&] { result = edit(); });
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        ASSERT_EQ(result, TOLVANE_OK) << name;
        EXPECT_LT(growth, kMostGrowth) << name;
        EXPECT_EQ(std::filesystem::file_size(last_), 44 + expected_frames * 4) << name;
        std::cout << name << ": " << growth / 1024 << " KiB in " << seconds.count() << " s\n";
    }

    const std::string folder_ =
        (std::filesystem::exists("/var/tmp") ? "/var/tmp/tolvane-large-" : "/tmp/tolvane-large-") +
        std::to_string(getpid());
    const std::string path_ = folder_ + "/x.wav", clip_ = folder_ + "/clip.wav", out_ = folder_ + "/out.wav";
    std::string last_ = out_;
    Watchdog watchdog_{300};
};

// All operations, instead of one: TOLVANE_LARGE_EDITS.
TEST_F(LargeFiles, AreNotEditedWhereAnUndoCouldNotBringThemBack) {
    constexpr uint64_t kSize = uint64_t{5} << 29;
    std::filesystem::resize_file(path_, kSize);
    AudioEditSetUndoRedo(1);
    EXPECT_EQ(AudioCrop(path_.c_str(), 0, 1, TOLVANE_SAMPLES, nullptr, 1, nullptr), TOLVANE_NO_UNDO_COPY);
    EXPECT_EQ(std::filesystem::file_size(path_), kSize);
}

TEST_F(LargeFiles, NeedNoMoreMemory) {
    const char *path = path_.c_str(), *out = out_.c_str();
    constexpr uint16_t kUnit = TOLVANE_SAMPLES;
    const uint32_t third = kFrames / 3;
    ASSERT_GT(GrowthIn([] { Pattern(2 * kMostGrowth); }), kMostGrowth) << "such growth is seen";
    AudioEditSetUndoRedo(0);
    AudioCrop(path, 0, 1, kUnit, nullptr, 1, out);  // what every first edit of a process needs
    ExpectConstantMemory("crop to the last third", third,
                         [&] { return AudioCrop(path, kFrames - third, kFrames, kUnit, nullptr, 1, out); });
    if (!getenv("TOLVANE_LARGE_EDITS")) return;
    ExpectConstantMemory("mute", kFrames,
                         [&] { return AudioEditMute(path, 9, kFrames, kUnit, nullptr, 1, 1, out); });
    ExpectConstantMemory("trim silence", 1000 + 1, [&] {
        return AudioEditTrimSilence(path, 1000, kFrames, kUnit, nullptr, 1, 0, out);
    });
    for (const uint32_t undo : {0u, 1u}) {
        AudioEditSetUndoRedo(undo);
        ExpectConstantMemory("clear", kFrames - third,
                             [&] { return AudioClear(path, 0, third, kUnit, nullptr, 1, out); });
        ExpectConstantMemory("cut", kFrames - third,
                             [&] { return AudioCut(path, third, 0, kUnit, nullptr, 1, out); });
        ExpectConstantMemory("crop", third,
                             [&] { return AudioCrop(path, 0, third, kUnit, nullptr, 1, out); });
        ExpectConstantMemory("paste", kFrames + 100'000, [&] {
            return AudioPasteEx(path, third, kUnit, nullptr, 1, clip_.c_str(), out);
        });
        ExpectConstantMemory("insert silence", kFrames + 44100,
                             [&] { return AudioInsertSilence(path, third, kUnit, nullptr, 1, 1000, out); });
        AudioFlushCutCopyPasteBuffer();
    }
    last_ = path_;
    ExpectConstantMemory("copy", kFrames, [&] { return AudioCopy(path, 0, third, kUnit, nullptr, 1); });
    ExpectConstantMemory("clear in place", kFrames - 1,
                         [&] { return AudioClear(path, 0, 1, kUnit, nullptr, 1, nullptr); });
    std::filesystem::remove(out_);
    ExpectConstantMemory("undo", kFrames, [] { return AudioEditUndo(); });
    ExpectConstantMemory("redo", kFrames - 1, [] { return AudioEditRedo(); });
}

}  // namespace
}  // namespace tolvane::test
#endif
