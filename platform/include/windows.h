/* windows.h: the types, constants and kernel, message and console services that Tolvane and its hosts use,
 * for systems that are not Windows. Record layouts, names and numbers are those of the system; the services
 * behave as it documents. Wide characters, security descriptors, overlapped input and output and named
 * objects are not part of it. */
#ifndef TOLVANE_PLATFORM_WINDOWS_H
#define TOLVANE_PLATFORM_WINDOWS_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Calling conventions: one convention here ---- */
#define WINAPI
#define CALLBACK
#define APIENTRY
#define WINAPIV
#ifndef __stdcall
#define __stdcall
#endif
#ifndef __cdecl
#define __cdecl
#endif

/* ---- Plain types ---- */
typedef int BOOL;
typedef int INT;
typedef unsigned int UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef char CHAR;
typedef unsigned char UCHAR;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef unsigned long long DWORDLONG;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef size_t SIZE_T;
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef BYTE* LPBYTE;
typedef WORD* LPWORD;
typedef DWORD* LPDWORD;
typedef LONG* LPLONG;
typedef LONG* PLONG;
typedef BOOL* LPBOOL;
typedef WORD ATOM;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef LONG HRESULT;
#define VOID void
#define CONST const
#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define MAXDWORD 0xFFFFFFFFu

#define LOWORD(value) ((WORD)((DWORD_PTR)(value)&0xFFFF))
#define HIWORD(value) ((WORD)(((DWORD_PTR)(value) >> 16) & 0xFFFF))
#define LOBYTE(value) ((BYTE)((DWORD_PTR)(value)&0xFF))
#define HIBYTE(value) ((BYTE)(((DWORD_PTR)(value) >> 8) & 0xFF))
#define MAKEWORD(low, high) ((WORD)(((BYTE)(low)) | ((WORD)((BYTE)(high))) << 8))
#define MAKELONG(low, high) ((LONG)(((WORD)(low)) | ((DWORD)((WORD)(high))) << 16))
#define ZeroMemory(destination, length) memset((destination), 0, (length))

/* ---- Handles ---- */
typedef void* HANDLE;
typedef HANDLE HGLOBAL;
typedef HANDLE* PHANDLE;
typedef HANDLE* LPHANDLE;
#define DECLARE_HANDLE(name) \
    struct name##__ {        \
        int unused;          \
    };                       \
    typedef struct name##__* name
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HWINSTA);
typedef HINSTANCE HMODULE;
typedef HICON HCURSOR;
#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef union _LARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        LONG HighPart;
    };
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;

typedef union _ULARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    ULONGLONG QuadPart;
} ULARGE_INTEGER, *PULARGE_INTEGER;

typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *LPFILETIME;

BOOL WINAPI CloseHandle(HANDLE object);

/* ---- Last error ---- */
#define ERROR_SUCCESS 0u
#define NO_ERROR 0u
#define ERROR_INVALID_FUNCTION 1u
#define ERROR_FILE_NOT_FOUND 2u
#define ERROR_PATH_NOT_FOUND 3u
#define ERROR_TOO_MANY_OPEN_FILES 4u
#define ERROR_ACCESS_DENIED 5u
#define ERROR_INVALID_HANDLE 6u
#define ERROR_NOT_ENOUGH_MEMORY 8u
#define ERROR_OUTOFMEMORY 14u
#define ERROR_NOT_SAME_DEVICE 17u
#define ERROR_NO_MORE_FILES 18u
#define ERROR_WRITE_PROTECT 19u
#define ERROR_SEEK 25u
#define ERROR_WRITE_FAULT 29u
#define ERROR_READ_FAULT 30u
#define ERROR_GEN_FAILURE 31u
#define ERROR_SHARING_VIOLATION 32u
#define ERROR_NOT_SUPPORTED 50u
#define ERROR_FILE_EXISTS 80u
#define ERROR_INVALID_PARAMETER 87u
#define ERROR_BROKEN_PIPE 109u
#define ERROR_DISK_FULL 112u
#define ERROR_CALL_NOT_IMPLEMENTED 120u
#define ERROR_INSUFFICIENT_BUFFER 122u
#define ERROR_INVALID_NAME 123u
#define ERROR_MOD_NOT_FOUND 126u
#define ERROR_PROC_NOT_FOUND 127u
#define ERROR_NEGATIVE_SEEK 131u
#define ERROR_NOT_LOCKED 158u
#define ERROR_BUSY 170u
#define ERROR_ALREADY_EXISTS 183u
#define ERROR_FILENAME_EXCED_RANGE 206u
#define ERROR_FILE_TOO_LARGE 223u
#define ERROR_DIRECTORY 267u
#define ERROR_NOT_OWNER 288u
#define ERROR_INVALID_WINDOW_HANDLE 1400u
#define ERROR_CLASS_ALREADY_EXISTS 1410u
#define ERROR_CLASS_DOES_NOT_EXIST 1411u
#define ERROR_CLASS_HAS_WINDOWS 1412u
#define ERROR_INVALID_THREAD_ID 1444u
#define ERROR_TIMEOUT 1460u
#define ERROR_NOT_ENOUGH_QUOTA 1816u
DWORD WINAPI GetLastError(void);
void WINAPI SetLastError(DWORD code);

/* ---- Files ---- */
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define DELETE 0x00010000u
#define FILE_SHARE_READ 1u
#define FILE_SHARE_WRITE 2u
#define FILE_SHARE_DELETE 4u
#define CREATE_NEW 1u
#define CREATE_ALWAYS 2u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define FILE_ATTRIBUTE_READONLY 0x1u
#define FILE_ATTRIBUTE_HIDDEN 0x2u
#define FILE_ATTRIBUTE_SYSTEM 0x4u
#define FILE_ATTRIBUTE_DIRECTORY 0x10u
#define FILE_ATTRIBUTE_ARCHIVE 0x20u
#define FILE_ATTRIBUTE_NORMAL 0x80u
#define FILE_ATTRIBUTE_TEMPORARY 0x100u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define FILE_TYPE_UNKNOWN 0u
#define FILE_TYPE_DISK 1u
#define FILE_TYPE_CHAR 2u
#define FILE_TYPE_PIPE 3u
#define FILE_BEGIN 0u
#define FILE_CURRENT 1u
#define FILE_END 2u
#define MOVEFILE_REPLACE_EXISTING 1u
#define MOVEFILE_COPY_ALLOWED 2u

typedef struct _BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh;
    DWORD nFileIndexLow;
} BY_HANDLE_FILE_INFORMATION, *LPBY_HANDLE_FILE_INFORMATION;

HANDLE WINAPI CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                          DWORD disposition, DWORD flags, HANDLE model);
DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, PLONG distance_high, DWORD method);
BOOL WINAPI SetEndOfFile(HANDLE file);
BOOL WINAPI GetFileInformationByHandle(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information);
DWORD WINAPI GetFileType(HANDLE file); /* a folder is of the disk too */
DWORD WINAPI GetFileAttributesA(LPCSTR name);
BOOL WINAPI SetFileAttributesA(LPCSTR name, DWORD attributes);
BOOL WINAPI DeleteFileA(LPCSTR name);
BOOL WINAPI MoveFileA(LPCSTR from, LPCSTR to);
BOOL WINAPI MoveFileExA(LPCSTR from, LPCSTR to, DWORD flags);
BOOL WINAPI CopyFileA(LPCSTR from, LPCSTR to, BOOL fail_if_exists);
/* `replacement` takes the place of `replaced`, whose rights (and, where it is a link, whose place behind it) it keeps;
 * what it replaces becomes `backup`, where one is named. */
BOOL WINAPI ReplaceFileA(LPCSTR replaced, LPCSTR replacement, LPCSTR backup, DWORD flags, LPVOID exclude,
                         LPVOID reserved);
DWORD WINAPI GetFullPathNameA(LPCSTR name, DWORD size, LPSTR buffer, LPSTR* file_part);
DWORD WINAPI GetTempPathA(DWORD size, LPSTR buffer);
UINT WINAPI GetTempFileNameA(LPCSTR folder, LPCSTR prefix, UINT unique, LPSTR name);
BOOL WINAPI GetDiskFreeSpaceA(LPCSTR root, LPDWORD sectors_per_cluster, LPDWORD bytes_per_sector,
                              LPDWORD free_clusters, LPDWORD clusters);
BOOL WINAPI GetDiskFreeSpaceExA(LPCSTR folder, PULARGE_INTEGER available, PULARGE_INTEGER total,
                                PULARGE_INTEGER free_bytes);

/* ---- Time and system ---- */
#define INFINITE 0xFFFFFFFFu
#define VER_PLATFORM_WIN32_WINDOWS 1u
#define VER_PLATFORM_WIN32_NT 2u

typedef struct _OSVERSIONINFOA {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    CHAR szCSDVersion[128];
} OSVERSIONINFOA, *LPOSVERSIONINFOA;

DWORD WINAPI GetTickCount(void);
void WINAPI Sleep(DWORD milliseconds);
BOOL WINAPI GetVersionExA(LPOSVERSIONINFOA version);

/* ---- Memory ---- */
#define GMEM_FIXED 0u
#define GMEM_MOVEABLE 2u
#define GMEM_ZEROINIT 0x40u
#define GMEM_SHARE 0x2000u
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)
HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T bytes);
LPVOID WINAPI GlobalLock(HGLOBAL memory);
BOOL WINAPI GlobalUnlock(HGLOBAL memory);  /* 0 with NO_ERROR: unlocked for good */
HGLOBAL WINAPI GlobalFree(HGLOBAL memory); /* null when done */
BOOL WINAPI IsBadReadPtr(const void* memory, UINT_PTR size);

/* ---- Modules ---- */
#define DLL_PROCESS_DETACH 0u
#define DLL_PROCESS_ATTACH 1u
#define DLL_THREAD_ATTACH 2u
#define DLL_THREAD_DETACH 3u
#define LOAD_LIBRARY_AS_DATAFILE 2u
#define LOAD_WITH_ALTERED_SEARCH_PATH 8u
typedef INT_PTR(WINAPI* FARPROC)(void);
HMODULE WINAPI LoadLibraryA(LPCSTR name);
HMODULE WINAPI LoadLibraryExA(LPCSTR name, HANDLE file, DWORD flags);
BOOL WINAPI FreeLibrary(HMODULE module);
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 2u
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 4u
/* Only by an address inside the module. */
BOOL WINAPI GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module);
/* For a thread that runs in a library and is the last to need it. */
void WINAPI FreeLibraryAndExitThread(HMODULE module, DWORD code) __attribute__((noreturn));
DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR name, DWORD size);
/* The entry point of a library, called by the lines linked into it (kernel/entry.cpp). */
BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

/* ---- Threads and what they wait for ---- */
#define WAIT_OBJECT_0 0u
#define WAIT_ABANDONED 0x80u
#define WAIT_ABANDONED_0 0x80u
#define WAIT_TIMEOUT 258u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64
#define STILL_ACTIVE 259u
#define STACK_SIZE_PARAM_IS_A_RESERVATION 0x10000u
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID argument);
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES security, SIZE_T stack, LPTHREAD_START_ROUTINE start,
                           LPVOID argument, DWORD flags, LPDWORD id);
BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD code);
/* Ends the thread in the wait it is in, or at its next one, and returns when none of its code runs any more.
 */
BOOL WINAPI TerminateThread(HANDLE thread, DWORD code);
DWORD WINAPI GetCurrentThreadId(void);
DWORD WINAPI GetCurrentProcessId(void);
DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES security, BOOL manual_reset, BOOL set, LPCSTR name);
BOOL WINAPI SetEvent(HANDLE event);
HANDLE WINAPI CreateMutexA(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCSTR name);
BOOL WINAPI ReleaseMutex(HANDLE mutex);

/* A zeroed lock is free; it needs no destruction and is not recursive. */
typedef struct _SRWLOCK {
    uint64_t opaque[8];
} SRWLOCK, *PSRWLOCK;
#define SRWLOCK_INIT \
    {                \
        { 0 }        \
    }
void WINAPI AcquireSRWLockExclusive(PSRWLOCK lock);
void WINAPI ReleaseSRWLockExclusive(PSRWLOCK lock);
BYTE WINAPI TryAcquireSRWLockExclusive(PSRWLOCK lock);

/* ---- Windows and messages: message-only windows ---- */
#define WM_NULL 0x0000u
#define WM_CREATE 0x0001u
#define WM_DESTROY 0x0002u
#define WM_CLOSE 0x0010u
#define WM_QUIT 0x0012u
#define WM_NCCREATE 0x0081u
#define WM_NCDESTROY 0x0082u
#define WM_USER 0x0400u
#define WM_APP 0x8000u
#define PM_NOREMOVE 0u
#define PM_REMOVE 1u
#define GWLP_WNDPROC (-4)
#define GWLP_HINSTANCE (-6)
#define GWLP_USERDATA (-21)
#define QS_ALLINPUT 0x04FFu
#define HWND_MESSAGE ((HWND)(LONG_PTR)-3)
#define CW_USEDEFAULT ((int)0x80000000)

typedef LRESULT(CALLBACK* WNDPROC)(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

typedef struct tagPOINT {
    LONG x;
    LONG y;
} POINT, *LPPOINT;

typedef struct tagMSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
} MSG, *LPMSG;

typedef struct tagWNDCLASSEXA {
    UINT cbSize;
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCSTR lpszMenuName;
    LPCSTR lpszClassName;
    HICON hIconSm;
} WNDCLASSEXA, *LPWNDCLASSEXA;

typedef struct tagCREATESTRUCTA {
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCSTR lpszName;
    LPCSTR lpszClass;
    DWORD dwExStyle;
} CREATESTRUCTA, *LPCREATESTRUCTA;

BOOL WINAPI GetMessageA(LPMSG message, HWND window, UINT first, UINT last);
BOOL WINAPI PeekMessageA(LPMSG message, HWND window, UINT first, UINT last, UINT remove);
BOOL WINAPI TranslateMessage(const MSG* message);
LRESULT WINAPI DispatchMessageA(const MSG* message);
BOOL WINAPI PostMessageA(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
BOOL WINAPI PostThreadMessageA(DWORD thread, UINT message, WPARAM wparam, LPARAM lparam);
void WINAPI PostQuitMessage(int code);
/* Any of the objects: `all` is not looked at. */
DWORD WINAPI MsgWaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds,
                                       DWORD wake);
ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* window_class);
BOOL WINAPI UnregisterClassA(LPCSTR name, HINSTANCE instance);
HWND WINAPI CreateWindowExA(DWORD extended_style, LPCSTR class_name, LPCSTR window_name, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                            LPVOID parameter);
BOOL WINAPI DestroyWindow(HWND window);
BOOL WINAPI IsWindow(HWND window);
LRESULT WINAPI DefWindowProcA(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
LONG_PTR WINAPI GetWindowLongPtrA(HWND window, int index);
LONG_PTR WINAPI SetWindowLongPtrA(HWND window, int index, LONG_PTR value);

/* ---- The desktop: one, which a user can see ---- */
#define UOI_FLAGS 1
#define WSF_VISIBLE 1u
typedef struct tagUSEROBJECTFLAGS {
    BOOL fInherit;
    BOOL fReserved;
    DWORD dwFlags;
} USEROBJECTFLAGS, *PUSEROBJECTFLAGS;
HWINSTA WINAPI GetProcessWindowStation(void);
/* Only the flags. */
BOOL WINAPI GetUserObjectInformationA(HANDLE object, int index, PVOID information, DWORD size,
                                      LPDWORD needed);

/* ---- Console ---- */
#define STD_INPUT_HANDLE ((DWORD)-10)
#define STD_OUTPUT_HANDLE ((DWORD)-11)
#define STD_ERROR_HANDLE ((DWORD)-12)
#define ENABLE_PROCESSED_INPUT 0x1u
#define ENABLE_LINE_INPUT 0x2u
#define ENABLE_ECHO_INPUT 0x4u
#define ENABLE_PROCESSED_OUTPUT 0x1u
#define ENABLE_WRAP_AT_EOL_OUTPUT 0x2u
#define ENABLE_VIRTUAL_TERMINAL_PROCESSING 0x4u
#define ENABLE_VIRTUAL_TERMINAL_INPUT 0x200u
#define CTRL_C_EVENT 0u
#define CTRL_BREAK_EVENT 1u
#define CTRL_CLOSE_EVENT 2u
#define CP_UTF8 65001u

typedef struct _COORD {
    SHORT X;
    SHORT Y;
} COORD;

typedef struct _SMALL_RECT {
    SHORT Left;
    SHORT Top;
    SHORT Right;
    SHORT Bottom;
} SMALL_RECT;

typedef struct _CONSOLE_SCREEN_BUFFER_INFO {
    COORD dwSize;
    COORD dwCursorPosition;
    WORD wAttributes;
    SMALL_RECT srWindow;
    COORD dwMaximumWindowSize;
} CONSOLE_SCREEN_BUFFER_INFO, *PCONSOLE_SCREEN_BUFFER_INFO;

typedef BOOL(WINAPI* PHANDLER_ROUTINE)(DWORD event);
HANDLE WINAPI GetStdHandle(DWORD which);
BOOL WINAPI GetConsoleMode(HANDLE console, LPDWORD mode);
BOOL WINAPI SetConsoleMode(HANDLE console, DWORD mode);
BOOL WINAPI GetConsoleScreenBufferInfo(HANDLE console, PCONSOLE_SCREEN_BUFFER_INFO information);
UINT WINAPI GetConsoleOutputCP(void);
BOOL WINAPI SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);

/* ---- Debugger output: goes to the hook of platform.h ---- */
void WINAPI OutputDebugStringA(LPCSTR text);

/* ---- The names without a letter ---- */
#define CreateFile CreateFileA
#define CreateWindowEx CreateWindowExA
#define OutputDebugString OutputDebugStringA
#define WNDCLASSEX WNDCLASSEXA
#define GetMessage GetMessageA
#define DispatchMessage DispatchMessageA
#define PostMessage PostMessageA

#ifdef __cplusplus
}
#endif
#endif
