// A library as the system loads and unloads it: its entry point counts, and ends its thread in the way that
// works inside the loader's lock. It says on the error output when it ends with the whole process.
#include <windows.h>

#include <process.h>

#include <atomic>
#include <unistd.h>

namespace {

std::atomic<bool> done{false};
HANDLE thread = nullptr;
unsigned thread_id = 0;
int attached = 0;

unsigned Listen(void*) {
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    }
    done = true;
    for (;;)
        Sleep(INFINITE);
}

void EndListening() {
    if (!thread) return;
    PostThreadMessageA(thread_id, WM_QUIT, 0, 0);
    while (!done)
        Sleep(1);
    TerminateThread(thread, 0);
    CloseHandle(thread);
}

void SayThatProcessEnds() {
    constexpr char kText[] = "the process ends";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof kText - 1);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    char name[MAX_PATH];
    if (reason == DLL_PROCESS_ATTACH)
        attached += GetModuleFileNameA(instance, name, MAX_PATH) > 0 && !reserved;
    if (reason == DLL_PROCESS_DETACH) reserved ? SayThatProcessEnds() : EndListening();
    return TRUE;
}

extern "C" int ProbeListen() {
    thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Listen, nullptr, 0, &thread_id));
    return attached;
}
