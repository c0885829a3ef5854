// The multimedia file services by name: arguments, handles, codes.
#include <new>

#include "platform/kernel/error.h"
#include "platform/kernel/file.h"
#include "platform/riff/chunks.h"

namespace tolvane::platform {

namespace {

bool FaultStrikesCode(const char* service, MMRESULT usual, MMRESULT& code) {
    uint32_t wanted = 0;
    if (!PlatformFaultStrikes(service, &wanted)) return false;
    code = wanted ? wanted : usual;
    return true;
}

MMRESULT ResultOf(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
            return MMIOERR_FILENOTFOUND;
        case ERROR_PATH_NOT_FOUND:
            return MMIOERR_PATHNOTFOUND;
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
            return MMIOERR_ACCESSDENIED;
        case ERROR_TOO_MANY_OPEN_FILES:
            return MMIOERR_TOOMANYOPENFILES;
        case ERROR_NOT_ENOUGH_MEMORY:
            return MMIOERR_OUTOFMEMORY;
        default:
            return MMIOERR_CANNOTOPEN;
    }
}

HMMIO Answer(LPMMIOINFO info, MMRESULT code, HMMIO handle = nullptr) {
    if (info) info->wErrorRet = code;
    return handle;
}

// Answers with 1 in place of a handle; the caller's name is left as it is, however much room it has.
HMMIO AskForExistence(const char* name, LPMMIOINFO info) {
    const OpenResult found = OpenFile(name, {true, false, OPEN_EXISTING});
    const bool exists = static_cast<bool>(found.fd);
    return Answer(info, exists ? 0 : MMIOERR_FILENOTFOUND, reinterpret_cast<HMMIO>(uintptr_t{exists}));
}

OpenMode ModeOf(DWORD flags) {
    const DWORD mode = flags & MMIO_RWMODE;
    const bool creates = (flags & MMIO_CREATE) != 0;
    return {mode != MMIO_WRITE, mode != MMIO_READ || creates, creates ? CREATE_ALWAYS : OPEN_EXISTING};
}

// With the buffer that the flags ask for. A file made for nothing but reading can be written all the same.
HMMIO OpenByName(const char* name, LPMMIOINFO info, DWORD flags) {
    OpenResult opened = OpenFile(name, ModeOf(flags));
    if (!opened.fd) return Answer(info, ResultOf(opened.error));
    Ref<MmioFile> file(new (std::nothrow) MmioFile(std::move(opened.fd), flags));
    if (!file) return Answer(info, MMIOERR_OUTOFMEMORY);
    if (const MMRESULT error = file->SetBuffer(flags & MMIO_ALLOCBUF ? MMIO_DEFAULTBUFFER : 0))
        return Answer(info, error);
    const HANDLE handle = MakeHandle(Ref<Object>(file.Detach()));
    return handle ? Answer(info, 0, static_cast<HMMIO>(handle)) : Answer(info, MMIOERR_OUTOFMEMORY);
}

Ref<MmioFile> FileOf(HMMIO file) {
    return FromHandle<MmioFile>(file);
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

constexpr MMRESULT kInvalidHandle = 5;  // the multimedia services' code for a handle of no file

HMMIO WINAPI mmioOpenA(LPSTR name, LPMMIOINFO info, DWORD flags) {
    MMRESULT code;
    if (FaultStrikesCode("mmioOpenA", MMIOERR_CANNOTOPEN, code)) return Answer(info, code);
    if (info && info->pIOProc) return Answer(info, MMIOERR_CANNOTOPEN);
    if (flags & MMIO_EXIST) return AskForExistence(name, info);
    return OpenByName(name, info, flags);
}

MMRESULT WINAPI mmioClose(HMMIO file, UINT) {
    MMRESULT code = 0;
    FaultStrikesCode("mmioClose", MMIOERR_CANNOTWRITE, code);
    const Ref<MmioFile> object = FileOf(file);
    if (!object) return kInvalidHandle;
    const MMRESULT closed = object->Close();
    TakeHandle(file);
    return code ? code : closed;
}

LONG WINAPI mmioRead(HMMIO file, HPSTR buffer, LONG size) {
    if (FaultStrikes("mmioRead", ERROR_READ_FAULT)) return -1;
    const Ref<MmioFile> object = FileOf(file);
    return object ? object->Read(buffer, size) : -1;
}

LONG WINAPI mmioWrite(HMMIO file, HPCSTR buffer, LONG size) {
    if (FaultStrikes("mmioWrite", ERROR_DISK_FULL)) return -1;
    const Ref<MmioFile> object = FileOf(file);
    return object ? object->Write(buffer, size) : -1;
}

LONG WINAPI mmioSeek(HMMIO file, LONG offset, int origin) {
    if (FaultStrikes("mmioSeek", ERROR_SEEK)) return -1;
    const Ref<MmioFile> object = FileOf(file);
    return object ? object->Seek(offset, origin) : -1;
}

MMRESULT WINAPI mmioSetBuffer(HMMIO file, LPSTR, LONG size, UINT) {
    MMRESULT code;
    if (FaultStrikesCode("mmioSetBuffer", MMIOERR_OUTOFMEMORY, code)) return code;
    const Ref<MmioFile> object = FileOf(file);
    return object ? object->SetBuffer(size) : kInvalidHandle;
}

MMRESULT WINAPI mmioFlush(HMMIO file, UINT) {
    MMRESULT code;
    if (FaultStrikesCode("mmioFlush", MMIOERR_CANNOTWRITE, code)) return code;
    const Ref<MmioFile> object = FileOf(file);
    return object ? object->Flush() : kInvalidHandle;
}

MMRESULT WINAPI mmioDescend(HMMIO file, LPMMCKINFO chunk, const MMCKINFO* parent, UINT flags) {
    MMRESULT code;
    if (FaultStrikesCode("mmioDescend", MMIOERR_CHUNKNOTFOUND, code)) return code;
    const Ref<MmioFile> object = FileOf(file);
    return object && chunk ? Descend(*object, *chunk, parent, flags) : kInvalidHandle;
}

MMRESULT WINAPI mmioAscend(HMMIO file, LPMMCKINFO chunk, UINT) {
    MMRESULT code;
    if (FaultStrikesCode("mmioAscend", MMIOERR_CANNOTSEEK, code)) return code;
    const Ref<MmioFile> object = FileOf(file);
    return object && chunk ? Ascend(*object, *chunk) : kInvalidHandle;
}

MMRESULT WINAPI mmioCreateChunk(HMMIO file, LPMMCKINFO chunk, UINT flags) {
    MMRESULT code;
    if (FaultStrikesCode("mmioCreateChunk", MMIOERR_CANNOTWRITE, code)) return code;
    const Ref<MmioFile> object = FileOf(file);
    return object && chunk ? CreateChunk(*object, *chunk, flags) : kInvalidHandle;
}
