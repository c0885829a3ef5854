// The loop of every conversion: sound from an open wave file through a stream into another.
#pragma once

#include "convert/acm_stream.h"
#include "files/wave_reader.h"
#include "files/wave_writer.h"
#include "tolvane.h"

namespace tolvane {

class Conversion {
  public:
    // `source` stands at the `total` bytes of its sound, `target` where the converted sound goes.
    Conversion(const MmioFile& source, DWORD total, WaveWriter& target)
        : source_(source), target_(target), total_(total) {}

    StreamBlock::Outcome Prepare(AcmStream stream) { return block_.Prepare(std::move(stream)); }

    // Whether all of the source has been taken. What a stream then still holds comes with one step more, and with
    // another as long as it fills the whole block.
    bool IsExhausted() const { return consumed_ >= total_; }
    bool MayHoldMore() const { return block_.IsFull(); }

    // Reads, converts and writes one block. Results: TOLVANE_OK; TOLVANE_SOURCE_CUT_SHORT;
    // TOLVANE_NOT_CONVERTED; TOLVANE_TARGET_NOT_WRITTEN.
    TolvaneResult Step();

    DWORD Total() const { return total_; }
    DWORD Consumed() const { return consumed_; }
    DWORD Written() const { return written_; }
    DWORD BytesRead() const { return read_; }

  private:
    bool Refill();
    TolvaneResult TakeCounts(bool refilled);

    const MmioFile& source_;
    WaveWriter& target_;
    StreamBlock block_;
    const DWORD total_;
    DWORD read_ = 0, consumed_ = 0, written_ = 0;
};

}  // namespace tolvane
