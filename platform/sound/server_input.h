// An open input of the sound server's card.
//
// The server sends what it hears piece by piece, and nothing while the stream is held. A piece is a block of the
// source: the first one may begin before the recording did, and what is heard just before an end is in the one
// that comes after it. Both are cut, so that what is recorded is as long as the recording was.
#ifndef TOLVANE_PLATFORM_SOUND_SERVER_INPUT_H
#define TOLVANE_PLATFORM_SOUND_SERVER_INPUT_H

#include "platform/sound/record_queue.h"
#include "platform/sound/server_stream.h"

namespace tolvane::platform {

class ServerInput final : public CardInput {
  public:
    ServerInput(ServerConnection& server, RecordQueue& queue)
        : server_(server), queue_(queue), stream_(server) {}

    // Locked: MMSYSERR_BADDEVICEID, MMSYSERR_NODRIVER or MMSYSERR_NOERROR.
    MMRESULT Open(const char* source);

    void Lock() override { server_.Lock(); }
    void Unlock() override { server_.Unlock(); }
    void RoomAdded() override { Read(); }
    // An end waits for its last piece; others may start or close the device meanwhile.
    void SetRunning(bool running) override;
    void Close() override;

  private:
    void Start();
    void End();
    void StateChanged();
    void PieceCame();
    void Read();
    void TakeFrom(const std::byte* piece, size_t bytes);

    ServerConnection& server_;
    RecordQueue& queue_;
    ServerStream stream_;
    bool running_ = false;
    bool begun_ = false;  // something was recorded since the start
    pa_usec_t started_at_ = 0;
    pa_usec_t first_at_ = 0;  // when the first piece came since then; 0: none did
    pa_usec_t came_at_ = 0;   // the last piece, or the start
    size_t read_ = 0;         // bytes of the oldest piece
    size_t skip_ = 0;         // bytes that come next and are not recorded
    uint64_t wanted_ = 0;     // bytes to record then: without end while it runs, none at rest
};

}  // namespace tolvane::platform

#endif
