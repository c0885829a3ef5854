// Lines that a person types in a terminal, with whatever the system offers for that: where it can be had, editing,
// completion and a history.
#ifndef TOLVANE_HOST_LINE_EDITOR_H
#define TOLVANE_HOST_LINE_EDITOR_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tolvane::host {

class LineEditor {
  public:
    // What the last word of the text before the cursor could become.
    using Complete = std::function<std::vector<std::string>(const std::string& text)>;

    explicit LineEditor(Complete complete);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    // Without its end; empty when the user gave it up with Ctrl-C. Nothing at the end of the input.
    std::optional<std::string> Read(const std::string& prompt);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tolvane::host

#endif
