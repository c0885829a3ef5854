// The watchdog is fed by every step it is told of.
#include "support/watchdog.h"

#include <cstdio>
#include <cstdlib>

namespace tolvane::test {

Watchdog::Watchdog(int seconds) : patience_(seconds), what_("the beginning"), thread_([this] { Watch(); }) {}

Watchdog::~Watchdog() {
    {
        std::lock_guard lock(mutex_);
        done_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void Watchdog::At(std::string what) {
    std::lock_guard lock(mutex_);
    what_ = std::move(what);
    ++steps_;
}

void Watchdog::Watch() {
    std::unique_lock lock(mutex_);
    for (uint64_t seen = steps_; !changed_.wait_for(lock, patience_, [this] { return done_; });
         seen = steps_) {
        if (seen != steps_) continue;
        std::fprintf(stderr, "nothing happened for %d s at: %s\n", static_cast<int>(patience_.count()),
                     what_.c_str());
        std::abort();
    }
}

}  // namespace tolvane::test
