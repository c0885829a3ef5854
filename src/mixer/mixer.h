// Lines and controls of the system's mixer: always device 0, addressed by number, so nothing is kept open.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <cstdint>

namespace tolvane {

// ---- Lines and their controls; false where the mixer does not tell ----

bool ReadDestination(DWORD type, MIXERLINEA& line);
bool ReadSource(const MIXERLINEA& destination, DWORD index, MIXERLINEA& line);
// How many indexes of source lines are worth looking at, whatever number the mixer claims.
DWORD SourcesToLookAt(const MIXERLINEA& destination);
bool ReadControl(const MIXERLINEA& line, DWORD type, MIXERCONTROLA& control);
bool ReadControl(DWORD id, MIXERCONTROLA& control);

// The destination's mux control or, without one, its control for several sources.
bool ReadSelector(const MIXERLINEA& destination, MIXERCONTROLA& control);
// The control of the destination's first source line of a type; 0: none.
DWORD FindSourceControl(DWORD destination_type, DWORD source_type, DWORD control_type);

// ---- Values of controls ----

// `values` has room for `channels` values of each item, of which there are none for a single value.
bool ReadValues(DWORD control, DWORD channels, DWORD items, void* values);
bool WriteValues(DWORD control, DWORD channels, DWORD items, void* values);

// Without a control (0), nothing is written and 0 read, here and below. A line of one channel refuses two values, and
// has one written or read.
void WriteBothChannels(DWORD control, uint16_t value);
DWORD ReadFirstOfBothChannels(DWORD control);

// The control's first value, for all of its channels. Results: TOLVANE_OK, TOLVANE_NO_SOURCE_CONTROL,
// TOLVANE_SOURCE_NOT_READ, TOLVANE_SOURCE_NOT_SET.
uint16_t WriteUniform(DWORD control, uint16_t value);
uint16_t ReadUniform(DWORD control);

}  // namespace tolvane
