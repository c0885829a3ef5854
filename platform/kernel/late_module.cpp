#include "platform/kernel/late_module.h"

#include <windows.h>

#include <dlfcn.h>

#include <climits>
#include <cstdio>

namespace tolvane::platform {
namespace {

// Big enough for what the loader knows a library by.
using Path = char[PATH_MAX + NAME_MAX];

const char marker = 0;  // an address inside the layer

// The folder that the layer was loaded from, as it was then: the current one may be another by now.
bool FindOwnFolder(Path& folder) {
    Dl_info own;
    if (!dladdr(&marker, &own)) return false;
    void* const layer = dlopen(own.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    if (!layer) return false;
    const bool found = dlinfo(layer, RTLD_DI_ORIGIN, folder) == 0;
    dlclose(layer);
    return found;
}

// Null, and the debugger is told why.
AnyFunction* NotLoaded(const char* name, const char* why) {
    char text[512];
    std::snprintf(text, sizeof text, "Tolvane: the module %s cannot be loaded: %s", name,
                  why ? why : "no reason given");
    OutputDebugStringA(text);
    return nullptr;
}

}  // namespace

AnyFunction* LoadModule(const char* name) {
    Path folder, path;
    if (!FindOwnFolder(folder)) return NotLoaded(name, dlerror());
    const int length = std::snprintf(path, sizeof path, "%s/tolvane-" TOLVANE_VERSION "/%s.so", folder, name);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path)
        return NotLoaded(name, "its path is too long");
    // Bound as it is used: most of what these libraries lean on is never called.
    void* const module = dlopen(path, RTLD_LAZY | RTLD_LOCAL);
    void* const offers = module ? dlsym(module, "TolvaneModuleOffers") : nullptr;
    if (!offers) return NotLoaded(name, dlerror());
    return reinterpret_cast<AnyFunction* (*)()>(offers)();
}

}  // namespace tolvane::platform
