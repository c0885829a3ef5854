// Notices the end of the process before the libraries' ends.
//
// What atexit is given after the program has started runs before any library's destructor. What it is given
// earlier, while the libraries of the program itself are loaded, runs too late; but such a library is never
// unloaded, so that its end is always that of the process. Which libraries these are, the loader's list
// tells: it begins with the program and whatever that needs, directly or not.
#include "platform/kernel/process_end.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>

namespace tolvane::platform {

namespace {

constinit std::atomic<bool> process_ends{false};
constinit std::atomic<bool> registered{false};

const char* BaseName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

link_map* MapOf(const void* inside) {
    Dl_info info;
    void* map = nullptr;
    return dladdr1(inside, &info, &map, RTLD_DL_LINKMAP) ? static_cast<link_map*>(map) : nullptr;
}

// Place in the loader's list of the library that goes by that name, 0 where there is none.
int PlaceOf(const link_map* first, const char* name) {
    int place = 0;
    for (const link_map* map = first; map; map = map->l_next, ++place) {
        if (std::strcmp(BaseName(map->l_name), BaseName(name)) == 0) return place;
    }
    return 0;
}

const char* StringsOf(const link_map* map) {
    for (const ElfW(Dyn)* entry = map->l_ld; entry && entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_STRTAB) return reinterpret_cast<const char*>(entry->d_un.d_ptr);
    }
    return nullptr;
}

// The furthest place of all that this one needs.
int FurthestNeed(const link_map* first, const link_map* map) {
    int furthest = 0;
    const char* strings = StringsOf(map);
    for (const ElfW(Dyn)* entry = map->l_ld; strings && entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag != DT_NEEDED) continue;
        const int place = PlaceOf(first, strings + entry->d_un.d_val);
        if (place > furthest) furthest = place;
    }
    return furthest;
}

bool IsPreloaded(const link_map* map) {
    const char* preloads = std::getenv("LD_PRELOAD");
    return preloads && std::strstr(preloads, BaseName(map->l_name));
}

bool BelongsToProgram(const void* inside) {
    const link_map* own = MapOf(inside);
    if (!own) return false;
    const link_map* first = own;
    while (first->l_prev)
        first = first->l_prev;
    int furthest = 0;
    int place = 0;
    for (const link_map* map = first; map && place <= furthest; map = map->l_next, ++place) {
        if (map == own) return true;
        const int need = FurthestNeed(first, map);
        if (need > furthest) furthest = need;
    }
    return IsPreloaded(own);
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

void PlatformLibraryLoaded(const void* inside) {
    if (BelongsToProgram(inside) || registered.exchange(true)) return;
    std::atexit([] { process_ends = true; });
}

int PlatformProcessEnds(const void* inside) {
    return process_ends || BelongsToProgram(inside);
}

void* PlatformModuleOf(const void* inside) {
    return MapOf(inside);
}
