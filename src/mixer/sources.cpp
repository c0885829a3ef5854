#include "mixer/sources.h"

#include <algorithm>
#include <cstring>

#include "frame/handles.h"
#include "frame/text.h"
#include "mixer/mixer.h"
#include "record/settings.h"
#include "tolvane.h"

namespace tolvane {

namespace {

// A selector with more items than indexes has lost its way.
constexpr DWORD kMostItems = 65536;

bool ReadWaveIn(MIXERLINEA& destination) {
    return ReadDestination(MIXERLINE_COMPONENTTYPE_DST_WAVEIN, destination);
}

bool NameContains(MIXERLINEA& line, const char* part) {
    line.szName[MIXER_LONG_NAME_CHARS - 1] = 0;
    for (char& c : line.szName)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return strstr(line.szName, part) != nullptr;
}

// Stores the first source with `part` in its name; false where there is none.
bool FindByName(const char* part, uint32_t* index) {
    MIXERLINEA destination, source;
    if (!ReadWaveIn(destination)) return false;
    for (DWORD i = 0; i < SourcesToLookAt(destination); ++i)
        if (ReadSource(destination, i, source) && NameContains(source, part)) {
            if (index) *index = i;
            return true;
        }
    return false;
}

// The values of a selector or switch, one for each item.
struct ItemValues {
    GlobalBlock block;
    DWORD* values = nullptr;

    bool Allocate(const MIXERCONTROLA& control) {
        const DWORD count = std::max<DWORD>(control.cMultipleItems, 1);
        if (count > kMostItems || block.Allocate(count * sizeof(DWORD), GMEM_MOVEABLE | GMEM_ZEROINIT) !=
                                      GlobalBlock::Outcome::kDone)
            return false;
        values = static_cast<DWORD*>(block.Data());
        return true;
    }
};

uint16_t SelectItem(DWORD id, uint16_t index) {
    MIXERCONTROLA control;
    if (!ReadControl(id, control)) return TOLVANE_NO_SOURCE_CONTROL;
    const DWORD items = control.cMultipleItems;
    if (index >= items) return TOLVANE_NO_SUCH_SOURCE;
    ItemValues item;
    if (!item.Allocate(control)) return TOLVANE_NO_SELECTION_MEMORY;
    if (!ReadValues(id, 1, items, item.values)) return TOLVANE_SOURCE_NOT_READ;
    if (control.dwControlType == MIXERCONTROL_CONTROLTYPE_MUX) memset(item.values, 0, items * sizeof(DWORD));
    item.values[index] = 1;
    return WriteValues(id, 1, items, item.values) ? TOLVANE_OK : TOLVANE_SOURCE_NOT_SET;
}

uint16_t MuteSource(const MIXERCONTROLA& control, bool mute) {
    ItemValues item;
    const DWORD id = control.dwControlID, items = control.cMultipleItems;
    if (!item.Allocate(control)) return TOLVANE_NO_SELECTION_MEMORY;
    if (!ReadValues(id, 1, items, item.values)) return TOLVANE_SOURCE_NOT_READ;
    item.values[0] = mute;
    return WriteValues(id, 1, items, item.values) ? TOLVANE_OK : TOLVANE_SOURCE_NOT_SET;
}

// The result is that of the last source that can be muted.
uint16_t MuteAllBut(const MIXERLINEA& destination, uint16_t count, uint16_t index) {
    MIXERLINEA source;
    MIXERCONTROLA mute;
    uint16_t result = TOLVANE_OK;
    for (uint16_t i = 0; i < count; ++i) {
        if (!ReadSource(destination, i, source) || !ReadControl(source, MIXERCONTROL_CONTROLTYPE_MUTE, mute))
            continue;
        result = MuteSource(mute, i != index);
        if (result == TOLVANE_NO_SELECTION_MEMORY) break;
    }
    return result;
}

}  // namespace

uint32_t CountRecordSources() {
    MIXERLINEA destination;
    return ReadWaveIn(destination) ? destination.cConnections : 0;
}

void GetRecordSourceName(uint32_t index, char* name) {
    MIXERLINEA destination, source;
    if (!name || !ReadWaveIn(destination) || index >= destination.cConnections ||
        !ReadSource(destination, index, source))
        return;
    source.szName[MIXER_LONG_NAME_CHARS - 1] = 0;
    CopyText(name, TOLVANE_SOURCE_NAME_SIZE, source.szName);
}

uint16_t FindMicrophone(uint32_t* index) {
    return FindByName("mic", index) ? TOLVANE_OK : TOLVANE_NO_MICROPHONE;
}

uint16_t FindLineInput(uint32_t* index) {
    return FindByName("line", index) ? TOLVANE_OK : TOLVANE_NO_LINE_INPUT;
}

uint16_t SelectRecordSource(uint16_t index) {
    MIXERLINEA destination;
    MIXERCONTROLA selector;
    TheRecordSettings().source = index;
    if (!ReadWaveIn(destination)) return TOLVANE_NO_SOURCE_CONTROL;
    // Sources are counted in 16 bits.
    const auto count = static_cast<uint16_t>(destination.cConnections);
    const bool has_selector = ReadSelector(destination, selector);
    if (index >= count) return TOLVANE_NO_SUCH_SOURCE;
    return has_selector ? SelectItem(selector.dwControlID, index) : MuteAllBut(destination, count, index);
}

}  // namespace tolvane
