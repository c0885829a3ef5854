// The input device of the recording and its buffers. The caller holds the recording's lock.
#pragma once

#include "record/recording.h"

namespace tolvane {

// Whether the selected input device can record this.
bool QueryInputFormat(const WAVEFORMATEX& format);

// Opens it for the recording's format, with the callback thread as its target.
bool OpenInputDevice(Recording& recording);
void CloseInputDevice(Recording& recording);
bool StartInputDevice(Recording& recording);
bool ResetInputDevice(Recording& recording);

// Returns how many buffers there are.
uint16_t AllocateRecordBuffers(Recording& recording);
void FreeRecordBuffers(Recording& recording);

// Gives all buffers to the device; one that it does not take is left out.
void QueueRecordBuffers(Recording& recording);
bool QueueRecordBuffer(Recording& recording, WaveBuffer& buffer);

// A buffer that came back; none where the device still has it.
WaveBuffer* TakeBack(Recording& recording, const WAVEHDR* header);

}  // namespace tolvane
