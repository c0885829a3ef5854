// Waits for jobs as a host does: by asking.
#pragma once

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "tolvane.h"

namespace tolvane::test {

// The reason with which an edit ends. Its progress begins anew after the undo copy.
inline uint16_t AwaitEdit(EditJob* job) {
    while (!AudioEditProcessIsOver(job))
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    const uint16_t reason = AudioEditGetReasonForProcessExit(job);
    EXPECT_TRUE(reason != TOLVANE_OK || AudioEditGetProcessProgress(job) == 100);
    AudioEditCloseHandle(&job);
    return reason;
}

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
