#include "edit/state.h"

#include <windows.h>

#include <cstring>

#include "edit/progress_copy.h"
#include "files/inspect.h"
#include "files/replacement.h"
#include "frame/handles.h"
#include "frame/immortal.h"
#include "frame/lock.h"
#include "frame/scratch_files.h"
#include "playback/choice.h"
#include "tolvane.h"

namespace tolvane {

namespace {

struct EditState {
    Lock lock;
    bool undo_on = true;
    char last_edited[kPathSize] = "";  // the file of the last edit, if it succeeded
    bool undo_fits = false;            // the undo file holds what it was before that edit
    bool redo_fits = false;            // the redo file holds what it was before the last undo
};

EditState& State() {
    return Immortal<EditState>();
}

// The edited file; a result code where there is none, or `fits` says that the copy is another edit's.
uint16_t FileOfEdit(bool EditState::*fits, char (&file)[kPathSize]) {
    EditState& state = State();
    LockGuard guard(state.lock);
    CopyText(file, kPathSize, state.last_edited);
    if (!state.undo_on) return TOLVANE_UNDO_OFF;
    return *file && state.*fits ? TOLVANE_OK : TOLVANE_NOTHING_TO_UNDO;
}

void SetFits(bool EditState::*fits, bool value) {
    LockGuard guard(State().lock);
    State().*fits = value;
}

uint32_t CanRestore(ScratchFile file) {
    char name[kPathSize];
    CopyScratchName(file, name);
    return IsUndoOn() && GetFileLength(name) > 0;
}

// By way of the work file, so that nothing unfinished ever lies beside the target on its own volume.
bool Restore(const ScratchLease& scratch, ScratchFile from, const char* target) {
    const char* work = scratch.Name(ScratchFile::kEditWork);
    bool restored = CopyWithProgress(scratch.Name(from), work, JobControl());
    if (restored) CloseLoadedFile(target);
    restored = restored && PlaceFile(work, target);
    if (!restored) DeleteFileA(work);
    return restored;
}

void Empty(ScratchFile file) {
    char name[kPathSize];
    CopyScratchName(file, name);
    if (GetFileLength(name) == 0) return;
    const FileHandle emptied(CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
}

}  // namespace

bool IsUndoOn() {
    LockGuard guard(State().lock);
    return State().undo_on;
}

void SwitchUndo(bool on) {
    LockGuard guard(State().lock);
    State().undo_on = on;
}

void NoteEditBegins() {
    LockGuard guard(State().lock);
    State().last_edited[0] = 0;
}

// Copies of earlier edits go, so that nobody offers them.
void NoteEdited(const char* file, bool undo_copied) {
    Empty(ScratchFile::kRedo);
    if (!undo_copied) Empty(ScratchFile::kUndo);
    EditState& state = State();
    LockGuard guard(state.lock);
    CopyText(state.last_edited, kPathSize, file);
    state.undo_fits = undo_copied;
    state.redo_fits = false;
}

void ForgetUndo() {
    EditState& state = State();
    LockGuard guard(state.lock);
    state.undo_fits = state.redo_fits = false;
}

void ForgetUndoOf(const char* file) {
    EditState& state = State();
    LockGuard guard(state.lock);
    if (strcmp(state.last_edited, file) == 0) state.undo_fits = state.redo_fits = false;
}

uint32_t CanUndo() {
    return CanRestore(ScratchFile::kUndo);
}

uint32_t CanRedo() {
    return CanRestore(ScratchFile::kRedo);
}

uint16_t Undo() {
    char file[kPathSize];
    if (const uint16_t refused = FileOfEdit(&EditState::undo_fits, file)) return refused;
    const ScratchLease scratch;
    if (GetFileLength(scratch.Name(ScratchFile::kUndo)) == 0) return TOLVANE_NOTHING_TO_UNDO;
    SetFits(&EditState::redo_fits, false);
    if (!CopyWithProgress(file, scratch.Name(ScratchFile::kRedo), JobControl())) return TOLVANE_NO_REDO_COPY;
    if (!Restore(scratch, ScratchFile::kUndo, file)) return TOLVANE_NO_UNDO_COPY;
    SetFits(&EditState::redo_fits, true);
    return TOLVANE_OK;
}

uint16_t Redo() {
    char file[kPathSize];
    if (const uint16_t refused = FileOfEdit(&EditState::redo_fits, file)) return refused;
    const ScratchLease scratch;
    if (GetFileLength(scratch.Name(ScratchFile::kRedo)) == 0) return TOLVANE_NOTHING_TO_UNDO;
    return Restore(scratch, ScratchFile::kRedo, file) ? TOLVANE_OK : TOLVANE_NOT_REDONE;
}

}  // namespace tolvane
