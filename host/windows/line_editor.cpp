// Lines from the console, which has editing and a history of its own.
#include "../line_editor.h"

#include <cstdio>
#include <iostream>

namespace tolvane::host {

struct LineEditor::State {};

LineEditor::LineEditor(Complete) {}
LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::Read(const std::string& prompt) {
    std::fputs(prompt.c_str(), stdout);
    std::fflush(stdout);
    std::string line;
    return std::getline(std::cin, line) ? std::optional(line) : std::nullopt;
}

}  // namespace tolvane::host
