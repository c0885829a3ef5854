// The record of a conversion that runs in the background, and what the host does with it.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <atomic>
#include <cstdint>

#include "frame/text.h"
#include "frame/worker.h"
#include "tolvane.h"

// What the host and the worker share is atomic; the reason is stored before `finished`.
struct ConvertJob {
    static constexpr uint32_t kTag = 588;

    // States of `finished`. Host and worker each exchange it once; the later one of them frees the record.
    static constexpr uint32_t kOver = 1;
    static constexpr uint32_t kClosed = 2;

    uint32_t tag;
    uint16_t codec_index;
    int32_t format_tag_index;
    char source[tolvane::kPathSize];
    char target[tolvane::kPathSize];
    WAVEFORMATEX pcm_format;
    uint32_t thread_id;
    std::atomic<uint32_t> progress;  // percent
    std::atomic<uint32_t> total;     // bytes of the source's sound
    std::atomic<uint32_t> consumed;
    std::atomic<uint32_t> written;
    std::atomic<uint32_t> cancel;
    std::atomic<uint32_t> finished;
    std::atomic<uint16_t> reason;
    uint32_t allow_fallback;
};
static_assert(sizeof(ConvertJob) == ConvertJob::kTag);
