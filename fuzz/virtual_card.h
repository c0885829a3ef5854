// The virtual card with a clock that a target moves; what it played is not kept.
#pragma once

#include <gtest/gtest.h>

#include "platform.h"

namespace tolvane::test {

struct FuzzedCard {
    FuzzedCard() {
        EXPECT_TRUE(PlatformUseCard(PLATFORM_CARD_VIRTUAL) && PlatformVirtualReset());
        EXPECT_TRUE(PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED));
        PlatformVirtualKeepPlayed(0, 0);
    }
};

}  // namespace tolvane::test
