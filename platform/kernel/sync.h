// Mutexes and events.
#ifndef TOLVANE_PLATFORM_KERNEL_SYNC_H
#define TOLVANE_PLATFORM_KERNEL_SYNC_H

#include "platform/kernel/thread.h"

namespace tolvane::platform {

class Event final : public Waitable {
  public:
    Event(bool manual_reset, bool set) : manual_reset_(manual_reset), set_(set) {}
    bool IsSignalled(const Thread&) const override { return set_; }
    DWORD Take(Thread&) override {
        set_ = set_ && manual_reset_;
        return WAIT_OBJECT_0;
    }
    void Set(const Lock& lock) {
        set_ = true;
        WakeWaiters(this, lock);
    }

  private:
    const bool manual_reset_;
    bool set_;
};

// Recursive; known to its owner, whose end abandons it to the next one.
class Mutex final : public Waitable {
  public:
    ~Mutex() override;
    bool IsSignalled(const Thread& waiter) const override { return !owner_ || owner_ == &waiter; }
    DWORD Take(Thread& thief) override;
    // False when the caller is not the owner.
    bool Give(Thread& caller, const Lock&);
    // Gives up all mutexes of a thread that ends.
    static void AbandonAll(Thread& owner, const Lock&);

  private:
    void Unlink();

    Thread* owner_ = nullptr;
    uint32_t depth_ = 0;
    bool abandoned_ = false;
    Mutex* next_ = nullptr;  // of the owner's
};

}  // namespace tolvane::platform
#endif
