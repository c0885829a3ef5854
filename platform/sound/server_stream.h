// A stream between this process and the sound server, of either direction: made, connected, held and ended.
#ifndef TOLVANE_PLATFORM_SOUND_SERVER_STREAM_H
#define TOLVANE_PLATFORM_SOUND_SERVER_STREAM_H

#include "platform/sound/server_connection.h"

namespace tolvane::platform {

// Whether there is a sample format of the server for it.
bool IsTakenByServer(const PcmFormat& format);

int64_t BytesInTime(const PcmFormat& format, pa_usec_t time);

// Every function is called with the server's lock held.
class ServerStream {
  public:
    explicit ServerStream(ServerConnection& server) : server_(server) {}
    ~ServerStream();
    ServerStream(const ServerStream&) = delete;
    ServerStream& operator=(const ServerStream&) = delete;

    // Makes a stream that can be given its callbacks and be connected; it is null without memory.
    pa_stream* Make(const char* name, const PcmFormat& format);
    // Waits for what becomes of the connection: MMSYSERR_BADDEVICEID, MMSYSERR_NODRIVER or MMSYSERR_NOERROR.
    MMRESULT AwaitConnection();
    // No callback comes after it.
    void End();

    pa_stream* Get() const { return stream_; }
    pa_context* Context() const { return context_; }
    bool Works() const { return stream_ && pa_stream_get_state(stream_) == PA_STREAM_READY; }
    bool HasFailed() const { return !stream_ || !PA_STREAM_IS_GOOD(pa_stream_get_state(stream_)); }
    // Holds the stream, or lets it run.
    void Cork(bool cork);

  private:
    ServerConnection& server_;
    pa_context* context_ = nullptr;
    pa_stream* stream_ = nullptr;
};

}  // namespace tolvane::platform

#endif
