// Reading wave files: the walk through their chunks, written once, and what the playback reads of a file.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <cstdint>

#include "frame/handles.h"

namespace tolvane {

// A subchunk of a wave file as found; the file is then positioned at its content.
using Chunk = MMCKINFO;

// Opens a file for reading, buffered by the system; none where the path is unusable. `share` says what others
// may do with it meanwhile (MMIO_DENY...).
MmioFile OpenForReading(const char* path, DWORD share = MMIO_DENYNONE);

// Finds the RIFF chunk of form "WAVE", from the start of the file.
bool FindWave(const MmioFile& file, Chunk* riff);

// Finds the first RIFF chunk, of whatever form.
bool FindRiff(const MmioFile& file, Chunk* riff);

// Finds the first subchunk of a name, from the start of the RIFF chunk. Sizes that lie cannot make this go
// backwards or on for ever.
bool FindSubchunk(const MmioFile& file, const Chunk& riff, FOURCC id, Chunk* found);

// Longer format records are refused.
inline constexpr DWORD kLongestFormat = 65535 + sizeof(WAVEFORMATEX);

// The bytes of a chunk that the file really has, at most those it claims.
DWORD AvailableBytes(const MmioFile& file, const Chunk& chunk);

// Reads exactly `size` bytes.
bool ReadExactly(const MmioFile& file, void* to, DWORD size);

// The whole format record, codec bytes included, at least the 18 bytes of a WAVEFORMATEX; its extra size
// never exceeds what was read.
enum class FormatRead { kDone, kNoChunk, kNoMemory, kUnreadable };
FormatRead ReadFormatRecord(const MmioFile& file, const Chunk& riff, GlobalBlock* record);

inline constexpr FOURCC kWaveForm = mmioFOURCC('W', 'A', 'V', 'E');
inline constexpr FOURCC kFormatChunk = mmioFOURCC('f', 'm', 't', ' ');
inline constexpr FOURCC kDataChunk = mmioFOURCC('d', 'a', 't', 'a');

// An open wave file, positioned at its sound.
struct WaveSource {
    MmioFile file;
    Chunk riff = {};
    WAVEFORMATEX format = {};  // channels, rate and block size are not 0; bytes a second fit 32 bits
    DWORD data_size = 0;       // bytes of sound that the file really has
    DWORD data_start = 0;      // file offset of the first of them
};

// Opens a wave file for playback. TOLVANE_NOT_PCM leaves it open; after any other failure nothing is open.
uint16_t OpenWaveSource(const char* path, bool may_be_empty, WaveSource* source);

// Opens the file to play and, unless `mix_path` is null, the file to be mixed with it. TOLVANE_NOT_PCM leaves
// the files opened so far open; after any other failure nothing is open.
uint16_t OpenWaveForPlay(const char* path, const char* mix_path, WaveSource* main, WaveSource* mix);

}  // namespace tolvane
