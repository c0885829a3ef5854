// An open input of the sound server's card.
#include "platform/sound/server_input.h"

#include <algorithm>
#include <cstring>

namespace tolvane::platform {
namespace {

// How much the server gathers before it sends it: this process wakes so often while it records, a header comes
// back so much late at worst, and an end waits no longer.
constexpr pa_usec_t kPiece = 50 * PA_USEC_PER_MSEC;
// A source that pauses sends no piece: an end waits no longer than this.
constexpr pa_usec_t kLongestEnd = 3 * kPiece;
// Parts of one piece come together within this time.
constexpr pa_usec_t kTogether = 2 * PA_USEC_PER_MSEC;
// What came while there was no header is kept so long for the next one.
constexpr pa_usec_t kKept = PA_USEC_PER_SEC;

}  // namespace

MMRESULT ServerInput::Open(const char* source) {
    pa_stream* const stream = stream_.Make("wave input", queue_.Format());
    if (!stream) return MMSYSERR_NOMEM;
    constexpr auto state = [](pa_stream*, void* self) { static_cast<ServerInput*>(self)->StateChanged(); };
    constexpr auto came = [](pa_stream*, size_t, void* self) {
        static_cast<ServerInput*>(self)->PieceCame();
    };
    pa_stream_set_state_callback(stream, state, this);
    pa_stream_set_read_callback(stream, came, this);
    const auto piece = static_cast<uint32_t>(BytesInTime(queue_.Format(), kPiece));
    const pa_buffer_attr sizes = {UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX,
                                  std::max<uint32_t>(piece, queue_.Format().frame_bytes)};
    constexpr int flags = PA_STREAM_START_CORKED | PA_STREAM_ADJUST_LATENCY;
    if (pa_stream_connect_record(stream, source, &sizes, static_cast<pa_stream_flags_t>(flags)) < 0)
        return MMSYSERR_NODRIVER;
    return stream_.AwaitConnection();
}

void ServerInput::Close() {
    const ServerLock lock;
    stream_.End();
    server_.Signal();
}

void ServerInput::StateChanged() {
    server_.Signal();
    if (stream_.HasFailed()) queue_.Lost();
}

void ServerInput::SetRunning(bool running) {
    running_ = running;
    running ? Start() : End();
}

void ServerInput::Start() {
    wanted_ = UINT64_MAX;
    skip_ = 0;
    begun_ = false;
    first_at_ = 0;
    started_at_ = came_at_ = pa_rtclock_now();
    stream_.Cork(false);
}

void ServerInput::End() {
    Read();
    wanted_ = queue_.Format().BytesIn(std::min(pa_rtclock_now() - came_at_, kLongestEnd) * 1000);
    server_.WaitUntil([this] { return running_ || wanted_ == 0 || queue_.Empty() || stream_.HasFailed(); },
                      kLongestEnd);
    if (running_) return;
    wanted_ = 0;
    Read();
    stream_.Cork(true);
}

void ServerInput::PieceCame() {
    const size_t readable = pa_stream_readable_size(stream_.Get()) - read_;
    came_at_ = pa_rtclock_now();
    if (first_at_ == 0) first_at_ = came_at_;
    if (!begun_ && came_at_ - first_at_ < kTogether) {
        const uint64_t heard = queue_.Format().BytesIn((first_at_ - started_at_) * 1000);
        skip_ = readable - std::min<uint64_t>(readable, heard);
        if (running_) return;  // it is cut as a whole: read with the next one
    }
    const bool too_old = readable > queue_.Format().BytesIn(kKept * 1000);
    if (too_old && queue_.Empty()) skip_ = readable;
    Read();
    if (!running_) server_.Signal();
}

void ServerInput::Read() {
    const void* piece = nullptr;
    size_t bytes = 0;
    while (stream_.Works() && pa_stream_peek(stream_.Get(), &piece, &bytes) == 0 && bytes > 0) {
        TakeFrom(static_cast<const std::byte*>(piece), bytes);
        if (read_ < bytes) return;
        pa_stream_drop(stream_.Get());
        read_ = 0;
    }
}

// Goes on in a piece as far as there is room. A piece without bytes is a hole, where the server lost some.
void ServerInput::TakeFrom(const std::byte* piece, size_t bytes) {
    while (read_ < bytes) {
        size_t part = bytes - read_;
        if (wanted_ > 0 && skip_ > 0) {
            part = std::min(part, skip_);
            skip_ -= part;
        } else if (wanted_ > 0) {
            const auto room = queue_.Room();
            if (room.empty()) return;
            part = std::min({part, room.size(), static_cast<size_t>(wanted_)});
            piece ? memcpy(room.data(), piece + read_, part)
                  : memset(room.data(), queue_.Format().Silence(), part);
            wanted_ -= part;
            begun_ = true;
            queue_.Record(part);
        }
        read_ += part;
    }
}

}  // namespace tolvane::platform
