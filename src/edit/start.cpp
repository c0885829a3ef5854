#include "edit/start.h"

#include "edit/front_checks.h"
#include "edit/state.h"
#include "files/inspect.h"

namespace tolvane {

namespace {

// Cut, it would name another file.
bool IsTooLong(const char* path) {
    return path && !IsBounded(path);
}

void Fill(EditJob& record, const EditCall& call) {
    const auto copy = [](char(&to)[kPathSize], const char* from) {
        CopyText(to, kPathSize, from ? from : "");
    };
    copy(record.second_file, call.second_file);
    copy(record.third_file, call.third_file);
    record.start = call.start;
    record.end = call.end;
    record.unit = call.unit;
    record.channel_mask = call.channel_mask;
    record.silence_level = call.silence_level;
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
    char file[kPathSize];
    if (IsTooLong(call.second_file)) return TOLVANE_NOT_PUT_IN_PLACE;
    if (IsTooLong(call.third_file)) return TOLVANE_NOTHING_TO_PASTE;
    if (const uint16_t refused = SettleFileToEdit(call.file, file)) return refused;
    if (operation.modifies) NoteEditBegins();
    EditJob here;
    EditJobOwner background = wait ? nullptr : NewEditJob(0);
    if (!wait && handle) *handle = nullptr;
    if (!wait && !background) return TOLVANE_OK;
    EditJob& record = wait ? here : *background;
    CopyText(record.file, kPathSize, file);
    Fill(record, call);
    if (wait) return RunEdit(operation, record, JobControl());
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
