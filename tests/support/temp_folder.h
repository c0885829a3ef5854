// A folder of a test's own under the system's temp folder, removed with everything in it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tolvane::test {

using Bytes = std::vector<uint8_t>;

class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string Path() const { return path_.string(); }
    std::string Path(const std::string& name) const { return (path_ / name).string(); }
    // With "/." in between, which leads nowhere else, as long as wanted.
    std::string LongPath(size_t length, const std::string& name = "") const;
    std::string Write(const std::string& name, const Bytes& content) const;  // returns the path
    std::string MakeFolder(const std::string& name) const;
    std::vector<std::string> Names() const;  // sorted

  private:
    std::filesystem::path path_;
};

std::vector<std::string> NamesIn(const std::string& folder);
void WriteFile(const std::string& path, const Bytes& content);
Bytes ReadAll(const std::string& path);  // empty where there is no file

}  // namespace tolvane::test
