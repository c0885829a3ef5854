// Modules: parts of the layer that lean on libraries which take longer to load than most programs have work. They are
// shared objects in a folder beside the layer, loaded by whoever needs one first, and stay.
//
// A module offers one function (see TOLVANE_MODULE_OFFERS). It takes what it needs of the layer from the layer itself.
#ifndef TOLVANE_PLATFORM_KERNEL_LATE_MODULE_H
#define TOLVANE_PLATFORM_KERNEL_LATE_MODULE_H

#include <atomic>

namespace tolvane::platform {

using AnyFunction = void();

// What the module offers; null where it cannot be loaded, which is said to the debugger.
AnyFunction* LoadModule(const char* name);

template <typename Function>
class LateModule {
  public:
    // `name` is the file's without its ending, and lasts.
    explicit constexpr LateModule(const char* name) : name_(name) {}

    // Null where it cannot be loaded; the next call tries again. From any thread: no lock is held while the loader's is
    // waited for, whose holder may be waiting for us.
    Function* Offered() {
        if (Function* const known = offered_.load(std::memory_order_acquire)) return known;
        Function* const offered = reinterpret_cast<Function*>(LoadModule(name_));
        offered_.store(offered, std::memory_order_release);
        return offered;
    }

  private:
    const char* const name_;
    std::atomic<Function*> offered_ = nullptr;
};

}  // namespace tolvane::platform

// In one source of a module, outside of namespaces: what LateModule<Type> is given by it.
#define TOLVANE_MODULE_OFFERS(Type, function)                              \
    extern "C" tolvane::platform::AnyFunction* TolvaneModuleOffers() {     \
        Type* const offered = function;                                    \
        return reinterpret_cast<tolvane::platform::AnyFunction*>(offered); \
    }

#endif
