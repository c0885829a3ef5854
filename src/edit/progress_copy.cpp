#include "edit/progress_copy.h"

#include <algorithm>
#include <utility>

#include "edit/engine.h"
#include "files/inspect.h"
#include "files/wave_reader.h"
#include "files/wave_writer.h"

namespace tolvane {

namespace {

constexpr uint32_t kAlignment = 131072;
constexpr uint32_t kMostProgress = 50;  // of an edit, whose own copying follows
constexpr uint32_t kWeight = 25;

void Show(const JobControl& job, uint64_t copied, uint32_t whole) {
    if (job.progress)
        *job.progress = static_cast<uint32_t>(std::min<uint64_t>(copied * kWeight / whole, kMostProgress));
}

}  // namespace

uint32_t AlignedLength(uint32_t position, uint32_t left) {
    uint32_t length = 2 * kAlignment - position % kAlignment;
    if (length > kEditBlock) length -= kAlignment;
    return std::min(length, left);
}

bool CopyWithProgress(const char* from, const char* to, const JobControl& job) {
    GlobalBlock block;
    if (block.Allocate(kEditBlock, GMEM_MOVEABLE) != GlobalBlock::Outcome::kDone) return false;
    uint32_t whole = 0;
    if (ReadDataChunkSize(from, &whole) != TOLVANE_OK || whole == 0) whole = 1;
    const MmioFile source = OpenForReading(from);
    if (!source) return false;
    MmioFile target = OpenForWriting(to);
    if (!target) return false;
    auto* data = static_cast<char*>(block.Data());
    for (uint32_t copied = 0; !job.IsCancelled();) {
        Show(job, copied, whole);
        const auto length = static_cast<LONG>(AlignedLength(copied, UINT32_MAX));
        const LONG got = mmioRead(source.Get(), data, length);
        if (got < 0 || mmioWrite(target.Get(), data, got) != got) return false;
        if (got < length && copied + static_cast<uint32_t>(got) < GetFileLength(from)) return false;
        if (got < length) break;
        copied += static_cast<uint32_t>(got);
    }
    return CloseWritten(std::move(target));
}

}  // namespace tolvane
