// The terminal: its modes, its width and its keys.
#include "platform/kernel/console.h"

#include <conio.h>
#include <io.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <utility>

#include "platform/kernel/error.h"

namespace tolvane::platform {

namespace {

constexpr int kStreams = 3;
constexpr int kNoKey = -1;
constexpr int kEscape = 27;
constexpr int kEscapePatience = 25;  // milliseconds: the rest of a key's sequence comes at once

termios found_terminal;
constinit std::atomic<bool> terminal_changed{false};

HANDLE HandleOfStream(int fd) {
    return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-10 - fd));
}

int StreamOf(HANDLE handle) {
    for (int fd = 0; fd < kStreams; ++fd) {
        if (handle == HandleOfStream(fd)) return fd;
    }
    return -1;
}

// The default end of the process, but with the terminal put right first.
void RestoreAndDie(int signal) {
    RestoreTerminal();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void GuardTerminal() {
    static const bool once = [] {
        if (tcgetattr(STDIN_FILENO, &found_terminal) != 0) return false;
        std::atexit(RestoreTerminal);
        for (const int signal :
             {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
            struct sigaction action;
            if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
            action = {};
            action.sa_handler = RestoreAndDie;
            sigaction(signal, &action, nullptr);
        }
        return true;
    }();
    terminal_changed = once;
}

void SetFlag(tcflag_t& flags, tcflag_t flag, bool on) {
    flags = on ? flags | flag : flags & ~flag;
}

BOOL ChangeInput(DWORD mode) {
    termios wanted;
    if (tcgetattr(STDIN_FILENO, &wanted) != 0) return Fail(ERROR_INVALID_HANDLE);
    // A background process that tries is stopped by its terminal; one that is not its own has no say there.
    const pid_t foreground = tcgetpgrp(STDIN_FILENO);
    if (foreground >= 0 && foreground != getpgrp()) return Fail(ERROR_ACCESS_DENIED);
    GuardTerminal();
    SetFlag(wanted.c_lflag, ICANON, (mode & ENABLE_LINE_INPUT) != 0);
    SetFlag(wanted.c_lflag, ECHO, (mode & ENABLE_ECHO_INPUT) != 0);
    SetFlag(wanted.c_lflag, ISIG, (mode & ENABLE_PROCESSED_INPUT) != 0);
    wanted.c_cc[VMIN] = 1;
    wanted.c_cc[VTIME] = 0;
    return tcsetattr(STDIN_FILENO, TCSANOW, &wanted) == 0 ? TRUE : Fail(ErrorOfErrno(errno));
}

DWORD ModeOfInput(const termios& terminal) {
    return (terminal.c_lflag & ICANON ? ENABLE_LINE_INPUT : 0) |
           (terminal.c_lflag & ECHO ? ENABLE_ECHO_INPUT : 0) |
           (terminal.c_lflag & ISIG ? ENABLE_PROCESSED_INPUT : 0);
}

// The second half of an extended key, delivered by the next _getch.
int pending_key = kNoKey;

bool InputReady(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, milliseconds) > 0 && (input.revents & (POLLIN | POLLHUP));
}

int ReadByte() {
    unsigned char byte;
    ssize_t got;
    do
        got = read(STDIN_FILENO, &byte, 1);
    while (got < 0 && errno == EINTR);
    return got == 1 ? byte : kNoKey;
}

struct Key {
    int prefix, code;  // prefix kNoKey: an ordinary one
};

// What follows ESC [ : a letter, or a number and a tilde; numbers between are the shift keys and are passed
// over.
Key KeyOfSequence(int number, int last) {
    constexpr int kExtended = 0xE0;
    switch (last) {
        case 'A':
            return {kExtended, 72};
        case 'B':
            return {kExtended, 80};
        case 'C':
            return {kExtended, 77};
        case 'D':
            return {kExtended, 75};
        case 'H':
            return {kExtended, 71};
        case 'F':
            return {kExtended, 79};
        case '~':
            break;
        default:
            return {kNoKey, kEscape};
    }
    switch (number) {
        case 1:
        case 7:
            return {kExtended, 71};
        case 2:
            return {kExtended, 82};
        case 3:
            return {kExtended, 83};
        case 4:
        case 8:
            return {kExtended, 79};
        case 5:
            return {kExtended, 73};
        case 6:
            return {kExtended, 81};
        default:
            return {kNoKey, kEscape};
    }
}

Key ReadSequence() {
    int number = 0;
    bool first_number = true;
    while (InputReady(kEscapePatience)) {
        const int byte = ReadByte();
        if (byte >= '0' && byte <= '9') {
            if (first_number && number < 100) number = number * 10 + byte - '0';
        } else if (byte == ';') {
            first_number = false;
        } else {
            return KeyOfSequence(number, byte);
        }
    }
    return {kNoKey, kEscape};
}

Key ReadEscape() {
    if (!InputReady(kEscapePatience)) return {kNoKey, kEscape};
    const int kind = ReadByte();
    if (kind == '[') return ReadSequence();
    if (kind != 'O') return {kNoKey, kEscape};
    const int letter = InputReady(kEscapePatience) ? ReadByte() : kNoKey;
    if (letter >= 'P' && letter <= 'S') return {0, 59 + letter - 'P'};  // F1 to F4
    return KeyOfSequence(0, letter);
}

Key ReadKey() {
    const int byte = ReadByte();
    if (byte == kEscape) return ReadEscape();
    if (byte == 127) return {kNoKey, '\b'};
    return {kNoKey, byte == '\n' ? '\r' : byte};
}

}  // namespace

void RestoreTerminal() {
    if (terminal_changed.exchange(false)) tcsetattr(STDIN_FILENO, TCSANOW, &found_terminal);
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

HANDLE WINAPI GetStdHandle(DWORD which) {
    if (which <= STD_INPUT_HANDLE && which >= STD_ERROR_HANDLE)
        return HandleOfStream(static_cast<int>(STD_INPUT_HANDLE - which));
    SetLastError(ERROR_INVALID_HANDLE);
    return INVALID_HANDLE_VALUE;
}

BOOL WINAPI GetConsoleMode(HANDLE console, LPDWORD mode) {
    const int fd = StreamOf(console);
    termios terminal;
    if (fd < 0 || !mode || tcgetattr(fd, &terminal) != 0) return Fail(ERROR_INVALID_HANDLE);
    *mode = fd == STDIN_FILENO
                ? ModeOfInput(terminal)
                : ENABLE_PROCESSED_OUTPUT | ENABLE_WRAP_AT_EOL_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING;
    return TRUE;
}

BOOL WINAPI SetConsoleMode(HANDLE console, DWORD mode) {
    const int fd = StreamOf(console);
    if (fd < 0 || !isatty(fd)) return Fail(ERROR_INVALID_HANDLE);
    return fd == STDIN_FILENO ? ChangeInput(mode) : TRUE;
}

BOOL WINAPI GetConsoleScreenBufferInfo(HANDLE console, PCONSOLE_SCREEN_BUFFER_INFO information) {
    const int fd = StreamOf(console);
    winsize size;
    if (fd < 0 || !information || ioctl(fd, TIOCGWINSZ, &size) != 0) return Fail(ERROR_INVALID_HANDLE);
    // A terminal that does not know its size is taken for the classic one.
    const auto columns = static_cast<SHORT>(size.ws_col ? size.ws_col : 80);
    const auto rows = static_cast<SHORT>(size.ws_row ? size.ws_row : 24);
    *information = {{columns, rows},
                    {0, 0},
                    7,
                    {0, 0, static_cast<SHORT>(columns - 1), static_cast<SHORT>(rows - 1)},
                    {columns, rows}};
    return TRUE;
}

UINT WINAPI GetConsoleOutputCP(void) {
    return CP_UTF8;
}

int _isatty(int descriptor) {
    return isatty(descriptor);
}
int _fileno(FILE* stream) {
    return fileno(stream);
}

int _kbhit(void) {
    return pending_key != kNoKey || InputReady(0);
}

int _getch(void) {
    if (pending_key != kNoKey) return std::exchange(pending_key, kNoKey);
    const Key key = ReadKey();
    if (key.prefix == kNoKey) return key.code;
    pending_key = key.code;
    return key.prefix;
}
