// Trim silence takes the quiet frames off both ends of the selection.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "edit/engine.h"
#include "files/positions.h"

namespace tolvane {

namespace {

constexpr double kFullLevel = 10000;  // hundredths of a percent
constexpr uint32_t kScanShare = 50;   // percent

// Which frames count as loud, and how to find them in a block of whole frames.
struct LoudFrames {
    uint32_t frame;  // bytes
    uint32_t channels;
    uint32_t step;  // from one channel's sample to the next
    bool wide;      // 16 bits; of wider samples the upper ones
    int threshold;

    LoudFrames(const InputFileInfo& format, uint16_t level)
        : frame(format.nBlockAlign), channels(format.nChannels), step(frame / channels), wide(step != 1) {
        threshold = static_cast<int>(level * (wide ? 32767.0 : 127.0) / kFullLevel);
    }
    int Magnitude(const uint8_t* sample) const {
        if (!wide) return std::abs(*sample - 128);
        int16_t value;
        memcpy(&value, sample + step - sizeof value, sizeof value);
        return std::abs(int{value});
    }
    bool IsLoud(const uint8_t* at) const {
        for (uint32_t channel = 0; channel < channels; ++channel)
            if (Magnitude(at + channel * step) > threshold) return true;
        return false;
    }
    bool HasAny(const uint8_t* data, uint32_t length) const;
};

// The largest value of a block is found much faster than the first that is too large.
bool LoudFrames::HasAny(const uint8_t* data, uint32_t length) const {
    const auto exceeds = [this](auto sample, auto* end, int silence) {
        int lowest = silence, highest = silence;
        for (; sample != end; ++sample) {
            lowest = std::min<int>(lowest, *sample);
            highest = std::max<int>(highest, *sample);
        }
        return silence - lowest > threshold || highest - silence > threshold;
    };
    if (frame != channels * step) return true;  // bytes between the samples
    if (!wide) return exceeds(data, data + length, 128);
    if (step != sizeof(int16_t)) return true;
    const auto* samples = reinterpret_cast<const int16_t*>(data);
    return exceeds(samples, samples + length / sizeof *samples, 0);
}

// Reads the selection piece by piece, forwards or from its end.
class Scan {
  public:
    explicit Scan(Edit& edit) : edit_(edit), loud_(edit.format, edit.request.silence_level) {}

    // Bytes of the selection that are kept; all that is quiet keeps its first frame.
    uint16_t Run(DWORD* keep_begin, DWORD* keep_end);

  private:
    uint16_t Read(DWORD from, DWORD length);
    uint16_t FindFirst(DWORD* found);
    uint16_t FindLast(DWORD* found);
    DWORD Size() const { return edit_.high - edit_.low; }
    const uint8_t* Block() const { return static_cast<const uint8_t*>(edit_.block.Data()); }

    Edit& edit_;
    const LoudFrames loud_;
    const DWORD frame_ = loud_.frame;
    const DWORD step_ = std::max(kEditBlock - kEditBlock % frame_, frame_);
    DWORD scanned_ = 0;
};

uint16_t Scan::Read(DWORD from, DWORD length) {
    if (edit_.job.progress)
        *edit_.job.progress =
            static_cast<uint32_t>(std::min<uint64_t>(uint64_t{scanned_} * kScanShare / Size(), kScanShare));
    if (edit_.job.IsCancelled()) return TOLVANE_CANCELLED;
    scanned_ += length;
    const auto offset = static_cast<LONG>(edit_.source_data.dwDataOffset + edit_.low + from);
    const bool read = mmioSeek(edit_.source.Get(), offset, SEEK_SET) == offset &&
                      ReadExactly(edit_.source, edit_.block.Data(), length);
    return read ? TOLVANE_OK : TOLVANE_EDIT_NOT_WRITTEN;
}

// The offset of the first loud frame; the size of the selection when there is none.
uint16_t Scan::FindFirst(DWORD* found) {
    *found = Size();
    for (DWORD from = 0; from < Size(); from += step_) {
        const DWORD length = std::min(step_, Size() - from);
        if (const uint16_t failed = Read(from, length)) return failed;
        if (!loud_.HasAny(Block(), length)) continue;
        for (DWORD at = 0; at < length; at += frame_) {
            if (!loud_.IsLoud(Block() + at)) continue;
            *found = from + at;
            return TOLVANE_OK;
        }
    }
    return TOLVANE_OK;
}

uint16_t Scan::FindLast(DWORD* found) {
    *found = 0;
    for (DWORD end = Size(); end > 0;) {
        const DWORD length = end % step_ ? end % step_ : step_;
        end -= length;
        if (const uint16_t failed = Read(end, length)) return failed;
        if (!loud_.HasAny(Block(), length)) continue;
        for (DWORD at = length; at > 0; at -= frame_) {
            if (!loud_.IsLoud(Block() + at - frame_)) continue;
            *found = end + at - frame_;
            return TOLVANE_OK;
        }
    }
    return TOLVANE_OK;
}

uint16_t Scan::Run(DWORD* keep_begin, DWORD* keep_end) {
    if (loud_.step == 0) return TOLVANE_EDIT_NOT_WRITTEN;
    uint16_t result = FindFirst(keep_begin);
    if (result != TOLVANE_OK) return result;
    const bool silent = *keep_begin == Size();
    if (silent) *keep_begin = 0;
    *keep_end = 0;
    if (!silent) result = FindLast(keep_end);
    *keep_end += frame_;
    return result;
}

uint16_t CheckTrim(Edit& edit) {
    return kClear.check(edit);
}

// Each of the three parts adds half of its share in the file to the progress, which the scan has brought to 50.
void AddPart(Edit& edit, DWORD begin, DWORD end, DWORD part_begin, DWORD part_size, uint32_t* reached) {
    const auto weight = static_cast<uint32_t>(uint64_t{part_size} * 100 / edit.data_size / 2);
    Piece piece;
    piece.begin = begin;
    piece.end = end;
    piece.meter = {*reached, weight, begin - part_begin, part_size};
    edit.Add(piece);
    *reached += weight;
}

uint16_t PlanTrim(Edit& edit) {
    DWORD keep_begin = 0, keep_end = 0;
    if (const uint16_t failed = Scan(edit).Run(&keep_begin, &keep_end)) return failed;
    uint32_t reached = kScanShare;
    AddPart(edit, 0, edit.low, 0, edit.low, &reached);
    AddPart(edit, edit.low + keep_begin, edit.low + keep_end, edit.low, edit.high - edit.low, &reached);
    AddPart(edit, edit.high, edit.data_size, edit.high, edit.data_size - edit.high, &reached);
    return TOLVANE_OK;
}

}  // namespace

const EditOperation kTrimSilence = {true, nullptr, CheckTrim, PlanTrim};

}  // namespace tolvane
