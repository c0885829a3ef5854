// An open wave-in device.
#include "platform/sound/wave_in_device.h"

#include <utility>

namespace tolvane::platform {

MMRESULT WaveInDevice::Add(WAVEHDR& header) {
    const MMRESULT result = queue_.Append(header);
    if (result == MMSYSERR_NOERROR) input_->RoomAdded();
    return result;
}

void WaveInDevice::Start() {
    if (!std::exchange(running_, true)) input_->SetRunning(true);
}

void WaveInDevice::Reset() {
    if (std::exchange(running_, false)) input_->SetRunning(false);
    queue_.Reset();
}

}  // namespace tolvane::platform
