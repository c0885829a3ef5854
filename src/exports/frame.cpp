// Exports: callback window and temp folder.

#include "frame/callback_thread.h"
#include "frame/scratch_files.h"
#include "tolvane.h"

void TOLVANE_CALL SetCallbackWindow(void* window) {
    tolvane::SetCallbackWindow(static_cast<HWND>(window));
}

uint32_t TOLVANE_CALL SetTempPath(const char* folder) {
    return tolvane::SetTempPath(folder);
}
