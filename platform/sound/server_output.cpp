// An open output of the sound server's card.
#include "platform/sound/server_output.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tolvane::platform {
namespace {

// The server wakes this process whenever it has played as much as the least request: seldom, for it is given
// what there is without asking. It gives its sink the target less two requests: short, so that sound starts
// soon and small buffers play without gaps.
constexpr pa_usec_t kLeastRequest = PA_USEC_PER_SEC;
constexpr pa_usec_t kTarget = 2 * kLeastRequest + 20 * PA_USEC_PER_MSEC;
// What at most lies pushed and unheard at the server, and how much of it is left when more is pushed.
constexpr pa_usec_t kMostAhead = 2 * PA_USEC_PER_SEC;
constexpr pa_usec_t kPlenty = 400 * PA_USEC_PER_MSEC;
constexpr uint32_t kServerRoom = 64u << 20;
constexpr int64_t kMostAheadBytes = kServerRoom / 2;
// The alarm rings a little after the computed end, which may err by that much.
constexpr pa_usec_t kPastTheEnd = PA_USEC_PER_MSEC;
// The clocks of the sound and of this machine drift apart by less than that within this time.
constexpr pa_usec_t kTimingServes = PA_USEC_PER_SEC;
// How long the server may take to begin before it is asked what it does.
constexpr pa_usec_t kAskAgain = 50 * PA_USEC_PER_MSEC;
constexpr pa_usec_t kSoonest = 3 * PA_USEC_PER_MSEC;
// With nothing left to play, the stream is held after this long, so that the server may rest.
constexpr pa_usec_t kIdle = 300 * PA_USEC_PER_MSEC;
// A server may keep the last, partial block of a stream until silence pushes it out.
constexpr pa_usec_t kClosingSilence = 60 * PA_USEC_PER_MSEC;
// A position older than this is asked for anew when an application wants it.
constexpr pa_usec_t kOldTiming = 250 * PA_USEC_PER_MSEC;

void Forget(pa_operation* operation) {
    if (operation) pa_operation_unref(operation);
}

}  // namespace

// ---- The stream ----

ServerOutput::~ServerOutput() {
    const ServerLock lock;
    Disconnect();
}

MMRESULT ServerOutput::Open(const char* sink) {
    pa_stream* const stream = stream_.Make("wave output", queue_.Format());
    if (!stream) return MMSYSERR_NOMEM;
    SetCallbacks();
    const auto bytes = [&](pa_usec_t time) {
        return static_cast<uint32_t>(BytesInTime(queue_.Format(), time));
    };
    const pa_buffer_attr room = {kServerRoom, bytes(kTarget), queue_.Format().frame_bytes,
                                 bytes(kLeastRequest), UINT32_MAX};
    if (pa_stream_connect_playback(stream, sink, &room, PA_STREAM_START_CORKED, nullptr, nullptr) < 0)
        return MMSYSERR_NODRIVER;
    return stream_.AwaitConnection();
}

void ServerOutput::SetCallbacks() {
    constexpr auto state = [](pa_stream*, void* self) { static_cast<ServerOutput*>(self)->StateChanged(); };
    constexpr auto started = [](pa_stream*, void* self) { static_cast<ServerOutput*>(self)->Started(); };
    constexpr auto starved = [](pa_stream*, void* self) { static_cast<ServerOutput*>(self)->Starved(); };
    constexpr auto disturbed = [](pa_stream*, void* self) {
        static_cast<ServerOutput*>(self)->ForgetTiming();
        static_cast<ServerOutput*>(self)->SetAlarm();
    };
    pa_stream_set_state_callback(stream_.Get(), state, this);
    pa_stream_set_started_callback(stream_.Get(), started, this);
    pa_stream_set_underflow_callback(stream_.Get(), starved, this);
    pa_stream_set_moved_callback(stream_.Get(), disturbed, this);
    pa_stream_set_suspended_callback(stream_.Get(), disturbed, this);
}

void ServerOutput::Close() {
    const ServerLock lock;
    Disconnect();
}

void ServerOutput::Disconnect() {
    if (pa_operation* const asked = std::exchange(asked_, nullptr)) {
        pa_operation_cancel(asked);
        pa_operation_unref(asked);
    }
    if (pa_time_event* const alarm = std::exchange(alarm_, nullptr)) server_.Api()->time_free(alarm);
    stream_.End();
}

void ServerOutput::StateChanged() {
    server_.Signal();
    if (!stream_.HasFailed()) return;
    ForgetTiming();
    queue_.Lost();
}

void ServerOutput::Filled() {
    Push();
    GoOn();
}

void ServerOutput::SetPaused(bool paused) {
    paused_ = paused;
    if (!paused) return GoOn();
    Estimate();
    ForgetTiming();
    Cork(true);
    SetAlarm();
}

// Lets the stream run where it should, and is there when the next thing happens.
void ServerOutput::GoOn() {
    if (!paused_ && !flushing_ && !queue_.Empty()) Cork(false);
    SetAlarm();
}

void ServerOutput::Cork(bool cork) {
    if (cork == corked_ || !Works()) return;
    corked_ = cork;
    started_ = false;
    run_from_ = reported_;
    run_at_ = pa_rtclock_now();
    stream_.Cork(cork);
}

// What the server has in hand, in time to come.
int64_t ServerOutput::Ahead() const {
    return static_cast<int64_t>(queue_.Taken()) - static_cast<int64_t>(reported_);
}

// Gives the server all there is. While it has plenty, that can wait: fewer and larger pieces wake this
// process less.
void ServerOutput::Push() {
    Estimate();
    if (!timing_known_ || Ahead() <= BytesInTime(queue_.Format(), kPlenty)) PushAll();
}

void ServerOutput::PushAll() {
    const int64_t most = std::min(BytesInTime(queue_.Format(), kMostAhead), kMostAheadBytes);
    while (Works() && !flushing_ && !queue_.Next().empty() && Ahead() < most)
        if (!PushPiece(std::min(queue_.Accepted() - queue_.Taken(), static_cast<uint64_t>(most - Ahead()))))
            return;
}

// Gathers what several headers hold in one of the server's blocks.
bool ServerOutput::PushPiece(size_t bytes) {
    void* block = nullptr;
    if (pa_stream_begin_write(stream_.Get(), &block, &bytes) < 0 || !block) return false;
    bytes = queue_.Format().WholeFrames(bytes);
    for (size_t filled = 0; filled < bytes;) {
        const auto next = queue_.Next();
        const size_t part = std::min(next.size(), bytes - filled);
        memcpy(static_cast<std::byte*>(block) + filled, next.data(), part);
        queue_.Take(part);
        filled += part;
    }
    return pa_stream_write(stream_.Get(), block, bytes, nullptr, 0, PA_SEEK_RELATIVE) == 0;
}

void ServerOutput::PushSilence() {
    const auto bytes = static_cast<size_t>(BytesInTime(queue_.Format(), kClosingSilence));
    void* room = nullptr;
    size_t size = bytes;
    if (pa_stream_begin_write(stream_.Get(), &room, &size) < 0 || !room) return;
    size = std::min(queue_.Format().WholeFrames(size), uint64_t{bytes});
    memset(room, queue_.Format().Silence(), size);
    if (pa_stream_write(stream_.Get(), room, size, nullptr, 0, PA_SEEK_RELATIVE) < 0) return;
    // Silence of an earlier end has been heard by now.
    base_ += silence_bytes_;
    heard_ -= silence_bytes_;
    silence_bytes_ = static_cast<int64_t>(size);
    silence_from_ = queue_.Taken();
}

void ServerOutput::Flush() {
    ForgetTiming();
    if (asked_) pa_operation_cancel(asked_);
    Forget(std::exchange(asked_, nullptr));
    reported_ = 0;
    limit_ = silence_from_ = UINT64_MAX;
    silence_bytes_ = 0;
    if (!Works()) return;
    Cork(true);
    Forget(pa_stream_flush(stream_.Get(), nullptr, nullptr));
    flushing_ = true;
    Ask();
}

// ---- The timing ----

void ServerOutput::Ask() {
    if (asked_ || !Works()) return;
    constexpr auto answered = [](pa_stream*, int success, void* self) {
        static_cast<ServerOutput*>(self)->Answered(success);
    };
    asked_ = pa_stream_update_timing_info(stream_.Get(), answered, this);
}

void ServerOutput::Answered(bool success) {
    Forget(std::exchange(asked_, nullptr));
    const pa_timing_info* const info = success ? pa_stream_get_timing_info(stream_.Get()) : nullptr;
    if (!info) return SetAlarm();
    if (std::exchange(flushing_, false)) {
        base_ = info->write_index;
        return Filled();
    }
    TakeTiming(*info);
    Advance();
}

// What the sink has read, less what it has not sounded yet; while the stream is dry, silence runs on behind
// it.
void ServerOutput::TakeTiming(const pa_timing_info& info) {
    const pa_usec_t now = pa_rtclock_now();
    if (std::exchange(last_read_, info.read_index) != info.read_index) last_read_at_ = now;
    if (corked_ || !(info.playing || started_)) return;
    started_ = true;
    if (info.playing) limit_ = UINT64_MAX;
    heard_ = info.read_index - base_ - BytesInTime(queue_.Format(), info.sink_usec);
    if (!info.playing) heard_ += std::max<int64_t>(static_cast<int64_t>(info.since_underrun), 0);
    heard_at_ = now - std::min<pa_usec_t>(pa_timeval_age(&info.timestamp), PA_USEC_PER_SEC);
    timing_known_ = true;
    if (EndIsStuck()) PushSilence();
}

// The end of the sound is at the server, and should have been heard, but the server makes nothing of it.
bool ServerOutput::EndIsStuck() {
    if (queue_.Empty() || queue_.Taken() < queue_.Accepted() || silence_from_ == queue_.Taken()) return false;
    const auto left = static_cast<int64_t>(queue_.Accepted() - Estimate());
    return left > 0 && left < BytesInTime(queue_.Format(), 2 * kClosingSilence) &&
           pa_rtclock_now() - last_read_at_ > kClosingSilence;
}

// After a time without anything to play, what was known of the timing says nothing of the sound that follows.
void ServerOutput::Started() {
    Estimate();
    if (std::exchange(limit_, UINT64_MAX) != UINT64_MAX) ForgetTiming();
    started_ = true;
    Ask();
}

void ServerOutput::Starved() {
    limit_ = queue_.Taken();
}

// Sound that was let run so long ago cannot have come further, whatever a server says; its clock may be fast.
uint64_t ServerOutput::Bound() const {
    const pa_usec_t passed = pa_rtclock_now() - run_at_;
    return run_from_ + static_cast<uint64_t>(BytesInTime(queue_.Format(), passed + passed / 256));
}

uint64_t ServerOutput::Estimate() {
    if (timing_known_ && !corked_) {
        int64_t heard = heard_ + BytesInTime(queue_.Format(), pa_rtclock_now() - heard_at_);
        const auto silence_from = static_cast<int64_t>(std::min<uint64_t>(silence_from_, INT64_MAX));
        if (heard > silence_from) heard = std::max(silence_from, heard - silence_bytes_);
        const auto most = std::min({queue_.Taken(), limit_, Bound()});
        const auto position = std::min(static_cast<uint64_t>(std::max<int64_t>(heard, 0)), most);
        reported_ = std::max(reported_, position);
    }
    return reported_;
}

uint64_t ServerOutput::Position() {
    const uint64_t position = Estimate();
    if (timing_known_ && !corked_ && pa_rtclock_now() - heard_at_ > kOldTiming) Ask();
    return position;
}

// ---- The alarm ----

// The position at which something is to be done: a header ends, or the server wants more.
uint64_t ServerOutput::NextEvent() const {
    const auto refill_ahead = static_cast<uint64_t>(BytesInTime(queue_.Format(), kPlenty));
    const bool more = queue_.Taken() < queue_.Accepted();
    const uint64_t refill = more ? queue_.Taken() - std::min(queue_.Taken(), refill_ahead) : UINT64_MAX;
    return std::min(queue_.OldestEnd(), std::max(refill, reported_));
}

pa_usec_t ServerOutput::NextAlarm() const {
    const pa_usec_t now = pa_rtclock_now();
    if (corked_ || (asked_ && !timing_known_) || !Works()) return PA_USEC_INVALID;
    if (queue_.Empty()) return now + kIdle;
    if (!timing_known_) return now + kAskAgain;
    const uint64_t event = NextEvent();
    const int64_t silence = event > silence_from_ ? silence_bytes_ : 0;
    const int64_t ahead = std::max<int64_t>(static_cast<int64_t>(event) + silence - heard_, 0);
    const pa_usec_t due = heard_at_ + queue_.Format().NanosecondsIn(static_cast<uint64_t>(ahead)) / 1000;
    return std::max(due + kPastTheEnd, now + kSoonest);
}

void ServerOutput::SetAlarm() {
    const pa_usec_t at = NextAlarm();
    if (at == alarm_at_) return;
    alarm_at_ = at;
    constexpr auto rang = [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        static_cast<ServerOutput*>(self)->AlarmRang();
    };
    if (alarm_) {
        pa_context_rttime_restart(stream_.Context(), alarm_, at);
    } else if (at != PA_USEC_INVALID) {
        alarm_ = pa_context_rttime_new(stream_.Context(), at, rang, this);
    }
}

void ServerOutput::AlarmRang() {
    alarm_at_ = PA_USEC_INVALID;
    if (queue_.Empty()) {
        ForgetTiming();
        Cork(true);
    } else if (TimingServes()) {
        Advance();
    } else {
        PushAll();
        Ask();
    }
}

// The end of the last header is never told by computing alone: a host may close the device then.
bool ServerOutput::TimingServes() {
    if (!timing_known_ || pa_rtclock_now() - heard_at_ > kTimingServes) return false;
    return queue_.OldestEnd() < queue_.Accepted() && Estimate() >= NextEvent();
}

void ServerOutput::Advance() {
    queue_.Played(Estimate());
    Push();
    SetAlarm();
}

}  // namespace tolvane::platform
