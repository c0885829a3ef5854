// A stream between this process and the sound server.
#include "platform/sound/server_stream.h"

#include <utility>

namespace tolvane::platform {
namespace {

pa_sample_format_t SampleFormat(uint16_t bits) {
    switch (bits) {
        case 8:
            return PA_SAMPLE_U8;
        case 16:
            return PA_SAMPLE_S16LE;
        case 24:
            return PA_SAMPLE_S24LE;
        case 32:
            return PA_SAMPLE_S32LE;
        default:
            return PA_SAMPLE_INVALID;
    }
}

}  // namespace

bool IsTakenByServer(const PcmFormat& format) {
    return format.channels <= PA_CHANNELS_MAX && format.rate <= PA_RATE_MAX &&
           SampleFormat(format.bits) != PA_SAMPLE_INVALID;
}

int64_t BytesInTime(const PcmFormat& format, pa_usec_t time) {
    return static_cast<int64_t>(format.BytesIn(time * 1000));
}

ServerStream::~ServerStream() {
    const ServerLock lock;
    End();
}

pa_stream* ServerStream::Make(const char* name, const PcmFormat& format) {
    const pa_sample_spec spec = {SampleFormat(format.bits), format.rate,
                                 static_cast<uint8_t>(format.channels)};
    pa_channel_map map;
    pa_channel_map_init_extend(&map, spec.channels, PA_CHANNEL_MAP_WAVEEX);
    context_ = pa_context_ref(server_.Context());
    return stream_ = pa_stream_new(context_, name, &spec, &map);
}

MMRESULT ServerStream::AwaitConnection() {
    if (!server_.WaitUntil([&] { return Works() || HasFailed(); })) return MMSYSERR_NODRIVER;
    if (Works()) return MMSYSERR_NOERROR;
    return pa_context_errno(context_) == PA_ERR_NOENTITY ? MMSYSERR_BADDEVICEID : MMSYSERR_NODRIVER;
}

void ServerStream::End() {
    if (pa_stream* const stream = std::exchange(stream_, nullptr)) {
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_set_read_callback(stream, nullptr, nullptr);
        pa_stream_set_started_callback(stream, nullptr, nullptr);
        pa_stream_set_underflow_callback(stream, nullptr, nullptr);
        pa_stream_set_moved_callback(stream, nullptr, nullptr);
        pa_stream_set_suspended_callback(stream, nullptr, nullptr);
        pa_stream_disconnect(stream);
        pa_stream_unref(stream);
    }
    if (pa_context* const context = std::exchange(context_, nullptr)) pa_context_unref(context);
}

void ServerStream::Cork(bool cork) {
    if (!Works()) return;
    if (pa_operation* const asked = pa_stream_cork(stream_, cork, nullptr, nullptr))
        pa_operation_unref(asked);
}

}  // namespace tolvane::platform
