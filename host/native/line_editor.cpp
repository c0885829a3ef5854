// Lines from the terminal through libedit.
#include "../line_editor.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <histedit.h>
#include <utility>

namespace tolvane::host {
namespace {

constexpr int kHistoryLines = 500;

std::string CommonBeginning(const std::vector<std::string>& words) {
    std::string common = words.front();
    for (const std::string& word : words)
        common.resize(static_cast<size_t>(
            std::mismatch(common.begin(), common.end(), word.begin(), word.end()).first - common.begin()));
    return common;
}

void List(const std::vector<std::string>& words) {
    std::fputc('\n', stdout);
    for (const std::string& word : words)
        std::printf("%s  ", word.c_str());
    std::fputc('\n', stdout);
}

}  // namespace

struct LineEditor::State {
    explicit State(Complete completer)
        : complete(std::move(completer)),
          editor(el_init("tolvane", stdin, stdout, stderr), el_end),
          past(history_init(), history_end) {}

    static State& Of(EditLine* editor) {
        void* state = nullptr;
        el_get(editor, EL_CLIENTDATA, &state);
        return *static_cast<State*>(state);
    }
    static char* Prompt(EditLine* editor) { return Of(editor).prompt.data(); }
    static unsigned char CompleteWord(EditLine* editor, int key);
    static unsigned char GiveUp(EditLine* editor, int) {
        Of(editor).given_up = true;
        return CC_EOF;
    }

    Complete complete;
    std::unique_ptr<EditLine, void (*)(EditLine*)> editor;
    std::unique_ptr<History, void (*)(History*)> past;
    std::string prompt;
    bool given_up = false;
};

unsigned char LineEditor::State::CompleteWord(EditLine* editor, int) {
    const LineInfo* line = el_line(editor);
    const std::string text(line->buffer, line->cursor);
    const size_t begun = text.size() - (text.find_last_of(" \t") + 1);
    const std::vector<std::string> words = Of(editor).complete(text);
    if (words.empty()) return CC_ERROR;
    std::string rest = CommonBeginning(words).substr(begun);
    if (words.size() == 1 && !rest.ends_with('/')) rest += ' ';
    if (!rest.empty()) return el_insertstr(editor, rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    List(words);
    return CC_REDISPLAY;
}

LineEditor::LineEditor(Complete complete) : state_(std::make_unique<State>(std::move(complete))) {
    std::setlocale(LC_CTYPE, "");  // what a character is, in file names
    HistEvent event;
    history(state_->past.get(), &event, H_SETSIZE, kHistoryLines);
    history(state_->past.get(), &event, H_SETUNIQUE, 1);
    EditLine* editor = state_->editor.get();
    el_set(editor, EL_CLIENTDATA, state_.get());
    el_set(editor, EL_PROMPT, State::Prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_HIST, history, state_->past.get());
    el_set(editor, EL_ADDFN, "tolvane-complete", "Complete the word", State::CompleteWord);
    el_set(editor, EL_BIND, "^I", "tolvane-complete", nullptr);
    el_set(editor, EL_ADDFN, "tolvane-give-up", "Give the line up", State::GiveUp);
    el_set(editor, EL_BIND, "^C", "tolvane-give-up", nullptr);
    el_set(editor, EL_SETTY, "-d", "-isig", nullptr);  // so that Ctrl-C is a key, while a line is typed
}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::Read(const std::string& prompt) {
    state_->prompt = prompt;
    state_->given_up = false;
    int length = 0;
    const char* typed = el_gets(state_->editor.get(), &length);
    if (state_->given_up || !typed || length <= 0) {
        std::fputc('\n', stdout);
        return state_->given_up ? std::optional(std::string()) : std::nullopt;
    }
    std::string line(typed, static_cast<size_t>(length));
    while (line.ends_with('\n') || line.ends_with('\r'))
        line.pop_back();
    HistEvent event;
    if (line.find_first_not_of(' ') != line.npos) history(state_->past.get(), &event, H_ENTER, line.c_str());
    return line;
}

}  // namespace tolvane::host
