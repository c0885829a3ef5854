// Clear takes the selection out, crop keeps nothing else, mute silences channels in it.
#include "edit/engine.h"

namespace tolvane {

namespace {

uint16_t CheckSelection(const Edit& edit, uint16_t nothing_selected) {
    if (edit.low == edit.high) return nothing_selected;
    if (edit.high > edit.data_size) return TOLVANE_BEYOND_END;
    return edit.HasRoom() ? TOLVANE_OK : TOLVANE_DISK_FULL;
}

uint16_t CheckClear(Edit& edit) {
    return CheckSelection(edit, TOLVANE_NOTHING_SELECTED);
}

uint16_t CheckCrop(Edit& edit) {
    return CheckSelection(edit, TOLVANE_NOTHING_TO_CROP);
}

uint16_t PlanClear(Edit& edit) {
    AddFromFile(edit, 0, edit.low);
    AddFromFile(edit, edit.high, edit.data_size);
    return TOLVANE_OK;
}

uint16_t PlanCrop(Edit& edit) {
    AddFromFile(edit, edit.low, edit.high);
    return TOLVANE_OK;
}

uint16_t PlanMute(Edit& edit) {
    AddFromFile(edit, 0, edit.low);
    Piece muted = {Piece::From::kFileMuted, false, edit.low, edit.high};
    muted.meter = {0, 100, edit.low, edit.data_size};
    edit.Add(muted);
    AddFromFile(edit, edit.high, edit.data_size);
    return TOLVANE_OK;
}

}  // namespace

const EditOperation kClear = {true, nullptr, CheckClear, PlanClear};
const EditOperation kCrop = {true, nullptr, CheckCrop, PlanCrop};
const EditOperation kMute = {true, nullptr, CheckClear, PlanMute};

}  // namespace tolvane
