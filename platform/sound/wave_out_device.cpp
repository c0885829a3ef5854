// An open wave-out device.
#include "platform/sound/wave_out_device.h"

#include <utility>

namespace tolvane::platform {

MMRESULT WaveOutDevice::Append(WAVEHDR& header) {
    if (!decoder_) return queue_.Append(header);
    std::vector<uint8_t> sound;
    const auto* const bytes = reinterpret_cast<const uint8_t*>(header.lpData);
    const MMRESULT result = decoder_->Decode({bytes, header.dwBufferLength}, sound);
    return result ? result : queue_.Append(header, std::move(sound));
}

MMRESULT WaveOutDevice::Add(WAVEHDR& header) {
    const MMRESULT result = Append(header);
    if (result == MMSYSERR_NOERROR) output_->Filled();
    return result;
}

void WaveOutDevice::SetPaused(bool paused) {
    if (paused == paused_ || queue_.IsLost()) return;
    paused_ = paused;
    output_->SetPaused(paused);
}

void WaveOutDevice::Reset() {
    queue_.Reset();
    if (decoder_) decoder_->Restart();
    output_->Flush();
    SetPaused(false);
}

}  // namespace tolvane::platform
