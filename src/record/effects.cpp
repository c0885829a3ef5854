#include "record/effects.h"

#include <cstring>
#include <utility>

#include "frame/immortal.h"
#include "frame/lock.h"
#include "frame/text.h"
#include "record/recording.h"

namespace tolvane {

namespace {

constexpr int32_t kSlots = 6;
constexpr size_t kLibraryNameSize = 1560;  // with its terminating zero
constexpr uint32_t kAllParameters = 0xFF00;

// What a plug-in exports; null where it does not.
struct EntryPoints {
    TolvaneApplyEffect apply = nullptr;
    TolvaneSetEffectParams set_params = nullptr;
    TolvaneFreeEffectBuffers free_buffers = nullptr;
    FARPROC abort = nullptr;  // the last two are not called
    FARPROC query = nullptr;
};

struct Slot {
    EntryPoints entry;
    uint32_t enabled = 0;
    const void* parameters = nullptr;  // the host's
    uint32_t size = 0;
    void* copy = nullptr;  // the plug-in's, which frees it
};

struct Effects {
    Lock lock;
    Slot slots[kSlots];
    bool loaded = false;  // a plug-in ever was
    uint32_t generation = 0;
    uint32_t applied = 0;  // the generation for which the copies were made
    WAVEFORMATEX format = {};
};

Effects& TheEffects() {
    return Immortal<Effects>();
}

bool IsSlot(int32_t slot) {
    return slot >= 0 && slot < kSlots;
}

template <class Function>
void Find(HMODULE library, const char* name, Function* function) {
    const FARPROC address = GetProcAddress(library, name);
    static_assert(sizeof *function == sizeof address);
    memcpy(function, &address, sizeof address);
}

EntryPoints FindEntryPoints(HMODULE library) {
    EntryPoints entry;
    Find(library, "ApplyEffect", &entry.apply);
    Find(library, "AbortEffectProcessing", &entry.abort);
    Find(library, "SetEffectParams", &entry.set_params);
    Find(library, "QueryEffectInterface", &entry.query);
    Find(library, "FreeEffectBuffers", &entry.free_buffers);
    return entry;
}

// Fixed memory of the system's, so that a plug-in can free it whatever it is built with.
void* CopyParameters(const Slot& slot) {
    void* copy = GlobalAlloc(GMEM_FIXED, slot.size);
    if (copy) memcpy(copy, slot.parameters, slot.size);
    return copy;
}

Slot SlotNow(Effects& effects, int32_t index) {
    LockGuard guard(effects.lock);
    return effects.slots[index];
}

// A plug-in that cannot free its copy keeps it until there is another.
void ReleaseCopies(Effects& effects) {
    for (Slot& slot : effects.slots) {
        TolvaneFreeEffectBuffers free_buffers;
        void* copy = nullptr;
        {
            LockGuard guard(effects.lock);
            free_buffers = slot.entry.free_buffers;
            if (free_buffers) copy = std::exchange(slot.copy, nullptr);
        }
        if (copy) free_buffers(copy);
    }
}

void MakeCopies(Effects& effects, const WAVEFORMATEX& format) {
    LockGuard guard(effects.lock);
    effects.format = format;
    effects.applied = effects.generation;
    for (Slot& slot : effects.slots) {
        if (!slot.parameters || slot.size == 0) continue;
        GlobalFree(std::exchange(slot.copy, CopyParameters(slot)));  // one that nobody could free
    }
}

void HandParameters(Effects& effects) {
    for (int32_t i = 0; i < kSlots; ++i) {
        const Slot slot = SlotNow(effects, i);
        if (!slot.parameters || !slot.entry.set_params) continue;
        slot.entry.set_params(slot.copy, &effects.format, 0, 0, 0, 0, kAllParameters);
    }
}

bool IsChanged(Effects& effects) {
    LockGuard guard(effects.lock);
    return effects.loaded && effects.generation != effects.applied;
}

}  // namespace

// A library stays loaded for good, whatever takes its slot: threads of its own may run in it. The recording waits, so that
// no function of the old one is at work.
bool LoadEffect(int32_t slot, const char* path) {
    if (!IsSlot(slot) || IsEmpty(path) || !memchr(path, 0, kLibraryNameSize)) return false;
    const HMODULE library = LoadLibraryA(path);
    if (!library) return false;
    Slot fresh;
    fresh.entry = FindEntryPoints(library);
    Effects& effects = TheEffects();
    LockGuard recording_guard(TheRecording().lock);
    LockGuard guard(effects.lock);
    if (!effects.slots[slot].entry.free_buffers) GlobalFree(effects.slots[slot].copy);
    effects.slots[slot] = fresh;
    effects.generation = 1;
    effects.applied = 0;
    effects.format = {};
    effects.loaded = true;
    return true;
}

bool EnableEffect(int32_t slot, uint32_t enabled) {
    if (!IsSlot(slot)) return false;
    Effects& effects = TheEffects();
    LockGuard guard(effects.lock);
    effects.slots[slot].enabled = enabled;
    return true;
}

bool SetEffectParameters(int32_t slot, const void* parameters, uint32_t size) {
    if (!IsSlot(slot)) return false;
    Effects& effects = TheEffects();
    LockGuard guard(effects.lock);
    effects.slots[slot].parameters = parameters;
    effects.slots[slot].size = size;
    return true;
}

void ChangeEffects() {
    Effects& effects = TheEffects();
    LockGuard guard(effects.lock);
    ++effects.generation;
}

void PrepareEffects(const WAVEFORMATEX& format) {
    Effects& effects = TheEffects();
    if (!IsChanged(effects)) return;
    ReleaseCopies(effects);
    MakeCopies(effects, format);
    HandParameters(effects);
}

void ApplyEffects(SoundBlock& block) {
    Effects& effects = TheEffects();
    for (int32_t i = 0; i < kSlots; ++i) {
        const Slot slot = SlotNow(effects, i);
        if (!slot.copy || !slot.enabled || !slot.entry.apply) continue;
        uint32_t bytes = block.bytes;
        slot.entry.apply(block.data, block.data, &bytes, &bytes, slot.copy);
        block.SetBytes(bytes);
    }
}

void ReleaseEffects() {
    ReleaseCopies(TheEffects());
}

}  // namespace tolvane
