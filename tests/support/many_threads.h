// Many threads that do one thing or another with the library, each in an order of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform.h"
#include "support/host_window.h"
#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {

// On whatever card there is; on the virtual one as fast as the buffers come.
class ManyThreads : public ::testing::Test {
  protected:
    void SetUp() override {
        if (PlatformUseCard(PLATFORM_CARD_VIRTUAL)) {
            PlatformVirtualReset();
            PlatformVirtualSetClock(PLATFORM_CLOCK_FREE_RUNNING);
            PlatformVirtualKeepPlayed(0, 0);
            PlatformVirtualTone(0, 440, 100);
        }
        if (GetNumberOfOutputDevices() == 0 || GetNumberOfInputDevices() == 0)
            GTEST_SKIP() << "there is no output or no input device";
    }
    void TearDown() override {
        AudioStop();
        AudioStopRecord();
        PlatformVirtualReset();
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }
    // For two seconds; an operation is called with a number of any size.
    static void Run(const std::vector<std::function<void(uint32_t)>>& operations) {
        std::atomic<bool> done = false;
        std::vector<std::thread> threads;
        for (uint32_t seed = 0; seed < 6; ++seed)
            threads.emplace_back([&, seed] {
                for (std::mt19937 random(seed); !done;)
                    operations[random() % operations.size()](static_cast<uint32_t>(random() % 50000));
            });
        std::this_thread::sleep_for(std::chrono::seconds(2));
        done = true;
        for (auto& thread : threads)
            thread.join();
        AudioStop();
        AudioStopRecord();
    }

    TempFolder folder_;
    HostWindow window_;
    Watchdog watchdog_;
    const std::string sound_ = folder_.Write("x.wav", WaveFile({44100, 2, 16}, Pattern(4 * 50000)));
    std::atomic<int> played_ = 0, recorded_ = 0;
};

}  // namespace tolvane::test
