// Loads and unloads the library again and again in one process: nothing of it may stay behind. This program
// does not link the library, so that unloading it really takes it away.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <thread>

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include "frame/loaded_library.h"
#include "frame/process_state.h"
#include "platform.h"
#include "support/temp_folder.h"
#include "support/wave_files.h"

namespace tolvane::test {

struct Cycles {
    int warm_up, all;
};
constexpr Cycles kMany{100, 500}, kSome{50, 150};
constexpr size_t kScratchFiles = 5;

enum class Use { kIdle, kStopped, kPlaying, kRecording, kBoth };

class LoadCycles : public ::testing::Test {
  protected:
    void SetUp() override {
        UseTempFolder(temp_.Path());
        sound_ = sounds_.Write("sound.wav", WaveFile({8000, 1, 8}, Bytes(8000, 128)));
    }
    void TearDown() override {
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
        UseTempFolder(outer_);
    }

    void Cycle(Use use) {
        {
            const LoadedLibrary library(TOLVANE_LIBRARY);
            EXPECT_EQ(temp_.Names().size(), kScratchFiles);
            library.set_callback_window(nullptr);
            EXPECT_GT(library.number_of_codecs(), 0);
            library.number_of_outputs();
            if (use != Use::kIdle && use != Use::kRecording) {
                EXPECT_TRUE(EventuallyDone(
                    [&] { return library.play(sound_.c_str(), 0, TOLVANE_MILLISECONDS, 0, 0, 0); }));
            }
            if (use == Use::kStopped) library.stop();
            if (use == Use::kRecording || use == Use::kBoth) StartRecording(library);
        }
        ASSERT_FALSE(LibraryIsMapped(TOLVANE_LIBRARY));
        ASSERT_TRUE(temp_.Names().empty());
        if (use == Use::kRecording || use == Use::kBoth) ExpectWholeRecording();
    }

    // With an effect, and with an effect wave that is still open when the library goes.
    void StartRecording(const LoadedLibrary& library) {
        std::string name = recording_;
        if (effects_) {
            EXPECT_EQ(library.load_effect(0, TOLVANE_GAIN_EFFECT), 1);
            library.set_effect_parameters(0, gain_, sizeof gain_);
            library.set_effect_state(0, 1);
        }
        EXPECT_TRUE(EventuallyDone([&] { return library.record(name.data(), 8000, 16, 1, 0); }));
        EXPECT_EQ(library.mix_effect(sound_.c_str()), TOLVANE_OK);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void ExpectWholeRecording() const {
        const Bytes file = ReadAll(recording_);
        ASSERT_GE(file.size(), 46u);
        EXPECT_EQ(file, Riff(Part(file, 12, file.size()))) << "as long as it says";
    }

    template <typename Choose>
    void Run(Cycles cycles, bool memory_tells, Choose choose) {
        Repeat(cycles, memory_tells, [&](int i) { Cycle(choose(i)); });
    }

    template <typename Body>
    void Repeat(Cycles cycles, bool memory_tells, Body cycle, size_t slack = kMemorySlack) {
        for (int i = 0; i < cycles.warm_up && !HasFatalFailure(); ++i)
            cycle(i);
        const ProcessState before = CurrentProcessState();
        for (int i = cycles.warm_up; i < cycles.all && !HasFatalFailure(); ++i)
            cycle(i);
        // A thread that unloaded the library is still about to end when the library has gone.
        Eventually([&] { return CurrentProcessState().threads <= before.threads; });
        const ProcessState after = CurrentProcessState();
        EXPECT_LE(after.threads, before.threads);
        EXPECT_LE(after.handles, before.handles);
        if (memory_tells && kMemoryTells) {
            EXPECT_LE(after.memory, before.memory + slack);
        }
    }

    template <typename Condition>
    static bool Eventually(Condition condition) {
        constexpr int kMostTries = 20000;  // of about a millisecond
        for (int i = 0; i < kMostTries; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(1)))
            if (condition()) return true;
        return false;
    }

    // The device of the cycle before may close a moment after its library has gone.
    template <typename Start>
    static bool EventuallyDone(Start start) {
        return Eventually([&] { return start() == TOLVANE_OK; });
    }

    // A sanitizer keeps freed memory back on purpose.
    static constexpr bool kMemoryTells = TOLVANE_MEMORY_TELLS;
    static constexpr size_t kMemorySlack =
        768 * 1024;  // pages that come and go; a lost stack or reserve is far more

    const std::string outer_ = std::filesystem::temp_directory_path().string();
    TempFolder temp_, sounds_;
    std::string sound_, recording_ = sounds_.Path("recording.wav");
    const uint32_t gain_[2] = {50, 0};
    bool effects_ = false;
};

static Use EveryUse(int cycle) {
    if (cycle % 10 == 0) return Use::kPlaying;
    if (cycle % 10 == 5) return Use::kRecording;
    if (cycle % 10 == 9) return Use::kBoth;
    return cycle % 10 < 4 ? Use::kStopped : Use::kIdle;
}

TEST_F(LoadCycles, WithoutASound) {
    Run(kMany, true, [](int) { return Use::kIdle; });
}

TEST_F(LoadCycles, WithTheDevicesOfTheVirtualCard) {
    if (!PlatformUseCard(PLATFORM_CARD_VIRTUAL))
        GTEST_SKIP() << "the system's own devices cannot be replaced";
    Run(kMany, true, EveryUse);
}

// The plug-in stays loaded, and keeps what it has been given.
TEST_F(LoadCycles, WithEffectsInTheMiddleOfARecording) {
    if (!kMemoryTells) GTEST_SKIP() << "a sanitizer counts that as lost";
    if (!PlatformUseCard(PLATFORM_CARD_VIRTUAL))
        GTEST_SKIP() << "the system's own devices cannot be replaced";
    effects_ = true;
    Run(kSome, true, [](int) { return Use::kRecording; });
}

using LoadCyclesOnServer = LoadCycles;

TEST_F(LoadCyclesOnServer, WithPlaybacksAndRecordings) {
    Run(kSome, TerminatedThreadsLeaveNoStack(), EveryUse);
}

// Jobs at work when the host frees the library: it goes when the last of them has ended, and what they wrote is whole.
class JobCycles : public LoadCycles {
  protected:
    void SetUp() override {
        LoadCycles::SetUp();
        pcm_ = sounds_.Write("pcm.wav", WaveFile({44100, 2, 16}, Pattern(3000000)));
        law_ = sounds_.Write("law.wav", WaveFile({44100, 2, 8, 7}, Pattern(1500000)));
        const LoadedLibrary library(TOLVANE_LIBRARY);
        FindMuLaw(library);
        EXPECT_EQ(library.convert(codec_, kAnyTag, pcm_.c_str(), Path(0).c_str(), nullptr, 0, nullptr, 1), 0);
        converted_ = ReadAll(Path(0));
        EXPECT_GT(converted_.size(), 500000u);
    }

    void FindMuLaw(const LoadedLibrary& library) {
        constexpr uint16_t kTags = 4;  // more than a codec here has
        for (uint16_t i = 0; i < library.number_of_codecs() * kTags; ++i) {
            FormatTagDescription tag{};
            library.format_tag(&tag, i / kTags, i % kTags);
            if (tag.formatTag == 7) codec_ = i / kTags;
        }
    }
    std::string Path(int job) const { return targets_.Path(std::to_string(job) + ".wav"); }
    // Absent, or a form as long as it says.
    static bool IsWholeOrAbsent(const Bytes& file) {
        return file.empty() || file == Riff(Part(file, 12, file.size()));
    }

    // Closing a handle stops the job; a conversion without one runs to its end.
    void UseJobs(const LoadedLibrary& library) {
        ConvertJob* conversion = nullptr;
        EditJob* change = nullptr;
        const bool closes = random_() % 2;
        library.number_of_codecs();
        EXPECT_EQ(library.convert(codec_, kAnyTag, pcm_.c_str(), Path(0).c_str(), nullptr, 0,
                                  closes ? &conversion : nullptr, 0),
                  0);
        EXPECT_EQ(library.change_format(pcm_.c_str(), Path(1).c_str(), 22050, 8, 1, &change, 0), 0);
        PcmConversion* const to_pcm =  // which is waited for when it is closed
            random_() % 2 ? library.begin_pcm(law_.c_str(), Path(2).c_str(), &kPcm) : nullptr;
        EXPECT_TRUE(change && (conversion || !closes));
        std::this_thread::sleep_for(std::chrono::microseconds(random_() % 4000));
        library.close_conversion(&conversion);
        library.close_edit(&change);
        library.abort_pcm(to_pcm);
    }

    void CycleWithJobs() {
        for (int job = 0; job < 3; ++job)
            DeleteFileA(Path(job).c_str());
        {
            const LoadedLibrary library(TOLVANE_LIBRARY);
            UseJobs(library);
        }
        outlived_ += LibraryIsMapped(TOLVANE_LIBRARY);
        ASSERT_TRUE(Eventually([] { return !LibraryIsMapped(TOLVANE_LIBRARY); }));
        EXPECT_THAT(temp_.Names(), testing::IsEmpty());
        EXPECT_THAT(targets_.Names(), testing::IsSubsetOf({"0.wav", "1.wav", "2.wav"}));
        const Bytes converted = ReadAll(Path(0));
        whole_ += converted == converted_;
        EXPECT_TRUE(converted.empty() || converted == converted_) << converted.size();
        EXPECT_TRUE(IsWholeOrAbsent(ReadAll(Path(1))));
        EXPECT_TRUE(IsWholeOrAbsent(ReadAll(Path(2))));
    }

    static constexpr uint32_t kAnyTag = 0xFFFFFFFF;
    static constexpr WAVEFORMATEX kPcm{1, 1, 22050, 44100, 2, 16, 0};
    TempFolder targets_;
    std::string pcm_, law_;
    Bytes converted_;
    uint16_t codec_ = 0xFFFF;
    int outlived_ = 0, whole_ = 0;
    std::mt19937 random_{1};
};

TEST_F(JobCycles, WithJobsAtWork) {
    const Cycles kJobs = TerminatedThreadsLeaveNoStack() ? Cycles{60, 160} : Cycles{4, 16};
    // Threads that allocate at once get arenas of their own, a few megabytes; the blocks of a hundred jobs are twenty.
    constexpr size_t kArenas = 8 << 20;
    Repeat(
        kJobs, true, [this](int) { CycleWithJobs(); }, kArenas);
    EXPECT_GT(outlived_, 0) << "the library was never freed under a job";
    EXPECT_GT(whole_, 0);
    std::cout << kJobs.all << " cycles: the jobs outlived " << outlived_ << ", finished " << whole_ << "\n";
}

}  // namespace tolvane::test
