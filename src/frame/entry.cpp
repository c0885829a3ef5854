// What happens when the library is loaded and unloaded.

#include <windows.h>

#include "convert/catalogue.h"
#include "devices/closing.h"
#include "frame/callback_thread.h"
#include "frame/scratch_files.h"
#include "playback/playback.h"
#include "record/recording.h"

namespace tolvane {

namespace {

void Attach() {
    SetUpScratchFiles();
    GetNumberOfCodec();
}

void Detach() {
    BeginUnload();
    StopPlaybackAtUnload();
    StopRecordingAtUnload();
    DeleteScratchFiles();
    FreeCatalogue();
    EndCallbackThread();
    EndUnload();
}

}  // namespace

}  // namespace tolvane

// When the process ends (`reserved` is not null) the system takes everything back by itself, and other
// threads may be gone already: only the scratch files would stay.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) tolvane::Attach();
    if (reason == DLL_PROCESS_DETACH && !reserved) tolvane::Detach();
    if (reason == DLL_PROCESS_DETACH && reserved) tolvane::DeleteScratchFiles();
    return TRUE;
}
