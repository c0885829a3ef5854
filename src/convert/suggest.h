// The search for a PCM format into which a compressed sound can be decoded.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include "tolvane.h"

namespace tolvane {

// Asks the codecs in the system's order for a PCM format for `source`; the first that knows one is taken, and
// what it left 0 is completed. `file` is rewound to its start. Results: TOLVANE_OK; TOLVANE_NO_FORMAT_SIZE;
// TOLVANE_NO_FORMAT_MEMORY; TOLVANE_NO_PCM_SUGGESTION.
TolvaneResult SuggestPcmFormat(HMMIO file, const WAVEFORMATEX* source, WAVEFORMATEX* out);

}  // namespace tolvane
