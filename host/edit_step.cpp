// One edit of a file.
#include "edit_step.h"

#include <fmt/format.h>

#include "commands.h"
#include "job_screen.h"
#include "result_text.h"

namespace tolvane::host {
namespace {

struct KindText {
    EditKind kind;
    std::string_view name, doing;
    uint16_t nothing_selected = TOLVANE_NOTHING_SELECTED;
};

constexpr KindText kKinds[] = {
    {EditKind::kCut, "cut", "Cutting", TOLVANE_NOTHING_TO_CUT},
    {EditKind::kCopy, "copy", "Copying", TOLVANE_NOTHING_TO_COPY},
    {EditKind::kPaste, "paste", "Pasting"},
    {EditKind::kClear, "clear", "Clearing"},
    {EditKind::kCrop, "crop", "Cropping", TOLVANE_NOTHING_TO_CROP},
    {EditKind::kMute, "mute", "Muting"},
    {EditKind::kTrim, "trim", "Trimming"},
    {EditKind::kSilence, "silence", "Inserting"},
};

const KindText& TextOf(EditKind kind) {
    return kKinds[static_cast<size_t>(kind)];
}

uint16_t BeginCut(const EditStep& step, EditJob** job) {
    const char *file = step.file.c_str(), *target = step.target.c_str();
    return step.other.empty() ? AudioCut(file, step.start, step.end, TOLVANE_BYTES, job, 0, target)
                              : AudioCutInFile(file, step.start, step.end, TOLVANE_BYTES, job, 0,
                                               step.other.c_str(), target);
}

uint16_t BeginCopy(const EditStep& step, EditJob** job) {
    const char* file = step.file.c_str();
    return step.other.empty()
               ? AudioCopy(file, step.start, step.end, TOLVANE_BYTES, job, 0)
               : AudioCopyInFile(file, step.start, step.end, TOLVANE_BYTES, job, 0, step.other.c_str());
}

uint16_t Begin(const EditStep& step, EditJob** job) {
    const char *file = step.file.c_str(), *target = step.target.c_str();
    switch (step.kind) {
        case EditKind::kCut:
            return BeginCut(step, job);
        case EditKind::kCopy:
            return BeginCopy(step, job);
        case EditKind::kPaste:
            return AudioPasteEx(file, step.start, TOLVANE_BYTES, job, 0, step.other.c_str(), target);
        case EditKind::kClear:
            return AudioClear(file, step.start, step.end, TOLVANE_BYTES, job, 0, target);
        case EditKind::kCrop:
            return AudioCrop(file, step.start, step.end, TOLVANE_BYTES, job, 0, target);
        case EditKind::kMute:
            return AudioEditMute(file, step.start, step.end, TOLVANE_BYTES, job, 0, step.channels, target);
        case EditKind::kTrim:
            return AudioEditTrimSilence(file, step.start, step.end, TOLVANE_BYTES, job, 0, step.level,
                                        target);
        case EditKind::kSilence:
            return AudioInsertSilence(file, step.start, TOLVANE_BYTES, job, 0, step.milliseconds, target);
    }
    return TOLVANE_NO_MEMORY;
}

// The file that a code speaks of.
const std::string& Concerned(const EditStep& step, uint16_t code) {
    const bool pasted = code == TOLVANE_NO_PASTE_FILE || code == TOLVANE_NOTHING_TO_PASTE ||
                        code == TOLVANE_PASTE_NOT_FITTING;
    if (pasted && !step.other.empty()) return step.other;
    return code == TOLVANE_NOT_PUT_IN_PLACE && !step.target.empty() ? step.target : step.file;
}

// What the code leaves open, where the file tells.
std::string AdviceFor(const EditStep& step, uint16_t code) {
    SoundFormat sound;
    if (ReadSound(step.file, sound) != TOLVANE_OK) return "";
    if (code == TOLVANE_BEYOND_END)
        return fmt::format("The sound is {} long; `end` names its end.", TimeText(sound.Milliseconds(), 3));
    if (code == TOLVANE_PASTE_NOT_FITTING)
        return fmt::format("It has to be {}: `tolvane convert --pcm` makes it so.", ShapeText(sound.Shape()));
    if (code == TOLVANE_EDIT_NOT_WRITTEN && sound.IsCutOff())
        return "The file ends before its sound does: make it anew, it is damaged.";
    return "";
}

}  // namespace

std::string_view NameOf(EditKind kind) {
    return TextOf(kind).name;
}

uint16_t NothingSelectedCode(EditKind kind) {
    return TextOf(kind).nothing_selected;
}

std::optional<EditKind> FindEdit(std::string_view name) {
    for (const KindText& one : kKinds)
        if (one.name == name) return one.kind;
    return std::nullopt;
}

uint16_t PerformEdit(const EditStep& step, MessageWindow& window, bool quiet) {
    JobScreen screen(window, std::string(TextOf(step.kind).doing), quiet);
    EditingJob job([&step](EditJob** handle) { return Begin(step, handle); });
    screen.Follow(job);
    return job.Result();
}

int ReportEditFailure(const EditStep& step, uint16_t code, bool quiet) {
    if (code != TOLVANE_CANCELLED)
        return ReportFileFailure(fmt::format("cannot {}", NameOf(step.kind)), Concerned(step, code), code,
                                 AdviceFor(step, code));
    if (!quiet) fmt::print("Stopped; {} is as it was.\n", step.file);
    return kExitInterrupted;
}

}  // namespace tolvane::host
