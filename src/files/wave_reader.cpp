#include "files/wave_reader.h"

#include <mmreg.h>

#include <algorithm>
#include <cstring>

#include "frame/text.h"
#include "tolvane.h"

namespace tolvane {

namespace {

constexpr LONG kFileBufferSize = 65536;
constexpr int64_t kFormTypeSize = 4;         // what a RIFF chunk's content begins with
constexpr DWORD kShortestFormat = 16;        // a format record without its extra size
constexpr int kMostChunks = 65536;           // more than any honest file has
constexpr int64_t kLastOffset = 0x7FFFFFFF;  // file offsets are signed 32-bit values

// Where the chunk behind this one begins.
int64_t EndOf(const Chunk& chunk) {
    return int64_t{chunk.dwDataOffset} + chunk.cksize + (chunk.cksize & 1);
}

// Walks from `from` to the first chunk that begins before `end` and that `wanted` likes.
template <class Wanted>
bool Walk(const MmioFile& file, int64_t from, int64_t end, Wanted wanted, Chunk* found) {
    for (int i = 0; i < kMostChunks && from < std::min(end, kLastOffset); ++i) {
        *found = {};
        if (mmioSeek(file.Get(), static_cast<LONG>(from), SEEK_SET) < 0) return false;
        if (mmioDescend(file.Get(), found, nullptr, 0) != MMSYSERR_NOERROR) return false;
        if (wanted(*found)) return true;
        from = EndOf(*found);
    }
    return false;
}

bool IsUsable(const WAVEFORMATEX& format) {
    if (format.nChannels == 0 || format.nSamplesPerSec == 0 || format.nBlockAlign == 0) return false;
    if (format.wFormatTag != WAVE_FORMAT_PCM) return true;
    uint32_t frame = format.nChannels * ((format.wBitsPerSample + 7u) / 8u);
    return frame == format.nBlockAlign && uint64_t{frame} * format.nSamplesPerSec <= UINT32_MAX;
}

// Reads what there is of the format record, at most 18 bytes.
bool ReadFormat(const MmioFile& file, const Chunk& chunk, WAVEFORMATEX* format) {
    *format = {};
    DWORD size = std::min<DWORD>(chunk.cksize, sizeof *format);
    if (size < kShortestFormat || !ReadExactly(file, format, size)) return false;
    if (format->wFormatTag == WAVE_FORMAT_PCM) format->cbSize = 0;
    return IsUsable(*format);
}

uint16_t ReadSource(bool may_be_empty, WaveSource* source) {
    const MmioFile& file = source->file;
    Chunk chunk;
    if (!FindWave(file, &source->riff)) return TOLVANE_NOT_WAVE;
    if (!FindSubchunk(file, source->riff, kFormatChunk, &chunk)) return TOLVANE_NO_FORMAT;
    if (!ReadFormat(file, chunk, &source->format)) return TOLVANE_NO_FORMAT;
    if (mmioAscend(file.Get(), &chunk, 0) != MMSYSERR_NOERROR) return TOLVANE_FORMAT_NOT_LEFT;
    if (!FindSubchunk(file, source->riff, kDataChunk, &chunk)) return TOLVANE_NO_DATA;
    source->data_start = chunk.dwDataOffset;
    source->data_size = AvailableBytes(file, chunk);
    if (source->data_size == 0 && !may_be_empty) return TOLVANE_EMPTY_DATA;
    return source->format.wFormatTag == WAVE_FORMAT_PCM ? TOLVANE_OK : TOLVANE_NOT_PCM;
}

}  // namespace

MmioFile OpenForReading(const char* path, DWORD share) {
    if (!IsUsablePath(path)) return MmioFile();
    // Named so, a '+' in the path does not make the system look for an I/O procedure.
    MMIOINFO info = {};
    info.fccIOProc = FOURCC_DOS;
    return MmioFile(mmioOpenA(const_cast<char*>(path), &info, MMIO_READ | MMIO_ALLOCBUF | share));
}

bool FindWave(const MmioFile& file, Chunk* riff) {
    auto is_wave = [](const Chunk& chunk) { return chunk.ckid == FOURCC_RIFF && chunk.fccType == kWaveForm; };
    return Walk(file, 0, kLastOffset, is_wave, riff);
}

bool FindRiff(const MmioFile& file, Chunk* riff) {
    return Walk(
        file, 0, kLastOffset, [](const Chunk& chunk) { return chunk.ckid == FOURCC_RIFF; }, riff);
}

bool FindSubchunk(const MmioFile& file, const Chunk& riff, FOURCC id, Chunk* found) {
    auto is_named = [id](const Chunk& chunk) { return chunk.ckid == id; };
    return Walk(file, riff.dwDataOffset + kFormTypeSize, EndOf(riff), is_named, found);
}

DWORD AvailableBytes(const MmioFile& file, const Chunk& chunk) {
    LONG length = mmioSeek(file.Get(), 0, SEEK_END);
    LONG back = mmioSeek(file.Get(), static_cast<LONG>(chunk.dwDataOffset), SEEK_SET);
    bool beyond_offsets = length < 0 || back < 0 || static_cast<DWORD>(length) < chunk.dwDataOffset;
    return beyond_offsets ? chunk.cksize
                          : std::min(chunk.cksize, static_cast<DWORD>(length) - chunk.dwDataOffset);
}

bool ReadExactly(const MmioFile& file, void* to, DWORD size) {
    LONG count = static_cast<LONG>(size);
    return count >= 0 && mmioRead(file.Get(), static_cast<HPSTR>(to), count) == count;
}

FormatRead ReadFormatRecord(const MmioFile& file, const Chunk& riff, GlobalBlock* record) {
    Chunk chunk;
    if (!FindSubchunk(file, riff, kFormatChunk, &chunk)) return FormatRead::kNoChunk;
    DWORD size = AvailableBytes(file, chunk);
    if (size < kShortestFormat || size < chunk.cksize || size > kLongestFormat)
        return FormatRead::kUnreadable;
    DWORD room = std::max<DWORD>(size, sizeof(WAVEFORMATEX));
    if (record->Allocate(room, GMEM_MOVEABLE | GMEM_ZEROINIT) != GlobalBlock::Outcome::kDone)
        return FormatRead::kNoMemory;
    if (!ReadExactly(file, record->Data(), size)) return FormatRead::kUnreadable;
    WAVEFORMATEX* format = static_cast<WAVEFORMATEX*>(record->Data());
    WORD most = static_cast<WORD>(room - sizeof(WAVEFORMATEX));
    format->cbSize = format->wFormatTag == WAVE_FORMAT_PCM ? WORD{0} : std::min(format->cbSize, most);
    return FormatRead::kDone;
}

uint16_t OpenWaveSource(const char* path, bool may_be_empty, WaveSource* source) {
    *source = WaveSource();
    source->file = OpenForReading(path);
    if (!source->file) return TOLVANE_CANNOT_OPEN;
    uint16_t result = mmioSetBuffer(source->file.Get(), nullptr, kFileBufferSize, 0) == MMSYSERR_NOERROR
                          ? ReadSource(may_be_empty, source)
                          : uint16_t{TOLVANE_NO_FILE_BUFFER};
    if (result != TOLVANE_OK && result != TOLVANE_NOT_PCM) *source = WaveSource();
    return result;
}

uint16_t OpenWaveForPlay(const char* path, const char* mix_path, WaveSource* main, WaveSource* mix) {
    *mix = WaveSource();
    uint16_t result = OpenWaveSource(path, false, main);
    if (result != TOLVANE_OK || !mix_path) return result;
    result = OpenWaveSource(mix_path, true, mix);
    if (result != TOLVANE_OK && result != TOLVANE_NOT_PCM) *main = WaveSource();
    return result;
}

}  // namespace tolvane
