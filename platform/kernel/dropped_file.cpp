#include "platform/kernel/dropped_file.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>

namespace tolvane::platform {

namespace {

constexpr off_t kLarge = 4 << 20;  // what is smaller is gone sooner than a thread has begun
constexpr timespec kLook = {0, 500'000};
constexpr int kMostLooks = 4000;  // in the child of a fork nobody lets go any more

std::atomic<int> letting_go;

void* LetGo(void* fd) {
    close(static_cast<int>(reinterpret_cast<intptr_t>(fd)));
    letting_go.fetch_sub(1, std::memory_order_release);
    return nullptr;
}

// The thread takes no signals: the host's handlers run in the host's threads.
bool StartThread(int fd) {
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const bool started = pthread_create(&thread, nullptr, LetGo, reinterpret_cast<void*>(intptr_t{fd})) == 0;
    if (started) pthread_detach(thread);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

}  // namespace

DroppedFile::DroppedFile(const char* name) {
    struct stat status;
    if (lstat(name, &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink != 1) return;
    if (off_t{status.st_blocks} * 512 >= kLarge) fd_.Reset(open(name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

DroppedFile::~DroppedFile() {
    struct stat status;
    if (!fd_ || fstat(fd_.get(), &status) != 0 || status.st_nlink != 0) return;
    letting_go.fetch_add(1, std::memory_order_relaxed);
    if (StartThread(fd_.get()))
        fd_.Release();
    else
        letting_go.fetch_sub(1, std::memory_order_relaxed);
}

bool WaitForDroppedFiles() {
    if (letting_go.load(std::memory_order_acquire) == 0) return false;
    for (int i = 0; i < kMostLooks && letting_go.load(std::memory_order_acquire) != 0; ++i)
        nanosleep(&kLook, nullptr);
    return true;
}

}  // namespace tolvane::platform
