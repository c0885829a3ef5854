// The frames of MPEG Layer-3.
#ifndef TOLVANE_PLATFORM_CODECS_MPEG_FRAMES_H
#define TOLVANE_PLATFORM_CODECS_MPEG_FRAMES_H

#include <windows.h>

namespace tolvane::platform {

// Samples of one channel in one frame, and the fewest bytes that such a frame has, at these sample rates.
constexpr DWORD MpegFrameSamples(DWORD rate) {
    return rate >= 32'000 ? 1'152 : 576;
}
constexpr DWORD LeastMpegFrame(DWORD rate) {
    return rate >= 32'000 ? 144 * 32'000 / rate : 72 * 8'000 / rate;
}

}  // namespace tolvane::platform
#endif
