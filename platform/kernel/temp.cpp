// Temporary folder and names, and the space on a volume.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/random.h>
#include <sys/statvfs.h>

#include "platform/kernel/dropped_file.h"
#include "platform/kernel/error.h"
#include "platform/kernel/file.h"
#include "platform/kernel/names.h"

namespace tolvane::platform {

namespace {

constexpr size_t kLongestTempFolder = MAX_PATH - 14;
constexpr DWORD kSector = 512;

bool IsSeparator(char c) {
    return c == '/' || c == '\\';
}

// The folder with one separator behind it.
struct TempFolder {
    char text[kLongestTempFolder + 2];
    size_t length = 0;
};

DWORD CheckTempFolder(const char* folder, TempFolder& checked) {
    if (!folder || !*folder) return ERROR_INVALID_PARAMETER;
    if (std::strlen(folder) > kLongestTempFolder) return ERROR_FILENAME_EXCED_RANGE;
    std::strcpy(checked.text, folder);
    size_t length = std::strlen(folder);
    while (length > 0 && IsSeparator(checked.text[length - 1]))
        --length;
    checked.text[length++] = '/';
    checked.text[length] = 0;
    checked.length = length;
    struct stat status;
    return stat(checked.text, &status) == 0 && S_ISDIR(status.st_mode) ? ERROR_SUCCESS : ERROR_DIRECTORY;
}

void MakeName(const TempFolder& folder, const char* prefix, unsigned number, char* name) {
    std::snprintf(name, MAX_PATH, "%s%.3s%X.TMP", folder.text, prefix ? prefix : "", number & 0xFFFF);
}

unsigned FirstNumber() {
    static std::atomic<unsigned> fallback{static_cast<unsigned>(getpid())};
    uint16_t number;
    if (getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number) return ++fallback;
    return number;
}

// Only its owner may look into a file that lies in a folder of everybody's.
UINT MakeTempFile(const TempFolder& folder, const char* prefix, char* name) {
    const unsigned first = FirstNumber();
    for (unsigned i = 0; i <= 0xFFFF; ++i) {
        const unsigned number = (first + i) & 0xFFFF;
        if (number == 0) continue;
        MakeName(folder, prefix, number, name);
        const OpenResult made = OpenFile(name, {true, true, CREATE_NEW, 0600});
        if (made.fd) return number;
        if (made.error != ERROR_FILE_EXISTS) return static_cast<UINT>(Fail(made.error));
    }
    return static_cast<UINT>(Fail(ERROR_FILE_EXISTS));
}

// Null and the empty name stand for the current folder.
BOOL QueryVolume(const char* folder, struct statvfs& volume) {
    const char* name = folder && *folder ? folder : ".";
    if (const DWORD wrong = CheckName(name)) return Fail(wrong);
    WaitForDroppedFiles();
    return statvfs(name, &volume) == 0 ? TRUE : Fail(ErrorOfName(errno, name));
}

DWORD Clamp(ULONGLONG value) {
    return static_cast<DWORD>(std::min<ULONGLONG>(value, MAXDWORD));
}

void Store(PULARGE_INTEGER target, ULONGLONG value) {
    if (target) target->QuadPart = value;
}

void Store(LPDWORD target, DWORD value) {
    if (target) *target = value;
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

DWORD WINAPI GetTempPathA(DWORD size, LPSTR buffer) {
    if (FaultStrikes("GetTempPathA", ERROR_NOT_ENOUGH_MEMORY)) return 0;
    const char* folder = std::getenv("TMPDIR");
    if (!folder || !*folder) folder = "/tmp";
    const size_t length = std::strlen(folder);
    const bool ended = folder[length - 1] == '/';
    const auto needed = static_cast<DWORD>(length + !ended);
    if (!buffer || needed >= size) return needed + 1;
    std::strcpy(buffer, folder);
    if (!ended) std::strcpy(buffer + length, "/");
    return needed;
}

UINT WINAPI GetTempFileNameA(LPCSTR folder, LPCSTR prefix, UINT unique, LPSTR name) {
    if (FaultStrikes("GetTempFileNameA", ERROR_ACCESS_DENIED)) return 0;
    TempFolder checked;
    const DWORD error = name ? CheckTempFolder(folder, checked) : ERROR_INVALID_PARAMETER;
    if (error != ERROR_SUCCESS) return static_cast<UINT>(Fail(error));
    if (unique == 0) return MakeTempFile(checked, prefix, name);
    MakeName(checked, prefix, unique, name);
    return unique;
}

BOOL WINAPI GetDiskFreeSpaceExA(LPCSTR folder, PULARGE_INTEGER available, PULARGE_INTEGER total,
                                PULARGE_INTEGER free_bytes) {
    if (FaultStrikes("GetDiskFreeSpaceExA", ERROR_PATH_NOT_FOUND)) return FALSE;
    struct statvfs volume;
    if (!QueryVolume(folder, volume)) return FALSE;
    const ULONGLONG block = volume.f_frsize;
    Store(available, volume.f_bavail * block);
    Store(total, volume.f_blocks * block);
    Store(free_bytes, volume.f_bfree * block);
    return TRUE;
}

// Counts beyond 32 bits are cut to what fits, as on the old systems that call this.
BOOL WINAPI GetDiskFreeSpaceA(LPCSTR root, LPDWORD sectors_per_cluster, LPDWORD bytes_per_sector,
                              LPDWORD free_clusters, LPDWORD clusters) {
    if (FaultStrikes("GetDiskFreeSpaceA", ERROR_PATH_NOT_FOUND)) return FALSE;
    struct statvfs volume;
    if (!QueryVolume(root, volume)) return FALSE;
    Store(bytes_per_sector, kSector);
    Store(sectors_per_cluster, std::max(Clamp(volume.f_frsize / kSector), DWORD{1}));
    Store(free_clusters, Clamp(volume.f_bavail));
    Store(clusters, Clamp(volume.f_blocks));
    return TRUE;
}
