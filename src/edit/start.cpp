#include "edit/start.h"

#include <cstring>

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
uint16_t Fill(EditJob& record, const EditCall& call) {
    if (!Keep(record.second_file, call.second_file)) return TOLVANE_NOT_PUT_IN_PLACE;
    if (!Keep(record.third_file, call.third_file)) return TOLVANE_NOTHING_TO_PASTE;
    char file[kPathSize];
    if (const uint16_t refused = SettleFileToEdit(call.file, file)) return refused;
    if (!Keep(record.file, file)) return TOLVANE_CANNOT_OPEN;
    record.start = call.start;
    record.end = call.end;
    record.unit = call.unit;
    record.channel_mask = call.channel_mask;
    record.silence_level = call.silence_level;
    return TOLVANE_OK;
}

void CopyRequest(EditJob& to, const EditJob& from) {
    memcpy(to.file, from.file, sizeof to.file);
    memcpy(to.second_file, from.second_file, sizeof to.second_file);
    memcpy(to.third_file, from.third_file, sizeof to.third_file);
    to.start = from.start;
    to.end = from.end;
    to.unit = from.unit;
    to.channel_mask = from.channel_mask;
    to.silence_level = from.silence_level;
}

template <const EditOperation& operation>
unsigned __stdcall EditInBackground(void* record) {
    auto* job = static_cast<EditJob*>(record);
    FinishEditJob(job, RunEdit(operation, *job, ControlOf(*job)));
    EndWorker();
}

WorkerMain WorkerOf(const EditOperation& operation) {
    static constexpr struct {
        const EditOperation& operation;
        WorkerMain worker;
    } kWorkers[] = {{kCut, EditInBackground<kCut>},
                    {kCopy, EditInBackground<kCopy>},
                    {kPaste, EditInBackground<kPaste>},
                    {kClear, EditInBackground<kClear>},
                    {kCrop, EditInBackground<kCrop>},
                    {kMute, EditInBackground<kMute>},
                    {kTrimSilence, EditInBackground<kTrimSilence>},
                    {kInsertSilence, EditInBackground<kInsertSilence>}};
    for (const auto& one : kWorkers)
        if (&one.operation == &operation) return one.worker;
    return nullptr;
}

}  // namespace

uint16_t StartEdit(const EditOperation& operation, const EditCall& call, EditJob** handle, bool wait) {
    EditJob here;
    if (const uint16_t refused = Fill(here, call)) return refused;
    if (operation.modifies) NoteEditBegins();
    if (wait) return RunEdit(operation, here, JobControl());
    if (handle) *handle = nullptr;
    EditJobOwner background = NewEditJob(0);
    if (!background) return TOLVANE_OK;
    CopyRequest(*background, here);
    StartEditJob(std::move(background), WorkerOf(operation), handle);
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
