// An open output of the sound server's card.
//
// What the queue holds is pushed to the server as soon as it is written; the server plays it without asking
// this process for anything. When a header should have ended is computed from the last timing that the server
// gave, which is asked for anew once it is old, and always for the end of the last header. Nothing wakes up
// in between.
#ifndef TOLVANE_PLATFORM_SOUND_SERVER_OUTPUT_H
#define TOLVANE_PLATFORM_SOUND_SERVER_OUTPUT_H

#include "platform/sound/server_stream.h"
#include "platform/sound/wave_queue.h"

namespace tolvane::platform {

class ServerOutput final : public CardOutput {
  public:
    ServerOutput(ServerConnection& server, WaveQueue& queue)
        : server_(server), queue_(queue), stream_(server) {}
    ~ServerOutput() override;

    // Locked: MMSYSERR_BADDEVICEID, MMSYSERR_NODRIVER or MMSYSERR_NOERROR.
    MMRESULT Open(const char* sink);

    void Lock() override { server_.Lock(); }
    void Unlock() override { server_.Unlock(); }
    void Filled() override;
    void SetPaused(bool paused) override;
    void Flush() override;
    uint64_t Position() override;
    void Close() override;

  private:
    // ---- The stream ----
    void SetCallbacks();
    void Disconnect();
    bool Works() const { return stream_.Works(); }
    void StateChanged();
    int64_t Ahead() const;
    void Push();
    void PushAll();
    bool PushPiece(size_t bytes);
    void PushSilence();
    void Cork(bool cork);
    void GoOn();

    // ---- The timing ----
    void Ask();
    void Answered(bool success);
    void TakeTiming(const pa_timing_info& info);
    bool EndIsStuck();
    void Started();
    void Starved();
    void ForgetTiming() { timing_known_ = false; }
    uint64_t Bound() const;
    uint64_t Estimate();

    // ---- The alarm ----
    void SetAlarm();
    pa_usec_t NextAlarm() const;
    void AlarmRang();
    bool TimingServes();
    void Advance();
    uint64_t NextEvent() const;

    ServerConnection& server_;
    WaveQueue& queue_;
    ServerStream stream_;
    pa_operation* asked_ = nullptr;
    pa_time_event* alarm_ = nullptr;
    pa_usec_t alarm_at_ = PA_USEC_INVALID;

    bool paused_ = false;
    bool corked_ = true;
    bool flushing_ = false;  // until the server has said where position 0 now lies in its stream

    int64_t base_ = 0;      // index in the server's stream that is position 0
    bool started_ = false;  // the sink has read something since the stream was let run
    bool timing_known_ = false;
    int64_t heard_ = 0;  // position heard at `heard_at_`, before any limit
    pa_usec_t heard_at_ = 0;
    uint64_t run_from_ = 0;  // where the stream was let run, and when
    pa_usec_t run_at_ = 0;
    uint64_t limit_ = UINT64_MAX;  // nothing beyond is played yet: the server ran dry there
    uint64_t reported_ = 0;        // positions never go back

    // Silence that followed the sound up to `silence_from_`, to bring its end out of the server.
    uint64_t silence_from_ = UINT64_MAX;
    int64_t silence_bytes_ = 0;
    int64_t last_read_ = -1;  // the server's index at the last answer, and when it was first told
    pa_usec_t last_read_at_ = 0;
};

}  // namespace tolvane::platform

#endif
