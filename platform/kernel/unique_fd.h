// The one owner of a file descriptor.
#ifndef TOLVANE_PLATFORM_KERNEL_UNIQUE_FD_H
#define TOLVANE_PLATFORM_KERNEL_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace tolvane::platform {

class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.fd_, -1));
        return *this;
    }
    ~UniqueFd() { Reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int Release() { return std::exchange(fd_, -1); }
    // False when closing reports that written data was lost.
    bool Reset(int fd = -1) {
        const int old = std::exchange(fd_, fd);
        return old < 0 || close(old) == 0;
    }

  private:
    int fd_ = -1;
};

}  // namespace tolvane::platform
#endif
