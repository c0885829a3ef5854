#include "record/settings.h"

#include "frame/immortal.h"

namespace tolvane {

RecordSettings& TheRecordSettings() {
    return Immortal<RecordSettings>();
}

}  // namespace tolvane
