#include "frame/scratch_files.h"

#include "frame/disk_space.h"
#include "frame/immortal.h"
#include "frame/lock.h"

namespace tolvane {

namespace {

struct ScratchFiles {
    Lock lock;
    char temp_folder[kPathSize] = "";
    char names[kScratchFileCount][kPathSize] = {};
};

ScratchFiles& Files() {
    return Immortal<ScratchFiles>();
}

constexpr const char* kPrefixes[kScratchFileCount] = {"VMX", "VME", "VMU", "VMR", "VMC"};
constexpr ScratchFile kDeletionOrder[] = {ScratchFile::kClipboard, ScratchFile::kUndo, ScratchFile::kRedo,
                                          ScratchFile::kEditWork, ScratchFile::kPlaybackCopy};

// GetTempFileNameA puts a separator and a name of at most 12 characters behind the folder.
constexpr size_t kLongestTempFolder = MAX_PATH - 14;

char* NameOf(ScratchFiles& files, ScratchFile file) {
    return files.names[static_cast<int>(file)];
}

bool MakeUniqueFile(const char* folder, const char* prefix, char* name) {
    if (*folder && GetTempFileNameA(folder, prefix, 0, name)) return true;
    *name = 0;
    return false;
}

bool SystemTempFolder(char (&folder)[kPathSize]) {
    DWORD length = GetTempPathA(kPathSize, folder);
    if (length > 0 && length < kPathSize) return true;
    folder[0] = 0;
    return false;
}

void MakeNames(ScratchFiles& files) {
    for (int i = 0; i < kScratchFileCount; ++i)
        MakeUniqueFile(files.temp_folder, kPrefixes[i], files.names[i]);
}

void DeleteNames(ScratchFiles& files) {
    for (ScratchFile file : kDeletionOrder) {
        char* name = NameOf(files, file);
        if (*name) DeleteFileA(name);
        *name = 0;
    }
}

}  // namespace

void SetUpScratchFiles() {
    ScratchFiles& files = Files();
    LockGuard guard(files.lock);
    SystemTempFolder(files.temp_folder);
    MakeNames(files);
}

// Without the lock: nobody else is left, and at process exit a thread may have been ended while it held it.
void DeleteScratchFiles() {
    DeleteNames(Files());
}

void MakeScratchNames() {
    LockGuard guard(Files().lock);
    MakeNames(Files());
}

static void Renew(ScratchFiles& files, ScratchFile file) {
    MakeUniqueFile(files.temp_folder, kPrefixes[static_cast<int>(file)], NameOf(files, file));
}

void RenewScratchFile(ScratchFile file) {
    LockGuard guard(Files().lock);
    Renew(Files(), file);
}

// A file of which the system only would not tell now is there: it must not be taken for lost with what it holds.
static bool IsGone(const char* name) {
    return !*name ||
           (GetFileAttributesA(name) == INVALID_FILE_ATTRIBUTES && GetLastError() == ERROR_FILE_NOT_FOUND);
}

ScratchLease::ScratchLease() {
    ScratchFiles& files = Files();
    LockGuard guard(files.lock);
    for (const ScratchFile file : kDeletionOrder)
        if (IsGone(NameOf(files, file))) Renew(files, file);
    memcpy(names_, files.names, sizeof names_);
}

ScratchLease::~ScratchLease() {
    LockGuard guard(Files().lock);
    for (int i = 0; i < kScratchFileCount; ++i)
        if (*names_[i] && strcmp(names_[i], Files().names[i]) != 0) DeleteFileA(names_[i]);
}

uint32_t SetTempPath(const char* folder) {
    if (!IsUsablePath(folder) || strlen(folder) > kLongestTempFolder || !IsDirectory(folder)) {
        return TOLVANE_NOT_A_FOLDER;
    }
    ScratchFiles& files = Files();
    LockGuard guard(files.lock);
    CopyText(files.temp_folder, kPathSize, folder);
    DeleteNames(files);
    MakeNames(files);
    return TOLVANE_OK;
}

void CopyTempFolder(char (&folder)[kPathSize]) {
    LockGuard guard(Files().lock);
    CopyText(folder, kPathSize, Files().temp_folder);
}

void CopyScratchName(ScratchFile file, char (&name)[kPathSize]) {
    LockGuard guard(Files().lock);
    CopyText(name, kPathSize, NameOf(Files(), file));
}

TempFile::TempFile(const char* folder, const char* prefix) {
    MakeUniqueFile(folder, prefix, path_);
}

TempFile::~TempFile() {
    if (*path_) DeleteFileA(path_);
}

TempFile TempFile::InSystemFolder() {
    char folder[kPathSize];
    SystemTempFolder(folder);
    return TempFile(folder, "kora");
}

TempFile TempFile::InLibraryFolder() {
    char folder[kPathSize];
    CopyTempFolder(folder);
    return TempFile(folder, "VMX");
}

}  // namespace tolvane
