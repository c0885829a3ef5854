// The sweep over fault points: their number is counted, not written down.
#include "support/faults.h"

namespace tolvane::test {

bool FaultsAvailable() {
    const bool available = PlatformFailCall("none", 1, 0, 0) != 0;
    PlatformFailNone();
    return available;
}

uint32_t FailEachCall(const std::string& service, const std::function<void()>& action,
                      const std::function<void()>& check) {
    PlatformFailNone();
    action();
    const uint32_t points = PlatformCallCount(service.c_str());
    PlatformFailNone();
    check();
    for (const bool sticky : {false, true}) {
        for (uint32_t nth = 1; nth <= points; ++nth) {
            SCOPED_TRACE(service + " fails at call " + std::to_string(nth) + (sticky ? " and after" : ""));
            {
                FaultScope fault(service, nth, sticky);
                action();
            }
            check();
        }
    }
    return points;
}

}  // namespace tolvane::test
