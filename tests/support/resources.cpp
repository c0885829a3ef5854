// Counts come from the system's own tables; where it has none the tests that
// need them do not run.
#include "support/resources.h"

#include <chrono>
#include <filesystem>
#include <iterator>
#include <stdlib.h>
#include <thread>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace tolvane::test {

#if defined(__GLIBC__)
static size_t Entries(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

Resources Resources::Now() {
    return {Entries("/proc/self/fd"), Entries("/proc/self/task"), mallinfo2().uordblks + mallinfo2().hblkhd};
}
#else
Resources Resources::Now() {
    return {};
}
#endif

Resources Resources::WithoutJobs() {
    Resources before = Now();
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const Resources now = Now();
        if (now.threads == before.threads) return now;
        before = now;
    }
}

testing::AssertionResult NothingLeft(const Resources& since, size_t slack) {
    Resources now = Resources::Now();
    const auto settled = [&] {
        // One thread may have lingered before.
        return now.files == since.files && now.threads <= since.threads && now.memory <= since.memory + slack;
    };
    for (int i = 0; i < 2000 && !settled(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        now = Resources::Now();
    }
    if (settled()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << since << " before, " << now << " now";
}

std::ostream& operator<<(std::ostream& out, const Resources& resources) {
    return out << resources.files << " files, " << resources.threads << " threads, " << resources.memory
               << " bytes";
}

}  // namespace tolvane::test
