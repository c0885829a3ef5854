// What a wait is for, and the parts of waiting that know about messages.
#ifndef TOLVANE_PLATFORM_KERNEL_WAIT_H
#define TOLVANE_PLATFORM_KERNEL_WAIT_H

#include <algorithm>

#include "platform/kernel/thread.h"
#include "platform/messages/window.h"

namespace tolvane::platform {

struct WaitRequest {
    Deadline deadline;
    bool all;       // objects
    bool messages;  // a message ends the wait as well
};

// As WaitUntil; a timer of the thread that becomes due is looked at too where messages are waited for.
template <typename Ready>
WaitEnd WaitUntilOrTimer(Lock& lock, Thread& self, const WaitRequest& request, Ready ready) {
    for (;;) {
        const Deadline timer = request.messages ? NextTimer(self, lock) : kNever;
        const WaitEnd end = WaitUntil(lock, self, std::min(timer, request.deadline), ready);
        if (end != WaitEnd::kTimeout || request.deadline <= timer) return end;
    }
}

}  // namespace tolvane::platform
#endif
