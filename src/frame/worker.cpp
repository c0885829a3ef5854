#include "frame/worker.h"

namespace tolvane {

namespace {

constexpr uint32_t kWholeProgress = 100;

// The library itself, once a worker has been started: what each of them gives back.
std::atomic<HMODULE> own_module = nullptr;

// A reference to the library more.
Module HoldLibrary() {
    HMODULE module = nullptr;
    const bool held = GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                         reinterpret_cast<LPCSTR>(&HoldLibrary), &module);
    return Module(held ? module : nullptr);
}

}  // namespace

KernelHandle StartWorker(WorkerMain main, void* job) {
    Module held = HoldLibrary();
    if (!held) return KernelHandle();
    own_module = held.Get();
    unsigned id = 0;
    KernelHandle thread(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, main, job, 0, &id)));
    if (thread) held.Release();
    return thread;
}

uint32_t LowerProgress(std::atomic<uint32_t>& progress) {
    uint32_t stored = progress;
    while (stored > kWholeProgress && !progress.compare_exchange_weak(stored, kWholeProgress)) {
    }
    return stored < kWholeProgress ? stored : kWholeProgress;
}

void EndWorker() {
    FreeLibraryAndExitThread(own_module, 0);
}

}  // namespace tolvane
