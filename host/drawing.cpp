// What the drawings of a sound have in common, and the one in the terminal.
#include "drawing.h"

#include <fmt/format.h>

#include <algorithm>

#include "commands.h"
#include "result_text.h"
#include "terminal.h"
#include "wave_text.h"

namespace tolvane::host {
namespace {

constexpr uint16_t kMostChannels = 32;

// The cells that show any of the marked bytes, at least one where they lie within the span.
std::optional<ColumnSpan> CellsOf(ByteSpan marked, ByteSpan span, uint32_t cells) {
    const uint64_t length = span.end - span.begin;
    const auto inside = [&](uint32_t at) { return std::clamp(at, span.begin, span.end) - span.begin; };
    if (marked.begin >= span.end || marked.end < span.begin) return std::nullopt;
    const auto begin = static_cast<uint32_t>(inside(marked.begin) * uint64_t{cells} / length);
    const auto end = static_cast<uint32_t>((inside(marked.end) * uint64_t{cells} + length - 1) / length);
    return ColumnSpan{begin, std::max(end, begin + 1)};
}

}  // namespace

int ReadPeaks(std::string_view cannot, const std::string& file, const SoundFormat& sound, ByteSpan span,
              uint32_t columns, Waveform& waveform) {
    const auto code = ReadWaveform(file, sound, span, columns, waveform);
    if (code == TOLVANE_EMPTY_DATA && sound.Bytes() > 0)
        return ReportFailure(cannot, file, "There is no sound between these times.",
                             fmt::format("The sound is {} long.", TimeText(sound.Milliseconds(), 3)));
    if (code == TOLVANE_CANNOT_SEEK)
        return ReportFailure(cannot, file, "Its sound cannot be read there.",
                             "Copy the file to a local disk; what lies beyond 2 GiB is out of reach.");
    return code == TOLVANE_OK ? kExitDone : ReportFileFailure(cannot, file, code);
}

int ReadForDrawing(const std::string& file, const SoundFormat& sound, ByteSpan span, uint32_t columns,
                   Waveform& waveform) {
    constexpr std::string_view kCannot = "cannot draw";
    if (sound.format.nChannels > kMostChannels)
        return ReportFailure(kCannot, file, fmt::format("It has {} channels.", sound.format.nChannels),
                             fmt::format("Up to {} can be drawn.", kMostChannels));
    return ReadPeaks(kCannot, file, sound, span, columns, waveform);
}

TimeSpan TimesOf(const SoundFormat& sound, ByteSpan span) {
    const double bytes_per_ms = static_cast<double>(std::max<uint64_t>(sound.BytesPerSecond(), 1)) / 1000;
    return {span.begin / bytes_per_ms, std::min(span.end, sound.Bytes()) / bytes_per_ms};
}

int DrawInTerminal(const std::string& file, const SoundFormat& sound, ByteSpan span,
                   std::optional<ByteSpan> marked, uint32_t width) {
    Waveform waveform;
    TerminalStyle style;
    {
        const Terminal terminal;
        style = terminal.style();
        if (width == 0) width = static_cast<uint32_t>(terminal.Columns());
    }
    span.end = std::min(span.end, sound.Bytes());
    if (const int failed = ReadForDrawing(file, sound, span, width * WaveColumnsPerCell(style), waveform))
        return failed;
    fmt::print("{}", WaveText(waveform, TimesOf(sound, span),
                              marked ? CellsOf(*marked, span, width) : std::nullopt, style));
    return kExitDone;
}

}  // namespace tolvane::host
