// Follows jobs to their end.
#include "job_screen.h"

#include <algorithm>

namespace tolvane::host {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kShortestSleep{1}, kLongestSleep{66};
constexpr milliseconds kNotWorthShowing{300};
constexpr milliseconds kTooEarlyToTell{1000};
constexpr uint32_t kTooLittleToTell = 2;  // percent

std::optional<uint64_t> TimeLeft(milliseconds elapsed, uint32_t percent) {
    if (elapsed < kTooEarlyToTell || percent < kTooLittleToTell) return std::nullopt;
    return static_cast<uint64_t>(elapsed.count()) * (100 - percent) / percent;
}

}  // namespace

JobScreen::JobScreen(MessageWindow& window, std::string what, bool quiet)
    : window_(window), what_(std::move(what)) {
    if (!quiet) terminal_.emplace();
}

void JobScreen::ExpectJobs(uint32_t jobs) {
    jobs_ = jobs;
    jobs_done_ = 0;
    start_.reset();
}

bool JobScreen::Sleep(milliseconds time) {
    interrupted_ = interrupted_ || window_.Wait(time) == Event::kInterrupted;
    return !interrupted_;
}

bool JobScreen::IsInterrupted() {
    return !Sleep(milliseconds(0));
}

void JobScreen::Show(uint32_t percent) {
    if (!start_) start_ = Clock::now();
    const auto elapsed = std::chrono::duration_cast<milliseconds>(Clock::now() - *start_);
    if (!terminal() || elapsed < kNotWorthShowing) return;
    const uint32_t whole = (jobs_done_ * 100 + percent) / std::max(jobs_, jobs_done_ + 1);
    terminal_->Redraw(
        WorkLine({what_, whole, TimeLeft(elapsed, whole)}, terminal_->Columns(), terminal_->style()));
}

uint16_t JobScreen::Cancel(Job& job) {
    job.Cancel();
    while (!job.IsOver())
        window_.Wait(kShortestSleep);
    if (terminal_) terminal_->Clear();
    return TOLVANE_CANCELLED;
}

uint16_t JobScreen::Follow(Job& job, const Attend& attend) {
    const auto begin = Clock::now();
    while (!job.IsOver()) {
        if (attend && !attend(job)) return Cancel(job);
        Show(job.Percent());
        // The longer it takes, the less a little later matters.
        const auto elapsed = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
        if (!Sleep(std::clamp(elapsed / 16, kShortestSleep, kLongestSleep))) return Cancel(job);
    }
    ++jobs_done_;
    if (terminal_ && jobs_done_ >= jobs_) terminal_->Clear();
    return IsInterrupted() ? uint16_t{TOLVANE_CANCELLED} : job.Result();
}

}  // namespace tolvane::host
