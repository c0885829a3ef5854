// The ring of a thread's messages.
#include "platform/messages/message_queue.h"

#include <cstdlib>

namespace tolvane::platform {

namespace {
constexpr UINT kFirstCapacity = 256;
constexpr UINT kLargestCapacity = 16384;
}  // namespace

bool MessageFilter::Takes(const MSG& message) const {
    if (message.message == WM_QUIT) return true;
    const bool no_window_only = window == reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1));
    if (no_window_only ? message.hwnd != nullptr : window && message.hwnd != window) return false;
    return (first == 0 && last == 0) || (message.message >= first && message.message <= last);
}

MessageQueue::~MessageQueue() {
    std::free(ring_);
}

bool MessageQueue::Prepare() {
    return ring_ || Grow(kFirstCapacity);
}

bool MessageQueue::Grow(UINT capacity) {
    if (capacity > kLargestCapacity) return false;
    auto* grown = static_cast<QueuedMessage*>(std::malloc(capacity * sizeof(QueuedMessage)));
    if (!grown) return false;
    for (UINT i = 0; i < count_; ++i)
        grown[i] = At(i);
    std::free(ring_);
    ring_ = grown;
    capacity_ = capacity;
    first_ = 0;
    return true;
}

bool MessageQueue::Post(const MSG& message, bool from_device) {
    if (!Prepare() || (count_ == capacity_ && !Grow(capacity_ * 2))) return false;
    At(count_++) = {message, from_device};
    device_messages += from_device;
    return true;
}

bool MessageQueue::Find(const MessageFilter& filter, MSG& message, bool remove) {
    for (UINT i = 0; i < count_; ++i) {
        if (!filter.Takes(At(i).message)) continue;
        message = At(i).message;
        if (remove) {
            dealing_with_device |= At(i).from_device;
            Remove(i);
        }
        return true;
    }
    return false;
}

void MessageQueue::Remove(UINT index) {
    device_messages -= At(index).from_device;
    for (; index > 0; --index)
        At(index) = At(index - 1);
    first_ = (first_ + 1) & (capacity_ - 1);
    --count_;
}

void MessageQueue::Drop(HWND window) {
    for (UINT i = 0; i < count_;) {
        if (At(i).message.hwnd == window)
            Remove(i);
        else
            ++i;
    }
}

}  // namespace tolvane::platform
