// The table of handles. A handle's value holds its place in the table and how often that place was used
// before.
#include "platform/kernel/object.h"

#include <cstdlib>

#include "platform/kernel/error.h"

namespace tolvane::platform {

constinit std::mutex kernel_lock;

namespace {

constexpr uint32_t kPlaceBits = 18;
constexpr uint32_t kMaxPlaces = (1u << kPlaceBits) - 1;
constexpr uint32_t kUses =
    1u << 12;  // 2 + 18 + 12 bits: a handle's value fits 32 bits, as the system promises

struct Slot {
    Object* object;
    uint32_t uses;
    uint32_t next_free;  // place + 1
};

// Never freed: threads may still use handles while the process ends.
Slot* slots = nullptr;
uint32_t slot_count = 0;
uint32_t first_free = 0;

bool Grow(const Lock&) {
    const uint32_t wanted = slot_count ? slot_count * 2 : 64;
    if (wanted > kMaxPlaces) return false;
    auto* grown = static_cast<Slot*>(std::realloc(slots, wanted * sizeof(Slot)));
    if (!grown) return false;
    slots = grown;
    for (uint32_t i = wanted; i-- > slot_count;) {
        slots[i] = {nullptr, 0, first_free};
        first_free = i + 1;
    }
    slot_count = wanted;
    return true;
}

HANDLE ValueOf(uint32_t place, const Slot& slot) {
    return reinterpret_cast<HANDLE>(static_cast<uintptr_t>(((slot.uses << kPlaceBits) | (place + 1)) << 2));
}

Slot* SlotOf(HANDLE handle, const Lock&) {
    const auto value = reinterpret_cast<uintptr_t>(handle);
    if ((value & 3) || value > UINT32_MAX) return nullptr;
    const auto place = static_cast<uint32_t>(value >> 2) & kMaxPlaces;
    if (place == 0 || place > slot_count) return nullptr;
    Slot& slot = slots[place - 1];
    return slot.object && ValueOf(place - 1, slot) == handle ? &slot : nullptr;
}

}  // namespace

HANDLE MakeHandle(Ref<Object> object) {
    Lock lock(kernel_lock);
    if (!object || (!first_free && !Grow(lock))) {
        lock.unlock();
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const uint32_t place = first_free - 1;
    Slot& slot = slots[place];
    first_free = slot.next_free;
    slot.object = object.Detach();
    return ValueOf(place, slot);
}

Object* ObjectOfLocked(HANDLE handle, const Lock& lock) {
    const Slot* slot = SlotOf(handle, lock);
    return slot ? slot->object : nullptr;
}

Ref<Object> ObjectOf(HANDLE handle) {
    Lock lock(kernel_lock);
    Object* object = ObjectOfLocked(handle, lock);
    if (object) object->AddRef();
    return Ref<Object>(object);
}

Object* TakeHandleLocked(HANDLE handle, const Lock& lock) {
    Slot* slot = SlotOf(handle, lock);
    if (!slot) return nullptr;
    slot->uses = (slot->uses + 1) % kUses;
    slot->next_free = first_free;
    first_free = static_cast<uint32_t>(slot - slots) + 1;
    return std::exchange(slot->object, nullptr);
}

Ref<Object> TakeHandle(HANDLE handle) {
    Lock lock(kernel_lock);
    return Ref<Object>(TakeHandleLocked(handle, lock));
}

void ForEachObject(const Lock&, void (*visit)(Object&, void*), void* context) {
    for (uint32_t i = 0; i < slot_count; ++i) {
        if (slots[i].object) visit(*slots[i].object, context);
    }
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

BOOL WINAPI CloseHandle(HANDLE handle) {
    const bool fault = FaultStrikes("CloseHandle", ERROR_INVALID_HANDLE);
    Ref<Object> object = ObjectOf(handle);
    if (!object || !object->ClosesByHandle()) return Fail(ERROR_INVALID_HANDLE);
    Ref<Object> taken = TakeHandle(handle);
    if (taken) taken->HandleClosed();
    return fault ? FALSE : TRUE;
}
