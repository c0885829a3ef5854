// The virtual card: its devices, and what a host or a test may say to it.
#include "platform/sound/virtual_card.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <system_error>

#include "platform/messages/queue.h"
#include "platform/sound/virtual_output.h"

namespace tolvane::platform {
namespace {

constexpr uint32_t kMostDevices = 16;
constexpr PlatformVirtualDevice kSpeakers = {"Virtual speakers", 1, 192'000, 2, 3};
constexpr PlatformVirtualDevice kMicrophone = {"Virtual microphone", 1, 192'000, 2, 3};

bool TakesBits(const PlatformVirtualDevice& device, uint16_t bits) {
    return (bits == 8 && device.bits & 1) || (bits == 16 && device.bits & 2);
}

}  // namespace

VirtualCard& VirtualCard::Get() {
    // Never destroyed: a device may still play while the process ends.
    static VirtualCard& card = *new VirtualCard;
    return card;
}

VirtualCard::VirtualCard() {
    SetStandardDevices();
}

void VirtualCard::SetStandardDevices() {
    outputs_ = std::vector<Output>(1);
    outputs_[0].device = kSpeakers;
    inputs_ = {kMicrophone};
}

bool VirtualCard::AnyOpen() const {
    return std::ranges::any_of(outputs_, [](const Output& output) { return output.open != nullptr; });
}

// ---- As a card ----

const PlatformVirtualDevice* VirtualCard::Find(Direction direction, uint32_t index) const {
    if (direction == Direction::kInput) return index < inputs_.size() ? &inputs_[index] : nullptr;
    return index < outputs_.size() ? &outputs_[index].device : nullptr;
}

uint32_t VirtualCard::Count(Direction direction) {
    const std::lock_guard lock(mutex_);
    return static_cast<uint32_t>(direction == Direction::kOutput ? outputs_.size() : inputs_.size());
}

std::optional<CardDevice> VirtualCard::Describe(Direction direction, uint32_t index) {
    const std::lock_guard lock(mutex_);
    const PlatformVirtualDevice* found = Find(direction, index);
    if (!found) return std::nullopt;
    CardDevice device = {};
    SetDeviceName(device, found->name);
    device.channels = found->max_channels;
    device.formats = StandardFormats(found->min_rate, found->max_rate, found->max_channels,
                                     TakesBits(*found, 8), TakesBits(*found, 16));
    return device;
}

std::optional<uint32_t> VirtualCard::Preferred(Direction direction) {
    const std::lock_guard lock(mutex_);
    const uint32_t index = preferred_[direction == Direction::kInput];
    return index == UINT32_MAX ? std::nullopt : std::optional(index);
}

MMRESULT VirtualCard::Accepts(uint32_t index, const PcmFormat& format) {
    const std::lock_guard lock(mutex_);
    const PlatformVirtualDevice* device = Find(Direction::kOutput, index);
    if (!device) return MMSYSERR_BADDEVICEID;
    const bool rate_taken = format.rate >= device->min_rate && format.rate <= device->max_rate;
    const bool taken =
        rate_taken && format.channels <= device->max_channels && TakesBits(*device, format.bits);
    return taken ? MMSYSERR_NOERROR : WAVERR_BADFORMAT;
}

MMRESULT VirtualCard::Open(uint32_t index, const PcmFormat& format, WaveQueue& queue,
                           std::unique_ptr<CardOutput>& opened) {
    const std::lock_guard lock(mutex_);
    if (index >= outputs_.size()) return MMSYSERR_BADDEVICEID;
    Output& output = outputs_[index];
    if (output.open) return MMSYSERR_ALLOCATED;
    if (!output.capture.Begin(format)) return MMSYSERR_ERROR;
    auto device = std::make_unique<VirtualOutput>(*this, index, queue, clock_);
    output.open = device.get();
    output.opens++;
    opened = std::move(device);
    return MMSYSERR_NOERROR;
}

// ---- As platform.h has it ----

int VirtualCard::Reset() {
    const std::lock_guard lock(mutex_);
    if (AnyOpen()) return 0;
    SetStandardDevices();
    preferred_[0] = preferred_[1] = 0;
    clock_ = PLATFORM_CLOCK_REAL_TIME;
    return 1;
}

int VirtualCard::SetDevices(Direction direction, const PlatformVirtualDevice* devices, uint32_t count) {
    const std::lock_guard lock(mutex_);
    if (AnyOpen() || count > kMostDevices || (count > 0 && !devices)) return 0;
    std::vector<PlatformVirtualDevice> chosen(devices, devices + count);
    for (PlatformVirtualDevice& device : chosen)
        device.name[sizeof(device.name) - 1] = 0;
    if (direction == Direction::kInput) {
        inputs_ = std::move(chosen);
    } else {
        outputs_ = std::vector<Output>(count);
        for (uint32_t i = 0; i < count; i++)
            outputs_[i].device = chosen[i];
    }
    return 1;
}

int VirtualCard::SetPreferred(uint32_t output, uint32_t input) {
    const std::lock_guard lock(mutex_);
    preferred_[0] = output;
    preferred_[1] = input;
    return 1;
}

int VirtualCard::SetClock(PlatformClock clock) {
    if (clock < PLATFORM_CLOCK_REAL_TIME || clock > PLATFORM_CLOCK_MOVED) return 0;
    const std::lock_guard lock(mutex_);
    clock_ = clock;
    return 1;
}

// While the clock stood still for the callback thread, the device may have been closed, paused or opened
// anew.
bool VirtualCard::MayGoOn(const VirtualOutput* playing, uint32_t output, uint32_t opens) const {
    if (output >= outputs_.size() || outputs_[output].open != playing || outputs_[output].opens != opens)
        return false;
    return playing && playing->IsMoved() && !playing->IsPaused() && !playing->Queue().Empty();
}

uint32_t VirtualCard::Advance(uint32_t output, uint32_t frames) {
    WaitUntilIdle();
    std::unique_lock lock(mutex_);
    if (output >= outputs_.size() || !outputs_[output].open) return 0;
    VirtualOutput* const playing = outputs_[output].open;
    const uint32_t opens = outputs_[output].opens;
    const uint32_t frame_bytes = playing->Queue().Format().frame_bytes;
    uint64_t left = uint64_t{frames} * frame_bytes;
    while (left > 0 && MayGoOn(playing, output, opens)) {
        left -= playing->PlayWithinOldest(left);
        lock.unlock();
        WaitUntilIdle();
        lock.lock();
    }
    return static_cast<uint32_t>(frames - left / frame_bytes);
}

int VirtualCard::GetState(uint32_t output, PlatformVirtualState& state) {
    const std::lock_guard lock(mutex_);
    state = {};
    if (output >= outputs_.size()) return 0;
    state.opens = outputs_[output].opens;
    if (const VirtualOutput* open = outputs_[output].open) {
        const PcmFormat& format = open->Queue().Format();
        state.open = 1;
        state.paused = open->IsPaused();
        state.rate = format.rate;
        state.channels = format.channels;
        state.bits = format.bits;
    }
    return 1;
}

uint32_t VirtualCard::Queued(uint32_t output, uint32_t* lengths, uint32_t count) {
    const std::lock_guard lock(mutex_);
    if (output >= outputs_.size() || !outputs_[output].open) return 0;
    return outputs_[output].open->Queue().Lengths(lengths, count);
}

int VirtualCard::PlayInto(uint32_t output, const char* path) {
    const std::lock_guard lock(mutex_);
    if (output >= outputs_.size()) return 0;
    const VirtualOutput* open = outputs_[output].open;
    return outputs_[output].capture.SetPath(path, open ? &open->Queue().Format() : nullptr);
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

int PlatformVirtualReset(void) {
    return VirtualCard::Get().Reset();
}

int PlatformVirtualSetOutputs(const PlatformVirtualDevice* devices, uint32_t count) {
    return VirtualCard::Get().SetDevices(Direction::kOutput, devices, count);
}

int PlatformVirtualSetInputs(const PlatformVirtualDevice* devices, uint32_t count) {
    return VirtualCard::Get().SetDevices(Direction::kInput, devices, count);
}

int PlatformVirtualSetPreferred(uint32_t output, uint32_t input) {
    return VirtualCard::Get().SetPreferred(output, input);
}

int PlatformVirtualSetClock(PlatformClock clock) {
    return VirtualCard::Get().SetClock(clock);
}

uint32_t PlatformVirtualAdvance(uint32_t output, uint32_t frames) {
    return VirtualCard::Get().Advance(output, frames);
}

void PlatformVirtualSettle(void) {
    WaitUntilIdle();
}

size_t PlatformVirtualPlayed(uint32_t output, size_t from, void* bytes, size_t size) {
    return VirtualCard::Get().WithCapture(
        output, [&](const Capture& capture) { return capture.Copy(from, bytes, size); });
}

void PlatformVirtualClearPlayed(uint32_t output) {
    VirtualCard::Get().WithCapture(output, [](Capture& capture) { capture.Clear(); });
}

void PlatformVirtualKeepPlayed(uint32_t output, int keep) {
    VirtualCard::Get().WithCapture(output, [&](Capture& capture) { capture.Keep(keep != 0); });
}

int PlatformVirtualPlayInto(uint32_t output, const char* wave_path) {
    return VirtualCard::Get().PlayInto(output, wave_path);
}

uint32_t PlatformVirtualQueued(uint32_t output, uint32_t* lengths, uint32_t count) {
    return VirtualCard::Get().Queued(output, lengths, count);
}

int PlatformVirtualGetState(uint32_t output, PlatformVirtualState* state) {
    return state ? VirtualCard::Get().GetState(output, *state) : 0;
}
