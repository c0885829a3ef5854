// Files that lose their last name. The system gives back what it keeps of a large one before the call that took the
// name returns, and needs half as long for it as writing it took; here that is done beside the caller.
#ifndef TOLVANE_PLATFORM_KERNEL_DROPPED_FILE_H
#define TOLVANE_PLATFORM_KERNEL_DROPPED_FILE_H

#include "platform/kernel/unique_fd.h"

namespace tolvane::platform {

// Keeps the file of that name, if it is a large one, beyond the loss of the name; when this ends, a thread of its own
// lets it go.
class DroppedFile {
  public:
    explicit DroppedFile(const char* name);
    ~DroppedFile();
    DroppedFile(const DroppedFile&) = delete;
    DroppedFile& operator=(const DroppedFile&) = delete;

  private:
    UniqueFd fd_;
};

// For whoever counts free space or found none: waits until all that was let go is free. False when nothing was.
bool WaitForDroppedFiles();

}  // namespace tolvane::platform
#endif
