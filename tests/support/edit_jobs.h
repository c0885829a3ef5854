// Waits for jobs as a host does: by asking.
#pragma once

#include <algorithm>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "support/resources.h"
#include "tolvane.h"

namespace tolvane::test {

// Polls until the job is over; its progress never goes back and never beyond 100. Closes it and returns its reason.
inline uint16_t FinishJob(EditJob* job) {
    uint32_t progress = 0;
    while (!AudioEditProcessIsOver(job)) {
        const uint32_t now = AudioEditGetProcessProgress(job);
        EXPECT_GE(now, progress);
        EXPECT_LE(now, 100u);
        progress = now;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    const uint16_t reason = AudioEditGetReasonForProcessExit(job);
    EXPECT_EQ(AudioEditCloseHandle(&job), TOLVANE_OK);
    EXPECT_EQ(job, nullptr);
    return reason;
}

// What the process holds when the threads of jobs that are over have gone too.
inline Resources ResourcesWithoutJobs() {
    Resources before = Resources::Now();
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const Resources now = Resources::Now();
        if (now.threads == before.threads) return now;
        before = now;
    }
}

// Whether nothing has leaked, once those threads have gone.
inline bool NothingLeftSince(Resources before, size_t slack) {
    Resources now = Resources::Now();
    for (int i = 0; i < 2000 && now.threads > before.threads; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        now = Resources::Now();
    }
    before.threads = std::min(before.threads, now.threads);  // one may have lingered
    return NothingLeaked(before, now, slack);
}

}  // namespace tolvane::test
