// A program that is killed while it works; only where programs can be killed from outside at any moment (not Windows).
#pragma once

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/watchdog.h"

namespace tolvane::test {

// From its start to its end by force.
class Victim {
  public:
    // The program and its arguments.
    explicit Victim(const std::vector<std::string>& words) {
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        EXPECT_EQ(posix_spawn(&process_, arguments[0], nullptr, nullptr, arguments.data(), environ), 0);
    }
    // At a random moment after the first step that it announces in this file. False where it had ended by itself.
    bool KillAfterAStep(const std::string& steps, std::mt19937& random) const {
        std::error_code none_yet;
        for (int i = 0; i < 20000 && !(std::filesystem::file_size(steps, none_yet) > 0 && !none_yet); ++i)
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (1u << (6 + random() % 9))));
        return Kill();
    }

  private:
    bool Kill() const {
        int status = 0;
        kill(process_, SIGKILL);
        return waitpid(process_, &status, 0) == process_ && WIFSIGNALED(status) &&
               WTERMSIG(status) == SIGKILL;
    }

    pid_t process_ = 0;
};

// Seeds that follow each other: as many as TOLVANE_KILLS says, or `usual`.
template <class Once>
int ForKills(int usual, Once once) {
    const char* wish = getenv("TOLVANE_KILLS");
    const int kills = wish ? atoi(wish) : usual;
    Watchdog watchdog;
    const uint32_t first = std::random_device()();
    for (int i = 0; i < kills && !testing::Test::HasFailure(); ++i) {
        const uint32_t seed = first + static_cast<uint32_t>(i);
        SCOPED_TRACE(seed);
        watchdog.At(std::to_string(seed));
        once(seed, i);
    }
    return kills;
}

}  // namespace tolvane::test
