#include "files/wave_writer.h"

#include <utility>

#include "files/wave_reader.h"
#include "frame/text.h"

namespace tolvane {

namespace {

constexpr LONG kFileBufferSize = 65536;

// What CreatePcm writes before the sound, in one piece.
#pragma pack(push, 1)
struct PcmHeader {
    FOURCC riff = FOURCC_RIFF;
    DWORD riff_size;
    FOURCC form = kWaveForm;
    FOURCC format_chunk = kFormatChunk;
    DWORD format_size = sizeof(WAVEFORMATEX);
    WAVEFORMATEX format;
    FOURCC data_chunk = kDataChunk;
    DWORD data_size;
};
#pragma pack(pop)
static_assert(sizeof(PcmHeader) == kPcmDataStart);

}  // namespace

MmioFile OpenForWriting(const char* path, DWORD share) {
    if (!IsUsablePath(path)) return MmioFile();
    // Named so, a '+' in the path does not make the system look for an I/O procedure.
    MMIOINFO info = {};
    info.fccIOProc = FOURCC_DOS;
    constexpr DWORD kMode = MMIO_CREATE | MMIO_WRITE | MMIO_ALLOCBUF;
    return MmioFile(mmioOpenA(const_cast<char*>(path), &info, kMode | share));
}

// Not every system tells of a last write that fails when it closes a file.
bool CloseWritten(MmioFile file) {
    if (!file) return true;
    const bool flushed = mmioFlush(file.Get(), 0) == MMSYSERR_NOERROR;
    return mmioClose(file.Release(), 0) == MMSYSERR_NOERROR && flushed;
}

bool WaveWriter::Create(const char* path, Buffering buffering, DWORD share) {
    file_ = OpenForWriting(path, share);
    // Without it writing is only slower.
    if (file_ && buffering == Buffering::kLarge) mmioSetBuffer(file_.Get(), nullptr, kFileBufferSize, 0);
    return static_cast<bool>(file_);
}

bool WaveWriter::BeginWave() {
    riff_ = {};
    riff_.fccType = kWaveForm;
    return mmioCreateChunk(file_.Get(), &riff_, MMIO_CREATERIFF) == MMSYSERR_NOERROR;
}

bool WaveWriter::BeginChunk(FOURCC id) {
    chunk_ = {};
    chunk_.ckid = id;
    return mmioCreateChunk(file_.Get(), &chunk_, 0) == MMSYSERR_NOERROR;
}

bool WaveWriter::Write(const void* data, DWORD size) {
    const LONG count = static_cast<LONG>(size);
    return count >= 0 && mmioWrite(file_.Get(), static_cast<const char*>(data), count) == count;
}

bool WaveWriter::EndChunk() {
    return mmioAscend(file_.Get(), &chunk_, 0) == MMSYSERR_NOERROR;
}

bool WaveWriter::EndWave() {
    return mmioAscend(file_.Get(), &riff_, 0) == MMSYSERR_NOERROR;
}

bool WaveWriter::Close() {
    return CloseWritten(std::move(file_));
}

bool WaveWriter::CreatePcm(const char* path, const WAVEFORMATEX& format, DWORD share) {
    return Create(path, Buffering::kLarge, share) && BeginWave() && BeginChunk(kFormatChunk) &&
           Write(&format, sizeof format) && EndChunk() && BeginChunk(kDataChunk);
}

bool WaveWriter::MoveTo(DWORD offset) {
    return mmioSeek(file_.Get(), static_cast<LONG>(offset), SEEK_SET) == static_cast<LONG>(offset);
}

bool WaveWriter::Flush() {
    return mmioFlush(file_.Get(), 0) == MMSYSERR_NOERROR;
}

// One write, so that no moment sees one size without the other. The pad byte that an odd chunk needs is written at the
// end alone: until then the last byte of an odd one does not count.
bool WaveWriter::SavePcm(const WAVEFORMATEX& format, DWORD end) {
    PcmHeader header;
    header.format = format;
    header.data_size = (end - kPcmDataStart) & ~DWORD{1};
    header.riff_size = kPcmDataStart - kRiffHeader + header.data_size;
    return MoveTo(0) && Write(&header, sizeof header) && Flush();
}

// Whatever fails, the rest is tried: a file that is nearly whole serves better than half of one.
bool WaveWriter::FinishPcm() {
    const bool data = EndChunk(), form = EndWave(), closed = Close();
    return data && form && closed;
}

}  // namespace tolvane
