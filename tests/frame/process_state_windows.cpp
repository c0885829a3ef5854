// Counted by the system's own snapshot and process queries.
#include "frame/process_state.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace tolvane::test {

static size_t CountThreads() {
    size_t count = 0;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

ProcessState CurrentProcessState() {
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    return {CountThreads(), handles, memory.PagefileUsage};
}

bool LibraryIsMapped(const std::string& path) {
    return GetModuleHandleA(path.c_str()) != nullptr;
}

void UseTempFolder(const std::string& folder) {
    SetEnvironmentVariableA("TMP", folder.c_str());
}

bool TerminatedThreadsLeaveNoStack() {
    return false;
}

}  // namespace tolvane::test
