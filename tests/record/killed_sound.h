// What a program that is killed records: tenths of a second of it, each with its own pattern.
#pragma once

#include <iterator>

#include "support/wave_files.h"

namespace tolvane::test {

inline Format KilledFormat(uint32_t seed) {
    constexpr Format kFormats[] = {{44100, 2, 16}, {11030, 1, 8}, {8000, 1, 16}, {96000, 2, 8}};
    return kFormats[seed % std::size(kFormats)];
}

}  // namespace tolvane::test
