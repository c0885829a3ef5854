// What the test's process holds at this moment as the system counts it, for tests that load and unload the
// library.
#pragma once

#include <cstddef>
#include <string>

namespace tolvane::test {

struct ProcessState {
    size_t threads, handles, memory;
};

ProcessState CurrentProcessState();
bool LibraryIsMapped(const std::string& path);
// What the library finds as the system's temp folder when it is loaded from now on.
void UseTempFolder(const std::string& folder);
// Whether the system takes the stack of a terminated thread back; Wine keeps it until the process ends.
// open.
bool TerminatedThreadsLeaveNoStack();

}  // namespace tolvane::test
