#include "record/settings.h"

#include "files/pcm_format.h"
#include "frame/immortal.h"

namespace tolvane {

RecordSettings& TheRecordSettings() {
    return Immortal<RecordSettings>();
}

WAVEFORMATEX RecordFormat() {
    const RecordSettings& settings = TheRecordSettings();
    return PcmFormat(settings.channels, settings.sample_rate, settings.bits);
}

}  // namespace tolvane
