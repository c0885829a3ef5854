#include "edit/start.h"

#include <utility>

#include "edit/front_checks.h"
#include "edit/state.h"
#include "files/inspect.h"

namespace tolvane {

namespace {

// The whole name, because the current folder may be another when a job opens it; empty for null and empty. False where
// it does not fit.
bool Keep(char (&kept)[kPathSize], const char* path) {
    kept[0] = 0;
    return IsEmpty(path) || CopyFullPath(kept, path);
}

// A result code.
uint16_t Fill(EditJob& record, const EditOperation& operation, const EditCall& call) {
    if (!Keep(record.second_file, call.second_file))
        return operation.modifies ? TOLVANE_NOT_PUT_IN_PLACE : TOLVANE_EDIT_NOT_WRITTEN;
    if (!Keep(record.third_file, call.third_file))
        return operation.taken ? TOLVANE_EDIT_NOT_WRITTEN : TOLVANE_NOTHING_TO_PASTE;
    char file[kPathSize];
    if (const uint16_t refused = SettleFileToEdit(call.file, file)) return refused;
    if (!Keep(record.file, file)) return TOLVANE_CANNOT_OPEN;
    record.start = call.start;
    record.end = call.end;
    record.unit = call.unit;
    record.channel_mask = call.channel_mask;
    record.silence_level = call.silence_level;
    record.operation = &operation;
    return TOLVANE_OK;
}

unsigned __stdcall EditInBackground(void* record) {
    auto* job = static_cast<EditJob*>(record);
    FinishEditJob(job, RunEdit(*job->operation, *job, ControlOf(*job)));
    EndWorker();
}

}  // namespace

// What is refused is refused without memory for a job as well.
uint16_t StartEdit(const EditOperation& operation, const EditCall& call, EditJob** handle, bool wait) {
    EditJob here;
    EditJobOwner background = wait ? nullptr : NewEditJob(0);
    EditJob& record = background ? *background : here;
    if (const uint16_t refused = Fill(record, operation, call)) return refused;
    if (operation.modifies) NoteEditBegins();
    if (wait) return RunEdit(operation, record, JobControl());
    if (handle) *handle = nullptr;
    if (background) StartEditJob(std::move(background), EditInBackground, handle);
    return TOLVANE_OK;
}

void FlushEditFiles() {
    constexpr ScratchFile kFlushed[] = {ScratchFile::kClipboard, ScratchFile::kUndo, ScratchFile::kRedo,
                                        ScratchFile::kEditWork};
    ForgetUndo();
    for (const ScratchFile file : kFlushed) {
        char name[kPathSize];
        CopyScratchName(file, name);
        if (*name) DeleteFileA(name);
        RenewScratchFile(file);
    }
}

uint32_t CanPaste() {
    char clipboard[kPathSize];
    CopyScratchName(ScratchFile::kClipboard, clipboard);
    return GetFileLength(clipboard) > 0;
}

}  // namespace tolvane
