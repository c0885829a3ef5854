// What the language leaves to the system: variables and the program's own path.
#include "support/child.h"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include <windows.h>

namespace tolvane::test {

#if defined(_WIN32)
static void Set(const char* name, const char* value) {
    _putenv_s(name, value);
}
#else
static void Set(const char* name, const char* value) {
    *value ? setenv(name, value, 1) : unsetenv(name);
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
