// The closing of a wave device, which can wait for the loader's lock. Who unloads the library holds that lock, and waits
// for the thread that closes.
#pragma once

#include <windows.h>
#include <mmsystem.h>

namespace tolvane {

// kGoesOn: at unload, when the system takes too long.
enum class Closing { kDone, kRefused, kGoesOn };

// Has a thread close the device that runs nothing but the system's own code.
Closing CloseApart(LPTHREAD_START_ROUTINE close, void* device);

template <class Handle>
Closing CloseApart(MMRESULT(WINAPI* close)(Handle), Handle device) {
    return CloseApart(reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(close)), device);
}

// The library is being unloaded: from now on no closing is waited for for long, and nothing is asked of the loader.
void BeginUnload();
bool IsUnloading();

// Keeps the system's part loaded where a closing still goes on.
void EndUnload();

}  // namespace tolvane
