// What the layer's tests share: a folder of their own, whole files as bytes, and waiting for something.
#ifndef TOLVANE_TESTS_PLATFORM_WORKSPACE_H
#define TOLVANE_TESTS_PLATFORM_WORKSPACE_H

#include <windows.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace tolvane::testing {

class Workspace {
  public:
    Workspace() {
        char pattern[] = "/tmp/tolvane-test-XXXXXX";
        folder_ = mkdtemp(pattern);
    }
    ~Workspace() { std::filesystem::remove_all(folder_); }
    std::string Name(const std::string& file) const { return folder_ + "/" + file; }
    const std::string& folder() const { return folder_; }
    size_t Files() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

  private:
    std::string folder_;
};

inline std::string Contents(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void Put(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

inline size_t Entries(const char* folder) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

// Polls until it holds, for at most five seconds.
template <typename Condition>
bool Eventually(Condition condition) {
    for (int i = 0; i < 5000; ++i) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

}  // namespace tolvane::testing
#endif
