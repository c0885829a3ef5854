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

// Runs `action` undisturbed once, then with each of its calls of `service` ("*": of any) failing, once and
// from then on, and calls `check` after each run with the fault taken back. Returns the number of points.
uint32_t FailEachCall(const std::string& service, const std::function<void()>& action,
                      const std::function<void()>& check);

}  // namespace tolvane::test
