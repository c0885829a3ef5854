// What undo and redo know of the edits: one state for the library.
#pragma once

#include <cstdint>

#include "frame/text.h"

namespace tolvane {

bool IsUndoOn();
void SwitchUndo(bool on);

// A modifying edit begins: what could be undone before cannot be any more.
void NoteEditBegins();

// The edit of `file` has succeeded; `undo_copied` when the undo file holds what the file was before.
void NoteEdited(const char* file, bool undo_copied);

// The scratch files were made anew.
void ForgetUndo();
void ForgetUndoOf(const char* file);

// 1 or 0.
uint32_t CanUndo();
uint32_t CanRedo();

// In the caller's thread; result codes.
uint16_t Undo();
uint16_t Redo();

}  // namespace tolvane
