// Follows jobs to their end: sleeps between two looks, shows progress and time left in a terminal, heeds Ctrl-C.
#ifndef TOLVANE_HOST_JOB_SCREEN_H
#define TOLVANE_HOST_JOB_SCREEN_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "job.h"
#include "message_window.h"
#include "terminal.h"

namespace tolvane::host {

class JobScreen {
  public:
    JobScreen(MessageWindow& window, std::string what, bool quiet);

    // `jobs` that follow one another share the bar in equal parts, from now on; the time counts anew.
    void ExpectJobs(uint32_t jobs);

    // Called between two looks at a job; false when the user does not want it any more.
    using Attend = std::function<bool(Job&)>;

    // The result of the job; TOLVANE_CANCELLED when the user interrupted it. It is over in any case.
    uint16_t Follow(Job& job, const Attend& attend = {});

    // Whether Ctrl-C came; it is remembered.
    bool IsInterrupted();

    // Sleeps; false when Ctrl-C ended that.
    bool Sleep(std::chrono::milliseconds time);

    // Null where nothing can be shown or asked.
    Terminal* terminal() { return terminal_ && terminal_->IsOurs() ? &*terminal_ : nullptr; }

  private:
    using Clock = std::chrono::steady_clock;

    void Show(uint32_t percent);
    uint16_t Cancel(Job& job);

    MessageWindow& window_;
    const std::string what_;
    std::optional<Terminal> terminal_;
    uint32_t jobs_ = 1, jobs_done_ = 0;
    bool interrupted_ = false;
    std::optional<Clock::time_point> start_;  // of the work, the user's thinking left out
};

}  // namespace tolvane::host

#endif
