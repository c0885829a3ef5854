// The open wave-out devices.
#include "platform/sound/wave_out_device.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

namespace tolvane::platform {
namespace {

struct Slot {
    HWAVEOUT handle = nullptr;
    std::shared_ptr<WaveOutDevice> device;
};

struct Table {
    std::mutex mutex;
    std::array<Slot, 64> slots;
    uintptr_t last_handle = 0;

    Slot* At(HWAVEOUT handle) {
        const auto slot = std::ranges::find(slots, handle, &Slot::handle);
        return slot == slots.end() ? nullptr : &*slot;
    }
};

// Never destroyed: a device may still play while the process ends.
Table& TheTable() {
    static Table& table = *new Table;
    return table;
}

}  // namespace

MMRESULT WaveOutDevice::Open(const CardLease& lease, uint32_t index) {
    return lease.card->Open(index, queue_.Format(), queue_, output_);
}

void WaveOutDevice::Close() {
    if (!output_ || std::exchange(closed_, true)) return;
    output_->Close();
    const OutputLock lock(*output_);
    queue_.Lost();
    events_.Tell(MM_WOM_CLOSE, nullptr);
}

MMRESULT WaveOutDevice::Append(WAVEHDR& header) {
    if (!decoder_) return queue_.Append(header);
    std::vector<uint8_t> sound;
    const auto* const bytes = reinterpret_cast<const uint8_t*>(header.lpData);
    const MMRESULT result = decoder_->Decode({bytes, header.dwBufferLength}, sound);
    return result ? result : queue_.Append(header, std::move(sound));
}

MMRESULT WaveOutDevice::Write(WAVEHDR& header) {
    const MMRESULT result = Append(header);
    if (result == MMSYSERR_NOERROR) output_->Filled();
    return result;
}

void WaveOutDevice::SetPaused(bool paused) {
    if (paused == paused_ || queue_.IsLost()) return;
    paused_ = paused;
    output_->SetPaused(paused);
}

void WaveOutDevice::Reset() {
    queue_.Reset();
    if (decoder_) decoder_->Restart();
    output_->Flush();
    SetPaused(false);
}

HWAVEOUT WaveOutTable::NewHandle() {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    constexpr uintptr_t kStep = 4;  // aligned as a pointer's address would be
    return reinterpret_cast<HWAVEOUT>(table.last_handle += kStep);
}

bool WaveOutTable::Add(HWAVEOUT handle, std::shared_ptr<WaveOutDevice> device) {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    Slot* const slot = table.At(nullptr);
    if (slot) *slot = {handle, std::move(device)};
    return slot != nullptr;
}

std::shared_ptr<WaveOutDevice> WaveOutTable::Find(HWAVEOUT handle) {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    Slot* const slot = handle ? table.At(handle) : nullptr;
    return slot ? slot->device : nullptr;
}

std::shared_ptr<WaveOutDevice> WaveOutTable::Remove(HWAVEOUT handle) {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    Slot* const slot = handle ? table.At(handle) : nullptr;
    return slot ? std::exchange(*slot, {}).device : nullptr;
}

}  // namespace tolvane::platform
