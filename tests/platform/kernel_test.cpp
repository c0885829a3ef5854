// Handles, threads and what they wait for, memory, the console.
#include <windows.h>

#include <mmsystem.h>
#include <process.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/platform/workspace.h"

using namespace tolvane::testing;

namespace {

template <typename Body>
unsigned RunBody(void* body) {
    return (*static_cast<Body*>(body))();
}

// A thread that runs `body`, which has to live as long.
template <typename Body>
HANDLE Start(Body& body) {
    return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, RunBody<Body>, &body, 0, nullptr));
}

// What the thread answered at its end; its handle is closed.
DWORD Join(HANDLE thread) {
    DWORD code = 0;
    EXPECT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_TRUE(CloseHandle(thread));
    return code;
}

// As the layer sees it: these wait without time limit, each in another way.
unsigned SleepForEver(void*) {
    Sleep(INFINITE);
    return 1;
}
unsigned WaitForMessages(void*) {
    MSG message;
    GetMessageA(&message, nullptr, 0, 0);
    return 1;
}
unsigned WaitForObject(void* object) {
    WaitForSingleObject(object, INFINITE);
    return 1;
}
unsigned WaitForObjectsOrMessages(void* object) {
    const HANDLE objects[] = {object, object};
    MsgWaitForMultipleObjects(2, objects, FALSE, INFINITE, QS_ALLINPUT);
    return 1;
}
unsigned NeverWaitsForLong(void*) {
    for (;;)
        Sleep(0);
}

}  // namespace

TEST(Handles, OfOneKindAreNoneOfAnother) {
    const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
    const HGLOBAL memory = GlobalAlloc(GHND, 16);
    DWORD code;
    EXPECT_FALSE(SetEvent(mutex));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(ReleaseMutex(event) || GetExitCodeThread(event, &code) || CloseHandle(memory));
    EXPECT_EQ(WaitForSingleObject(memory, 0), WAIT_FAILED);
    EXPECT_EQ(GlobalLock(event), nullptr);
    EXPECT_EQ(GlobalFree(event), event);
    for (const HANDLE nonsense :
         {HANDLE{}, HANDLE{reinterpret_cast<void*>(uintptr_t{0x12344})}, static_cast<HANDLE>(&code)})
        EXPECT_FALSE(CloseHandle(nonsense));
    EXPECT_TRUE(CloseHandle(event));
    const HANDLE later = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED)
        << "a closed handle names nothing, whatever came after it";
    EXPECT_TRUE(CloseHandle(later) && CloseHandle(mutex));
    EXPECT_EQ(GlobalFree(memory), nullptr);
    EXPECT_EQ(GlobalFree(memory), memory) << "freed twice";
}

TEST(Threads, EndedInAnyWaitOrAtTheNext) {
    const HANDLE never = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    for (auto start :
         {SleepForEver, WaitForMessages, WaitForObject, WaitForObjectsOrMessages, NeverWaitsForLong}) {
        const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, start, never, 0, nullptr));
        ASSERT_NE(thread, nullptr);
        DWORD code = 0;
        EXPECT_EQ(WaitForSingleObject(thread, 3), WAIT_TIMEOUT);
        EXPECT_TRUE(GetExitCodeThread(thread, &code));
        EXPECT_EQ(code, STILL_ACTIVE);
        EXPECT_TRUE(TerminateThread(thread, 5));
        EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
        EXPECT_TRUE(TerminateThread(thread, 6)) << "it has ended already";
        EXPECT_EQ(Join(thread), 5u);
    }
    EXPECT_TRUE(CloseHandle(never));
    EXPECT_EQ(_beginthreadex(nullptr, 0, nullptr, nullptr, 0, nullptr), 0u);
    EXPECT_EQ(_beginthreadex(nullptr, 0, SleepForEver, nullptr, 4, nullptr), 0u) << "none starts suspended";
}

TEST(Waits, TakeWhatTheyWaitedForAndAreNeverEarly) {
    const HANDLE events[] = {CreateEventA(nullptr, FALSE, FALSE, nullptr),
                             CreateEventA(nullptr, FALSE, TRUE, nullptr)};
    const auto wait = [&](DWORD count, const HANDLE* objects) {
        return MsgWaitForMultipleObjects(count, objects, FALSE, 5, 0);
    };
    EXPECT_EQ(wait(2, events), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(wait(2, events), WAIT_TIMEOUT);
    SetEvent(events[0]);
    SetEvent(events[1]);
    EXPECT_EQ(wait(2, events), WAIT_OBJECT_0) << "the first of those that are set, and only that one";
    EXPECT_EQ(wait(2, events), WAIT_OBJECT_0 + 1);
    const HANDLE wrong[] = {events[0], INVALID_HANDLE_VALUE};
    EXPECT_EQ(wait(2, wrong), WAIT_FAILED);
    EXPECT_EQ(wait(65, events), WAIT_FAILED);
    const HANDLE stays = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(stays, 0) | WaitForSingleObject(stays, 0), WAIT_OBJECT_0);
    const DWORD before = GetTickCount();
    EXPECT_EQ(WaitForSingleObject(events[0], 30), WAIT_TIMEOUT);
    EXPECT_GE(GetTickCount() - before, 30u);
    EXPECT_LT(timeGetTime() - before, 5000u) << "one clock";
    EXPECT_TRUE(CloseHandle(events[0]) && CloseHandle(events[1]) && CloseHandle(stays));
}

TEST(Waits, AnEventThatResetsItselfWakesOneEach) {
    const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    std::atomic<int> woken{0};
    auto body = [&] {
        if (WaitForSingleObject(event, 5000) == WAIT_OBJECT_0) ++woken;
        return 0u;
    };
    HANDLE threads[4];
    for (HANDLE& thread : threads)
        thread = Start(body);
    for (int i = 1; i <= 4; ++i) {
        SetEvent(event);
        EXPECT_TRUE(Eventually([&] { return woken == i; }));
    }
    for (const HANDLE thread : threads)
        Join(thread);
    CloseHandle(event);
}

TEST(Mutexes, OwnedRecursiveAndAbandoned) {
    const HANDLE mutex = CreateMutexA(nullptr, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "its owner may take it again";
    auto thief = [&] {
        const bool kept_out = WaitForSingleObject(mutex, 0) == WAIT_TIMEOUT;
        return kept_out && !ReleaseMutex(mutex) && GetLastError() == ERROR_NOT_OWNER ? 1u : 0u;
    };
    EXPECT_EQ(Join(Start(thief)), 1u);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(Join(Start(thief)), 1u) << "taken twice, given back once";
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    auto forgets = [&] { return WaitForSingleObject(mutex, INFINITE); };
    const HANDLE waiting = Start(forgets);
    EXPECT_EQ(WaitForSingleObject(waiting, 20), WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(mutex));
    ASSERT_EQ(WaitForSingleObject(waiting, 5000), WAIT_OBJECT_0) << "it is woken";
    EXPECT_EQ(Join(waiting), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "said once";
    EXPECT_TRUE(CloseHandle(mutex)) << "while it is owned";
}

TEST(Memory, MovableAndFixedBlocks) {
    for (const UINT kind : {GMEM_MOVEABLE, GMEM_FIXED}) {
        const HGLOBAL block = GlobalAlloc(kind | GMEM_ZEROINIT, 100);
        const auto* bytes = static_cast<unsigned char*>(GlobalLock(block));
        ASSERT_NE(bytes, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(bytes) % 16, 0u);
        EXPECT_EQ(std::count(bytes, bytes + 100, 0), 100);
        GlobalUnlock(block);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 8);
    GlobalLock(block);
    GlobalLock(block);
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), NO_ERROR);
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), ERROR_NOT_LOCKED);
    EXPECT_EQ(GlobalFree(block), nullptr);
    EXPECT_EQ(GlobalLock(block), nullptr);
    EXPECT_EQ(GlobalAlloc(GMEM_MOVEABLE, SIZE_MAX), nullptr);
}

TEST(Memory, PointersAreProbed) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    auto* pages = static_cast<char*>(
        mmap(nullptr, 700 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(pages, MAP_FAILED);
    mprotect(pages + 699 * page, page, PROT_NONE);
    EXPECT_FALSE(IsBadReadPtr(pages, 699 * page));
    EXPECT_TRUE(IsBadReadPtr(pages, 699 * page + 1));
    EXPECT_FALSE(IsBadReadPtr(pages + 699 * page - 1, 1));
    munmap(pages, 700 * page);
    EXPECT_TRUE(IsBadReadPtr(pages, 1));
    EXPECT_TRUE(IsBadReadPtr(nullptr, 1) && IsBadReadPtr(&page, SIZE_MAX));
    EXPECT_FALSE(IsBadReadPtr(nullptr, 0));
}

namespace {
std::atomic<DWORD> told_event{99};
std::atomic<DWORD> told_on{0};
BOOL WINAPI NoteControl(DWORD event) {
    told_on = GetCurrentThreadId();
    told_event = event;
    return TRUE;
}
}  // namespace

TEST(Console, CtrlCIsToldOnAThreadOfItsOwn) {
    struct sigaction before, after;
    sigaction(SIGINT, nullptr, &before);
    ASSERT_TRUE(SetConsoleCtrlHandler(NoteControl, TRUE));
    raise(SIGINT);
    EXPECT_TRUE(Eventually([] { return told_event == CTRL_C_EVENT; }));
    EXPECT_NE(told_on, GetCurrentThreadId());
    raise(SIGTERM);
    EXPECT_TRUE(Eventually([] { return told_event == CTRL_CLOSE_EVENT; }));
    const size_t threads = Entries("/proc/self/task");
    EXPECT_TRUE(SetConsoleCtrlHandler(NoteControl, FALSE));
    EXPECT_TRUE(Eventually([&] { return Entries("/proc/self/task") == threads - 1; }));
    sigaction(SIGINT, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
    EXPECT_FALSE(SetConsoleCtrlHandler(NoteControl, FALSE));
}
