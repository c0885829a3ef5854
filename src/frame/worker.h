// Long operations in the background: the worker thread of a job, and what host and job tell each other.
#pragma once

#include <windows.h>

#include <process.h>

#include <atomic>
#include <cstdint>

#include "frame/handles.h"

namespace tolvane {

// The host's view of a running operation; in the caller's thread nobody looks, and nothing is cancelled.
struct JobControl {
    std::atomic<uint32_t>* progress = nullptr;      // percent
    const std::atomic<uint32_t>* cancel = nullptr;  // not 0: stop

    bool IsCancelled() const { return cancel && *cancel != 0; }
    void ShowProgress(uint64_t done, uint64_t total) const {
        if (!progress) return;
        const uint64_t percent = total ? done * 100 / total : 100;
        *progress = static_cast<uint32_t>(percent < 100 ? percent : 100);
    }
};

// Starts `main(job)` on a thread of its own, which keeps the library loaded until it has called EndWorker. No
// handle when it cannot be started. The job may be over, and its record gone, before this returns.
using WorkerMain = unsigned(__stdcall*)(void* job);
KernelHandle StartWorker(WorkerMain main, void* job);

// The percentage of a job for its host: one above 100 is lowered in the record first.
uint32_t LowerProgress(std::atomic<uint32_t>& progress);

// The last act of a worker: it leaves the library, which may go with it.
[[noreturn]] void EndWorker();

}  // namespace tolvane
