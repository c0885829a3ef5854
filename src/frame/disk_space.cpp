#include "frame/disk_space.h"

#include <cstring>

#include "frame/handles.h"
#include "frame/scratch_files.h"

namespace tolvane {

namespace {

// The first build of the Windows 95 family that counts space in 64 bits.
constexpr DWORD kFirstExtendedBuild = 1001;

// What to ask for the free space of a folder: its drive where it names one, otherwise the folder itself. The system
// wants a separator behind both.
void VolumeOf(char (&folder)[kPathSize]) {
    size_t first = strcspn(folder, "\\/");
    bool is_drive = first > 0 && folder[first - 1] == ':';
    if (!folder[first] && !is_drive) return;
    const char separator[] = {folder[first] ? folder[first] : '\\', 0};
    if (is_drive) folder[first] = 0;
    size_t length = strlen(folder);
    if (folder[length - 1] != *separator) CopyText(folder + length, kPathSize - length, separator);
}

uint64_t ExtendedFreeSpace(const char* volume) {
    using Query = BOOL(WINAPI*)(LPCSTR, PULARGE_INTEGER, PULARGE_INTEGER, PULARGE_INTEGER);
    Module kernel(LoadLibraryExA("KERNEL32.DLL", nullptr, 0));
    FARPROC address = kernel ? GetProcAddress(kernel.Get(), "GetDiskFreeSpaceExA") : nullptr;
    if (!address) return 0;
    Query query;
    static_assert(sizeof query == sizeof address);
    memcpy(&query, &address, sizeof query);
    ULARGE_INTEGER available, total, free;
    return query(volume, &available, &total, &free) ? available.QuadPart : 0;
}

uint64_t PlainFreeSpace(const char* volume) {
    DWORD sectors_per_cluster, bytes_per_sector, free_clusters, clusters;
    if (!GetDiskFreeSpaceA(volume, &sectors_per_cluster, &bytes_per_sector, &free_clusters, &clusters))
        return 0;
    return uint64_t{free_clusters} * sectors_per_cluster * bytes_per_sector;
}

}  // namespace

uint64_t GetFreeDiskSpace() {
    char volume[kPathSize];
    CopyTempFolder(volume);
    if (!*volume) return 0;
    VolumeOf(volume);
    return HasExtendedDiskQuery() ? ExtendedFreeSpace(volume) : PlainFreeSpace(volume);
}

int HasExtendedDiskQuery() {
    OSVERSIONINFOA version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (!GetVersionExA(&version)) return 0;
    if (version.dwPlatformId == VER_PLATFORM_WIN32_NT) return 1;
    return version.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS &&
           LOWORD(version.dwBuildNumber) >= kFirstExtendedBuild;
}

int IsDirectory(const char* path) {
    DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace tolvane
