#include "convert/conversion.h"

#include <algorithm>
#include <cstdint>

namespace tolvane {

namespace {

constexpr DWORD kMostWritten = INT32_MAX;  // beyond, no position in the file could be told

}  // namespace

// False when nothing came.
bool Conversion::Refill() {
    const DWORD wanted = std::min(block_.FreeSize(), total_ - read_);
    const LONG got = wanted ? mmioRead(source_.Get(), block_.Free(), static_cast<LONG>(wanted)) : 0;
    if (got <= 0) return false;
    block_.Add(static_cast<DWORD>(got));
    read_ += static_cast<DWORD>(got);
    return true;
}

// A stream that neither takes nor gives anything would keep the loop going for ever.
TolvaneResult Conversion::TakeCounts(bool refilled) {
    consumed_ += block_.Used();
    written_ += block_.Produced();
    if (block_.Used() || block_.Produced() || IsExhausted() || (refilled && block_.FreeSize()))
        return TOLVANE_OK;
    if (block_.FreeSize() == 0) return TOLVANE_NOT_CONVERTED;
    if (read_ < total_) return TOLVANE_SOURCE_CUT_SHORT;
    consumed_ = total_;  // the rest is less than what the codec can work with
    block_.DropWaiting();
    return TOLVANE_OK;
}

TolvaneResult Conversion::Step() {
    const bool exhausted = IsExhausted();
    const bool refilled = !exhausted && Refill();
    if (!exhausted && block_.Waiting() == 0) return TOLVANE_SOURCE_CUT_SHORT;
    if (!block_.Convert()) return TOLVANE_NOT_CONVERTED;
    if (block_.Produced() > kMostWritten - written_) return TOLVANE_TARGET_NOT_WRITTEN;
    if (!target_.Write(block_.Target(), block_.Produced())) return TOLVANE_TARGET_NOT_WRITTEN;
    return TakeCounts(refilled);
}

}  // namespace tolvane
