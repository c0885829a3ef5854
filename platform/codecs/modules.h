// The streams whose arithmetic is a library's: each library has a module, which is loaded with the first stream that needs
// it. What drivers tell of themselves needs none.
#ifndef TOLVANE_PLATFORM_CODECS_MODULES_H
#define TOLVANE_PLATFORM_CODECS_MODULES_H

#include "platform/codecs/driver.h"
#include "platform/codecs/rate_changer.h"

namespace tolvane::platform {

// Null also where the module cannot be loaded: there is no conversion then.
StreamOpener OpenGsm610, OpenMpegDecoder, OpenMpegEncoder;
RateChangerMaker MakeRateChanger;

}  // namespace tolvane::platform
#endif
