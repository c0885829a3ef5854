// Several wave files or MP3 files played one after the other, as one timeline; an MP3 file alone is one of them.
#ifndef TOLVANE_HOST_SET_PLAYING_H
#define TOLVANE_HOST_SET_PLAYING_H

#include <tolvane.h>

#include <functional>
#include <string>
#include <vector>

#include "mp3_sound.h"
#include "playing.h"
#include "sound_format.h"

namespace tolvane::host {

struct SetFile {
    std::string name;    // as the user says it
    std::string played;  // the file or its copy in PCM
    bool is_mp3 = false;
    SoundFormat wave;  // of what is played
    Mp3Sound mp3;

    uint64_t Milliseconds() const { return is_mp3 ? mp3.milliseconds : wave.Milliseconds(); }
    // Bytes of the file's sound, of an MP3 file of the file itself.
    uint32_t ByteAt(uint64_t at_ms) const;
    uint64_t MillisecondsAt(uint32_t byte) const;
    std::string Format() const;
};

class SetPlaying final : public Playing {
  public:
    // All of one kind, and none without sound. `before_next` is called before the file behind one that has ended.
    SetPlaying(std::vector<SetFile> files, bool repeat, std::function<void()> before_next);

    // Plays from a time in the whole. A result code of the library's.
    uint16_t Start(uint64_t at_ms);

    uint64_t PositionMs() const override;
    uint64_t LengthMs() const override { return starts_.back(); }
    void MoveBy(int64_t step_ms) override;
    void MoveToStart() override { MoveTo({0, 0}); }
    void MoveToNext() override;
    void MoveToPrevious() override;
    bool HasEndedTooEarly() const override;
    bool HasLevels() const override { return !files_[0].is_mp3; }
    bool GoOn() override;
    int Failure() const override { return failure_; }
    std::string Place() const override;
    std::string Title() const override { return title_; }

  private:
    struct SetPlace {
        size_t file;
        uint32_t byte;
    };

    bool IsMp3() const { return files_[0].is_mp3; }
    SetPlace PlaceAt(uint64_t at_ms) const;
    uint32_t LibraryMs(SetPlace place) const;
    uint16_t Play(uint32_t library_ms);
    void MoveTo(SetPlace place);
    void ExpectEnd(SetPlace place);
    void Enter(SetPlace place);
    uint32_t ByteInFile() const;

    const std::vector<SetFile> files_;
    const bool repeat_;
    const std::function<void()> before_next_;
    std::vector<PlaybackSetEntry> entries_;
    std::vector<uint64_t> starts_;  // of each file in the whole, and the end of the last one
    SetPlace run_{0, 0};            // where what the library counts began
    std::string title_;
    int failure_ = 0;
};

}  // namespace tolvane::host

#endif
