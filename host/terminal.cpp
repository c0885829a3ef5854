// The terminal: width and abilities, single keys, and a line that is drawn again and again.
#include "terminal.h"

#include <conio.h>
#include <io.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace tolvane::host {
namespace {

constexpr int kUsualColumns = 80;
constexpr UINT kUtf8 = 65001;
constexpr DWORD kLineModes = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;

bool Set(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

// The first of the three that says anything decides, as in every program that heeds the locale; where none
// does, the console is asked.
bool ShowsUtf8() {
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"})
        if (Set(variable)) {
            const std::string_view locale = std::getenv(variable);
            return locale.find("UTF-8") != locale.npos || locale.find("utf8") != locale.npos;
        }
    return GetConsoleOutputCP() == kUtf8;
}

bool TerminalIsDumb() {
    const char* kind = std::getenv("TERM");
    return kind && std::string_view(kind) == "dumb";
}

// After Escape or a console's prefix byte: the letters of a terminal, the scan codes of a console.
Key ArrowKey(int code) {
    switch (code) {
        case 'D':
        case 75:
            return Key::kBack;
        case 'C':
        case 77:
            return Key::kForward;
        case 'H':
        case '1':
        case '7':
        case 71:
            return Key::kStart;
        default:
            return Key::kUnknown;
    }
}

// Escape alone stops; Escape and more, already there, is one of the terminal's own keys.
Key EscapeKey() {
    if (!_kbhit()) return Key::kStop;
    if (const int second = _getch(); second != '[' && second != 'O') return Key::kUnknown;
    if (!_kbhit()) return Key::kUnknown;
    const Key key = ArrowKey(_getch());
    for (int rest = 0; rest < 8 && _kbhit(); ++rest)
        if (const int byte = _getch(); byte == '~' || std::isalpha(byte)) break;
    return key;
}

}  // namespace

Terminal::Terminal() : input_(GetStdHandle(STD_INPUT_HANDLE)), output_(GetStdHandle(STD_OUTPUT_HANDLE)) {
    style_.utf8 = ShowsUtf8();
    if (!_isatty(_fileno(stdout))) return;
    const bool input_is_terminal = _isatty(_fileno(stdin)) != 0;
    has_keys_ = input_is_terminal && GetConsoleMode(input_, &input_mode_) &&
                SetConsoleMode(input_, input_mode_ & ~kLineModes);
    is_ours_ = has_keys_ || !input_is_terminal;
    escapes_ = !TerminalIsDumb() && GetConsoleMode(output_, &output_mode_) &&
               SetConsoleMode(output_, output_mode_ | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    style_.colour = escapes_ && !Set("NO_COLOR");
}

Terminal::~Terminal() {
    Clear();
    if (escapes_) SetConsoleMode(output_, output_mode_);
    if (has_keys_) SetConsoleMode(input_, input_mode_);
}

int Terminal::Columns() const {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(output_, &info)) return kUsualColumns - 1;
    return std::max(info.srWindow.Right - info.srWindow.Left, 1);  // the last column stays free: no wrapping
}

Key Terminal::ReadKey() {
    if (!has_keys_ || !_kbhit()) return Key::kNone;
    switch (_getch()) {
        case ' ':
            return Key::kPause;
        case 'q':
        case 'Q':
        case -1:
            return Key::kStop;
        case 'i':
            return Key::kInsert;
        case 'n':
            return Key::kNext;
        case 'p':
            return Key::kPrevious;
        case '+':
            return Key::kLouder;
        case '-':
            return Key::kQuieter;
        case '?':
        case 'h':
            return Key::kHelp;
        case 27:
            return EscapeKey();
        case 0:
        case 0xE0:
            return ArrowKey(_getch());
        default:
            return Key::kUnknown;
    }
}

int Terminal::ReadCharacter() {
    if (!has_keys_) return -1;
    return _kbhit() ? _getch() : 0;
}

void Terminal::Clear() {
    if (!line_open_) return;
    const std::string blank =
        escapes_ ? "\r\x1b[K" : '\r' + std::string(static_cast<size_t>(Columns()), ' ') + '\r';
    std::fputs(blank.c_str(), stdout);
    std::fflush(stdout);
    line_open_ = false;
}

void Terminal::Redraw(const std::string& line) {
    const std::string text = '\r' + line + (escapes_ ? "\x1b[K" : "");
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
    line_open_ = true;
}

void Terminal::PrintAbove(std::string_view text) {
    Clear();
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

}  // namespace tolvane::host
