// Ctrl-C and a request to end (SIGINT, SIGTERM): told to the program's handlers on a thread of their own.
//
// The signal's handler only writes a byte into a pipe; the thread that reads it lives while there is a
// handler.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <pthread.h>

#include "platform/kernel/console.h"
#include "platform/kernel/error.h"
#include "platform/kernel/unique_fd.h"

namespace tolvane::platform {

namespace {

constexpr size_t kMaxHandlers = 8;
constexpr unsigned char kEnd = 0xFF;

struct Watched {
    int signal;
    DWORD event;
    struct sigaction before;
};

struct Control {
    PHANDLER_ROUTINE handlers[kMaxHandlers];
    size_t count;
    pthread_t watcher;
    bool running;
    Watched watched[2];
};

constinit std::mutex control_lock;
Control control{{}, 0, {}, false, {{SIGINT, CTRL_C_EVENT, {}}, {SIGTERM, CTRL_CLOSE_EVENT, {}}}};
// Never closed, once made: a signal's handler may still be about to write.
int pipe_ends[2] = {-1, -1};

void Tell(unsigned char byte) {
    const int saved = errno;
    while (write(pipe_ends[1], &byte, 1) < 0 && errno == EINTR) {
    }
    errno = saved;
}

void OnSignal(int signal) {
    Tell(static_cast<unsigned char>(signal));
}

// The youngest handler is asked first. They are called without the lock: a handler may remove itself.
bool AskHandlers(DWORD event) {
    PHANDLER_ROUTINE handlers[kMaxHandlers];
    size_t count;
    {
        std::lock_guard guard(control_lock);
        count = control.count;
        for (size_t i = 0; i < count; ++i)
            handlers[i] = control.handlers[i];
    }
    while (count > 0) {
        if (handlers[--count](event)) return true;
    }
    return false;
}

void DieOf(int signal) {
    RestoreTerminal();
    std::signal(signal, SIG_DFL);
    kill(getpid(), signal);
}

void* Watch(void*) {
    unsigned char byte;
    while (read(pipe_ends[0], &byte, 1) == 1 && byte != kEnd) {
        if (!AskHandlers(byte == SIGINT ? CTRL_C_EVENT : CTRL_CLOSE_EVENT)) DieOf(byte);
    }
    return nullptr;
}

bool StartWatching() {
    if (pipe_ends[0] < 0 && pipe2(pipe_ends, O_CLOEXEC) != 0) return false;
    if (pthread_create(&control.watcher, nullptr, Watch, nullptr) != 0) return false;
    for (Watched& one : control.watched) {
        struct sigaction action {};
        action.sa_handler = OnSignal;
        action.sa_flags = SA_RESTART;
        sigaction(one.signal, &action, &one.before);
    }
    return control.running = true;
}

// The watcher is waited for, unless it is the one that asks.
void StopWatching(std::unique_lock<std::mutex>& lock) {
    for (Watched& one : control.watched)
        sigaction(one.signal, &one.before, nullptr);
    control.running = false;
    const pthread_t watcher = control.watcher;
    Tell(kEnd);
    lock.unlock();
    if (pthread_equal(watcher, pthread_self()))
        pthread_detach(watcher);
    else
        pthread_join(watcher, nullptr);
}

BOOL AddHandler(PHANDLER_ROUTINE handler) {
    std::unique_lock lock(control_lock);
    if (control.count == kMaxHandlers || (!control.running && !StartWatching()))
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    control.handlers[control.count++] = handler;
    return TRUE;
}

BOOL RemoveHandler(PHANDLER_ROUTINE handler) {
    std::unique_lock lock(control_lock);
    size_t place = control.count;
    while (place > 0 && control.handlers[place - 1] != handler)
        --place;
    if (place == 0) return Fail(ERROR_INVALID_PARAMETER);
    for (; place < control.count; ++place)
        control.handlers[place - 1] = control.handlers[place];
    if (--control.count == 0) StopWatching(lock);
    return TRUE;
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

BOOL WINAPI SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
    if (FaultStrikes("SetConsoleCtrlHandler", ERROR_NOT_ENOUGH_MEMORY)) return FALSE;
    if (handler) return add ? AddHandler(handler) : RemoveHandler(handler);
    return std::signal(SIGINT, add ? SIG_IGN : SIG_DFL) != SIG_ERR ? TRUE : Fail(ERROR_GEN_FAILURE);
}
