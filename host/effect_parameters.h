// What follows the name of an effect plug-in on the command line: its parameters, whatever they are.
#ifndef TOLVANE_HOST_EFFECT_PARAMETERS_H
#define TOLVANE_HOST_EFFECT_PARAMETERS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane::host {

struct Effect {
    std::string library;
    std::vector<uint8_t> parameters;
};

// "gain.so=50,0": 32-bit numbers, whole ones as integers, those with a point as floats; "gain.so=@FILE": the file's bytes;
// "gain.so" alone: four zero bytes, since without parameters an effect does nothing. Nothing where it is none of these.
std::optional<Effect> ParseEffect(std::string_view text);

}  // namespace tolvane::host

#endif
