#include "convert/jobs.h"

#include <memory>
#include <new>

#include "convert/convert_to_pcm.h"
#include "frame/text.h"
#include "frame/worker.h"

struct PcmConversion {
    std::atomic<uint32_t> progress;  // percent
    std::atomic<uint32_t> abort;
    tolvane::KernelHandle thread;
    char source[tolvane::kPathSize];
    char target[tolvane::kPathSize];
    WAVEFORMATEX format;
    std::atomic<uint32_t> failed;
    std::atomic<uint32_t> done;
    std::atomic<uint32_t> owners;  // the host and the worker: whoever leaves last frees the record
};

namespace tolvane {

namespace {

constexpr DWORD kTimeToAbort = 100;  // milliseconds

unsigned __stdcall RunConvertJob(void* record) {
    auto& job = *static_cast<ConvertJob*>(record);
    job.thread_id = GetCurrentThreadId();
    const ConvertRequest request{job.codec_index, job.format_tag_index, job.source,
                                 job.target,      job.pcm_format,       job.allow_fallback != 0};
    job.reason = static_cast<uint16_t>(ConvertFile(request, &job));
    if (job.finished.exchange(ConvertJob::kOver) == ConvertJob::kClosed) delete &job;
    EndWorker();
}

// Null without memory.
std::unique_ptr<ConvertJob> MakeJob(const ConvertRequest& request) {
    std::unique_ptr<ConvertJob> job(new (std::nothrow) ConvertJob{});
    if (!job) return nullptr;
    job->tag = ConvertJob::kTag;
    job->codec_index = request.codec_index;
    job->format_tag_index = request.format_tag_index;
    job->allow_fallback = request.allow_fallback;
    CopyText(job->source, kPathSize, request.source);
    CopyText(job->target, kPathSize, request.target);
    job->pcm_format = request.pcm_format;
    return job;
}

// An empty name stays one: to open it fails in the worker.
bool KeepPath(char (&kept)[kPathSize], const char* path) {
    return path && (!*path || CopyFullPath(kept, path));
}

void Leave(PcmConversion* conversion) {
    if (--conversion->owners == 0) delete conversion;
}

unsigned __stdcall RunPcmConversion(void* record) {
    auto* conversion = static_cast<PcmConversion*>(record);
    const JobControl control{&conversion->progress, &conversion->abort};
    const TolvaneResult result =
        ConvertToPcmFile(conversion->source, conversion->target, conversion->format, &control);
    (result == TOLVANE_OK ? conversion->done : conversion->failed) = 1;
    OutputDebugStringA("ACM Thread Ended");
    Leave(conversion);
    EndWorker();
}

}  // namespace

TolvaneResult StartConversion(ConvertRequest request, ConvertJob** handle, bool wait) {
    char source[kPathSize], target[kPathSize];
    if (!CopyFullPath(source, request.source)) return TOLVANE_SOURCE_NOT_OPENED;
    if (!CopyFullPath(target, request.target)) return TOLVANE_TARGET_NOT_CREATED;
    request.source = source;
    request.target = target;
    if (wait) return ConvertFile(request, nullptr);
    std::unique_ptr<ConvertJob> job = MakeJob(request);
    if (handle) *handle = job.get();
    if (job && !handle) job->finished = ConvertJob::kClosed;  // nobody will close it
    if (job && StartWorker(RunConvertJob, job.get()))
        static_cast<void>(job.release());
    else if (handle)
        *handle = nullptr;
    return TOLVANE_OK;
}

ConvertJob* ValidJob(ConvertJob* handle) {
    return handle && handle->tag == ConvertJob::kTag ? handle : nullptr;
}

void CloseConversion(ConvertJob** handle) {
    if (!handle || !*handle) return;
    ConvertJob* job = *handle;
    *handle = nullptr;
    job->cancel = 1;
    if (job->finished.exchange(ConvertJob::kClosed) == ConvertJob::kOver) delete job;
}

PcmConversion* BeginPcmConversion(const char* source, const char* target, const WAVEFORMATEX* format) {
    std::unique_ptr<PcmConversion> conversion(new (std::nothrow) PcmConversion{});
    if (!conversion || !KeepPath(conversion->source, source) || !KeepPath(conversion->target, target))
        return nullptr;
    if (format) conversion->format = *format;
    conversion->owners = 2;
    conversion->thread = StartWorker(RunPcmConversion, conversion.get());
    return conversion->thread ? conversion.release() : nullptr;
}

uint32_t GetPcmStatus(const PcmConversion* conversion, uint32_t* progress) {
    const bool failed = !conversion || conversion->failed;
    const bool done = !failed && conversion->done;
    if (progress)
        *progress = conversion ? conversion->progress.load() : 0;  // after the end it is the last one
    if (failed) return TOLVANE_CONVERSION_FAILED;
    return done ? uint32_t{TOLVANE_CONVERSION_DONE} : 0;
}

// The worker may go on with a second pass, which it does not leave; the record stays with it until then.
void AbortPcmConversion(PcmConversion* conversion) {
    if (!conversion) return;
    conversion->abort = 1;
    WaitForSingleObject(conversion->thread.Get(), kTimeToAbort);
    conversion->thread.Reset();
    Leave(conversion);
}

}  // namespace tolvane
