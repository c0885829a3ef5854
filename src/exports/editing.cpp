// Exports: cut, copy, paste, the other edits, undo and redo.

#include "edit/start.h"
#include "edit/state.h"
#include "tolvane.h"

using tolvane::EditCall;
using tolvane::IsUsablePath;
using tolvane::StartEdit;

uint16_t TOLVANE_CALL AudioCut(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                               EditJob** job, uint32_t wait, const char* destination) {
    return StartEdit(tolvane::kCut, EditCall{fileName, start, end, unit, destination}, job, wait != 0);
}

uint16_t TOLVANE_CALL AudioCutInFile(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                     EditJob** job, uint32_t wait, const char* cutFile,
                                     const char* destination) {
    if (!IsUsablePath(cutFile)) return TOLVANE_EDIT_NOT_WRITTEN;
    return StartEdit(tolvane::kCut, EditCall{fileName, start, end, unit, destination, cutFile}, job,
                     wait != 0);
}

uint16_t TOLVANE_CALL AudioCopy(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                EditJob** job, uint32_t wait) {
    return StartEdit(tolvane::kCopy, EditCall{fileName, start, end, unit}, job, wait != 0);
}

uint16_t TOLVANE_CALL AudioCopyInFile(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                      EditJob** job, uint32_t wait, const char* copyFile) {
    if (!IsUsablePath(copyFile)) return TOLVANE_EDIT_NOT_WRITTEN;
    return StartEdit(tolvane::kCopy, EditCall{fileName, start, end, unit, copyFile}, job, wait != 0);
}

uint16_t TOLVANE_CALL AudioPaste(const char* fileName, uint32_t position, uint16_t unit, EditJob** job,
                                 uint32_t wait) {
    return AudioPasteEx(fileName, position, unit, job, wait, nullptr, nullptr);
}

uint16_t TOLVANE_CALL AudioPasteEx(const char* fileName, uint32_t position, uint16_t unit, EditJob** job,
                                   uint32_t wait, const char* pasteFile, const char* destination) {
    return StartEdit(tolvane::kPaste, EditCall{fileName, position, 0, unit, destination, pasteFile}, job,
                     wait != 0);
}

uint32_t TOLVANE_CALL AudioEditCanPaste(void) {
    return tolvane::CanPaste();
}

uint16_t TOLVANE_CALL AudioFlushCutCopyPasteBuffer(void) {
    tolvane::FlushEditFiles();
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioClear(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                 EditJob** job, uint32_t wait, const char* destination) {
    return StartEdit(tolvane::kClear, EditCall{fileName, start, end, unit, destination}, job, wait != 0);
}

uint16_t TOLVANE_CALL AudioCrop(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                EditJob** job, uint32_t wait, const char* destination) {
    return StartEdit(tolvane::kCrop, EditCall{fileName, start, end, unit, destination}, job, wait != 0);
}

uint16_t TOLVANE_CALL AudioEditMute(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                    EditJob** job, uint32_t wait, uint32_t channels,
                                    const char* destination) {
    EditCall call{fileName, start, end, unit, destination};
    call.channel_mask = channels;
    return StartEdit(tolvane::kMute, call, job, wait != 0);
}

uint16_t TOLVANE_CALL AudioEditTrimSilence(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                           EditJob** job, uint32_t wait, uint16_t level,
                                           const char* destination) {
    EditCall call{fileName, start, end, unit, destination};
    call.silence_level = level;
    return StartEdit(tolvane::kTrimSilence, call, job, wait != 0);
}

uint16_t TOLVANE_CALL AudioInsertSilence(const char* fileName, uint32_t position, uint16_t unit,
                                         EditJob** job, uint32_t wait, uint32_t durationMs,
                                         const char* destination) {
    return StartEdit(tolvane::kInsertSilence, EditCall{fileName, position, durationMs, unit, destination},
                     job, wait != 0);
}

uint16_t TOLVANE_CALL AudioEditSetUndoRedo(uint32_t on) {
    tolvane::SwitchUndo(on != 0);
    return TOLVANE_OK;
}

uint32_t TOLVANE_CALL AudioEditCanUndo(void) {
    return tolvane::CanUndo();
}

uint32_t TOLVANE_CALL AudioEditCanRedo(void) {
    return tolvane::CanRedo();
}

uint16_t TOLVANE_CALL AudioEditUndo(void) {
    return tolvane::Undo();
}

uint16_t TOLVANE_CALL AudioEditRedo(void) {
    return tolvane::Redo();
}
