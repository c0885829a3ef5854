// What the language leaves to the system: variables and the program's own path.
#include "support/child.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include <gtest/gtest.h>

#include <windows.h>
#include <process.h>

namespace tolvane::test {

#if defined(_WIN32)
static void Set(const char* name, const char* value) {
    _putenv_s(name, value);
}

// Wine starts programs of Linux, but does not wait for them.
static bool StartShell(const std::string& script) {
    using UnixName = char*(__cdecl*)(const WCHAR* path);
    const HMODULE kernel = GetModuleHandleA("kernel32");
    const auto unix_name = reinterpret_cast<UnixName>(
        reinterpret_cast<uintptr_t>(GetProcAddress(kernel, "wine_get_unix_file_name")));
    char* const path = unix_name ? unix_name(std::filesystem::path(script).wstring().c_str()) : nullptr;
    const bool started = path && _spawnl(_P_NOWAIT, "Z:\\bin\\sh", "sh", path, nullptr) != -1;
    if (path) HeapFree(GetProcessHeap(), 0, path);
    return started;
}
#else
static void Set(const char* name, const char* value) {
    *value ? setenv(name, value, 1) : unsetenv(name);
}

static bool StartShell(const std::string& script) {
    return std::system(("sh " + script).c_str()) == 0;
}
#endif

static std::string OwnPath() {
    char path[MAX_PATH];
    return std::string(path, GetModuleFileNameA(nullptr, path, MAX_PATH));
}

Variable::Variable(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    Set(name, value.c_str());
}

Variable::~Variable() {
    Set(name_, before_.value_or("").c_str());
}

bool PassesInAChild() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter = std::string(test->test_suite_name()) + "." + test->name();
    return std::system((OwnPath() + " --gtest_brief=1 --gtest_filter=" + filter).c_str()) == 0;
}

static std::string TextOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool RunTools(const std::string& folder, const std::string& script) {
    constexpr int kMostTries = 6000;  // of 10 ms
    const std::filesystem::path at = folder, code = at / "tools.code";
    std::filesystem::remove(code);
    std::ofstream(at / "tools.sh", std::ios::binary)
        << "cd \"$(dirname \"$0\")\" || exit\n(set -e\n"
        << script << "\n) > tools.log 2>&1 < /dev/null\necho $? > tools.new && mv tools.new tools.code\n";
    if (!StartShell((at / "tools.sh").string())) return false;
    for (int i = 0; i < kMostTries && !std::filesystem::exists(code); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const bool done = TextOf(code).starts_with("0");
    if (!done) std::cout << TextOf(at / "tools.log");
    return done;
}

static const std::filesystem::path kServerTool =
    std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "tools" / "sound-server";

// exec: the server lives as long as the process that started it.
bool StartSoundServer(const std::string& folder) {
    return std::system(("exec " + kServerTool.string() + " start " + folder).c_str()) == 0;
}

void StopSoundServer(const std::string& folder) {
    if (std::system((kServerTool.string() + " stop " + folder).c_str()) != 0)
        ADD_FAILURE() << "the server stays";
}

}  // namespace tolvane::test
