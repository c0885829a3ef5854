// Waits for jobs as a host does: by asking.
#pragma once

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

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

}  // namespace tolvane::test
