// Exports: what a host asks about an edit or a change of format in the background.

#include "edit/job.h"
#include "tolvane.h"

uint16_t TOLVANE_CALL AudioEditCancelPressed(EditJob* job) {
    tolvane::CancelEditJob(job);
    return TOLVANE_OK;
}

uint32_t TOLVANE_CALL AudioEditProcessIsOver(EditJob* job) {
    return tolvane::IsEditJobOver(job);
}

uint32_t TOLVANE_CALL AudioEditGetProcessProgress(EditJob* job) {
    return tolvane::GetEditJobProgress(job);
}

uint16_t TOLVANE_CALL AudioEditGetReasonForProcessExit(EditJob* job) {
    return tolvane::GetEditJobReason(job);
}

uint16_t TOLVANE_CALL AudioEditCloseHandle(EditJob** job) {
    tolvane::CloseEditJob(job);
    return TOLVANE_OK;
}
