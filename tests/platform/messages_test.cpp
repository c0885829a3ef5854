// Thread queues, message-only windows, and knowing when a device's messages have been dealt with.
#include <windows.h>

#include <process.h>

#include <atomic>
#include <gtest/gtest.h>
#include <vector>

#include "platform/messages/queue.h"
#include "tests/platform/workspace.h"

using namespace tolvane::testing;
using tolvane::platform::PostToThread;
using tolvane::platform::WaitUntilIdle;

namespace {

constexpr UINT kSlow = WM_APP + 1;

// A thread that keeps what it is told until it is told to quit.
class Listener {
  public:
    Listener() { thread_ = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Run, this, 0, &id)); }
    ~Listener() { Quit(); }
    void Quit() {
        if (!thread_) return;
        PostThreadMessageA(id, WM_QUIT, 0, 0);
        EXPECT_EQ(WaitForSingleObject(thread_, 5000), WAIT_OBJECT_0);
        EXPECT_TRUE(CloseHandle(thread_));
        thread_ = nullptr;
    }
    void Terminate() { EXPECT_TRUE(TerminateThread(thread_, 0)); }

    unsigned id = 0;
    std::atomic<size_t> count{0};
    std::vector<MSG> heard;  // to be read when the thread waits or has ended

  private:
    static unsigned Run(void* self) {
        auto& listener = *static_cast<Listener*>(self);
        MSG message;
        while (GetMessageA(&message, nullptr, 0, 0) > 0) {
            if (message.message == kSlow) Sleep(static_cast<DWORD>(message.wParam));
            listener.heard.push_back(message);
            ++listener.count;
        }
        return 0;
    }
    HANDLE thread_ = nullptr;
};

void Drain() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
}

struct Seen {
    std::vector<UINT> messages;
    LRESULT answer_to_create = 0;
};

LRESULT CALLBACK Note(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_NCCREATE)
        SetWindowLongPtrA(
            window, GWLP_USERDATA,
            reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTA*>(lparam)->lpCreateParams));
    auto* seen = reinterpret_cast<Seen*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    seen->messages.push_back(message);
    if (message == WM_CREATE) return seen->answer_to_create;
    return DefWindowProcA(window, message, wparam, lparam);
}

struct NoteClass {
    NoteClass() {
        WNDCLASSEXA description{};
        description.cbSize = sizeof description;
        description.lpfnWndProc = Note;
        description.lpszClassName = "Note";
        EXPECT_NE(RegisterClassExA(&description), 0);
        EXPECT_EQ(RegisterClassExA(&description), 0) << "once";
    }
    ~NoteClass() { EXPECT_TRUE(UnregisterClassA("Note", nullptr)); }
    HWND Create(Seen& seen) const {
        return CreateWindowExA(0, "nOTE", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, &seen);
    }
};

}  // namespace

TEST(Messages, ArriveInOrderEvenBeforeAnyoneListens) {
    Listener listener;
    for (WPARAM i = 0; i < 3000; ++i)
        ASSERT_TRUE(PostThreadMessageA(listener.id, WM_APP, i, -5));
    listener.Quit();
    ASSERT_EQ(listener.heard.size(), 3000u);
    for (WPARAM i = 0; i < 3000; ++i) {
        ASSERT_EQ(listener.heard[i].wParam, i);
        ASSERT_EQ(listener.heard[i].lParam, -5);
    }
    EXPECT_FALSE(PostThreadMessageA(listener.id, WM_APP, 0, 0)) << "the thread has ended";
    EXPECT_EQ(GetLastError(), ERROR_INVALID_THREAD_ID);
    EXPECT_FALSE(PostToThread(listener.id, WM_APP, 0, 0));
}

TEST(Messages, AQueueIsBounded) {
    const DWORD self = GetCurrentThreadId();
    size_t posted = 0;
    while (posted < 100000 && PostThreadMessageA(self, WM_APP, posted, 0))
        ++posted;
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_QUOTA);
    EXPECT_GE(posted, 10000u);
    EXPECT_LT(posted, 100000u);
    MSG message;
    for (size_t i = 0; i < posted; ++i) {
        ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
        ASSERT_EQ(message.wParam, i);
    }
    EXPECT_FALSE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
}

TEST(Messages, FiltersPassOverTheOthers) {
    Drain();
    NoteClass note;
    Seen seen;
    const HWND window = note.Create(seen);
    ASSERT_NE(window, nullptr);
    PostMessageA(window, WM_USER, 1, 0);
    PostThreadMessageA(GetCurrentThreadId(), WM_USER, 2, 0);
    PostThreadMessageA(GetCurrentThreadId(), WM_USER + 7, 3, 0);
    PostQuitMessage(12);
    MSG message;
    EXPECT_TRUE(PeekMessageA(&message, nullptr, WM_USER + 7, WM_USER + 9, PM_NOREMOVE));
    EXPECT_EQ(message.wParam, 3u);
    EXPECT_TRUE(PeekMessageA(&message, reinterpret_cast<HWND>(intptr_t{-1}), 0, 0, PM_REMOVE));
    EXPECT_EQ(message.wParam, 2u);
    EXPECT_TRUE(PeekMessageA(&message, window, WM_USER, WM_USER, PM_REMOVE));
    EXPECT_EQ(message.wParam, 1u);
    EXPECT_EQ(GetMessageA(&message, nullptr, 0, 0), 1);
    EXPECT_EQ(message.wParam, 3u) << "before the end, which was asked for first but comes last";
    EXPECT_EQ(GetMessageA(&message, window, WM_USER, WM_USER), 0) << "no filter keeps the end away";
    EXPECT_EQ(message.message, WM_QUIT);
    EXPECT_EQ(message.wParam, 12u);
    PostMessageA(window, WM_USER, 1, 0);
    ASSERT_TRUE(DestroyWindow(window));
    EXPECT_FALSE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) << "its messages went with the window";
    EXPECT_EQ(GetMessageA(&message, window, 0, 0), -1);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
}

TEST(Windows, LiveFromCreateToDestroy) {
    NoteClass note;
    Seen seen;
    seen.answer_to_create = -1;
    EXPECT_EQ(note.Create(seen), nullptr) << "its procedure refused";
    seen = {};
    const HWND window = note.Create(seen);
    ASSERT_TRUE(IsWindow(window));
    EXPECT_FALSE(UnregisterClassA("Note", nullptr));
    EXPECT_EQ(GetLastError(), ERROR_CLASS_HAS_WINDOWS);
    ASSERT_TRUE(PostMessageA(window, WM_CLOSE, 0, 0));
    MSG message;
    ASSERT_EQ(GetMessageA(&message, nullptr, 0, 0), 1);
    DispatchMessageA(&message);
    EXPECT_EQ(seen.messages, (std::vector<UINT>{WM_NCCREATE, WM_CREATE, WM_CLOSE, WM_DESTROY, WM_NCDESTROY}));
    EXPECT_FALSE(IsWindow(window));
    EXPECT_FALSE(PostMessageA(window, WM_USER, 0, 0));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_FALSE(DestroyWindow(window) || CloseHandle(window));
}

TEST(Messages, AWaitEndsWithAMessageOrAnObject) {
    Drain();
    const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    EXPECT_EQ(MsgWaitForMultipleObjects(1, &event, FALSE, 3, QS_ALLINPUT), WAIT_TIMEOUT);
    PostThreadMessageA(GetCurrentThreadId(), WM_APP, 0, 0);
    EXPECT_EQ(MsgWaitForMultipleObjects(1, &event, FALSE, 5000, QS_ALLINPUT), WAIT_OBJECT_0 + 1);
    SetEvent(event);
    EXPECT_EQ(MsgWaitForMultipleObjects(1, &event, FALSE, 5000, QS_ALLINPUT), WAIT_OBJECT_0);
    EXPECT_EQ(MsgWaitForMultipleObjects(1, &event, FALSE, 5000, QS_ALLINPUT), WAIT_OBJECT_0 + 1);
    Drain();
    CloseHandle(event);
}

TEST(Messages, IdleMeansReadAndDealtWith) {
    Listener listener;
    EXPECT_TRUE(WaitUntilIdle());
    for (size_t i = 1; i <= 200; ++i) {
        ASSERT_TRUE(PostToThread(listener.id, i % 20 ? WM_APP : kSlow, 2, 0));
        if (i % 3) continue;
        ASSERT_TRUE(WaitUntilIdle());
        ASSERT_EQ(listener.count, i);
    }
    PostToThread(GetCurrentThreadId(), WM_APP, 0, 0);
    EXPECT_TRUE(WaitUntilIdle()) << "who asks is not waited for";
    Drain();
    PostToThread(listener.id, kSlow, INFINITE, 0);
    const DWORD before = GetTickCount();
    EXPECT_FALSE(WaitUntilIdle()) << "a thread that is stuck is waited for in vain, but not for ever";
    EXPECT_LT(GetTickCount() - before, 10000u);
    listener.Terminate();
    EXPECT_TRUE(WaitUntilIdle()) << "an ended thread has nothing left to do";
}
