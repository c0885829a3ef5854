// What the library costs a process: to load and unload it, to keep it loaded while nothing happens, and how often
// memory is allocated while it plays.
//
//   library_cost WAVE [SECONDS]      (plays WAVE on the card there is; 3 seconds)
#include <windows.h>

#include <dlfcn.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "tolvane.h"

extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);

namespace {

std::atomic<bool> counting = false;
std::atomic<size_t> allocations = 0;
std::array<void*, 4096> callers;

void Count(void* caller) {
    if (!counting) return;
    const size_t place = allocations++;
    if (place < callers.size()) callers[place] = caller;
}

double Milliseconds(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

void LoadAndUnload() {
    std::vector<double> loads, unloads;
    for (int i = 0; i < 100; ++i) {
        const double begin = Milliseconds(CLOCK_MONOTONIC);
        HMODULE library = LoadLibraryA(TOLVANE_LIBRARY);
        const double loaded = Milliseconds(CLOCK_MONOTONIC);
        FreeLibrary(library);
        loads.push_back(loaded - begin);
        unloads.push_back(Milliseconds(CLOCK_MONOTONIC) - loaded);
    }
    std::printf("load     first %.2f ms", loads.front());
    std::sort(loads.begin(), loads.end());
    std::sort(unloads.begin(), unloads.end());
    std::printf(", median of 100 %.2f ms; unload median %.2f ms\n", loads[50], unloads[50]);
}

template <class Function>
Function* Export(HMODULE library, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

void Idle(const char* when) {
    const double before = Milliseconds(CLOCK_PROCESS_CPUTIME_ID);
    Sleep(3000);
    std::printf("idle     %s: %.3f ms of processor in 3 s\n", when,
                Milliseconds(CLOCK_PROCESS_CPUTIME_ID) - before);
}

std::string ModuleOf(void* address) {
    Dl_info info;
    if (!dladdr(address, &info) || !info.dli_fname) return "?";
    const char* name = strrchr(info.dli_fname, '/');
    return name ? name + 1 : info.dli_fname;
}

void ReportAllocations(int seconds) {
    std::map<std::string, int> by_module;
    const size_t known = std::min(allocations.load(), callers.size());
    for (size_t i = 0; i < known; ++i)
        ++by_module[ModuleOf(callers[i])];
    std::printf("playing  %zu allocations in %d s", allocations.load(), seconds);
    for (const auto& [module, count] : by_module)
        std::printf(", %d by %s", count, module.c_str());
    std::printf("\n");
}

}  // namespace

extern "C" void* malloc(size_t size) {
    Count(__builtin_return_address(0));
    return __libc_malloc(size);
}
extern "C" void* calloc(size_t count, size_t size) {
    Count(__builtin_return_address(0));
    return __libc_calloc(count, size);
}
extern "C" void* realloc(void* old, size_t size) {
    Count(__builtin_return_address(0));
    return __libc_realloc(old, size);
}

int main(int argc, char** argv) {
    if (argc < 2) return std::fprintf(stderr, "usage: library_cost WAVE [SECONDS]\n"), 1;
    const int seconds = argc > 2 ? std::atoi(argv[2]) : 3;
    LoadAndUnload();
    HMODULE library = LoadLibraryA(TOLVANE_LIBRARY);
    Idle("loaded");
    const uint16_t result =
        Export<decltype(AudioPlayWaveEx)>(library, "AudioPlayWaveEx")(argv[1], 0, 0, 0, 1, 0, /*repeat=*/1);
    if (result != TOLVANE_OK) return std::fprintf(stderr, "cannot play %s: result %u\n", argv[1], result), 2;
    Sleep(1000);
    counting = true;
    const double before = Milliseconds(CLOCK_PROCESS_CPUTIME_ID);
    Sleep(static_cast<DWORD>(seconds) * 1000);
    const double spent = Milliseconds(CLOCK_PROCESS_CPUTIME_ID) - before;
    counting = false;
    ReportAllocations(seconds);
    std::printf("playing  %.3f ms of processor a second of sound\n", spent / seconds);
    Export<decltype(AudioStop)>(library, "AudioStop")();
    Idle("after a playback");
    FreeLibrary(library);
}
