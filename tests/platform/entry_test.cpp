// Loading and unloading a library that has an entry point and a thread.
#include <windows.h>

#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/platform/workspace.h"

using namespace tolvane::testing;

namespace {

HMODULE LoadListening() {
    const HMODULE probe = LoadLibraryA(TOLVANE_PROBE);
    if (!probe) return nullptr;
    const auto listen =
        reinterpret_cast<int (*)()>(reinterpret_cast<void (*)()>(GetProcAddress(probe, "ProbeListen")));
    return listen() == 1 ? probe : nullptr;
}

}  // namespace

TEST(Entry, ALibraryComesAndGoesWithItsThread) {
    const auto cycle = [] {
        const HMODULE probe = LoadListening();
        ASSERT_NE(probe, nullptr);
        ASSERT_TRUE(FreeLibrary(probe));
        ASSERT_EQ(dlopen(TOLVANE_PROBE, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is really gone";
    };
    for (int i = 0; i < 20; ++i)
        cycle();
    const Holdings before;
    for (int i = 0; i < 500; ++i)
        cycle();
    const Holdings after;
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_LT(after.heap, before.heap + 16384);
}

TEST(EntryDeathTest, AProcessThatEndsWaitsForNoThread) {
    EXPECT_EXIT(
        {
            alarm(20);
            if (LoadListening()) std::exit(0);
            std::exit(1);
        },
        testing::ExitedWithCode(0), "the process ends");
    EXPECT_EXIT(
        {
            alarm(20);
            const HMODULE probe = LoadListening();
            std::exit(probe && FreeLibrary(probe) ? 0 : 1);
        },
        testing::ExitedWithCode(0), "^$");
}
