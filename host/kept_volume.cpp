#include "kept_volume.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tolvane::host {
namespace {

namespace fs = std::filesystem;

// Where a system keeps what programs remember of their last run; empty where it has no such place.
fs::path File() {
    constexpr const char* kPlaces[][2] = {
        {"XDG_STATE_HOME", ""}, {"LOCALAPPDATA", ""}, {"HOME", ".local/state"}};
    for (const auto& [variable, below] : kPlaces)
        if (const char* folder = std::getenv(variable); folder && *folder)
            return fs::path(folder) / below / "tolvane" / "muted-volume";
    return {};
}

}  // namespace

bool KeepVolume(unsigned percent) {
    const fs::path path = File();
    std::error_code ignored;
    fs::create_directories(path.parent_path(), ignored);
    std::ofstream file(path);
    file << percent << '\n';
    return !path.empty() && file.flush().good();
}

unsigned KeptVolume() {
    unsigned percent = 0;
    std::ifstream(File()) >> percent;
    return percent <= 100 ? percent : 0;
}

}  // namespace tolvane::host
