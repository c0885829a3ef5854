#include "playback/ring.h"

#include <mmreg.h>

#include <algorithm>

#include "files/positions.h"
#include "playback/device.h"
#include "playback/mixing.h"
#include "tolvane.h"

namespace tolvane {

namespace {

constexpr uint64_t kBufferUnit = 1024;
constexpr uint64_t kBuffersPerSecond = 8;
constexpr uint64_t kBuffersPerSecondOfSet = 2;
constexpr uint16_t kBuffersOfSet = 2;

// Bytes that must stay together: a frame of PCM; compressed data may be split anywhere.
DWORD FrameSize(const Playback& playback) {
    const WAVEFORMATEX& format = playback.main.format;
    return format.wFormatTag == WAVE_FORMAT_PCM ? format.nBlockAlign : 1;
}

// Reads whole frames of what is left of this run; fewer where the file ends early.
DWORD ReadFrames(Playback& playback, uint8_t* to, DWORD room) {
    DWORD frame = FrameSize(playback);
    DWORD want = DownToBlock(std::min(room, playback.bytes_to_play - playback.bytes_read), frame);
    if (want == 0) return 0;
    LONG got = mmioRead(playback.main.file.Get(), reinterpret_cast<HPSTR>(to), static_cast<LONG>(want));
    DWORD bytes = got > 0 ? DownToBlock(static_cast<DWORD>(got), frame) : 0;
    playback.bytes_read += bytes;
    if (bytes < want) playback.bytes_to_play = playback.bytes_read;
    return bytes;
}

bool Rewind(Playback& playback) {
    DWORD start = playback.data_offset - playback.main.data_start;
    return SeekToData(playback, start);
}

// Fills a block; a repeat goes on from its beginning within the same block, so that there is no gap.
DWORD FillBlock(Playback& playback, uint8_t* to) {
    DWORD filled = 0;
    bool rewound = false;
    for (;;) {
        DWORD bytes = ReadFrames(playback, to + filled, playback.buffer_size - filled);
        filled += bytes;
        if (bytes > 0) rewound = false;
        bool used_up = playback.bytes_read >= playback.bytes_to_play;
        if (!used_up || !playback.repeat || rewound || !Rewind(playback)) return filled;
        rewound = true;
    }
}

// The part of the mix file that lies at the same file offset; without memory for it the block stays unmixed.
void MixBlock(Playback& playback, uint8_t* block, DWORD length, LONG offset) {
    const MmioFile& mix = playback.mix.file;
    const LONG end = mmioSeek(mix.Get(), 0, SEEK_END);
    if (offset < 0 || offset >= end || mmioSeek(mix.Get(), offset, SEEK_SET) != offset) return;
    GlobalBlock& mixed = playback.mix_block;
    if (!mixed.Data() && mixed.Allocate(playback.buffer_size, GMEM_MOVEABLE) != GlobalBlock::Outcome::kDone)
        return;
    const LONG want = static_cast<LONG>(std::min<DWORD>(static_cast<DWORD>(end - offset), length));
    const LONG got = mmioRead(mix.Get(), static_cast<HPSTR>(mixed.Data()), want);
    const WAVEFORMATEX& format = playback.main.format;
    const FrameLayout layout{format.nChannels, format.wBitsPerSample};
    if (got <= 0 || !layout.IsMixable()) return;
    if (MixInto({block, length, static_cast<uint8_t*>(mixed.Data()), static_cast<uint32_t>(got), layout,
                 playback.average}))
        NoteClipped();
}

// Mixes what was read from `offset` of the file, or gives it the software volume. Compressed sound has neither.
void Treat(Playback& playback, uint8_t* block, DWORD length, LONG offset) {
    if (playback.main.IsMp3()) return;
    if (playback.mix.file)
        MixBlock(playback, block, length, offset);
    else
        ApplySoftwareGain(block, length, playback.main.format);
}

}  // namespace

uint16_t AllocatePlaybackBuffers(Playback& playback) {
    const WAVEFORMATEX& format = playback.main.format;
    uint64_t bytes_per_second = uint64_t{format.nSamplesPerSec} * format.nBlockAlign;
    const bool in_set = playback.set.IsActive();
    const uint64_t per_second = in_set ? kBuffersPerSecondOfSet : kBuffersPerSecond;
    const uint16_t most = in_set ? kBuffersOfSet : kMostBuffers;
    uint64_t size = std::max(bytes_per_second / (per_second * kBufferUnit), uint64_t{1}) * kBufferUnit;
    size = std::max<uint64_t>(size, format.nBlockAlign);
    playback.buffer_count = 0;
    if (size > 0x7FFFFFFF) return 0;
    playback.buffer_size = static_cast<DWORD>(size);
    while (playback.buffer_count < most &&
           playback.buffers[playback.buffer_count].Allocate(playback.buffer_size))
        ++playback.buffer_count;
    return playback.buffer_count;
}

void FreePlaybackBuffers(Playback& playback) {
    UnprepareBuffers(playback);
    for (WaveBuffer& buffer : playback.buffers)
        buffer = WaveBuffer();
    playback.buffer_count = 0;
    playback.queue_head = 0;
    playback.buffers_in_device = 0;
    playback.mix_block = GlobalBlock();
}

Refill RefillBuffer(Playback& playback, uint16_t slot) {
    WaveBuffer& buffer = playback.buffers[slot];
    const LONG offset = playback.mix.file ? mmioSeek(playback.main.file.Get(), 0, SEEK_CUR) : 0;
    DWORD length = FillBlock(playback, buffer.Data());
    if (length == 0) return Refill::kNothingLeft;
    Treat(playback, buffer.Data(), length, offset);
    buffer.Header()->dwBufferLength = length;
    return WriteBuffer(playback, slot) ? Refill::kQueued : Refill::kRefused;
}

void PrimePlaybackBuffers(Playback& playback) {
    for (uint16_t slot = 0; slot < playback.buffer_count; ++slot) {
        if (playback.buffers[slot].in_device) continue;
        if (RefillBuffer(playback, slot) == Refill::kNothingLeft) return;
    }
}

bool SeekToData(Playback& playback, DWORD offset) {
    int64_t target = int64_t{playback.main.data_start} + offset;
    if (target > 0x7FFFFFFF || mmioSeek(playback.main.file.Get(), static_cast<LONG>(target), SEEK_SET) < 0) {
        return false;
    }
    DWORD end = PlaybackEnd(playback);
    playback.bytes_to_play = end > offset ? end - offset : 0;
    playback.bytes_read = 0;
    return true;
}

uint32_t PlaybackBytes(const Playback& playback, uint32_t position, uint16_t unit) {
    return PlaybackBytes(playback.main.format, position, unit);
}

uint32_t PlaybackBytes(const WAVEFORMATEX& format, uint32_t position, uint16_t unit) {
    if (unit == TOLVANE_SAMPLES || unit == TOLVANE_BYTES) {
        return PositionToBytes(position, unit, ToInputFileInfo(format));
    }
    uint64_t bytes_per_second =
        uint64_t{format.nSamplesPerSec} * (format.wBitsPerSample / 8u) * format.nChannels;
    bytes_per_second = std::min<uint64_t>(bytes_per_second, UINT32_MAX);
    return static_cast<uint32_t>(std::min<uint64_t>(position * bytes_per_second / 1000, UINT32_MAX));
}

void SetPlaybackEnd(Playback& playback) {
    const DWORD end = PlaybackBytes(playback, playback.options.end, playback.options.unit);
    playback.end_position = playback.options.end ? std::min(end, playback.main.data_size) : 0;
}

DWORD PlaybackEnd(const Playback& playback) {
    DWORD end = playback.end_position ? playback.end_position : playback.main.data_size;
    return DownToBlock(end, FrameSize(playback));
}

void ClosePlaybackFiles(Playback& playback) {
    playback.main = PlayedFile();
    playback.mix = WaveSource();
}

}  // namespace tolvane
