// What the drawings of a sound have in common, and the one in the terminal.
#ifndef TOLVANE_HOST_DRAWING_H
#define TOLVANE_HOST_DRAWING_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "time_axis.h"
#include "waveform.h"

namespace tolvane::host {

constexpr uint32_t kLargestDrawing = 20'000;  // columns

// kExitDone, or a failure that has been reported as what it kept from being done.
int ReadPeaks(std::string_view cannot, const std::string& file, const SoundFormat& sound, ByteSpan span,
              uint32_t columns, Waveform& waveform);
int ReadForDrawing(const std::string& file, const SoundFormat& sound, ByteSpan span, uint32_t columns,
                   Waveform& waveform);

TimeSpan TimesOf(const SoundFormat& sound, ByteSpan span);

// As wide as the terminal where `width` is 0, with a part `marked`. kExitDone, or a failure that has been reported.
int DrawInTerminal(const std::string& file, const SoundFormat& sound, ByteSpan span,
                   std::optional<ByteSpan> marked, uint32_t width);

}  // namespace tolvane::host

#endif
