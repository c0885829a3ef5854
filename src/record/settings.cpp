#include "record/settings.h"

#include "frame/immortal.h"

namespace tolvane {

RecordSettings& TheRecordSettings() {
    return Immortal<RecordSettings>();
}

WAVEFORMATEX RecordFormat() {
    const RecordSettings& settings = TheRecordSettings();
    WAVEFORMATEX format = {};
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = settings.channels;
    format.nSamplesPerSec = settings.sample_rate;
    format.wBitsPerSample = settings.bits;
    const DWORD block = format.nChannels * (format.wBitsPerSample / DWORD{8});
    format.nBlockAlign = static_cast<WORD>(block);
    format.nAvgBytesPerSec = format.nSamplesPerSec * block;
    return format;
}

}  // namespace tolvane
