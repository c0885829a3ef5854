// The drivers that are installed and the handles to them.
#include "platform/codecs/manager.h"

#include <algorithm>
#include <mutex>

namespace tolvane::platform {
namespace {

// The low bits of a handle tell what it is a handle to.
constexpr DWORD kDriverKind = 1, kOpenKind = 2, kKindStep = 4;

struct OpenHandle {
    uintptr_t number;
    InstalledDriver driver;
};

struct Manager {
    std::mutex mutex;
    std::vector<InstalledDriver> drivers;  // in the order of their priority
    std::vector<OpenHandle> open;
    bool built_ins_shown = true;
    DWORD next_driver = kDriverKind;
    uintptr_t next_open = kOpenKind;

    Manager() {
        for (const Driver* driver : {&kImaAdpcm, &kMsAdpcm, &kG711, &kGsm610, &kMpegLayer3, &kPcmConverter})
            Add({.driver{std::shared_ptr<void>(), driver}}, false);
    }

    DWORD Add(Installed driver, bool in_front) {
        const DWORD id = driver.id = next_driver;
        drivers.insert(in_front ? drivers.begin() : drivers.end(),
                       std::make_shared<const Installed>(std::move(driver)));
        next_driver += kKindStep;
        return id;
    }

    bool Shows(const Installed& driver) const { return built_ins_shown || !driver.built_in; }

    InstalledDriver Find(uintptr_t number) const {
        const auto found = std::ranges::find(drivers, number, [](const auto& driver) { return driver->id; });
        return found != drivers.end() && Shows(**found) ? *found : nullptr;
    }

    InstalledDriver FindOpen(uintptr_t number) const {
        const auto found = std::ranges::find(open, number, &OpenHandle::number);
        return found != open.end() ? found->driver : nullptr;
    }
};

// Lives until the process ends: a host may call from its own last destructors.
Manager& TheManager() {
    static Manager& manager = *new Manager;
    return manager;
}

template <class Handle>
uintptr_t Number(Handle handle) {
    return reinterpret_cast<uintptr_t>(handle);
}

}  // namespace

DWORD Installed::LargestFormat() const {
    DWORD largest = 0;
    for (const FormatTag& tag : driver->tags)
        largest = std::max(largest, tag.largest_format);
    return largest;
}

DWORD InstallDriver(Installed driver, bool in_front) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    driver.built_in = false;
    return manager.Add(std::move(driver), in_front);
}

bool RemoveDriver(DWORD id) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    return std::erase_if(manager.drivers, [id](const auto& d) { return d->id == id && !d->built_in; }) > 0;
}

void ShowBuiltInDrivers(bool show) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    manager.built_ins_shown = show;
}

std::vector<InstalledDriver> ListDrivers(DWORD flags) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    std::vector<InstalledDriver> list;
    for (const InstalledDriver& driver : manager.drivers) {
        const bool wanted = !driver->IsDisabled() || (flags & ACM_DRIVERENUMF_DISABLED);
        if (wanted && manager.Shows(*driver)) list.push_back(driver);
    }
    return list;
}

InstalledDriver FindDriver(HACMDRIVERID handle) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    return manager.Find(Number(handle));
}

InstalledDriver FindOpenDriver(HACMDRIVER handle) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    return manager.FindOpen(Number(handle));
}

InstalledDriver FindEither(HACMOBJ handle) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    InstalledDriver driver = manager.Find(Number(handle));
    return driver ? driver : manager.FindOpen(Number(handle));
}

std::vector<InstalledDriver> DriversBehind(HACMDRIVER open) {
    if (!open) return ListDrivers(0);
    InstalledDriver installed = FindOpenDriver(open);
    return installed ? std::vector{std::move(installed)} : std::vector<InstalledDriver>{};
}

HACMDRIVER OpenDriver(InstalledDriver driver) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    manager.open.push_back({manager.next_open, std::move(driver)});
    manager.next_open += kKindStep;
    return reinterpret_cast<HACMDRIVER>(manager.open.back().number);
}

bool CloseDriver(HACMDRIVER handle) {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    return std::erase_if(manager.open,
                         [&](const OpenHandle& open) { return open.number == Number(handle); }) > 0;
}

DWORD CountOpenDrivers() {
    Manager& manager = TheManager();
    const std::lock_guard lock(manager.mutex);
    return static_cast<DWORD>(manager.open.size());
}

}  // namespace tolvane::platform
