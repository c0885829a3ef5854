// The mixer services: checks of arguments and the records of lines and controls.
#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>

#include "platform/sound/card.h"
#include "platform/sound/wave_service.h"

namespace tolvane::platform {
namespace {

struct ControlKind {
    uint32_t bit;
    DWORD type, flags;
    const char* name;
};
constexpr ControlKind kKinds[] = {
    {PLATFORM_MIXER_VOLUME, MIXERCONTROL_CONTROLTYPE_VOLUME, 0, "Volume"},
    {PLATFORM_MIXER_MUTE, MIXERCONTROL_CONTROLTYPE_MUTE, MIXERCONTROL_CONTROLF_UNIFORM, "Mute"},
    {PLATFORM_MIXER_MUX, MIXERCONTROL_CONTROLTYPE_MUX,
     MIXERCONTROL_CONTROLF_UNIFORM | MIXERCONTROL_CONTROLF_MULTIPLE, "Source"},
    {PLATFORM_MIXER_MULTIPLE, MIXERCONTROL_CONTROLTYPE_MIXER,
     MIXERCONTROL_CONTROLF_UNIFORM | MIXERCONTROL_CONTROLF_MULTIPLE, "Sources"},
};

void AddControl(MixerLine& line, uint32_t index, const ControlKind& kind, DWORD id) {
    const bool list = kind.flags & MIXERCONTROL_CONTROLF_MULTIPLE;
    const bool uniform = kind.flags & MIXERCONTROL_CONTROLF_UNIFORM;
    const uint32_t items = line.told.said_items ? line.told.said_items : list ? line.sources : 0;
    line.controls.push_back({id, kind.type, index, uniform ? 1 : line.told.channels, items});
}

void Fill(MIXERLINEA& record, const MixerLine& line, size_t index) {
    record = {};
    record.cbStruct = sizeof(record);
    record.dwDestination = line.destination;
    record.dwSource = line.source;
    record.dwLineID = static_cast<DWORD>(index);
    record.fdwLine = MIXERLINE_LINEF_ACTIVE | (line.IsSource() ? MIXERLINE_LINEF_SOURCE : 0);
    record.dwComponentType = line.told.component;
    record.cChannels = line.told.channels;
    record.cConnections = line.told.said_sources ? line.told.said_sources : line.sources;
    record.cControls = static_cast<DWORD>(line.controls.size());
    CopyName(record.szShortName, sizeof(record.szShortName), line.told.name);
    CopyName(record.szName, sizeof(record.szName), line.told.name);
}

void Fill(MIXERCONTROLA& record, const MixerControl& control) {
    const ControlKind& kind = *std::ranges::find(kKinds, control.type, &ControlKind::type);
    record = {};
    record.cbStruct = sizeof(record);
    record.dwControlID = control.id;
    record.dwControlType = control.type;
    record.fdwControl = kind.flags | (control.items ? MIXERCONTROL_CONTROLF_MULTIPLE : 0);
    record.cMultipleItems = control.items;
    CopyName(record.szShortName, sizeof(record.szShortName), kind.name);
    CopyName(record.szName, sizeof(record.szName), kind.name);
    record.Bounds.dwMaximum = control.type == MIXERCONTROL_CONTROLTYPE_VOLUME ? kFullVolume : 1;
    record.Metrics.cSteps = record.Bounds.dwMaximum;
}

// The one mixer of the card has the number 0.
MMRESULT FindMixer(const CardLease& lease, HMIXEROBJ number, bool anew, CardMixer*& mixer,
                   std::shared_ptr<const MixerLines>& lines) {
    if (!lease.card || number) return MMSYSERR_BADDEVICEID;
    mixer = &lease.card->Mixer();
    lines = anew ? mixer->ReadLines() : mixer->KnownLines();
    return lines && !lines->empty() ? MMSYSERR_NOERROR : MMSYSERR_BADDEVICEID;
}

const MixerControl* FindControl(const MixerLines& lines, DWORD id) {
    for (const MixerLine& line : lines)
        for (const MixerControl& control : line.controls)
            if (control.id == id) return &control;
    return nullptr;
}

const MixerControl* FindControl(const MixerLine& line, DWORD type) {
    const auto found = std::ranges::find(line.controls, type, &MixerControl::type);
    return found == line.controls.end() ? nullptr : &*found;
}

// The control whose values the record means, if it has room for them.
MMRESULT FindControl(const MixerLines& lines, const MIXERCONTROLDETAILS& record, const MixerControl*& found) {
    found = FindControl(lines, record.dwControlID);
    if (!found) return MIXERR_INVALCONTROL;
    const bool fits = record.cMultipleItems == found->items && record.cbDetails == sizeof(uint32_t) &&
                      (record.cChannels == 1 || record.cChannels == found->channels);
    if (!fits) return MMSYSERR_INVALPARAM;
    return found->Values() <= kMostMixerValues ? MMSYSERR_NOERROR : MMSYSERR_NOMEM;
}

// Runs `action` on the mixer, the control and room for all of its values.
template <typename Action>
MMRESULT WithValues(const char* service, HMIXEROBJ number, const MIXERCONTROLDETAILS* record, DWORD flags,
                    Action action) try {
    if (const MMRESULT fault = FaultIn(service)) return fault;
    if (!record || record->cbStruct != sizeof(*record) || !record->paDetails) return MMSYSERR_INVALPARAM;
    if (flags != (MIXER_OBJECTF_MIXER | MIXER_GETCONTROLDETAILSF_VALUE)) return MMSYSERR_INVALFLAG;
    const CardLease lease;
    CardMixer* mixer;
    std::shared_ptr<const MixerLines> lines;
    const MixerControl* control;
    if (const MMRESULT result = FindMixer(lease, number, false, mixer, lines)) return result;
    if (const MMRESULT result = FindControl(*lines, *record, control)) return result;
    std::vector<uint32_t> values(control->Values());
    return action(*mixer, *control, values);
} catch (const std::exception&) {
    return MMSYSERR_NOMEM;
}

}  // namespace

DWORD MixerControlType(uint32_t platform_control) {
    const auto found = std::ranges::find(kKinds, platform_control, &ControlKind::bit);
    return found == std::end(kKinds) ? 0 : found->type;
}

MixerLines MakeMixerLines(std::span<const PlatformMixerLine> told) {
    MixerLines lines;
    size_t destination = 0;
    uint32_t destinations = 0;
    for (const PlatformMixerLine& each : told) {
        MixerLine line = {each, 0, 0, 0, {}};
        if (line.told.channels == 0) line.told.channels = 2;
        if (line.IsSource() && destinations > 0) {
            line.source = lines[destination].sources++;
        } else {
            destination = lines.size();
            destinations++;
        }
        line.destination = destinations - 1;
        lines.push_back(std::move(line));
    }
    DWORD id = 0;
    for (uint32_t i = 0; i < lines.size(); i++)
        for (const ControlKind& kind : kKinds)
            if (lines[i].told.controls & kind.bit) AddControl(lines[i], i, kind, ++id);
    return lines;
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

MMRESULT mixerGetLineInfoA(HMIXEROBJ mixer, LPMIXERLINEA record, DWORD flags) try {
    if (const MMRESULT fault = FaultIn("mixerGetLineInfoA")) return fault;
    if (!record || record->cbStruct != sizeof(*record)) return MMSYSERR_INVALPARAM;
    const bool by_type = flags == MIXER_GETLINEINFOF_COMPONENTTYPE;
    if (!by_type && flags != MIXER_GETLINEINFOF_SOURCE) return MMSYSERR_INVALFLAG;
    const CardLease lease;
    CardMixer* found;
    std::shared_ptr<const MixerLines> lines;
    if (const MMRESULT result = FindMixer(lease, mixer, by_type, found, lines)) return result;
    const auto line = std::ranges::find_if(*lines, [&](const MixerLine& each) {
        if (by_type) return each.told.component == record->dwComponentType;
        return each.IsSource() && each.destination == record->dwDestination &&
               each.source == record->dwSource;
    });
    if (line == lines->end() || line->told.unreadable) return MIXERR_INVALLINE;
    Fill(*record, *line, static_cast<size_t>(line - lines->begin()));
    return MMSYSERR_NOERROR;
} catch (const std::exception&) {
    return MMSYSERR_NOMEM;
}

MMRESULT mixerGetLineControlsA(HMIXEROBJ mixer, LPMIXERLINECONTROLSA record, DWORD flags) try {
    if (const MMRESULT fault = FaultIn("mixerGetLineControlsA")) return fault;
    const bool whole = record && record->cbStruct == sizeof(*record) && record->pamxctrl;
    if (!whole || record->cbmxctrl != sizeof(MIXERCONTROLA) || record->cControls == 0)
        return MMSYSERR_INVALPARAM;
    const bool by_type = flags == MIXER_GETLINECONTROLSF_ONEBYTYPE;
    if (!by_type && flags != MIXER_GETLINECONTROLSF_ONEBYID) return MMSYSERR_INVALFLAG;
    const CardLease lease;
    CardMixer* found;
    std::shared_ptr<const MixerLines> lines;
    if (const MMRESULT result = FindMixer(lease, mixer, false, found, lines)) return result;
    if (by_type && record->dwLineID >= lines->size()) return MIXERR_INVALLINE;
    const MixerControl* const control = by_type
                                            ? FindControl((*lines)[record->dwLineID], record->dwControlType)
                                            : FindControl(*lines, record->dwControlID);
    if (!control) return MIXERR_INVALCONTROL;
    Fill(*record->pamxctrl, *control);
    record->dwLineID = control->line;
    record->cControls = 1;
    return MMSYSERR_NOERROR;
} catch (const std::exception&) {
    return MMSYSERR_NOMEM;
}

MMRESULT mixerGetControlDetailsA(HMIXEROBJ mixer, LPMIXERCONTROLDETAILS record, DWORD flags) {
    const auto read = [record](CardMixer& found, const MixerControl& control,
                               std::vector<uint32_t>& values) -> MMRESULT {
        if (const MMRESULT result = found.GetValues(control, values)) return result;
        const size_t wanted = values.size() / control.channels * record->cChannels;
        memcpy(record->paDetails, values.data(), wanted * sizeof(uint32_t));
        return MMSYSERR_NOERROR;
    };
    return WithValues("mixerGetControlDetailsA", mixer, record, flags, read);
}

MMRESULT mixerSetControlDetails(HMIXEROBJ mixer, LPMIXERCONTROLDETAILS record, DWORD flags) {
    const auto write = [record](CardMixer& found, const MixerControl& control,
                                std::vector<uint32_t>& values) -> MMRESULT {
        const size_t given = values.size() / control.channels * record->cChannels;
        for (size_t i = 0; i < values.size(); i += given)
            memcpy(values.data() + i, record->paDetails, given * sizeof(uint32_t));
        return found.SetValues(control, values);
    };
    return WithValues("mixerSetControlDetails", mixer, record, flags, write);
}
