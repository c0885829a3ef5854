// `tolvane edit`: a session on a file, its lines from a person in a terminal or from a script.
#include <io.h>
#include <platform.h>
#include <tolvane.h>

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <iostream>

#include "copy_file.h"
#include "edit_session.h"
#include "line_editor.h"
#include "result_text.h"
#include "sound_devices.h"
#include "work_file.h"

namespace tolvane::host {
namespace {

int PrepareSound(const SessionRequest& request) {
    if (const int failed = UseCard(request.card)) return failed;
    if (!request.into.empty()) {
        if (IsSameFile(request.into, request.file) || IsSameFile(request.into, request.target))
            return ReportFailure("cannot write", request.into, "It is the file that is edited.",
                                 "Name another file with --into.");
        PlatformVirtualKeepPlayed(0, 0);
        if (!PlatformVirtualPlayInto(0, request.into.c_str()))
            return ReportFailure("cannot write", request.into, "The virtual card does not take this file.",
                                 "Name another file with --into.");
    }
    return SelectOutput(request.device);
}

int DoLine(EditSession& session, const std::string& line) {
    const auto words = SplitLine(line);
    if (words) return session.Do(*words);
    ReportFailure("cannot do", line, "A quote is not closed.", "");
    return kExitBadArguments;
}

// A mistake does not end it.
int Converse(EditSession& session, MessageWindow& window, const std::string& file) {
    LineEditor editor(EditSession::Complete);
    const std::string prompt = file.substr(file.find_last_of("/\\") + 1) + "> ";
    fmt::print("`help` lists the commands. Every edit changes the file at once; `undo` takes it back.\n");
    while (!session.IsOver()) {
        const auto line = editor.Read(prompt);
        if (!line) break;
        window.HeedInterruptAgain();
        DoLine(session, *line);
        std::fflush(stdout);
    }
    return kExitDone;
}

// The first failure ends it.
int RunScript(EditSession& session, MessageWindow& window) {
    std::string line;
    for (unsigned number = 1; !session.IsOver() && std::getline(std::cin, line); ++number) {
        if (const int failed = DoLine(session, line)) {
            std::fflush(stdout);
            fmt::print(stderr, "tolvane: the script stopped in line {}: {}\n", number, line);
            return failed;
        }
        window.Wait(std::chrono::milliseconds(0));
        if (window.WasInterrupted()) return kExitInterrupted;
    }
    return kExitDone;
}

}  // namespace

int RunSession(const SessionRequest& request) {
    MessageWindow window;
    const bool typed = _isatty(_fileno(stdin)) && _isatty(_fileno(stdout));
    const std::string& file = request.target.empty() ? request.file : request.target;
    SoundFormat sound;
    uint16_t code = ReadSound(request.file, sound);
    if (code == TOLVANE_OK && !sound.IsPcm()) code = TOLVANE_EDIT_NOT_PCM;
    if (code != TOLVANE_OK) return ReportFileFailure("cannot edit", request.file, code);
    if (const int failed = PrepareSound(request)) return failed;
    if (!request.target.empty())
        if (const int failed = CopyWhole(request.file, request.target, request.yes)) return failed;
    EditSession session(file, window, !typed);
    if (const int failed = session.Open()) return failed;
    return typed ? Converse(session, window, file) : RunScript(session, window);
}

}  // namespace tolvane::host
