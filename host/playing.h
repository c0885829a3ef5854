// A playback that has been started, as whoever shows it and takes the keys sees it.
#ifndef TOLVANE_HOST_PLAYING_H
#define TOLVANE_HOST_PLAYING_H

#include <chrono>
#include <cstdint>
#include <string>

namespace tolvane::host {

// When the sound that plays should be over; whoever hears of its end before that knows that the device went away.
class DueEnd {
  public:
    using Milliseconds = std::chrono::milliseconds;

    void Expect(Milliseconds left, bool paused);
    void Pause() { left_ = Left(); }
    void Resume() { due_ = Clock::now() + left_; }
    bool IsFar(bool paused) const;

  private:
    using Clock = std::chrono::steady_clock;

    Milliseconds Left() const;

    Milliseconds left_{};  // while paused
    Clock::time_point due_;
};

class Playing {
  public:
    virtual ~Playing() = default;
    Playing() = default;
    Playing(const Playing&) = delete;
    Playing& operator=(const Playing&) = delete;

    virtual uint64_t PositionMs() const = 0;
    virtual uint64_t LengthMs() const = 0;
    virtual void MoveBy(int64_t step_ms) = 0;
    virtual void MoveToStart() = 0;
    // The end that has just come was none of the sound's own.
    virtual bool HasEndedTooEarly() const = 0;
    // Samples can be seen and multiplied.
    virtual bool HasLevels() const = 0;

    // What there is beside it: files before and behind. Nothing unless it is a set.
    virtual void MoveToNext() {}
    virtual void MoveToPrevious() {}
    // After an end: true when something else plays now. A failure has been reported and is remembered.
    virtual bool GoOn() { return false; }
    virtual int Failure() const { return 0; }
    // "2/3", and what to say of the file that plays now.
    virtual std::string Place() const { return ""; }
    virtual std::string Title() const = 0;

    bool paused() const { return paused_; }
    void TogglePause();

  protected:
    DueEnd due_;
    bool paused_ = false;
};

}  // namespace tolvane::host

#endif
