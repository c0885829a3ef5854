// A singly linked list that owns its entries. An `Entry` has a member `Entry* next`.
#pragma once

#include <cstdint>
#include <new>
#include <utility>

namespace tolvane {

template <class Entry>
class OwnedList {
  public:
    OwnedList() = default;
    OwnedList(const OwnedList&) = delete;
    OwnedList& operator=(const OwnedList&) = delete;
    ~OwnedList() { Clear(); }

    const Entry* First() const { return first_; }

    // A new, zeroed entry at the end; null without memory.
    Entry* Append() {
        auto* entry = new (std::nothrow) Entry{};
        if (!entry) return nullptr;
        (last_ ? last_->next : first_) = entry;
        return last_ = entry;
    }

    // Null at and behind the end.
    const Entry* At(uint32_t index) const {
        const Entry* entry = first_;
        while (entry && index--)
            entry = entry->next;
        return entry;
    }

    void Clear() {
        while (Entry* entry = first_) {
            first_ = entry->next;
            delete entry;
        }
        last_ = nullptr;
    }

    void Swap(OwnedList& other) {
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
    }

  private:
    Entry* first_ = nullptr;
    Entry* last_ = nullptr;
};

}  // namespace tolvane
