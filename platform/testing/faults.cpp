// Counts the calls of services by name and decides which of them fails. Fixed tables, so that counting never
// allocates; one flag is read while no test is interested.
#include "platform/testing/faults.h"

#include <atomic>
#include <cstring>
#include <mutex>

namespace {

constexpr size_t kNames = 256;
constexpr size_t kNameLength = 64;

struct CallCount {
    const char* name;  // of the service that calls: text that lasts
    uint32_t calls;
};

struct FaultState {
    CallCount counts[kNames];
    size_t names;
    uint32_t all_calls;
    char name[kNameLength];  // empty: no fault
    uint32_t nth, result, struck;
    bool sticky;
};

constinit std::atomic<bool> counting{false};
constinit std::mutex state_lock;
constinit FaultState state{};

CallCount* FindCount(const char* name) {
    for (size_t i = 0; i < state.names; ++i) {
        if (std::strcmp(state.counts[i].name, name) == 0) return &state.counts[i];
    }
    return nullptr;
}

uint32_t CountCall(const char* name) {
    ++state.all_calls;
    if (CallCount* known = FindCount(name)) return ++known->calls;
    if (state.names == kNames) return 0;
    state.counts[state.names++] = {name, 1};
    return 1;
}

void Restart(const char* name, uint32_t nth, uint32_t result, bool sticky) {
    std::lock_guard guard(state_lock);
    state = {};
    std::strncpy(state.name, name, kNameLength - 1);
    state.nth = nth;
    state.result = result;
    state.sticky = sticky;
    counting.store(true, std::memory_order_relaxed);
}

bool Strikes(const char* name, uint32_t calls) {
    const bool of_all = std::strcmp(state.name, "*") == 0;
    if (!of_all && std::strcmp(state.name, name) != 0) return false;
    const uint32_t call = of_all ? state.all_calls : calls;
    return state.sticky ? call >= state.nth : call == state.nth;
}

}  // namespace

int PlatformFailCall(const char* name, uint32_t nth, uint32_t result, int sticky) {
    if (!name || !*name || std::strlen(name) >= kNameLength || nth == 0) return 0;
    Restart(name, nth, result, sticky != 0);
    return 1;
}

void PlatformFailNone(void) {
    Restart("", 0, 0, false);
}

uint32_t PlatformCallCount(const char* name) {
    std::lock_guard guard(state_lock);
    if (std::strcmp(name, "*") == 0) return state.all_calls;
    const CallCount* known = FindCount(name);
    return known ? known->calls : 0;
}

uint32_t PlatformFaultsStruck(void) {
    std::lock_guard guard(state_lock);
    return state.struck;
}

int PlatformFaultStrikes(const char* name, uint32_t* result) {
    if (!counting.load(std::memory_order_relaxed)) return 0;
    std::lock_guard guard(state_lock);
    if (!Strikes(name, CountCall(name))) return 0;
    ++state.struck;
    *result = state.result;
    return 1;
}
