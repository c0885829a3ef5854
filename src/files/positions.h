// Positions in the host's units and in bytes.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <cstdint>

#include "tolvane.h"

namespace tolvane {

// Results that do not fit 32 bits become the largest value.
uint32_t PositionToBytes(uint32_t position, uint16_t unit, const InputFileInfo& format);
uint32_t BytesToPosition(uint32_t bytes, uint16_t unit, const InputFileInfo& format);

// The first 16 bytes of a format record.
InputFileInfo ToInputFileInfo(const WAVEFORMATEX& format);

// Moves a byte offset down to the start of the block it lies in.
inline uint32_t DownToBlock(uint32_t bytes, uint32_t block_align) {
    return block_align > 1 ? bytes - bytes % block_align : bytes;
}

// `value` truncated, at least 0 and at most the largest 32-bit value.
uint32_t Truncate(double value);

}  // namespace tolvane
