// How an edit begins: what is refused at once, then the engine, here or in the background.
#pragma once

#include "edit/engine.h"

namespace tolvane {

// What every edit is told; see the record for what else an operation wants.
struct EditCall {
    const char* file;
    uint32_t start;
    uint32_t end;
    uint16_t unit;
    const char* second_file = nullptr;  // null and empty: the file itself, or the clipboard
    const char* third_file = nullptr;
    uint32_t channel_mask = 0;
    uint16_t silence_level = 0;
};

// With `wait` the edit runs here; otherwise *handle receives the job, null without memory or thread.
uint16_t StartEdit(const EditOperation& operation, const EditCall& call, EditJob** handle, bool wait);

// The clipboard, undo, redo and work files are emptied.
void FlushEditFiles();
uint32_t CanPaste();

}  // namespace tolvane
