// MPEG Layer-3 streams: PCM into frames and frames into PCM.
#ifndef TOLVANE_PLATFORM_CODECS_MPEG_STREAMS_H
#define TOLVANE_PLATFORM_CODECS_MPEG_STREAMS_H

#include "platform/codecs/formats.h"
#include "platform/codecs/stream.h"

namespace tolvane::platform {

// Samples of one channel in one frame, and the fewest bytes that such a frame has, at these sample rates.
constexpr DWORD MpegFrameSamples(DWORD rate) {
    return rate >= 32'000 ? 1'152 : 576;
}
constexpr DWORD LeastMpegFrame(DWORD rate) {
    return rate >= 32'000 ? 144 * 32'000 / rate : 72 * 8'000 / rate;
}

// Null when the bit rate that `mpeg` asks for is none.
std::unique_ptr<Stream> OpenMpegEncoder(const FormatView& pcm, const FormatView& mpeg);
std::unique_ptr<Stream> OpenMpegDecoder(const FormatView& pcm);

}  // namespace tolvane::platform
#endif
