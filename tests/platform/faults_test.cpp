// Services that fail when a test wants them to.
#include "platform/testing/faults.h"

#include <gtest/gtest.h>
#include <mmiscapi.h>
#include <process.h>

#include <thread>

#include "tests/platform/workspace.h"

using namespace tolvane::testing;

namespace {

struct Faults : testing::Test {
    Faults() { PlatformFailNone(); }
    ~Faults() override { PlatformFailNone(); }
};

bool Creates(HANDLE handle) {
    return handle && CloseHandle(handle);
}
bool MakesEvent() {
    return Creates(CreateEventA(nullptr, TRUE, FALSE, nullptr));
}
bool MakesMutex() {
    return Creates(CreateMutexA(nullptr, FALSE, nullptr));
}
unsigned Nothing(void*) {
    return 0;
}

}  // namespace

TEST_F(Faults, StrikeTheNthCallOfAName) {
    ASSERT_TRUE(PlatformFailCall("CreateEventA", 3, ERROR_DISK_FULL, 0));
    EXPECT_TRUE(MakesEvent() && MakesMutex() && MakesEvent());
    EXPECT_FALSE(MakesEvent());
    EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
    EXPECT_TRUE(MakesEvent()) << "once only";
    EXPECT_EQ(PlatformCallCount("CreateEventA"), 4u);
    EXPECT_EQ(PlatformCallCount("CreateMutexA"), 1u);
    EXPECT_EQ(PlatformFaultsStruck(), 1u);
}

TEST_F(Faults, StickAndCountAllNames) {
    ASSERT_TRUE(PlatformFailCall("*", 4, 0, 1));  // closing counts too
    EXPECT_TRUE(MakesEvent());
    EXPECT_EQ(PlatformCallCount("*"), 2u);
    EXPECT_FALSE(MakesMutex()) << "made, but closing is said to fail";
    EXPECT_FALSE(MakesEvent());
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY) << "the usual code";
    EXPECT_EQ(PlatformFaultsStruck(), 2u);
    PlatformFailNone();
    EXPECT_TRUE(MakesEvent());
    EXPECT_EQ(PlatformFaultsStruck(), 0u);
    EXPECT_EQ(PlatformCallCount("*"), 2u) << "counted from 0 again";
}

TEST_F(Faults, ReleasingIsDoneAllTheSame) {
    Workspace space;
    Put(space.Name("f"), "x");
    const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HMMIO file = mmioOpenA(space.Name("f").data(), nullptr, MMIO_READ);
    const HGLOBAL memory = GlobalAlloc(GHND, 10);
    const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Nothing, nullptr, 0, nullptr));
    PlatformFailCall("*", 1, 0, 1);
    EXPECT_EQ(mmioClose(file, 0), MMRESULT{MMIOERR_CANNOTWRITE});
    EXPECT_EQ(GlobalFree(memory), memory);
    EXPECT_FALSE(CloseHandle(event));
    EXPECT_FALSE(TerminateThread(thread, 0));
    EXPECT_FALSE(CloseHandle(thread));
    PlatformFailNone();
    EXPECT_NE(mmioClose(file, 0), 0u);
    EXPECT_EQ(GlobalLock(memory), nullptr);
    EXPECT_FALSE(SetEvent(event));
    EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_FAILED);
}
