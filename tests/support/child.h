// The environment of the test program, and the program once more as a child of itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tolvane::test {

// Sets a variable of the environment, for this process and its children, until the end of the scope.
class Variable {
  public:
    Variable(const char* name, const std::string& value);
    ~Variable();
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const char* name_;
    std::optional<std::string> before_;
};

// Runs the test that calls this once more, in a process of its own; true when it passes there.
bool PassesInAChild();

// Runs a shell script of Linux in `folder`, also from within Wine, and waits for it; false when it fails, with what it
// said in the test's output.
bool RunTools(const std::string& folder, const std::string& script);

// Access to a private sound server in `folder`, run by the tool of the source tree; false where it does not
// run.
bool StartSoundServer(const std::string& folder);
void StopSoundServer(const std::string& folder);

}  // namespace tolvane::test
