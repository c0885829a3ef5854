// Ends the test program with a word about where it stood when something takes far too long: a hang must not
// look like patience.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace tolvane::test {

class Watchdog {
  public:
    explicit Watchdog(int seconds = 60);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    // What is being done now, told when time runs out; the time begins anew.
    void At(std::string what);

  private:
    void Watch();

    const std::chrono::seconds patience_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string what_;
    bool done_ = false;
    uint64_t steps_ = 0;
    std::thread thread_;
};

}  // namespace tolvane::test
