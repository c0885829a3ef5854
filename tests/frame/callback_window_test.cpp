// Who is told of a playback's end: the window in force at that moment, or nobody.
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

class CallbackWindow : public Playing {};

TEST_F(CallbackWindow, IsTheOneInForceAtTheEnd) {
    Make({8000, 1, 8}, 3000);
    ASSERT_EQ(Play(), TOLVANE_OK);
    HostWindow second;
    Advance(3000);
    EXPECT_EQ(second.Ended(), 1);
    ASSERT_EQ(Play(), TOLVANE_OK);
    SetCallbackWindow(window_.Handle());
    AudioStop();
    EXPECT_EQ(second.Ended(), 1);
    EXPECT_EQ(window_.Ended(), 1);
}

TEST_F(CallbackWindow, MayBeNone) {
    Make({8000, 1, 8}, 3000);
    SetCallbackWindow(nullptr);
    ASSERT_EQ(Play(), TOLVANE_OK);
    Advance(3000);
    EXPECT_TRUE(Closed());
    ASSERT_EQ(Play(), TOLVANE_OK);
    AudioStop();
    EXPECT_EQ(window_.Ended(), 0);
}

TEST_F(CallbackWindow, MayBeGone) {
    Make({8000, 1, 8}, 3000);
    for (const auto* nowhere : {"gone", "never there"}) {
        const HostWindow gone;
        const HWND handle = *nowhere == 'g' ? gone.Handle() : reinterpret_cast<HWND>(uintptr_t{0x7FFF1234});
        DestroyWindow(gone.Handle());
        SetCallbackWindow(handle);
        ASSERT_EQ(Play(), TOLVANE_OK);
        Advance(3000);
        EXPECT_TRUE(Closed()) << nowhere;
    }
    EXPECT_EQ(window_.Ended(), 0);
}

}  // namespace
}  // namespace tolvane::test
