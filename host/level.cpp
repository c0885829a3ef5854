// `tolvane level`: the highest peaks of wave files.
#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "commands.h"
#include "drawing.h"
#include "meter.h"
#include "painter.h"
#include "result_text.h"
#include "terminal.h"

namespace tolvane::host {
namespace {

constexpr int kBarCells = 30;
constexpr double kFullScale = 32768;

std::string ChannelName(uint16_t channel, uint16_t channels) {
    if (channels == 1) return "mono";
    if (channels == 2) return channel == 0 ? "left" : "right";
    return fmt::format("{}", channel + 1);
}

// The highest sample that there is counts as full scale, though it is one step lower than the lowest.
double LevelOf(const Peaks& peaks) {
    if (peaks.high == std::numeric_limits<int16_t>::max()) return 1;
    return std::max(int{peaks.high}, -int{peaks.low}) / kFullScale;
}

bool IsClipped(const Peaks& peaks) {
    return peaks.high == std::numeric_limits<int16_t>::max() ||
           peaks.low == std::numeric_limits<int16_t>::min();
}

std::string DecibelText(double level) {
    return level > 0 ? fmt::format("{:6.1f} dB", 20 * std::log10(level)) : "  -inf dB";
}

std::string PeakLine(const std::string& name, const Peaks& peaks, TerminalStyle style) {
    const double level = LevelOf(peaks);
    Meter meter;
    meter.Update(static_cast<uint32_t>(std::lround(level * 100)), 0);
    Painter painter(style.colour);
    PaintMeter(painter, fmt::format("  {:<6}", name), meter, kBarCells, style.utf8);
    painter.Paint(fmt::format("  {:5.1f} % {}", level * 100, DecibelText(level)));
    painter.Paint(IsClipped(peaks) ? "  clipped" : "", kRed);
    return painter.Finish();
}

int ShowLevels(const std::string& file, const LevelRequest& request, TerminalStyle style) {
    SoundFormat sound;
    if (const auto code = ReadSound(file, sound); code != TOLVANE_OK)
        return ReportFileFailure("cannot measure", file, code);
    ByteSpan span{BytesAt(sound, request.from), BytesAt(sound, request.to)};
    span.end = std::min(span.end, sound.data_size);
    Waveform peaks;
    if (const int failed = ReadPeaks("cannot measure", file, sound, span, 1, peaks)) return failed;
    fmt::print("{}\n", file);
    for (uint16_t channel = 0; channel < peaks.channels; ++channel)
        fmt::print("{}\n", PeakLine(ChannelName(channel, peaks.channels), peaks.At(0, channel), style));
    return kExitDone;
}

}  // namespace

int RunLevel(const LevelRequest& request) {
    const TerminalStyle style = Terminal().style();
    int worst = kExitDone;
    for (const std::string& file : request.files)
        worst = std::max(worst, ShowLevels(file, request, style));
    return worst;
}

}  // namespace tolvane::host
