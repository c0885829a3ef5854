// Counts come from the system's own tables; where it has none the tests that need them do not run.
#include "support/resources.h"

#include <filesystem>
#include <iterator>
#include <stdlib.h>
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

bool NothingLeaked(const Resources& before, const Resources& after, size_t slack) {
    return before.files == after.files && before.threads == after.threads &&
           after.memory <= before.memory + slack;
}

std::ostream& operator<<(std::ostream& out, const Resources& resources) {
    return out << resources.files << " files, " << resources.threads << " threads, " << resources.memory
               << " bytes";
}

}  // namespace tolvane::test
