#include "platform/sound/virtual_mixer.h"

#include <algorithm>

namespace tolvane::platform {
namespace {

constexpr size_t kMostLines = 256;
constexpr uint32_t kSourceControls = PLATFORM_MIXER_VOLUME | PLATFORM_MIXER_MUTE;

constexpr PlatformMixerLine kFirstMixer[] = {
    {"Speakers", MIXERLINE_COMPONENTTYPE_DST_SPEAKERS, 0, 0, 2, 0, 0},
    {"Wave", MIXERLINE_COMPONENTTYPE_SRC_WAVEOUT, kSourceControls, 0, 2, 0, 0},
    {"Recording", MIXERLINE_COMPONENTTYPE_DST_WAVEIN, PLATFORM_MIXER_VOLUME | PLATFORM_MIXER_MUX, 0, 2, 0, 0},
    {"Microphone", MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE, kSourceControls, 0, 2, 0, 0},
    {"Line In", MIXERLINE_COMPONENTTYPE_SRC_LINE, kSourceControls, 0, 2, 0, 0},
    {"CD Audio", MIXERLINE_COMPONENTTYPE_SRC_COMPACTDISC, kSourceControls, 0, 2, 0, 0},
};

std::vector<uint32_t> FirstValues(const MixerControl& control) {
    if (control.Values() > kMostMixerValues) return {};
    const bool volume = control.type == MIXERCONTROL_CONTROLTYPE_VOLUME;
    std::vector<uint32_t> values(control.Values(), volume ? kFullVolume : 0);
    const bool selector = !volume && control.type != MIXERCONTROL_CONTROLTYPE_MUTE;
    if (selector) values[0] = 1;
    return values;
}

}  // namespace

VirtualMixer& VirtualMixer::Get() {
    static VirtualMixer& mixer = *new VirtualMixer;
    return mixer;
}

std::shared_ptr<const MixerLines> VirtualMixer::ReadLines() {
    const std::lock_guard lock(mutex_);
    return lines_;
}

// The mixer may have been replaced since the control was told of.
MMRESULT VirtualMixer::GetValues(const MixerControl& control, std::span<uint32_t> values) {
    const std::lock_guard lock(mutex_);
    if (control.id > values_.size() || values_[control.id - 1].size() != values.size())
        return MIXERR_INVALCONTROL;
    std::ranges::copy(values_[control.id - 1], values.begin());
    return MMSYSERR_NOERROR;
}

MMRESULT VirtualMixer::SetValues(const MixerControl& control, std::span<const uint32_t> values) {
    const std::lock_guard lock(mutex_);
    if (control.id > values_.size() || values_[control.id - 1].size() != values.size())
        return MIXERR_INVALCONTROL;
    std::ranges::copy(values, values_[control.id - 1].begin());
    return MMSYSERR_NOERROR;
}

void VirtualMixer::Reset() {
    SetLines(kFirstMixer);
}

int VirtualMixer::SetLines(std::span<const PlatformMixerLine> told) {
    if (told.size() > kMostLines) return 0;
    std::vector<PlatformMixerLine> copies(told.begin(), told.end());
    for (PlatformMixerLine& line : copies)
        line.name[sizeof(line.name) - 1] = 0;
    auto lines = std::make_shared<const MixerLines>(MakeMixerLines(copies));
    if (!lines->empty() && lines->front().IsSource()) return 0;
    const std::lock_guard lock(mutex_);
    values_.clear();
    for (const MixerLine& line : *lines)
        for (const MixerControl& control : line.controls)
            values_.push_back(FirstValues(control));
    lines_ = std::move(lines);
    return 1;
}

std::vector<uint32_t>* VirtualMixer::Find(uint32_t line, uint32_t control) {
    if (line >= lines_->size()) return nullptr;
    for (const MixerControl& each : (*lines_)[line].controls)
        if (each.type == MixerControlType(control)) return &values_[each.id - 1];
    return nullptr;
}

uint32_t VirtualMixer::Values(uint32_t line, uint32_t control, std::span<uint32_t> values) {
    const std::lock_guard lock(mutex_);
    const std::vector<uint32_t>* const found = Find(line, control);
    if (!found) return 0;
    std::copy_n(found->begin(), std::min(found->size(), values.size()), values.begin());
    return static_cast<uint32_t>(found->size());
}

int VirtualMixer::ChangeValues(uint32_t line, uint32_t control, std::span<const uint32_t> values) {
    const std::lock_guard lock(mutex_);
    std::vector<uint32_t>* const found = Find(line, control);
    if (!found || values.size() > found->size()) return 0;
    std::ranges::copy(values, found->begin());
    return 1;
}

}  // namespace tolvane::platform

using tolvane::platform::VirtualMixer;

int PlatformVirtualSetMixer(const PlatformMixerLine* lines, uint32_t count) {
    return lines || count == 0 ? VirtualMixer::Get().SetLines({lines, count}) : 0;
}

uint32_t PlatformVirtualMixerValues(uint32_t line, uint32_t control, uint32_t* values, uint32_t count) {
    return VirtualMixer::Get().Values(line, control, {values, values ? count : 0});
}

int PlatformVirtualSetMixerValues(uint32_t line, uint32_t control, const uint32_t* values, uint32_t count) {
    return values || count == 0 ? VirtualMixer::Get().ChangeValues(line, control, {values, count}) : 0;
}
