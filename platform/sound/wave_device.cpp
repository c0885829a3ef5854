// The open wave devices.
#include "platform/sound/wave_device.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

namespace tolvane::platform {
namespace {

using Device = std::shared_ptr<WaveDevice>;

struct Table {
    std::mutex mutex;
    std::array<Device, 64> devices;
    uintptr_t last_handle = 0;

    // Null where there is none of that handle and direction.
    Device* At(Direction direction, HWAVE handle) {
        const auto found = std::ranges::find_if(devices, [&](const Device& device) {
            return device && device->Events().device == handle && device->Events().direction == direction;
        });
        return found == devices.end() ? nullptr : &*found;
    }
};

// Never destroyed: a device may still play while the process ends.
Table& TheTable() {
    static Table& table = *new Table;
    return table;
}

}  // namespace

void WaveDevice::Close() {
    CardStream* const stream = Stream();
    if (!stream || std::exchange(closed_, true)) return;
    stream->Close();
    const StreamLock lock(*stream);
    Lose();
    events_.TellClosed();
}

HWAVE OpenDevices::NewHandle() {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    constexpr uintptr_t kStep = 4;  // aligned as a pointer's address would be
    return reinterpret_cast<HWAVE>(table.last_handle += kStep);
}

bool OpenDevices::Add(Device device) {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    const auto free = std::ranges::find(table.devices, nullptr);
    if (free == table.devices.end()) return false;
    *free = std::move(device);
    return true;
}

Device OpenDevices::Find(Direction direction, HWAVE handle) {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    const Device* const found = table.At(direction, handle);
    return found ? *found : nullptr;
}

Device OpenDevices::Remove(Direction direction, HWAVE handle) {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    Device* const found = table.At(direction, handle);
    return found ? std::exchange(*found, nullptr) : nullptr;
}

}  // namespace tolvane::platform
