// Handles, threads and what they wait for, memory, modules, the console.
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
HANDLE Start(Body& body, unsigned* id = nullptr) {
    return reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, RunBody<Body>, &body, 0, id));
}

DWORD ExitCode(HANDLE thread) {
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    return code;
}

void JoinAndClose(HANDLE thread) {
    EXPECT_EQ(WaitForSingleObject(thread, 5000), WAIT_OBJECT_0);
    EXPECT_TRUE(CloseHandle(thread));
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
unsigned WaitForBoth(void* object) {
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
    EXPECT_FALSE(ReleaseMutex(event));
    EXPECT_FALSE(GetExitCodeThread(event, &code));
    EXPECT_FALSE(CloseHandle(memory));
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

TEST(Threads, StartRunAndEnd) {
    unsigned id = 0;
    DWORD seen = 0;
    auto body = [&] {
        seen = GetCurrentThreadId();
        return 42u;
    };
    const HANDLE thread = Start(body, &id);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, 5000), WAIT_OBJECT_0);
    EXPECT_EQ(seen, id);
    EXPECT_NE(id, GetCurrentThreadId());
    EXPECT_EQ(ExitCode(thread), 42u);
    EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0) << "an ended thread stays signalled";
    EXPECT_TRUE(CloseHandle(thread));

    auto leaves = [] { return _endthreadex(7), 0u; };
    const HANDLE second = Start(leaves);
    WaitForSingleObject(second, 5000);
    EXPECT_EQ(ExitCode(second), 7u);
    EXPECT_TRUE(CloseHandle(second));
    EXPECT_EQ(_beginthreadex(nullptr, 0, nullptr, nullptr, 0, nullptr), 0u);
    EXPECT_EQ(_beginthreadex(nullptr, 0, SleepForEver, nullptr, 4, nullptr), 0u) << "none starts suspended";
}

TEST(Threads, EndedInAnyWaitOrAtTheNext) {
    const HANDLE never = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    for (auto start : {SleepForEver, WaitForMessages, WaitForObject, WaitForBoth, NeverWaitsForLong}) {
        const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, start, never, 0, nullptr));
        ASSERT_NE(thread, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, 3), WAIT_TIMEOUT);
        EXPECT_EQ(ExitCode(thread), STILL_ACTIVE);
        EXPECT_TRUE(TerminateThread(thread, 5));
        EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
        EXPECT_EQ(ExitCode(thread), 5u);
        EXPECT_TRUE(TerminateThread(thread, 6)) << "it has ended already";
        EXPECT_EQ(ExitCode(thread), 5u);
        EXPECT_TRUE(CloseHandle(thread));
    }
    EXPECT_TRUE(CloseHandle(never));
}

TEST(Waits, AnyTakesOneAllTakesAllOrNone) {
    const HANDLE a = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    const HANDLE b = CreateEventA(nullptr, FALSE, TRUE, nullptr);
    const HANDLE both[] = {a, b};
    EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 5), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 5), WAIT_OBJECT_0 + 1)
        << "the failed wait for both took nothing";
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_TIMEOUT);
    auto sets = [&] {
        SetEvent(b);
        Sleep(5);
        SetEvent(a);
        return 0u;
    };
    const HANDLE thread = Start(sets);
    EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 5000), WAIT_OBJECT_0);
    JoinAndClose(thread);
    EXPECT_EQ(WaitForSingleObject(a, 0), WAIT_TIMEOUT);
    const HANDLE wrong[] = {a, INVALID_HANDLE_VALUE};
    EXPECT_EQ(WaitForMultipleObjects(2, wrong, FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForMultipleObjects(0, both, FALSE, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForMultipleObjects(65, both, FALSE, 0), WAIT_FAILED);
    const HANDLE stays = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(stays, 0) | WaitForSingleObject(stays, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ResetEvent(stays));
    const DWORD before = GetTickCount();
    EXPECT_EQ(WaitForSingleObject(stays, 30), WAIT_TIMEOUT);
    EXPECT_GE(GetTickCount() - before, 30u) << "never early";
    EXPECT_LT(timeGetTime() - before, 5000u) << "one clock";
    EXPECT_TRUE(CloseHandle(a) && CloseHandle(b) && CloseHandle(stays));
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
    EXPECT_EQ(WaitForMultipleObjects(4, threads, TRUE, 5000), WAIT_OBJECT_0);
    for (const HANDLE thread : threads)
        EXPECT_TRUE(CloseHandle(thread));
    CloseHandle(event);
}

TEST(Mutexes, OwnedRecursiveAndAbandoned) {
    const HANDLE mutex = CreateMutexA(nullptr, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "its owner may take it again";
    auto thief = [&] {
        const bool kept_out = WaitForSingleObject(mutex, 0) == WAIT_TIMEOUT;
        return kept_out && !ReleaseMutex(mutex) && GetLastError() == ERROR_NOT_OWNER ? 1u : 0u;
    };
    HANDLE thread = Start(thief);
    WaitForSingleObject(thread, 5000);
    EXPECT_EQ(ExitCode(thread), 1u);
    JoinAndClose(thread);
    EXPECT_TRUE(ReleaseMutex(mutex));
    thread = Start(thief);
    WaitForSingleObject(thread, 5000);
    EXPECT_EQ(ExitCode(thread), 1u) << "taken twice, given back once";
    JoinAndClose(thread);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_FALSE(ReleaseMutex(mutex));
    auto forgets = [&] { return WaitForSingleObject(mutex, 5000); };
    JoinAndClose(Start(forgets));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED);
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "said once";
    EXPECT_TRUE(CloseHandle(mutex)) << "while it is owned";
    const HANDLE next = CreateMutexA(nullptr, TRUE, nullptr);
    EXPECT_TRUE(ReleaseMutex(next) && CloseHandle(next));
}

TEST(Mutexes, AndLightLocksExclude) {
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
    static SRWLOCK light = SRWLOCK_INIT;
    int by_mutex = 0, by_light = 0;
    auto body = [&] {
        for (int i = 0; i < 2000; ++i) {
            WaitForSingleObject(mutex, INFINITE);
            ++by_mutex;
            ReleaseMutex(mutex);
            AcquireSRWLockExclusive(&light);
            ++by_light;
            ReleaseSRWLockExclusive(&light);
        }
        return 0u;
    };
    const HANDLE threads[] = {Start(body), Start(body), Start(body)};
    ASSERT_EQ(WaitForMultipleObjects(3, threads, TRUE, 60000), WAIT_OBJECT_0);
    EXPECT_EQ(by_mutex, 6000);
    EXPECT_EQ(by_light, 6000);
    AcquireSRWLockShared(&light);
    EXPECT_TRUE(TryAcquireSRWLockShared(&light));
    EXPECT_FALSE(TryAcquireSRWLockExclusive(&light));
    ReleaseSRWLockShared(&light);
    ReleaseSRWLockShared(&light);
    EXPECT_TRUE(TryAcquireSRWLockExclusive(&light));
    ReleaseSRWLockExclusive(&light);
    for (const HANDLE thread : threads)
        CloseHandle(thread);
    CloseHandle(mutex);
}

TEST(Memory, MovableAndFixedBlocks) {
    for (const UINT kind : {GMEM_MOVEABLE, GMEM_FIXED}) {
        HGLOBAL block = GlobalAlloc(kind | GMEM_ZEROINIT, 100);
        ASSERT_NE(block, nullptr);
        auto* bytes = static_cast<unsigned char*>(GlobalLock(block));
        ASSERT_NE(bytes, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(bytes) % 16, 0u);
        EXPECT_EQ(std::count(bytes, bytes + 100, 0), 100);
        EXPECT_EQ(GlobalHandle(bytes), block);
        EXPECT_EQ(GlobalSize(block), 100u);
        bytes[99] = 9;
        GlobalUnlock(block);
        block = GlobalReAlloc(block, 5000, GMEM_ZEROINIT);
        ASSERT_NE(block, nullptr);
        bytes = static_cast<unsigned char*>(GlobalLock(block));
        EXPECT_EQ(bytes[99], 9);
        EXPECT_EQ(std::count(bytes + 100, bytes + 5000, 0), 4900);
        GlobalUnlock(block);
        EXPECT_EQ(GlobalFree(block), nullptr);
    }
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 8);
    GlobalLock(block);
    GlobalLock(block);
    EXPECT_EQ(GlobalReAlloc(block, 16, 0), nullptr) << "a locked block does not move";
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
    pages[page] = 'k';
    mprotect(pages + 2 * page, page, PROT_READ);
    mprotect(pages + 699 * page, page, PROT_NONE);
    EXPECT_FALSE(IsBadReadPtr(pages, 699 * page));
    EXPECT_TRUE(IsBadReadPtr(pages, 699 * page + 1));
    EXPECT_FALSE(IsBadReadPtr(pages + 699 * page - 1, 1));
    EXPECT_FALSE(IsBadWritePtr(pages, 2 * page));
    EXPECT_TRUE(IsBadWritePtr(pages, 2 * page + 1));
    EXPECT_TRUE(IsBadWritePtr(pages + 2 * page + 5, 1));
    EXPECT_EQ(pages[page], 'k');
    munmap(pages, 700 * page);
    EXPECT_TRUE(IsBadReadPtr(pages, 1));
    EXPECT_TRUE(IsBadWritePtr(pages, 1));
    EXPECT_TRUE(IsBadReadPtr(nullptr, 1) && IsBadWritePtr(nullptr, 1) && IsBadReadPtr(&page, SIZE_MAX));
    EXPECT_FALSE(IsBadReadPtr(nullptr, 0) || IsBadWritePtr(nullptr, 0));
}

TEST(System, VersionIsOfTheFamilyThatHasTheExtendedQuery) {
    OSVERSIONINFOA version{};
    EXPECT_FALSE(GetVersionExA(&version));
    version.dwOSVersionInfoSize = 148;
    ASSERT_TRUE(GetVersionExA(&version));
    EXPECT_EQ(version.dwPlatformId, VER_PLATFORM_WIN32_NT);
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
    struct sigaction before, during, after;
    sigaction(SIGINT, nullptr, &before);
    ASSERT_TRUE(SetConsoleCtrlHandler(NoteControl, TRUE));
    sigaction(SIGINT, nullptr, &during);
    EXPECT_NE(during.sa_handler, before.sa_handler);
    raise(SIGINT);
    EXPECT_TRUE(Eventually([] { return told_event == CTRL_C_EVENT; }));
    EXPECT_NE(told_on, GetCurrentThreadId());
    raise(SIGTERM);
    EXPECT_TRUE(Eventually([] { return told_event == CTRL_CLOSE_EVENT; }));
    const size_t threads = Holdings().threads;
    EXPECT_TRUE(SetConsoleCtrlHandler(NoteControl, FALSE));
    EXPECT_TRUE(Eventually([&] { return Holdings().threads == threads - 1; }));
    sigaction(SIGINT, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
    EXPECT_FALSE(SetConsoleCtrlHandler(NoteControl, FALSE));
}
