// What the process holds: open files, threads, memory. Equal before and after = nothing leaked.
#pragma once

#include <cstddef>
#include <ostream>

namespace tolvane::test {

struct Resources {
    size_t files = 0, threads = 0, memory = 0;  // 0 where the system does not tell

    static Resources Now();
};

// Files and threads are exactly those of before; memory grew by no more than the allocator's own slack.
bool NothingLeaked(const Resources& before, const Resources& after, size_t slack = 4096);
std::ostream& operator<<(std::ostream& out, const Resources& resources);

}  // namespace tolvane::test
