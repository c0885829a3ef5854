// A file that is only there while the program works on it.
#include "work_file.h"

#include <windows.h>

#include <fmt/format.h>

#include <filesystem>

namespace tolvane::host {
namespace {

bool Exists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string FreeName(const std::string& folder) {
    std::string name;
    static unsigned number = 0;
    do
        name = fmt::format("{}tv{:x}-{}.tmp", folder, GetCurrentProcessId(), ++number);
    while (Exists(name));
    return name;
}

}  // namespace

WorkFile::WorkFile(const std::string& folder) : path_(FreeName(folder)) {}

WorkFile::~WorkFile() {
    if (!path_.empty()) DeleteFileA(path_.c_str());
}

// A replacement keeps the old file's rights; not every file system can do it.
bool WorkFile::PutInPlace(const std::string& target, bool replace) {
    const bool done = (replace && Exists(target) &&
                       ReplaceFileA(target.c_str(), path_.c_str(), nullptr, 0, nullptr, nullptr)) ||
                      MoveFileExA(path_.c_str(), target.c_str(), replace ? MOVEFILE_REPLACE_EXISTING : 0);
    if (done) path_.clear();
    return done;
}

std::string FolderOf(const std::string& path) {
    return path.substr(0, path.find_last_of("/\\:") + 1);
}

bool IsSameFile(const std::string& one, const std::string& other) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    return fs::equivalent(one, other, ignored) ||
           fs::absolute(one, ignored).lexically_normal() == fs::absolute(other, ignored).lexically_normal();
}

std::string TempFolder() {
    char folder[MAX_PATH + 1];
    const DWORD length = GetTempPathA(sizeof folder, folder);
    return {folder, length < sizeof folder ? length : 0};
}

}  // namespace tolvane::host
