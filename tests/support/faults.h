// Makes each service call that an action makes fail in turn: once, and from
// then on.
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

using Step = std::function<void()>;

// Runs `action` undisturbed, then with each of its service calls failing: once,
// and, unless it is one that gives something back, from then on. `prepare` runs
// before each run and `check` after it, both without a fault. In the end the
// process holds no more than after the first run. Tells the number of calls,
// under `name`, and returns it.
uint32_t FailEachCall(
    const char* name, const Step& action, const Step& check, const Step& prepare = [] {},
    size_t slack = 16384);

}  // namespace tolvane::test
