// A program that is killed while it works; only where programs can be killed from outside at any moment (not Windows).
#pragma once

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include <gtest/gtest.h>

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
    // False where it had ended by itself.
    bool Kill() const {
        int status = 0;
        kill(process_, SIGKILL);
        return waitpid(process_, &status, 0) == process_ && WIFSIGNALED(status) &&
               WTERMSIG(status) == SIGKILL;
    }

  private:
    pid_t process_ = 0;
};

}  // namespace tolvane::test
