// A file that is edited command by command, with a clipboard, undo and redo, as `tolvane edit` does it.
#ifndef TOLVANE_HOST_EDIT_SESSION_H
#define TOLVANE_HOST_EDIT_SESSION_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "message_window.h"
#include "waveform.h"

namespace tolvane::host {

using Words = std::vector<std::string>;

// Words between blanks; quotes keep blanks, # begins a comment. Nothing when a quote is not closed.
std::optional<Words> SplitLine(std::string_view line);

class EditSession {
  public:
    // In a script nobody waits for a playback to end but the script.
    EditSession(std::string file, MessageWindow& window, bool script);
    ~EditSession();
    EditSession(const EditSession&) = delete;
    EditSession& operator=(const EditSession&) = delete;

    // Reads the file; kExitDone, or a failure that has been reported.
    int Open();

    // An exit code; failures have been reported.
    int Do(const Words& words);
    bool IsOver() const { return over_; }

    static std::vector<std::string> Complete(const std::string& text);

  private:
    struct Command;
    static const Command kCommands[];

    int Edit(const Words& words);
    int Select(const Words& words);
    int Undo(const Words&) { return Restore(true); }
    int Redo(const Words&) { return Restore(false); }
    int Play(const Words& words);
    int Stop(const Words& words);
    int Draw(const Words& words);
    int Info(const Words& words);
    int SaveAs(const Words& words);
    int Help(const Words& words);
    int Quit(const Words& words);

    int FillStep(EditStep& step, const Words& words) const;
    int FillPlaces(EditStep& step, const Words& words) const;
    uint16_t WhyImpossible(const EditStep& step) const;
    void SelectAfter(const EditStep& step, uint32_t before);
    int Restore(bool undo);
    int WaitForEnd();
    bool HasSelection() const { return selection_.begin < selection_.end; }
    ByteSpan SelectionOr(ByteSpan other) const { return HasSelection() ? selection_ : other; }
    ByteSpan Everything() const { return {0, sound_.data_size}; }
    std::optional<uint32_t> BytesOf(const std::string& time) const;
    std::optional<ByteSpan> SpanOf(const Words& words, ByteSpan usual) const;
    uint32_t FrameAt(const Place& place) const;
    std::string TimeAt(uint32_t bytes) const;
    void SayState() const;

    const std::string file_;
    MessageWindow& window_;
    const bool script_;
    SoundFormat sound_;
    ByteSpan selection_;        // without a length: a place, where something is inserted
    ByteSpan other_selection_;  // on the other side of the last edit
    bool undone_ = false, over_ = false;
};

}  // namespace tolvane::host

#endif
