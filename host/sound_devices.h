// The sound devices of the machine and the card behind them.
#ifndef TOLVANE_HOST_SOUND_DEVICES_H
#define TOLVANE_HOST_SOUND_DEVICES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"

namespace tolvane::host {

// Takes the card into use. kExitDone, or a failure that has been reported.
int UseCard(const CardRequest& card);

bool MachineHasOutput();

// Says that there is no sound device and what to do about it. Returns kExitFailed.
int ReportNoSound(std::string_view what, std::string_view on);

// The one of a list that is meant by a number or by its name: the whole name, or a part that only one has.
std::optional<uint32_t> FindNamed(const std::vector<std::string>& names, const std::string& wanted);

// Selects an input in the same way.
int SelectInput(const std::string& device);

struct RecordSource {
    uint32_t index = 0;
    std::string name;
};

// Chooses the source that is recorded from, by number or by its name, and tells which one it is. As SelectOutput.
int SelectSource(const std::string& wanted, RecordSource& source);

// Selects an output by number or by (a part of) its name. kExitDone, or a failure that has been reported.
int SelectOutput(const std::string& device);

// The names in the library's order.
std::vector<std::string> OutputNames();

}  // namespace tolvane::host

#endif
