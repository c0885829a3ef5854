// Cut takes the selection into another file, copy leaves it where it is as well.
#include <cstring>

#include "edit/engine.h"

namespace tolvane {

namespace {

const char* CutFile(const Edit& edit) {
    return OrClipboard(edit, edit.request.third_file);
}

const char* CopyTarget(const Edit& edit) {
    return OrClipboard(edit, edit.request.second_file);
}

uint16_t CheckCut(Edit& edit) {
    if (edit.low == edit.high) return TOLVANE_NOTHING_TO_CUT;
    if (edit.high > edit.data_size) return TOLVANE_BEYOND_END;
    if (!edit.HasRoom()) return TOLVANE_DISK_FULL;
    // What is taken must not be overwritten by what is left, nor the other way round.
    const char *taken = CutFile(edit), *destination = edit.request.second_file;
    const bool lost = IsSameFile(taken, edit.request.file) || IsSameFile(taken, destination) ||
                      strcmp(taken, destination) == 0;
    return lost ? TOLVANE_EDIT_NOT_WRITTEN : TOLVANE_OK;
}

uint16_t CheckCopy(Edit& edit) {
    if (edit.low == edit.high) return TOLVANE_NOTHING_TO_COPY;
    if (!edit.HasRoom()) return TOLVANE_DISK_FULL;
    if (edit.high > edit.data_size) return TOLVANE_BEYOND_END;
    return IsSameFile(CopyTarget(edit), edit.request.file) ? TOLVANE_EDIT_NOT_WRITTEN : TOLVANE_OK;
}

uint16_t PlanTaken(Edit& edit) {
    AddFromFile(edit, edit.low, edit.high);
    edit.pieces[edit.piece_count - 1].taken = true;
    return TOLVANE_OK;
}

uint16_t PlanCut(Edit& edit) {
    AddFromFile(edit, 0, edit.low);
    PlanTaken(edit);
    AddFromFile(edit, edit.high, edit.data_size);
    return TOLVANE_OK;
}

}  // namespace

const EditOperation kCut = {true, CutFile, CheckCut, PlanCut};
const EditOperation kCopy = {false, CopyTarget, CheckCopy, PlanTaken};

}  // namespace tolvane
