// The virtual card: its devices, and what a host or a test may say to it.
#include "platform/sound/virtual_card.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <system_error>

#include "platform/messages/queue.h"
#include "platform/sound/virtual_input.h"
#include "platform/sound/virtual_mixer.h"
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
    outputs_[0].description = kSpeakers;
    inputs_ = std::vector<Input>(1);
    inputs_[0].description = kMicrophone;
}

bool VirtualCard::AnyOpen() const {
    const auto is_open = [](const Device& device) { return device.open != nullptr; };
    return std::ranges::any_of(outputs_, is_open) || std::ranges::any_of(inputs_, is_open);
}

// ---- As a card ----

VirtualCard::Device* VirtualCard::Find(Direction direction, uint32_t index) {
    if (direction == Direction::kInput) return index < inputs_.size() ? &inputs_[index] : nullptr;
    return index < outputs_.size() ? &outputs_[index] : nullptr;
}

uint32_t VirtualCard::Count(Direction direction) {
    const std::lock_guard lock(mutex_);
    return static_cast<uint32_t>(direction == Direction::kOutput ? outputs_.size() : inputs_.size());
}

std::optional<CardDevice> VirtualCard::Describe(Direction direction, uint32_t index) {
    const std::lock_guard lock(mutex_);
    const Device* const device = Find(direction, index);
    if (!device) return std::nullopt;
    const PlatformVirtualDevice& limits = device->description;
    CardDevice described = {};
    SetDeviceName(described, limits.name);
    described.channels = limits.max_channels;
    described.formats = StandardFormats(limits.min_rate, limits.max_rate, limits.max_channels,
                                        TakesBits(limits, 8), TakesBits(limits, 16));
    return described;
}

std::optional<uint32_t> VirtualCard::Preferred(Direction direction) {
    const std::lock_guard lock(mutex_);
    const uint32_t index = preferred_[direction == Direction::kInput];
    return index == UINT32_MAX ? std::nullopt : std::optional(index);
}

MMRESULT VirtualCard::Accepts(Direction direction, uint32_t index, const PcmFormat& format) {
    const std::lock_guard lock(mutex_);
    const Device* const device = Find(direction, index);
    if (!device) return MMSYSERR_BADDEVICEID;
    const PlatformVirtualDevice& limits = device->description;
    const bool rate_taken = format.rate >= limits.min_rate && format.rate <= limits.max_rate;
    const bool taken = rate_taken && format.channels <= limits.max_channels && TakesBits(limits, format.bits);
    if (!taken) return WAVERR_BADFORMAT;
    if (direction == Direction::kOutput) return MMSYSERR_NOERROR;
    return inputs_[index].sound.MayBeHeardIn(format) ? MMSYSERR_NOERROR : WAVERR_BADFORMAT;
}

MMRESULT VirtualCard::OpenOutput(uint32_t index, const PcmFormat& format, WaveQueue& queue,
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

MMRESULT VirtualCard::OpenInput(uint32_t index, const PcmFormat& format, RecordQueue& queue,
                                std::unique_ptr<CardInput>& opened) {
    const std::lock_guard lock(mutex_);
    if (index >= inputs_.size()) return MMSYSERR_BADDEVICEID;
    Input& input = inputs_[index];
    if (input.open) return MMSYSERR_ALLOCATED;
    if (!input.sound.MayBeHeardIn(format)) return WAVERR_BADFORMAT;
    auto device = std::make_unique<VirtualInput>(*this, index, queue, clock_);
    input.open = device.get();
    input.opens++;
    opened = std::move(device);
    return MMSYSERR_NOERROR;
}

CardMixer& VirtualCard::Mixer() {
    return VirtualMixer::Get();
}

// ---- As platform.h has it ----

int VirtualCard::Reset() {
    const std::lock_guard lock(mutex_);
    if (AnyOpen()) return 0;
    SetStandardDevices();
    preferred_[0] = preferred_[1] = 0;
    clock_ = PLATFORM_CLOCK_REAL_TIME;
    VirtualMixer::Get().Reset();
    return 1;
}

int VirtualCard::SetDevices(Direction direction, const PlatformVirtualDevice* devices, uint32_t count) {
    const std::lock_guard lock(mutex_);
    if (AnyOpen() || count > kMostDevices || (count > 0 && !devices)) return 0;
    std::vector<PlatformVirtualDevice> chosen(devices, devices + count);
    for (PlatformVirtualDevice& device : chosen)
        device.name[sizeof(device.name) - 1] = 0;
    const auto describe = [&](auto& made) {
        made = std::remove_reference_t<decltype(made)>(count);
        for (uint32_t i = 0; i < count; i++)
            made[i].description = chosen[i];
    };
    direction == Direction::kInput ? describe(inputs_) : describe(outputs_);
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
bool VirtualCard::MayGoOn(const Device* device, const VirtualStream* stream, uint32_t opens) const {
    if (!device || !stream || device->open != stream || device->opens != opens) return false;
    return stream->IsMoved() && !stream->IsPaused() && stream->HasHeaders();
}

uint32_t VirtualCard::Advance(Direction direction, uint32_t index, uint32_t frames) {
    WaitUntilIdle();
    std::unique_lock lock(mutex_);
    const Device* device = Find(direction, index);
    if (!device || !device->open) return 0;
    VirtualStream* const stream = device->open;
    const uint32_t opens = device->opens;
    const uint32_t frame_bytes = stream->Format().frame_bytes;
    uint64_t left = uint64_t{frames} * frame_bytes;
    while (left > 0 && MayGoOn(device, stream, opens)) {
        left -= stream->GoOnWithinOldest(left);
        lock.unlock();
        WaitUntilIdle();
        lock.lock();
        device = Find(direction, index);
    }
    return static_cast<uint32_t>(frames - left / frame_bytes);
}

int VirtualCard::GetState(Direction direction, uint32_t index, PlatformVirtualState& state) {
    const std::lock_guard lock(mutex_);
    state = {};
    const Device* const device = Find(direction, index);
    if (!device) return 0;
    state.opens = device->opens;
    if (const VirtualStream* const stream = device->open) {
        const PcmFormat& format = stream->Format();
        state.open = 1;
        state.paused = stream->IsPaused();
        state.rate = format.rate;
        state.channels = format.channels;
        state.bits = format.bits;
    }
    return 1;
}

uint32_t VirtualCard::Queued(Direction direction, uint32_t index, uint32_t* lengths, uint32_t count) {
    const std::lock_guard lock(mutex_);
    const Device* const device = Find(direction, index);
    return device && device->open ? device->open->Lengths(lengths, count) : 0;
}

int VirtualCard::PlayInto(uint32_t output, const char* path) {
    const std::lock_guard lock(mutex_);
    if (output >= outputs_.size()) return 0;
    const VirtualStream* const open = outputs_[output].open;
    return outputs_[output].capture.SetPath(path, open ? &open->Format() : nullptr);
}

int VirtualCard::RecordFrom(uint32_t index, const char* path) {
    auto file = path ? WaveFileSource::Open(path) : nullptr;
    if (path && !file) return 0;
    const std::lock_guard lock(mutex_);
    if (index >= inputs_.size()) return 0;
    Input& input = inputs_[index];
    if (file && input.open && input.open->Format() != file->Format()) return 0;
    input.sound.SetFile(std::move(file));
    return 1;
}

std::optional<uint32_t> VirtualCard::LieAboutBytes::OfNextFull() {
    if (!wanted || skip-- > 0) return std::nullopt;
    wanted = false;
    return bytes;
}

int VirtualCard::Misreport(uint32_t input, uint32_t skip, uint32_t bytes) {
    const std::lock_guard lock(mutex_);
    if (input >= inputs_.size()) return 0;
    inputs_[input].misreport = {true, skip, bytes};
    return 1;
}

int VirtualCard::Unplug(uint32_t input) {
    const std::lock_guard lock(mutex_);
    if (input >= inputs_.size() || !inputs_[input].open) return 0;
    static_cast<VirtualInput*>(inputs_[input].open)->Unplug();
    return 1;
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
    return VirtualCard::Get().Advance(Direction::kOutput, output, frames);
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
    return VirtualCard::Get().Queued(Direction::kOutput, output, lengths, count);
}

int PlatformVirtualGetState(uint32_t output, PlatformVirtualState* state) {
    return state ? VirtualCard::Get().GetState(Direction::kOutput, output, *state) : 0;
}

int PlatformVirtualFeed(uint32_t input, const void* bytes, size_t size) {
    if (!bytes && size > 0) return 0;
    return VirtualCard::Get().WithSound(input, [&](HeardSound& sound) {
        return sound.Feed({static_cast<const std::byte*>(bytes), size});
    });
}

int PlatformVirtualRecordFrom(uint32_t input, const char* wave_path) {
    return VirtualCard::Get().RecordFrom(input, wave_path);
}

int PlatformVirtualTone(uint32_t input, uint32_t hertz, uint32_t percent) {
    if (percent > 100) return 0;
    return VirtualCard::Get().WithSound(input, [&](HeardSound& sound) {
        sound.SetTone(hertz, percent);
        return true;
    });
}

uint32_t PlatformVirtualAdvanceInput(uint32_t input, uint32_t frames) {
    return VirtualCard::Get().Advance(Direction::kInput, input, frames);
}

int PlatformVirtualMisreport(uint32_t input, uint32_t skip, uint32_t bytes) {
    return VirtualCard::Get().Misreport(input, skip, bytes);
}

int PlatformVirtualUnplugInput(uint32_t input) {
    return VirtualCard::Get().Unplug(input);
}

uint32_t PlatformVirtualInputQueued(uint32_t input, uint32_t* lengths, uint32_t count) {
    return VirtualCard::Get().Queued(Direction::kInput, input, lengths, count);
}

int PlatformVirtualGetInputState(uint32_t input, PlatformVirtualState* state) {
    return state ? VirtualCard::Get().GetState(Direction::kInput, input, *state) : 0;
}
