// Coloured text for the terminal.
#ifndef TOLVANE_HOST_PAINTER_H
#define TOLVANE_HOST_PAINTER_H

#include <string>
#include <string_view>
#include <utility>

namespace tolvane::host {

inline constexpr std::string_view kGreen = "\x1b[32m", kYellow = "\x1b[33m", kRed = "\x1b[31m",
                                  kDim = "\x1b[2m", kReset = "\x1b[0m";

// Collects the text of a line; a colour is said once for the cells that share it.
class Painter {
  public:
    explicit Painter(bool colour) : colour_(colour) {}
    void Paint(std::string_view text, std::string_view colour = kReset) {
        if (colour_ && colour != now_) text_ += now_ = colour;
        text_ += text;
    }
    std::string Finish() {
        Paint("");
        return std::move(text_);
    }

  private:
    std::string text_;
    std::string_view now_ = kReset;
    bool colour_;
};

}  // namespace tolvane::host

#endif
