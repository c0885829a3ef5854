// Somebody at the machine who answers when a conversion asks for a format; and a machine where nobody can be asked.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace tolvane::test {

// As long as it lives, it takes the last of the offered formats that have this rate and number of channels, and
// cancels where there is none.
class FormatUser {
  public:
    FormatUser(uint32_t rate, uint16_t channels);
    ~FormatUser();
    FormatUser(const FormatUser&) = delete;
    FormatUser& operator=(const FormatUser&) = delete;

    int Asked() const { return asked_; }

  private:
    // `text(i)` describes the format `i` of `count`; negative: none of them.
    int32_t Choose(uint32_t count, const std::function<std::string(uint32_t)>& text);
    void Answer();

    const std::string rate_;
    const char* const channels_;
    std::atomic<int> asked_ = 0;
    std::atomic<bool> leaves_ = false;
    std::thread thread_;
};

// False when every process here has a desktop, or none has.
bool RunWithoutADesktop(const std::function<void()>& action);

}  // namespace tolvane::test
