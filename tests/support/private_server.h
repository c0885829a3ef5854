// A sound server of the test's own, in a child process that has not met another server before.
#pragma once

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "platform.h"
#include "support/child.h"
#include "support/temp_folder.h"
#include "tolvane.h"

namespace tolvane::test {

// Each test begins with: if (IsParent()) return;
class PrivateServer : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!PlatformUseCard(PLATFORM_CARD_SERVER))
            GTEST_SKIP() << "cards cannot be chosen here: no private server";
        if (!std::getenv(kChild)) return;
        started_ = StartSoundServer(server_);
        ASSERT_TRUE(started_);
    }
    void TearDown() override {
        AudioStop();
        if (started_) StopSoundServer(server_);
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }
    // True in the parent, where the child has done everything.
    static bool IsParent() {
        if (std::getenv(kChild)) return false;
        const Variable child(kChild, "1");
        EXPECT_TRUE(PassesInAChild());
        return true;
    }

    static constexpr const char* kChild = "TOLVANE_TEST_PRIVATE_SERVER";
    bool started_ = false;
    TempFolder folder_;
    const std::string server_ = folder_.Path("server");
    const Variable home_{"PULSE_SERVER", "unix:" + server_ + "/native"};
};

}  // namespace tolvane::test
