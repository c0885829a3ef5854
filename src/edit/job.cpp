#include "edit/job.h"

#include <new>

namespace tolvane {

namespace {

// States of `finished`. Host and worker each exchange it once; the later one of them frees the record.
constexpr uint32_t kOver = 1;
constexpr uint32_t kClosedByHost = 2;

bool IsValid(const EditJob* job) {
    return job && job->tag == kEditJobTag;
}

}  // namespace

void EditJobDeleter::operator()(EditJob* job) const {
    GlobalFree(job->parameters);
    job->~EditJob();
    GlobalFree(job);
}

EditJobOwner NewEditJob(size_t parameters_size) {
    void* memory = GlobalAlloc(GPTR, sizeof(EditJob));
    EditJobOwner job(memory ? new (memory) EditJob : nullptr);
    if (!job || parameters_size == 0) return job;
    job->parameters = GlobalAlloc(GPTR, parameters_size);
    if (!job->parameters) job.reset();
    return job;
}

bool StartEditJob(EditJobOwner job, WorkerMain worker, EditJob** handle) {
    if (!handle) job->finished = kClosedByHost;
    if (handle) *handle = job.get();
    if (StartWorker(worker, job.get())) return job.release();
    if (handle) *handle = nullptr;
    return false;
}

JobControl ControlOf(EditJob& job) {
    job.thread_id = GetCurrentThreadId();
    return {&job.progress, &job.cancel};
}

void FinishEditJob(EditJob* job, uint16_t reason) {
    job->reason = reason;
    if (job->finished.exchange(kOver) == kClosedByHost) EditJobDeleter()(job);
}

void CancelEditJob(EditJob* job) {
    if (IsValid(job)) job->cancel = 1;
}

uint32_t IsEditJobOver(const EditJob* job) {
    return IsValid(job) ? job->finished.load() : kOver;
}

uint32_t GetEditJobProgress(EditJob* job) {
    return IsValid(job) ? LowerProgress(job->progress) : 0;
}

uint16_t GetEditJobReason(const EditJob* job) {
    return IsValid(job) ? job->reason.load() : uint16_t{0};
}

void CloseEditJob(EditJob** handle) {
    if (!handle || !*handle) return;
    EditJob* job = *handle;
    *handle = nullptr;
    job->cancel = 1;
    if (job->finished.exchange(kClosedByHost) != 0) EditJobDeleter()(job);
}

}  // namespace tolvane
