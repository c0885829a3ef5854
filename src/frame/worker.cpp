#include "frame/worker.h"

namespace tolvane {

namespace {

// The library's own module; a reference to it more with `hold`. None where the code is no library.
HMODULE OwnModule(bool hold) {
    HMODULE module = nullptr;
    const DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | (hold ? 0 : GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
    return GetModuleHandleExA(flags, reinterpret_cast<LPCSTR>(&OwnModule), &module) ? module : nullptr;
}

}  // namespace

KernelHandle StartWorker(WorkerMain main, void* job, uint32_t* thread_id) {
    Module held(OwnModule(true));
    unsigned id = 0;
    KernelHandle thread(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, main, job, 0, &id)));
    if (!thread) return thread;
    held.Release();
    *thread_id = id;
    return thread;
}

void EndWorker() {
    FreeLibraryAndExitThread(OwnModule(false), 0);
}

}  // namespace tolvane
