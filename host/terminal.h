// The terminal: its width and abilities, single keys, and a line that is drawn again and again. Leaves the
// terminal as it was found.
#ifndef TOLVANE_HOST_TERMINAL_H
#define TOLVANE_HOST_TERMINAL_H

#include <windows.h>

#include <string>
#include <string_view>

#include "meter.h"

namespace tolvane::host {

enum class Key {
    kNone,
    kPause,
    kBack,
    kForward,
    kStart,
    kStop,
    kInsert,
    kHelp,
    kNext,
    kPrevious,
    kLouder,
    kQuieter,
    kUnknown
};

class Terminal {
  public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // A line can be drawn: the output is a terminal, and the program is not in its background.
    bool IsOurs() const { return is_ours_; }
    TerminalStyle style() const { return style_; }

    // Columns that can be written without wrapping.
    int Columns() const;

    // The next key that was pressed; does not wait.
    Key ReadKey();

    // The user can be asked something here.
    bool HasKeys() const { return is_ours_ && has_keys_; }

    // The next character that was typed, 0 when there is none, -1 when there can be none any more; does not wait.
    int ReadCharacter();

    // Replaces the line under way.
    void Redraw(const std::string& line);

    // Writes a line above it for good.
    void PrintAbove(std::string_view text);

    // Removes the line under way.
    void Clear();

  private:
    HANDLE input_, output_;
    DWORD input_mode_ = 0, output_mode_ = 0;
    bool is_ours_ = false, has_keys_ = false, escapes_ = false, line_open_ = false;
    TerminalStyle style_;
};

}  // namespace tolvane::host

#endif
