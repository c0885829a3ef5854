// Temp folders get their names from a random device: several test programs run at once.
#include "support/temp_folder.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

#include <gtest/gtest.h>

namespace tolvane::test {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() / ("tolvane-test-" + std::to_string(random()));
    } while (!fs::create_directory(path_));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempFolder::LongPath(size_t length, const std::string& name) const {
    std::string path = Path();
    while (path.size() + name.size() + 2 < length)
        path += "/.";
    path.append(length - name.size() - path.size(), '/');
    return path + name;
}

std::string TempFolder::Write(const std::string& name, const Bytes& content) const {
    test::WriteFile(Path(name), content);
    return Path(name);
}

std::string TempFolder::MakeFolder(const std::string& name) const {
    fs::create_directory(path_ / name);
    return Path(name);
}

std::vector<std::string> TempFolder::Names() const {
    return NamesIn(Path());
}

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void WriteFile(const std::string& path, const Bytes& content) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    ASSERT_TRUE(out.flush()) << path;
}

Bytes ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tolvane::test
