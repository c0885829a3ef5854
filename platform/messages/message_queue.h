// The messages of one thread. All members are used with the kernel's lock.
#ifndef TOLVANE_PLATFORM_MESSAGES_MESSAGE_QUEUE_H
#define TOLVANE_PLATFORM_MESSAGES_MESSAGE_QUEUE_H

#include <windows.h>

namespace tolvane::platform {

struct QueuedMessage {
    MSG message;
    bool from_device;
};

// What GetMessageA was asked for.
struct MessageFilter {
    HWND window;  // null: all; -1: only those of no window
    UINT first, last;

    bool Takes(const MSG& message) const;
};

// A ring that starts with room for some hundred messages, so that posting does not allocate, and is bounded.
class MessageQueue {
  public:
    MessageQueue() = default;
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;
    ~MessageQueue();

    // Makes the first room; false without memory.
    bool Prepare();
    bool Post(const MSG& message, bool from_device);
    // The first message that passes, or false.
    bool Find(const MessageFilter& filter, MSG& message, bool remove);
    // Drops the messages of a window that is gone.
    void Drop(HWND window);

    bool quit_posted = false;
    int quit_code = 0;
    bool waits_for_idle = false;
    // Unread messages of devices, and whether the last one read is still being dealt with.
    UINT device_messages = 0;
    bool dealing_with_device = false;

  private:
    QueuedMessage& At(UINT index) { return ring_[(first_ + index) & (capacity_ - 1)]; }
    bool Grow(UINT capacity);
    void Remove(UINT index);

    QueuedMessage* ring_ = nullptr;
    UINT capacity_ = 0;  // a power of two
    UINT first_ = 0, count_ = 0;
};

}  // namespace tolvane::platform
#endif
