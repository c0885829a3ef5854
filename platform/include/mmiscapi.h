/* mmiscapi.h: reading and writing RIFF files with the multimedia file services, in the system's names and
 * layouts. */
#ifndef TOLVANE_PLATFORM_MMISCAPI_H
#define TOLVANE_PLATFORM_MMISCAPI_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef UINT MMRESULT;
typedef DWORD FOURCC;
typedef char* HPSTR;
typedef const char* HPCSTR;
DECLARE_HANDLE(HMMIO);

#define MAKEFOURCC(a, b, c, d) \
    ((DWORD)(BYTE)(a) | ((DWORD)(BYTE)(b) << 8) | ((DWORD)(BYTE)(c) << 16) | ((DWORD)(BYTE)(d) << 24))
#define mmioFOURCC(a, b, c, d) MAKEFOURCC(a, b, c, d)
#define FOURCC_RIFF mmioFOURCC('R', 'I', 'F', 'F')
#define FOURCC_LIST mmioFOURCC('L', 'I', 'S', 'T')
#define FOURCC_DOS mmioFOURCC('D', 'O', 'S', ' ')

/* ---- Results ---- */
#define MMIOERR_BASE 256
#define MMIOERR_FILENOTFOUND 257
#define MMIOERR_OUTOFMEMORY 258
#define MMIOERR_CANNOTOPEN 259
#define MMIOERR_CANNOTCLOSE 260
#define MMIOERR_CANNOTREAD 261
#define MMIOERR_CANNOTWRITE 262
#define MMIOERR_CANNOTSEEK 263
#define MMIOERR_CANNOTEXPAND 264
#define MMIOERR_CHUNKNOTFOUND 265
#define MMIOERR_UNBUFFERED 266
#define MMIOERR_PATHNOTFOUND 267
#define MMIOERR_ACCESSDENIED 268
#define MMIOERR_SHARINGVIOLATION 269
#define MMIOERR_NETWORKERROR 270
#define MMIOERR_TOOMANYOPENFILES 271
#define MMIOERR_INVALIDFILE 272

/* ---- mmioOpen ---- */
#define MMIO_RWMODE 0x00000003u
#define MMIO_READ 0x00000000u
#define MMIO_WRITE 0x00000001u
#define MMIO_READWRITE 0x00000002u
#define MMIO_SHAREMODE 0x00000070u /* sharing modes are accepted and have no effect */
#define MMIO_COMPAT 0x00000000u
#define MMIO_EXCLUSIVE 0x00000010u
#define MMIO_DENYWRITE 0x00000020u
#define MMIO_DENYREAD 0x00000030u
#define MMIO_DENYNONE 0x00000040u
#define MMIO_CREATE 0x00001000u
#define MMIO_EXIST 0x00004000u
#define MMIO_ALLOCBUF 0x00010000u
#define MMIO_DIRTY 0x10000000u
#define MMIO_DEFAULTBUFFER 8192

/* ---- The other calls ---- */
#define MMIO_FINDCHUNK 0x0010u
#define MMIO_FINDRIFF 0x0020u
#define MMIO_CREATERIFF 0x0020u
#ifndef SEEK_SET
#define SEEK_SET 0
#define SEEK_CUR 1
#define SEEK_END 2
#endif

#pragma pack(push, 1)
typedef LRESULT(CALLBACK* LPMMIOPROC)(LPSTR info, UINT message, LPARAM first, LPARAM second);

typedef struct _MMIOINFO {
    DWORD dwFlags;
    FOURCC fccIOProc;
    LPMMIOPROC pIOProc; /* must be null: files only */
    UINT wErrorRet;     /* why mmioOpen returned null */
    HANDLE htask;
    LONG cchBuffer;
    HPSTR pchBuffer;
    HPSTR pchNext;
    HPSTR pchEndRead;
    HPSTR pchEndWrite;
    LONG lBufOffset;
    LONG lDiskOffset;
    DWORD adwInfo[3];
    DWORD dwReserved1;
    DWORD dwReserved2;
    HMMIO hmmio;
} MMIOINFO, *LPMMIOINFO;

typedef struct _MMCKINFO {
    FOURCC ckid;
    DWORD cksize;
    FOURCC fccType;
    DWORD dwDataOffset;
    DWORD dwFlags;
} MMCKINFO, *LPMMCKINFO;
#pragma pack(pop)

HMMIO WINAPI mmioOpenA(LPSTR name, LPMMIOINFO info, DWORD flags);
MMRESULT WINAPI mmioClose(HMMIO file, UINT flags);
LONG WINAPI mmioRead(HMMIO file, HPSTR buffer, LONG size);
LONG WINAPI mmioWrite(HMMIO file, HPCSTR buffer, LONG size);
LONG WINAPI mmioSeek(HMMIO file, LONG offset, int origin);
/* The file allocates its own: `buffer` is always null. */
MMRESULT WINAPI mmioSetBuffer(HMMIO file, LPSTR buffer, LONG size, UINT flags);
MMRESULT WINAPI mmioFlush(HMMIO file, UINT flags);
MMRESULT WINAPI mmioDescend(HMMIO file, LPMMCKINFO chunk, const MMCKINFO* parent, UINT flags);
MMRESULT WINAPI mmioAscend(HMMIO file, LPMMCKINFO chunk, UINT flags);
MMRESULT WINAPI mmioCreateChunk(HMMIO file, LPMMCKINFO chunk, UINT flags);

#ifdef __cplusplus
}
#endif
#endif
