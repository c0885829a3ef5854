// A waveform as text: the channels below one another, a time axis, and perhaps a marked part.
#ifndef TOLVANE_HOST_WAVE_TEXT_H
#define TOLVANE_HOST_WAVE_TEXT_H

#include <cstdint>
#include <optional>
#include <string>

#include "meter.h"
#include "time_axis.h"
#include "waveform.h"

namespace tolvane::host {

// Columns of the terminal; from `begin` to before `end`.
struct ColumnSpan {
    uint32_t begin = 0, end = 0;
};

// How many columns of a waveform make one of the terminal.
constexpr uint32_t WaveColumnsPerCell(TerminalStyle style) {
    return style.utf8 ? 2 : 1;
}

// Whole lines; as wide as the waveform's columns make it.
std::string WaveText(const Waveform& waveform, TimeSpan span, std::optional<ColumnSpan> marked,
                     TerminalStyle style);

}  // namespace tolvane::host

#endif
