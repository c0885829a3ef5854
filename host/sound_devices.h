// The sound devices of the machine and the card behind them.
#ifndef TOLVANE_HOST_SOUND_DEVICES_H
#define TOLVANE_HOST_SOUND_DEVICES_H

#include <string>
#include <vector>

#include "commands.h"

namespace tolvane::host {

// Takes the card into use. kExitDone, or a failure that has been reported.
int UseCard(const CardRequest& card);

bool MachineHasOutput();

// Says that there is no sound device and what to do about it. Returns kExitFailed.
int ReportNoSound(std::string_view what, std::string_view on);

// Selects an output by number or by (a part of) its name. kExitDone, or a failure that has been reported.
int SelectOutput(const std::string& device);

// The names in the library's order.
std::vector<std::string> OutputNames();

}  // namespace tolvane::host

#endif
