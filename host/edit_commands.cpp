// `tolvane cut`, `copy`, `paste`, `clear`, `crop`, `mute`, `trim` and `silence`: one edit of a file, in place or into
// another file.
#include <tolvane.h>

#include <fmt/format.h>

#include "commands.h"
#include "conversion_files.h"
#include "edit_step.h"
#include "message_window.h"
#include "result_text.h"
#include "work_file.h"

namespace tolvane::host {
namespace {

// What is cut or copied goes to a file of its own.
int CheckReceiver(const EditStep& step, bool yes) {
    if (step.other.empty() || step.kind == EditKind::kPaste) return kExitDone;
    if (IsSameFile(step.other, step.file))
        return ReportFailure("cannot write", step.other, "It is the file that is edited.",
                             "Name another file.");
    if (!step.target.empty() && IsSameFile(step.other, step.target))
        return ReportFailure("cannot write", step.other, "The edited sound goes to the same file.",
                             "Name two files.");
    return CheckNewFile(step.other, yes);
}

// The library has one code for all that can be wrong with it.
int CheckPasted(const EditStep& step) {
    SoundFormat sound;
    if (step.kind != EditKind::kPaste) return kExitDone;
    const auto code = ReadSound(step.other, sound);
    return code == TOLVANE_OK ? kExitDone : ReportFileFailure("cannot paste", step.other, code);
}

int CheckFiles(const EditStep& step, bool yes) {
    if (const int failed = CheckPasted(step)) return failed;
    if (const int failed = CheckReceiver(step, yes)) return failed;
    return step.target.empty() ? kExitDone : CheckNewFile(step.target, yes);
}

EditStep StepOf(const EditRequest& request, const SoundFormat& sound) {
    EditStep step;
    step.kind = request.kind;
    step.file = request.file;
    step.start = BytesAt(sound, request.start);
    step.end = BytesAt(sound, request.end);
    step.other = request.other;
    step.target = request.target;
    step.channels = request.channels;
    step.level = request.level;
    step.milliseconds = MillisecondsOf(sound, request.length);
    return step;
}

void Say(const std::string& path) {
    SoundFormat sound;
    if (ReadSound(path, sound) == TOLVANE_OK)
        fmt::print("{}: {}, {}\n", path, FormatText(sound.format), LengthText(sound));
}

void SayWhatWasWritten(const EditStep& step) {
    if (ChangesTheFile(step.kind)) Say(step.target.empty() ? step.file : step.target);
    if (!step.other.empty() && step.kind != EditKind::kPaste) Say(step.other);
}

}  // namespace

int RunEdit(const EditRequest& request) {
    MessageWindow window;
    SoundFormat sound;
    if (const auto code = ReadSound(request.file, sound); code != TOLVANE_OK)
        return ReportFileFailure(fmt::format("cannot {}", NameOf(request.kind)), request.file, code);
    const EditStep step = StepOf(request, sound);
    if (const int failed = CheckFiles(step, request.yes)) return failed;
    AudioEditSetUndoRedo(0);  // nobody could undo when the program is over
    if (const uint16_t code = PerformEdit(step, window, request.quiet); code != TOLVANE_OK)
        return ReportEditFailure(step, code, request.quiet);
    if (!request.quiet) SayWhatWasWritten(step);
    return kExitDone;
}

}  // namespace tolvane::host
