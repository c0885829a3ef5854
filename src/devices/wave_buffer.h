// A buffer of a wave device.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <cstdint>

#include "frame/handles.h"

namespace tolvane {

// A wave header and the block of samples it stands for, both from movable global memory.
struct WaveBuffer {
    GlobalBlock header_block;
    GlobalBlock data_block;
    bool prepared = false;
    bool in_device = false;

    WAVEHDR* Header() const { return static_cast<WAVEHDR*>(header_block.Data()); }
    uint8_t* Data() const { return static_cast<uint8_t*>(data_block.Data()); }

    // Both filled with zeros.
    bool Allocate(DWORD size) {
        constexpr UINT kFlags = GMEM_MOVEABLE | GMEM_SHARE | GMEM_ZEROINIT;
        if (header_block.Allocate(sizeof(WAVEHDR), kFlags) != GlobalBlock::Outcome::kDone) return false;
        if (data_block.Allocate(size, kFlags) != GlobalBlock::Outcome::kDone) return false;
        Header()->lpData = static_cast<LPSTR>(data_block.Data());
        Header()->dwBufferLength = size;
        return true;
    }
};

}  // namespace tolvane
