// One edit of a file: what is done, and what is said when it cannot be.
#ifndef TOLVANE_HOST_EDIT_STEP_H
#define TOLVANE_HOST_EDIT_STEP_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "edit_places.h"

namespace tolvane::host {

class MessageWindow;

enum class EditKind { kCut, kCopy, kPaste, kClear, kCrop, kMute, kTrim, kSilence };

constexpr uint16_t kUsualLevel = 100;  // of silence, in hundredths of a percent

struct EditStep {
    EditKind kind = EditKind::kCut;
    std::string file;
    uint32_t start = 0, end = 0;       // in bytes of the sound; only `start` where something is inserted
    std::string other;                 // receives what is cut or copied, is pasted; empty: the clipboard
    std::string target;                // receives the result; empty: the file itself
    uint32_t channels = kAllChannels;  // one bit each, muted
    uint16_t level = 0;                // up to which it is silent, in hundredths of a percent
    uint32_t milliseconds = 0;         // of silence
};

std::string_view NameOf(EditKind kind);
std::optional<EditKind> FindEdit(std::string_view name);

// Of the whole file, if nothing is said.
constexpr bool TakesSelection(EditKind kind) {
    return kind != EditKind::kPaste && kind != EditKind::kSilence;
}
constexpr bool ChangesTheFile(EditKind kind) {
    return kind != EditKind::kCopy;
}

// What the library answers when the edit has nothing selected to work on.
uint16_t NothingSelectedCode(EditKind kind);

// The result code. Where the edit was over before it could be stopped, it is done; the window remembers the Ctrl-C.
uint16_t PerformEdit(const EditStep& step, MessageWindow& window, bool quiet);

// Says why and on which of its files the edit failed with `code`, or that it was stopped. An exit code.
int ReportEditFailure(const EditStep& step, uint16_t code, bool quiet);

}  // namespace tolvane::host

#endif
