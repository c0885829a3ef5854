// The one line a terminal shows while something plays (state, position, progress and a level meter with two
// channels) or is worked on (progress and the time left).
#ifndef TOLVANE_HOST_METER_H
#define TOLVANE_HOST_METER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane::host {

// What a terminal can show beyond plain ASCII.
struct TerminalStyle {
    bool colour = false;
    bool utf8 = false;
};

// One channel: rises at once, falls slowly, and holds its peak for a moment. From 0 to 1 over 40 dB.
class Meter {
  public:
    // `percent` of full scale now, `seconds` since the last call.
    void Update(uint32_t percent, double seconds);
    double shown() const { return shown_; }
    double peak() const { return peak_; }

  private:
    double shown_ = 0, peak_ = 0, hold_left_ = 0;
};

class Painter;

// A bar of so many cells with the peak in it.
void PaintMeter(Painter& painter, std::string_view name, const Meter& meter, int cells, bool utf8);

// How much of something there is (0 to 1).
void PaintBar(Painter& painter, double done, int cells, bool utf8);

struct ProgressView {
    bool paused = false, has_levels = true;
    uint64_t position_ms = 0, length_ms = 0;
    std::string place, volume;  // "2/3", "80%", or nothing
    Meter left, right;
};

struct RecordView {
    bool paused = false, clipped = false;
    uint64_t position_ms = 0, free_bytes = 0;
    Meter left, right;
};

// As ProgressLine.
std::string RecordLine(const RecordView& view, int columns, TerminalStyle style);

// Exactly as many columns as `columns` allows, or fewer where there is no more to say.
std::string ProgressLine(const ProgressView& view, int columns, TerminalStyle style);

struct WorkView {
    std::string_view what;
    uint32_t percent = 0;
    std::optional<uint64_t> left_ms;  // nothing while it cannot be told
};

std::string WorkLine(const WorkView& view, int columns, TerminalStyle style);

}  // namespace tolvane::host

#endif
