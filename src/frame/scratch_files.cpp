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
    char left_over[kPathSize] = "";  // a copy that was playing when it should have been deleted
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

// Whole names: the host's current folder may be another later.
bool SystemTempFolder(char (&folder)[kPathSize]) {
    char told[kPathSize];
    const DWORD length = GetTempPathA(kPathSize, told);
    if (length > 0 && length < kPathSize && CopyFullPath(folder, told)) return true;
    folder[0] = 0;
    return false;
}

void MakeNames(ScratchFiles& files) {
    for (int i = 0; i < kScratchFileCount; ++i)
        MakeUniqueFile(files.temp_folder, kPrefixes[i], files.names[i]);
}

void Renew(ScratchFiles& files, ScratchFile file) {
    MakeUniqueFile(files.temp_folder, kPrefixes[static_cast<int>(file)], NameOf(files, file));
}

// A file of which the system only would not tell now is there: it must not be taken for lost with what it holds.
bool IsGone(const char* name) {
    return !*name ||
           (GetFileAttributesA(name) == INVALID_FILE_ATTRIBUTES && GetLastError() == ERROR_FILE_NOT_FOUND);
}

// Some systems do not delete a file that is open.
void DeleteNames(ScratchFiles& files) {
    if (*files.left_over && DeleteFileA(files.left_over)) files.left_over[0] = 0;
    for (ScratchFile file : kDeletionOrder) {
        char* name = NameOf(files, file);
        if (*name && !DeleteFileA(name) && file == ScratchFile::kPlaybackCopy && !IsGone(name))
            CopyText(files.left_over, kPathSize, name);
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

void RenewScratchFile(ScratchFile file) {
    LockGuard guard(Files().lock);
    Renew(Files(), file);
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
    char whole[kPathSize];
    if (!IsUsablePath(folder) || strlen(folder) > kLongestTempFolder || !IsDirectory(folder) ||
        !CopyFullPath(whole, folder) || strlen(whole) > kLongestTempFolder)
        return TOLVANE_NOT_A_FOLDER;
    ScratchFiles& files = Files();
    LockGuard guard(files.lock);
    CopyText(files.temp_folder, kPathSize, whole);
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
