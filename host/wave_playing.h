// The playback of one wave file or a part of it, perhaps again and again, perhaps with another mixed into it.
#ifndef TOLVANE_HOST_WAVE_PLAYING_H
#define TOLVANE_HOST_WAVE_PLAYING_H

#include "commands.h"
#include "playing.h"

namespace tolvane::host {

// Part of the data in bytes; `to` 0 means its end.
struct Span {
    uint32_t from = 0, to = 0;
};

class WavePlaying final : public Playing {
  public:
    // It has been started. `played` is the file of the request or its copy in PCM.
    WavePlaying(const PlayRequest& request, const std::string& played, Span span);

    uint64_t PositionMs() const override;
    uint64_t LengthMs() const override { return ToMs(span_.to); }
    void MoveBy(int64_t step_ms) override;
    void MoveToStart() override { MoveTo(span_.from); }
    bool HasEndedTooEarly() const override;
    bool HasLevels() const override { return sound_.IsPcm(); }
    std::string Title() const override { return title_; }

  private:
    uint64_t ToMs(uint32_t bytes) const;
    uint32_t WrappedBytes() const;
    void MoveTo(uint32_t bytes);
    std::chrono::milliseconds Remaining(uint32_t from) const;

    SoundFormat sound_;
    Span span_;
    uint32_t rate_;
    bool repeat_;
    std::string title_;
};

}  // namespace tolvane::host

#endif
