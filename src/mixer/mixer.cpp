#include "mixer/mixer.h"

#include <algorithm>

#include "tolvane.h"

namespace tolvane {

namespace {

// Indexes of sources have 16 bits.
constexpr DWORD kMostSources = 65536;

// Of a control whose channels are taken as one.
constexpr DWORD kUniformValues = 20;

bool ReadLine(MIXERLINEA& line, DWORD flags) {
    line.cbStruct = sizeof line;
    return mixerGetLineInfoA(nullptr, &line, MIXER_OBJECTF_MIXER | flags) == MMSYSERR_NOERROR;
}

// By type `line` counts, by identifier it does not.
bool AskControl(DWORD line, DWORD type_or_id, DWORD flags, MIXERCONTROLA& control) {
    control = {};
    control.cbStruct = sizeof control;
    MIXERLINECONTROLSA wanted = {};
    wanted.cbStruct = sizeof wanted;
    wanted.dwLineID = line;
    wanted.dwControlID = type_or_id;
    wanted.cControls = 1;
    wanted.cbmxctrl = sizeof control;
    wanted.pamxctrl = &control;
    return mixerGetLineControlsA(nullptr, &wanted, MIXER_OBJECTF_MIXER | flags) == MMSYSERR_NOERROR;
}

bool FindSource(const MIXERLINEA& destination, DWORD type, MIXERLINEA& source) {
    for (DWORD i = 0; i < SourcesToLookAt(destination); ++i)
        if (ReadSource(destination, i, source) && source.dwComponentType == type) return true;
    return false;
}

MIXERCONTROLDETAILS Details(DWORD control, DWORD channels, DWORD items, void* values) {
    MIXERCONTROLDETAILS details = {};
    details.cbStruct = sizeof details;
    details.dwControlID = control;
    details.cChannels = channels;
    details.cMultipleItems = items;
    details.cbDetails = sizeof(MIXERCONTROLDETAILS_UNSIGNED);
    details.paDetails = values;
    return details;
}

// The values that a control has when all of its channels are taken as one.
struct Uniform {
    MIXERCONTROLA control;
    DWORD values[kUniformValues] = {};

    uint16_t Read(DWORD id) {
        if (!id || !ReadControl(id, control)) return TOLVANE_NO_SOURCE_CONTROL;
        const bool fits = control.cMultipleItems <= kUniformValues;
        return fits && ReadValues(id, 1, control.cMultipleItems, values) ? TOLVANE_OK
                                                                         : TOLVANE_SOURCE_NOT_READ;
    }
};

}  // namespace

bool ReadDestination(DWORD type, MIXERLINEA& line) {
    line = {};
    line.dwComponentType = type;
    return ReadLine(line, MIXER_GETLINEINFOF_COMPONENTTYPE);
}

bool ReadSource(const MIXERLINEA& destination, DWORD index, MIXERLINEA& line) {
    line = {};
    line.dwDestination = destination.dwDestination;
    line.dwSource = index;
    return ReadLine(line, MIXER_GETLINEINFOF_SOURCE);
}

DWORD SourcesToLookAt(const MIXERLINEA& destination) {
    return std::min(destination.cConnections, kMostSources);
}

bool ReadControl(const MIXERLINEA& line, DWORD type, MIXERCONTROLA& control) {
    return AskControl(line.dwLineID, type, MIXER_GETLINECONTROLSF_ONEBYTYPE, control);
}

bool ReadControl(DWORD id, MIXERCONTROLA& control) {
    return AskControl(0, id, MIXER_GETLINECONTROLSF_ONEBYID, control);
}

bool ReadSelector(const MIXERLINEA& destination, MIXERCONTROLA& control) {
    return ReadControl(destination, MIXERCONTROL_CONTROLTYPE_MUX, control) ||
           ReadControl(destination, MIXERCONTROL_CONTROLTYPE_MIXER, control);
}

DWORD FindSourceControl(DWORD destination_type, DWORD source_type, DWORD control_type) {
    MIXERLINEA destination, source;
    MIXERCONTROLA control;
    const bool found = ReadDestination(destination_type, destination) &&
                       FindSource(destination, source_type, source) &&
                       ReadControl(source, control_type, control);
    return found ? control.dwControlID : 0;
}

bool ReadValues(DWORD control, DWORD channels, DWORD items, void* values) {
    MIXERCONTROLDETAILS details = Details(control, channels, items, values);
    return mixerGetControlDetailsA(nullptr, &details, MIXER_OBJECTF_MIXER | MIXER_GETCONTROLDETAILSF_VALUE) ==
           MMSYSERR_NOERROR;
}

bool WriteValues(DWORD control, DWORD channels, DWORD items, void* values) {
    MIXERCONTROLDETAILS details = Details(control, channels, items, values);
    return mixerSetControlDetails(nullptr, &details, MIXER_OBJECTF_MIXER | MIXER_SETCONTROLDETAILSF_VALUE) ==
           MMSYSERR_NOERROR;
}

void WriteBothChannels(DWORD control, uint16_t value) {
    DWORD values[] = {value, value};
    if (control && !WriteValues(control, 2, 0, values)) WriteValues(control, 1, 0, values);
}

DWORD ReadFirstOfBothChannels(DWORD control) {
    DWORD values[2] = {};
    const bool read = control && (ReadValues(control, 2, 0, values) || ReadValues(control, 1, 0, values));
    return read ? values[0] : 0;
}

uint16_t WriteUniform(DWORD control, uint16_t value) {
    Uniform uniform;
    if (const uint16_t result = uniform.Read(control)) return result;
    uniform.values[0] = value;
    return WriteValues(control, 1, uniform.control.cMultipleItems, uniform.values) ? TOLVANE_OK
                                                                                   : TOLVANE_SOURCE_NOT_SET;
}

uint16_t ReadUniform(DWORD control) {
    Uniform uniform;
    return uniform.Read(control) == TOLVANE_OK ? static_cast<uint16_t>(uniform.values[0]) : 0;
}

}  // namespace tolvane
