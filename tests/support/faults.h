// Makes each service call that an action makes fail in turn: once, and from then on.
#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "platform/testing/faults.h"

namespace tolvane::test {

// Whether calls can be made to fail here; leaves no fault behind.
bool FaultsAvailable();

// Takes the fault back at the end of a scope.
struct FaultScope {
    explicit FaultScope(const std::string& name, uint32_t nth, bool sticky = false, uint32_t result = 0) {
        PlatformFailCall(name.c_str(), nth, result, sticky);
    }
    ~FaultScope() { PlatformFailNone(); }
    FaultScope(const FaultScope&) = delete;
    FaultScope& operator=(const FaultScope&) = delete;
};

// Runs `action` undisturbed once, then with each of its service calls failing: once, and, unless it is one
// that gives something back, from then on. `prepare` runs before each run and `check` after it, both without
// a fault. Returns the number of calls.
uint32_t FailEachCall(
    const std::function<void()>& action, const std::function<void()>& check,
    const std::function<void()>& prepare = [] {});

}  // namespace tolvane::test
