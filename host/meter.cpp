// The one line a terminal shows while something plays or is worked on.
#include "meter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "painter.h"
#include "time_text.h"

namespace tolvane::host {
namespace {

constexpr double kRangeDecibels = 40;
constexpr double kFallPerSecond = 0.9;
constexpr double kPeakFallPerSecond = 0.35;
constexpr double kHoldSeconds = 0.8;
constexpr int kSmallestBar = 8, kSmallestMeter = 6, kLargestMeter = 20, kLargestWorkBar = 60;

constexpr std::string_view kEighths[] = {" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉", "█"};

double OnScale(uint32_t percent) {
    if (percent == 0) return 0;
    const double decibels = 20 * std::log10(percent / 100.0);
    return std::clamp(1 + decibels / kRangeDecibels, 0.02, 1.0);
}

std::string_view ZoneColour(double place) {
    constexpr double kLoud = 1 - 12 / kRangeDecibels, kVeryLoud = 1 - 3 / kRangeDecibels;
    return place < kLoud ? kGreen : place < kVeryLoud ? kYellow : kRed;
}

std::string_view MeterCell(double fill, bool utf8) {
    if (!utf8) return fill >= 0.5 ? "#" : " ";
    return kEighths[static_cast<size_t>(std::clamp(std::lround(fill * 8), 0L, 8L))];
}

std::string SizeText(uint64_t bytes) {
    constexpr double kMega = 1e6, kGiga = 1e9;
    const auto size = static_cast<double>(bytes);
    return size < kGiga ? fmt::format("{:.0f} MB", size / kMega) : fmt::format("{:.1f} GB", size / kGiga);
}

std::string Head(const ProgressView& view) {
    std::string head = fmt::format("{} {} / {}", view.paused ? "||" : "> ", TimeText(view.position_ms),
                                   TimeText(view.length_ms));
    for (const std::string& more : {view.place, view.volume})
        if (!more.empty()) head += "  " + more;
    return head;
}

}  // namespace

void PaintMeter(Painter& painter, std::string_view name, const Meter& meter, int cells, bool utf8) {
    painter.Paint(name);
    const int peak_cell = std::min(cells - 1, static_cast<int>(meter.peak() * cells));
    for (int cell = 0; cell < cells; ++cell) {
        const double fill = std::clamp(meter.shown() * cells - cell, 0.0, 1.0);
        const bool peak = cell == peak_cell && meter.peak() > 0 && fill < 0.5;
        painter.Paint(peak ? (utf8 ? "│" : "|") : MeterCell(fill, utf8), ZoneColour((cell + 0.5) / cells));
    }
}

void PaintBar(Painter& painter, double done, int cells, bool utf8) {
    const int full = std::clamp(static_cast<int>(std::lround(done * cells)), 0, cells);
    for (int cell = 0; cell < cells; ++cell)
        cell < full ? painter.Paint(utf8 ? "━" : "=") : painter.Paint(utf8 ? "─" : "-", kDim);
}

void Meter::Update(uint32_t percent, double seconds) {
    const double level = OnScale(percent);
    shown_ = std::max(level, shown_ - kFallPerSecond * seconds);
    if (level >= peak_) {
        peak_ = level;
        hold_left_ = kHoldSeconds;
    } else if ((hold_left_ -= seconds) < 0) {
        peak_ = std::max(shown_, peak_ - kPeakFallPerSecond * seconds);
    }
    if (shown_ < 0) shown_ = 0;
}

std::string ProgressLine(const ProgressView& view, int columns, TerminalStyle style) {
    const std::string head = Head(view);
    const int room = columns - static_cast<int>(head.size());
    if (room < 2 + kSmallestBar) return head.substr(0, static_cast<size_t>(std::max(columns, 0)));

    constexpr int kMeterText = 7;  // "  L " and " R "
    const bool meters = view.has_levels && room >= 2 + kSmallestBar + kMeterText + 2 * kSmallestMeter;
    const int meter = meters ? std::clamp(room / 4, kSmallestMeter, kLargestMeter) : 0;
    const int bar = room - 2 - (meters ? kMeterText + 2 * meter : 0);
    const double done =
        view.length_ms == 0 ? 0 : static_cast<double>(view.position_ms) / static_cast<double>(view.length_ms);

    Painter painter(style.colour);
    painter.Paint(head + "  ");
    PaintBar(painter, done, bar, style.utf8);
    if (meters) {
        PaintMeter(painter, "  L ", view.left, meter, style.utf8);
        PaintMeter(painter, " R ", view.right, meter, style.utf8);
    }
    return painter.Finish();
}

std::string RecordLine(const RecordView& view, int columns, TerminalStyle style) {
    const std::string_view mark = view.paused ? "||" : style.utf8 ? "● " : "* ";
    const std::string times =
        fmt::format(" {}  {} free", TimeText(view.position_ms), SizeText(view.free_bytes));
    constexpr int kMark = 2, kMeterText = 7, kClip = 6;
    const int room = columns - kMark - static_cast<int>(times.size());
    Painter painter(style.colour);
    painter.Paint(mark, view.paused ? kYellow : kRed);
    painter.Paint(room < 0 ? std::string_view(times).substr(0, 0) : std::string_view(times));
    if (room >= kMeterText + kClip + 2 * kSmallestMeter) {
        const int meter = std::min((room - kMeterText - kClip) / 2, 2 * kLargestMeter);
        PaintMeter(painter, "  L ", view.left, meter, style.utf8);
        PaintMeter(painter, " R ", view.right, meter, style.utf8);
        painter.Paint(view.clipped ? "  CLIP" : "", kRed);
    }
    return painter.Finish();
}

std::string WorkLine(const WorkView& view, int columns, TerminalStyle style) {
    const std::string head = fmt::format("{} {:3}%", view.what, view.percent);
    const std::string tail =
        view.left_ms ? fmt::format("  {} left", TimeText(*view.left_ms, 0)) : std::string(11, ' ');
    const int bar = columns - static_cast<int>(head.size() + tail.size()) - 2;
    if (bar < kSmallestBar) return head.substr(0, static_cast<size_t>(std::max(columns, 0)));
    Painter painter(style.colour);
    painter.Paint(head + "  ");
    PaintBar(painter, view.percent / 100.0, std::min(bar, kLargestWorkBar), style.utf8);
    painter.Paint(tail);
    return painter.Finish();
}

}  // namespace tolvane::host
