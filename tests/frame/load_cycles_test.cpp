// Loads and unloads the library again and again in one process: nothing of it may stay behind. This program
// does not link the library, so that unloading it really takes it away.
#include <gtest/gtest.h>

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

enum class Use { kIdle, kStopped, kPlaying };

class LoadCycles : public ::testing::Test {
  protected:
    void SetUp() override {
        UseTempFolder(temp_.Path());
        sound_ = sounds_.Write("sound.wav", WaveFile({8000, 1, 8}, Bytes(8000, 128)));
    }
    void TearDown() override { PlatformUseCard(PLATFORM_CARD_DEFAULT); }

    void Cycle(Use use) {
        {
            const LoadedLibrary library(TOLVANE_LIBRARY);
            EXPECT_EQ(temp_.Names().size(), kScratchFiles);
            library.set_callback_window(nullptr);
            EXPECT_GT(library.number_of_codecs(), 0);
            library.number_of_outputs();
            if (use != Use::kIdle) {
                EXPECT_EQ(library.play(sound_.c_str(), 0, TOLVANE_MILLISECONDS, 0, 0, 0), TOLVANE_OK);
            }
            if (use == Use::kStopped) library.stop();
        }
        ASSERT_FALSE(LibraryIsMapped(TOLVANE_LIBRARY));
        ASSERT_TRUE(temp_.Names().empty());
    }

    template <typename Choose>
    void Run(Cycles cycles, bool memory_tells, Choose choose) {
        for (int i = 0; i < cycles.warm_up && !HasFatalFailure(); ++i)
            Cycle(choose(i));
        const ProcessState before = CurrentProcessState();
        for (int i = cycles.warm_up; i < cycles.all && !HasFatalFailure(); ++i)
            Cycle(choose(i));
        const ProcessState after = CurrentProcessState();
        EXPECT_LE(after.threads, before.threads);
        EXPECT_LE(after.handles, before.handles);
        if (memory_tells && kMemoryTells) {
            EXPECT_LE(after.memory, before.memory + kMemorySlack);
        }
    }

    // A sanitizer keeps freed memory back on purpose.
    static constexpr bool kMemoryTells = TOLVANE_MEMORY_TELLS;
    static constexpr size_t kMemorySlack =
        768 * 1024;  // pages that come and go; a lost stack or reserve is far more

    TempFolder temp_, sounds_;
    std::string sound_;
};

static Use EveryUse(int cycle) {
    if (cycle % 10 == 0) return Use::kPlaying;
    return cycle % 10 < 4 ? Use::kStopped : Use::kIdle;
}

TEST_F(LoadCycles, WithoutASound) {
    Run(kMany, true, [](int) { return Use::kIdle; });
}

TEST_F(LoadCycles, WithThePlaybacksOfTheVirtualCard) {
    if (!PlatformUseCard(PLATFORM_CARD_VIRTUAL))
        GTEST_SKIP() << "the system's own devices cannot be replaced";
    Run(kMany, true, EveryUse);
}

using LoadCyclesOnServer = LoadCycles;

TEST_F(LoadCyclesOnServer, WithPlaybacks) {
    Run(kSome, TerminatedThreadsLeaveNoStack(), EveryUse);
}

}  // namespace tolvane::test
