// Chunks: an identifier, a size of 32 bits, the content, a pad byte after an odd size. All offsets are
// computed in 64 bits, and a search only ever moves forward, so that no size a file may claim leads back or
// round in a circle.
#include "platform/riff/chunks.h"

#include <algorithm>
#include <cstring>

namespace tolvane::platform {

namespace {

constexpr DWORD kHeader = 8;
constexpr DWORD kTypeSize = 4;

struct Header {
    DWORD id, size;
};
static_assert(sizeof(Header) == kHeader);

bool HasType(DWORD id) {
    return id == FOURCC_RIFF || id == FOURCC_LIST;
}

int64_t EndOf(const MMCKINFO& chunk) {
    return int64_t{chunk.dwDataOffset} + chunk.cksize + (chunk.cksize & 1);
}

// Where a search inside `parent` has to stop; the pad byte behind it is not part of it.
int64_t LimitOf(const MMCKINFO* parent) {
    return parent ? int64_t{parent->dwDataOffset} + parent->cksize : kLastOffset;
}

MMRESULT ReadHeader(MmioFile& file, int64_t limit, MMCKINFO& chunk) {
    Header header;
    if (file.position() >= limit || file.Read(&header, kHeader) != LONG{kHeader})
        return MMIOERR_CHUNKNOTFOUND;
    chunk.ckid = header.id;
    chunk.cksize = header.size;
    chunk.fccType = 0;
    chunk.dwDataOffset = static_cast<DWORD>(file.position());
    chunk.dwFlags = 0;
    if (!HasType(header.id)) return 0;
    return file.Read(&chunk.fccType, kTypeSize) == LONG{kTypeSize} ? 0 : MMIOERR_CHUNKNOTFOUND;
}

// What is looked for: identifier and type, 0 for any.
struct Wanted {
    FOURCC id, type;
    bool Is(const MMCKINFO& chunk) const {
        return (!id || chunk.ckid == id) && (!type || chunk.fccType == type);
    }
};

Wanted WantedBy(const MMCKINFO& chunk, UINT flags) {
    if (flags & MMIO_FINDRIFF) return {FOURCC_RIFF, chunk.fccType};
    if (flags & MMIO_FINDCHUNK) return {chunk.ckid, 0};
    return {0, 0};
}

bool WriteAll(MmioFile& file, const void* bytes, DWORD size) {
    return file.Write(bytes, static_cast<LONG>(size)) == static_cast<LONG>(size);
}

// Fills in the size of a chunk that was made and written to. The pad byte belongs to the file, not to the
// chunk.
MMRESULT FinishChunk(MmioFile& file, MMCKINFO& chunk) {
    const int64_t written = int64_t{file.position()} - chunk.dwDataOffset;
    if (written < 0) return MMIOERR_CANNOTSEEK;
    chunk.dwFlags &= ~MMIO_DIRTY;
    if ((written & 1) && !WriteAll(file, "", 1)) return MMIOERR_CANNOTWRITE;
    if (chunk.cksize == written) return 0;
    chunk.cksize = static_cast<DWORD>(written);
    if (file.Seek(int64_t{chunk.dwDataOffset} - LONG{kTypeSize}, SEEK_SET) < 0) return MMIOERR_CANNOTSEEK;
    return WriteAll(file, &chunk.cksize, sizeof chunk.cksize) ? 0 : MMIOERR_CANNOTWRITE;
}

}  // namespace

MMRESULT Descend(MmioFile& file, MMCKINFO& chunk, const MMCKINFO* parent, UINT flags) {
    const Wanted wanted = WantedBy(chunk, flags);
    const int64_t limit = LimitOf(parent);
    for (;;) {
        if (const MMRESULT error = ReadHeader(file, limit, chunk)) return error;
        if (wanted.Is(chunk)) break;
        if (file.Seek(EndOf(chunk), SEEK_SET) < 0) return MMIOERR_CHUNKNOTFOUND;
    }
    return 0;
}

MMRESULT Ascend(MmioFile& file, MMCKINFO& chunk) {
    if (chunk.dwFlags & MMIO_DIRTY)
        if (const MMRESULT error = FinishChunk(file, chunk)) return error;
    return file.Seek(EndOf(chunk), SEEK_SET) < 0 ? MMIOERR_CANNOTSEEK : 0;
}

MMRESULT CreateChunk(MmioFile& file, MMCKINFO& chunk, UINT flags) {
    if (flags & MMIO_CREATERIFF) chunk.ckid = FOURCC_RIFF;
    const int64_t data = int64_t{file.position()} + kHeader;
    if (data > kLastOffset) return MMIOERR_CANNOTWRITE;
    const Header header{chunk.ckid, chunk.cksize};
    if (!WriteAll(file, &header, kHeader)) return MMIOERR_CANNOTWRITE;
    if (HasType(chunk.ckid) && !WriteAll(file, &chunk.fccType, kTypeSize)) return MMIOERR_CANNOTWRITE;
    chunk.dwDataOffset = static_cast<DWORD>(data);
    chunk.dwFlags = MMIO_DIRTY;
    return 0;
}

}  // namespace tolvane::platform
