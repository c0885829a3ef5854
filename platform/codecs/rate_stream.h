// PCM at another sample rate, with other bits and channels on the way.
#ifndef TOLVANE_PLATFORM_CODECS_RATE_STREAM_H
#define TOLVANE_PLATFORM_CODECS_RATE_STREAM_H

#include "platform/codecs/formats.h"
#include "platform/codecs/stream.h"

namespace tolvane::platform {

// Null when the rates are too far apart, and without the module that changes rates.
std::unique_ptr<Stream> OpenRateStream(const FormatView& source, const FormatView& target);

}  // namespace tolvane::platform
#endif
