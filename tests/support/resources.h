// What the process holds: open files, threads, memory. Equal before and after =
// nothing leaked.
#pragma once

#include <cstddef>
#include <ostream>

#include <gtest/gtest.h>

namespace tolvane::test {

struct Resources {
    size_t files = 0, threads = 0, memory = 0;  // 0 where the system does not tell

    static Resources Now();
    // When the threads of jobs that are over have gone too.
    static Resources WithoutJobs();
};

// Files and threads are those of before, once the threads of jobs that are over
// have gone; memory grew by no more than the allocator's own slack.
testing::AssertionResult NothingLeft(const Resources& since, size_t slack = 16384);
std::ostream& operator<<(std::ostream& out, const Resources& resources);

}  // namespace tolvane::test
