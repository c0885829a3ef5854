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
void CopyVolume(char (&volume)[kPathSize], const char (&folder)[kPathSize]) {
    const size_t first = strcspn(folder, "\\/");
    const bool is_drive = first > 0 && folder[first - 1] == ':';
    CopyText(volume, is_drive ? first + 1 : kPathSize, folder);
    if (!folder[first] && !is_drive) return;
    const char separator[] = {folder[first] ? folder[first] : '\\', 0};
    const size_t length = strlen(volume);
    if (volume[length - 1] != *separator) CopyText(volume + length, kPathSize - length, separator);
}

uint64_t PlainFreeSpace(const char* volume) {
    DWORD sectors_per_cluster, bytes_per_sector, free_clusters, clusters;
    if (!GetDiskFreeSpaceA(volume, &sectors_per_cluster, &bytes_per_sector, &free_clusters, &clusters))
        return 0;
    return uint64_t{free_clusters} * sectors_per_cluster * bytes_per_sector;
}

}  // namespace

uint64_t GetFreeDiskSpace() {
    return FreeSpaceQuery().OfTempFolder();
}

// The system's kernel stays loaded.
FreeSpaceQuery::Service FreeSpaceQuery::Find() {
    Module kernel(LoadLibraryExA("KERNEL32.DLL", nullptr, 0));
    FARPROC address = kernel ? GetProcAddress(kernel.Get(), "GetDiskFreeSpaceExA") : nullptr;
    Service service;
    static_assert(sizeof service == sizeof address);
    memcpy(&service, &address, sizeof service);
    return service;
}

void FreeSpaceQuery::Prepare() {
    if (!service_ && HasExtendedDiskQuery()) service_ = Find();
}

uint64_t FreeSpaceQuery::Extended(const char* volume) {
    Prepare();
    ULARGE_INTEGER available, total, free;
    return service_ && service_(volume, &available, &total, &free) ? available.QuadPart : 0;
}

uint64_t FreeSpaceQuery::Of(const char (&folder)[kPathSize]) {
    if (!*folder) return 0;
    char volume[kPathSize];
    CopyVolume(volume, folder);
    return HasExtendedDiskQuery() ? Extended(volume) : PlainFreeSpace(volume);
}

uint64_t FreeSpaceQuery::OfTempFolder() {
    char folder[kPathSize];
    CopyTempFolder(folder);
    return Of(folder);
}

uint64_t FreeSpaceQuery::Around(const char* file) {
    char folder[kPathSize];
    if (!CopyFullPath(folder, file)) return 0;
    char* name = folder;
    for (char* c = folder; *c; ++c)
        if (*c == '/' || *c == '\\') name = c + 1;
    *name = 0;
    return Of(folder);
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
