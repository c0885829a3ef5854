// A waveform as text: in dots of the braille alphabet, two columns and four rows of them a character; in plain ASCII
// one column and two rows.
#include "wave_text.h"

#include <algorithm>
#include <array>

#include "painter.h"

namespace tolvane::host {
namespace {

constexpr uint32_t kMonoRows = 10, kStereoRows = 6, kManyRows = 4;
constexpr uint32_t kMarkDistance = 14;
constexpr std::string_view kMarked = "\x1b[7m";

struct Grid {
    uint32_t across, down;  // dots a character
};
constexpr Grid kBraille{2, 4}, kAscii{1, 2};

class WavePainter {
  public:
    WavePainter(const Waveform& waveform, std::optional<ColumnSpan> marked, TerminalStyle style)
        : waveform_(waveform),
          marked_(marked),
          style_(style),
          grid_(style.utf8 ? kBraille : kAscii),
          cells_((waveform.columns + grid_.across - 1) / grid_.across),
          rows_(waveform.channels == 1   ? kMonoRows
                : waveform.channels == 2 ? kStereoRows
                                         : kManyRows) {}

    std::string Channel(uint16_t channel) const {
        std::string text;
        for (uint32_t row = 0; row < rows_; ++row) {
            Painter painter(style_.colour);
            for (uint32_t cell = 0; cell < cells_; ++cell)
                PaintCell(painter, channel, row, cell);
            text += painter.Finish() + '\n';
        }
        return text;
    }

    std::string Mark() const;
    std::string Axis(TimeSpan span) const;

  private:
    bool IsMarked(uint32_t cell) const { return marked_ && cell >= marked_->begin && cell < marked_->end; }

    void PaintCell(Painter& painter, uint16_t channel, uint32_t row, uint32_t cell) const {
        if (marked_ && cell == marked_->end) painter.Paint("");  // no colour would end the marking
        painter.Paint(CellText(channel, row, cell), IsMarked(cell) ? kMarked : ColourOf(row));
    }

    // The louder a row's samples, the warmer.
    std::string_view ColourOf(uint32_t row) const {
        const uint32_t outward = std::max(row, rows_ - 1 - row) - rows_ / 2;
        const double level = static_cast<double>(outward) / std::max(rows_ / 2 - 1, 1u);
        return level >= 1 ? kRed : level > 0.55 ? kYellow : kGreen;
    }

    bool HasDot(uint16_t channel, uint32_t column, uint32_t dot) const {
        if (column >= waveform_.columns) return false;
        const Peaks& peaks = waveform_.At(column, channel);
        const auto dot_of = [this](int value) {
            return static_cast<uint32_t>(INT16_MAX - value) * (rows_ * grid_.down) / 65536;
        };
        return dot >= dot_of(peaks.high) && dot <= dot_of(peaks.low);
    }

    std::string CellText(uint16_t channel, uint32_t row, uint32_t cell) const;

    const Waveform& waveform_;
    const std::optional<ColumnSpan> marked_;
    const TerminalStyle style_;
    const Grid grid_;
    const uint32_t cells_, rows_;
};

std::string Utf8OfBraille(unsigned dots) {
    return {'\xE2', static_cast<char>(0xA0 | dots >> 6), static_cast<char>(0x80 | (dots & 0x3F))};
}

std::string WavePainter::CellText(uint16_t channel, uint32_t row, uint32_t cell) const {
    constexpr std::array<std::array<unsigned, 2>, 4> kDots{{{1, 8}, {2, 16}, {4, 32}, {64, 128}}};
    unsigned dots = 0;
    for (uint32_t down = 0; down < grid_.down; ++down)
        for (uint32_t across = 0; across < grid_.across; ++across)
            if (HasDot(channel, cell * grid_.across + across, row * grid_.down + down))
                dots |= kDots[down][across];
    if (style_.utf8) return dots == 0 ? " " : Utf8OfBraille(dots);
    return {" '.|"[dots & 3]};
}

// Also for terminals without colours.
std::string WavePainter::Mark() const {
    if (!marked_ || marked_->end <= marked_->begin) return "";
    const uint32_t length = marked_->end - marked_->begin;
    std::string text(marked_->begin, ' ');
    if (length == 1) return text + "^\n";
    text += style_.utf8 ? "╰" : "[";
    for (uint32_t cell = 2; cell < length; ++cell)
        text += style_.utf8 ? "─" : "-";
    return text + (style_.utf8 ? "╯" : "]") + '\n';
}

std::string WavePainter::Axis(TimeSpan span) const {
    std::string text;
    uint32_t at = 0;
    for (const TimeMark& mark : TimeMarks(span, cells_, kMarkDistance)) {
        if (mark.place + 1 + mark.text.size() > cells_) break;
        text += std::string(mark.place - at, ' ') + (style_.utf8 ? "╵" : "|") + mark.text;
        at = mark.place + 1 + static_cast<uint32_t>(mark.text.size());
    }
    Painter painter(style_.colour);
    painter.Paint(text, kDim);
    return painter.Finish() + '\n';
}

}  // namespace

std::string WaveText(const Waveform& waveform, TimeSpan span, std::optional<ColumnSpan> marked,
                     TerminalStyle style) {
    const WavePainter painter(waveform, marked, style);
    std::string text;
    for (uint16_t channel = 0; channel < waveform.channels; ++channel)
        text += painter.Channel(channel);
    return text + painter.Mark() + painter.Axis(span);
}

}  // namespace tolvane::host
