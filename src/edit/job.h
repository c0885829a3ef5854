// The record of an operation that runs in the background: what its host asks and its worker tells. Edits and
// the change of format share it.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "frame/text.h"
#include "frame/worker.h"
#include "tolvane.h"

namespace tolvane {
struct EditOperation;
}

// A record of this size says so in its first field for as long as it is valid.
inline constexpr uint32_t kEditJobTag = 828;

struct EditJob {
    uint32_t tag = kEditJobTag;
    char file[tolvane::kPathSize] = "";
    char second_file[tolvane::kPathSize] = "";
    char third_file[tolvane::kPathSize] = "";
    uint32_t start = 0, end = 0;
    uint16_t unit = 0;
    uint32_t thread_id = 0;
    std::atomic<uint32_t> progress = 0;  // percent
    std::atomic<uint32_t> cancel = 0;
    std::atomic<uint32_t> finished = 0;
    std::atomic<uint16_t> reason = 0;
    uint32_t channel_mask = 0;
    uint16_t silence_level = 0;
    void* parameters = nullptr;  // global memory, which goes with the record
    // Behind what the size tells: null where the job is no edit.
    const tolvane::EditOperation* operation = nullptr;
};
static_assert(sizeof(void*) != 4 || offsetof(EditJob, operation) == kEditJobTag);

namespace tolvane {

struct EditJobDeleter {
    void operator()(EditJob* job) const;
};
using EditJobOwner = std::unique_ptr<EditJob, EditJobDeleter>;

// A new record with zeroed parameters of that size (0: none); none without memory.
EditJobOwner NewEditJob(size_t parameters_size);

// Starts the worker, whose argument is the record, and hands the record to the host; without a place for the handle
// the record frees itself in the end. Where no thread can be had the record is freed and the host's handle null.
bool StartEditJob(EditJobOwner job, WorkerMain worker, EditJob** handle);

// For the worker, whose thread the record names from then on.
JobControl ControlOf(EditJob& job);

// The worker's last touch of the record: whoever sees the job finished sees its reason.
void FinishEditJob(EditJob* job, uint16_t reason);

// What a host may ask. A null handle and a record of another tag are jobs that are over.
void CancelEditJob(EditJob* job);
uint32_t IsEditJobOver(const EditJob* job);
uint32_t GetEditJobProgress(EditJob* job);
uint16_t GetEditJobReason(const EditJob* job);

// Frees the record, that of a running job when the worker, told to stop, is done with it.
void CloseEditJob(EditJob** handle);

}  // namespace tolvane
