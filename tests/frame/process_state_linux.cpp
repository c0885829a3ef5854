// Counted from /proc; memory is what the process really occupies, so that a leaked mapping shows as well.
#include "frame/process_state.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace tolvane::test {

static size_t Entries(const char* folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

ProcessState CurrentProcessState() {
    size_t total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return {Entries("/proc/self/task"), Entries("/proc/self/fd"),
            resident * static_cast<size_t>(sysconf(_SC_PAGESIZE))};
}

bool LibraryIsMapped(const std::string& path) {
    if (void* library = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD)) return dlclose(library), true;
    std::ifstream maps("/proc/self/maps");
    const std::string text(std::istreambuf_iterator<char>(maps), {});
    return text.find(std::filesystem::path(path).filename().string()) != std::string::npos;
}

void UseTempFolder(const std::string& folder) {
    setenv("TMPDIR", folder.c_str(), 1);
}

bool TerminatedThreadsLeaveNoStack() {
    return true;
}

}  // namespace tolvane::test
