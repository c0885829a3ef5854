// Loaded libraries. "KERNEL32.DLL" is built in and offers by name what programs look up in it.
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <strings.h>
#include <unistd.h>

#include "platform/kernel/error.h"
#include "platform/kernel/names.h"
#include "platform/kernel/thread.h"

namespace tolvane::platform {

namespace {

HINSTANCE__ kernel_module{};
HINSTANCE__ program_module{};

struct BuiltIn {
    const char* name;
    FARPROC procedure;
};

template <typename Function>
FARPROC Address(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

FARPROC FindBuiltIn(const char* name) {
    static const BuiltIn offered[] = {
        {"GetDiskFreeSpaceExA", Address(GetDiskFreeSpaceExA)},
        {"GetDiskFreeSpaceA", Address(GetDiskFreeSpaceA)},
        {"GetVersionExA", Address(GetVersionExA)},
    };
    for (const BuiltIn& one : offered) {
        if (std::strcmp(one.name, name) == 0) return one.procedure;
    }
    return nullptr;
}

bool IsKernel(const char* name) {
    return strcasecmp(name, "KERNEL32.DLL") == 0 || strcasecmp(name, "KERNEL32") == 0;
}
bool IsBuiltIn(HMODULE module) {
    return module == &kernel_module || module == &program_module;
}

HMODULE Load(LPCSTR name, int mode) {
    if (CheckName(name) != ERROR_SUCCESS) return Fail(ERROR_INVALID_PARAMETER), nullptr;
    if (IsKernel(name)) return &kernel_module;
    void* loaded = dlopen(name, mode);
    if (!loaded) SetLastError(ERROR_MOD_NOT_FOUND);
    return static_cast<HMODULE>(loaded);
}

// With a reference more, the caller's to give back; the program itself is not counted.
HMODULE ModuleAround(const void* address) {
    Dl_info info;
    void* map = nullptr;
    if (!dladdr1(address, &info, &map, RTLD_DL_LINKMAP)) return nullptr;
    const char* name = static_cast<link_map*>(map)->l_name;
    if (!*name) return &program_module;
    return static_cast<HMODULE>(dlopen(name, RTLD_NOW | RTLD_NOLOAD));
}

// The end is cut off where the name does not fit, with a terminating zero all the same.
DWORD CopyModuleName(const char* from, size_t length, LPSTR name, DWORD size) {
    if (size == 0) return static_cast<DWORD>(Fail(ERROR_INSUFFICIENT_BUFFER));
    const bool fits = length < size;
    const size_t copied = fits ? length : size - 1;
    std::memcpy(name, from, copied);
    name[copied] = 0;
    SetLastError(fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
    return fits ? static_cast<DWORD>(length) : size;
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

HMODULE WINAPI LoadLibraryA(LPCSTR name) {
    return FaultStrikes("LoadLibraryA", ERROR_MOD_NOT_FOUND) ? nullptr : Load(name, RTLD_NOW | RTLD_LOCAL);
}

HMODULE WINAPI LoadLibraryExA(LPCSTR name, HANDLE, DWORD) {
    return FaultStrikes("LoadLibraryExA", ERROR_MOD_NOT_FOUND) ? nullptr : Load(name, RTLD_NOW | RTLD_LOCAL);
}

BOOL WINAPI FreeLibrary(HMODULE module) {
    const bool fault = FaultStrikes("FreeLibrary", ERROR_INVALID_HANDLE);
    if (!module) return Fail(ERROR_INVALID_HANDLE);
    if (!IsBuiltIn(module) && dlclose(module) != 0) return Fail(ERROR_INVALID_HANDLE);
    return fault ? FALSE : TRUE;
}

BOOL WINAPI GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module) {
    if (FaultStrikes("GetModuleHandleExA", ERROR_MOD_NOT_FOUND)) return FALSE;
    if (!module || !(flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS)) return Fail(ERROR_INVALID_PARAMETER);
    *module = ModuleAround(address);
    if (!*module) return Fail(ERROR_MOD_NOT_FOUND);
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) && !IsBuiltIn(*module)) dlclose(*module);
    return TRUE;
}

void WINAPI FreeLibraryAndExitThread(HMODULE module, DWORD code) {
    FreeLibrary(module);
    ExitThread(code);
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
    if (FaultStrikes("GetProcAddress", ERROR_PROC_NOT_FOUND)) return nullptr;
    FARPROC found = nullptr;
    if (module == &kernel_module)
        found = FindBuiltIn(name);
    else if (module)
        found = reinterpret_cast<FARPROC>(
            dlsym(module == &program_module ? RTLD_DEFAULT : static_cast<void*>(module), name));
    if (!found) SetLastError(module ? ERROR_PROC_NOT_FOUND : ERROR_INVALID_HANDLE);
    return found;
}

DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR name, DWORD size) {
    if (FaultStrikes("GetModuleFileNameA", ERROR_MOD_NOT_FOUND)) return 0;
    if (module == &kernel_module) return CopyModuleName("KERNEL32.DLL", 12, name, size);
    char path[4096];
    if (!module || module == &program_module) {
        const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
        return length < 0 ? static_cast<DWORD>(Fail(ERROR_MOD_NOT_FOUND))
                          : CopyModuleName(path, static_cast<size_t>(length), name, size);
    }
    link_map* map = nullptr;
    if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || !map)
        return static_cast<DWORD>(Fail(ERROR_MOD_NOT_FOUND));
    return CopyModuleName(map->l_name, std::strlen(map->l_name), name, size);
}
