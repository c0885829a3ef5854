// Several files played one after the other. The library knows lengths of MP3 files as estimates only; here they count as
// long as their encoders say, so the two timelines are kept apart, and bytes lead from one to the other.
#include "set_playing.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "codec_names.h"
#include "result_text.h"

namespace tolvane::host {
namespace {

using std::chrono::milliseconds;

// Going back from so far into a file means its own beginning.
constexpr uint64_t kStillAtBeginning = 2'000;
// No set is as long: the library measures the files and plays nothing.
constexpr uint32_t kBehindEverything = 0xFFFFFFFF;

}  // namespace

uint32_t SetFile::ByteAt(uint64_t at_ms) const {
    if (is_mp3) return static_cast<uint32_t>(mp3.ByteAt(at_ms));
    return wave.BytesAt({static_cast<uint32_t>(at_ms), Unit::kMilliseconds});
}

uint64_t SetFile::MillisecondsAt(uint32_t byte) const {
    if (is_mp3) return mp3.MillisecondsAt(byte);
    return uint64_t{std::min(byte, wave.Bytes())} * 1000 / wave.BytesPerSecond();
}

std::string SetFile::Format() const {
    SoundFormat own;
    if (is_mp3 || ReadSound(name, own) != TOLVANE_OK) return FormatText(mp3);
    return FormatText(own.format, NameOfTag(own.format.wFormatTag));
}

SetPlaying::SetPlaying(std::vector<SetFile> files, bool repeat, std::function<void()> before_next)
    : files_(std::move(files)),
      repeat_(repeat),
      before_next_(std::move(before_next)),
      entries_(files_.size()),
      starts_{0} {
    for (size_t i = 0; i < files_.size(); ++i) {
        std::strncpy(entries_[i].path, files_[i].played.c_str(), sizeof entries_[i].path - 1);
        starts_.push_back(starts_.back() + files_[i].Milliseconds());
    }
}

uint16_t SetPlaying::Play(uint32_t library_ms) {
    const auto count = static_cast<uint32_t>(entries_.size());
    if (IsMp3())
        return AudioPlayMP3FilesSet(entries_.data(), static_cast<int32_t>(count), library_ms, 0, 0, 0, 0);
    return AudioPlayWaveFilesSet(entries_.data(), count, library_ms, 0, 0, 0, 0);
}

uint16_t SetPlaying::Start(uint64_t at_ms) {
    const SetPlace place = PlaceAt(at_ms);
    uint16_t code = Play(kBehindEverything);
    if (code == TOLVANE_OK) code = Play(LibraryMs(place));
    if (code == TOLVANE_OK) Enter(place);
    return code;
}

SetPlaying::SetPlace SetPlaying::PlaceAt(uint64_t at_ms) const {
    size_t file = 0;
    while (file + 1 < files_.size() && starts_[file + 1] <= at_ms)
        ++file;
    return {file, files_[file].ByteAt(at_ms - starts_[file])};
}

// The place on the library's timeline, at the latest the last millisecond of its file there.
uint32_t SetPlaying::LibraryMs(SetPlace place) const {
    uint64_t before = 0;
    for (size_t i = 0; i < place.file; ++i)
        before += entries_[i].milliseconds;
    const PlaybackSetEntry& entry = entries_[place.file];
    // Copies: fields of a packed record may lie where no reference can point to.
    const uint32_t rate = entry.format.nAvgBytesPerSec, bytes_per_byte = entry.bytesPerFileByte,
                   milliseconds = entry.milliseconds;
    const uint64_t byte = uint64_t{place.byte} * (IsMp3() ? std::max(bytes_per_byte, 1u) : 1);
    const uint64_t inside =
        std::min<uint64_t>(byte * 1000 / std::max(rate, 1u), std::max(milliseconds, 1u) - 1);
    return static_cast<uint32_t>(std::min<uint64_t>(before + inside, kBehindEverything - 1));
}

void SetPlaying::Enter(SetPlace place) {
    const SetFile& file = files_[place.file];
    run_ = place;
    title_ = fmt::format("Playing {}{}{}: {}, {}", Place(), files_.size() > 1 ? " " : "", file.name,
                         file.Format(), TimeText(file.Milliseconds()));
    ExpectEnd(place);
}

void SetPlaying::ExpectEnd(SetPlace place) {
    const SetFile& file = files_[place.file];
    const uint64_t at = file.MillisecondsAt(place.byte);
    due_.Expect(milliseconds(file.Milliseconds() - std::min(at, file.Milliseconds())), paused_);
}

// Within the file that plays the library counts from its beginning after such a move, otherwise from where it went.
void SetPlaying::MoveTo(SetPlace place) {
    if (place.file == run_.file) {
        AudioMoveTo(place.byte, TOLVANE_BYTES);
        run_.byte = 0;
        ExpectEnd(place);
    } else {
        AudioMoveIntoPlaybackSet(LibraryMs(place), TOLVANE_MILLISECONDS);
        Enter(place);
    }
}

uint32_t SetPlaying::ByteInFile() const {
    return run_.byte + AudioGetPosition(TOLVANE_BYTES);
}

uint64_t SetPlaying::PositionMs() const {
    return starts_[run_.file] + files_[run_.file].MillisecondsAt(ByteInFile());
}

void SetPlaying::MoveBy(int64_t step_ms) {
    const auto last = static_cast<int64_t>(std::max<uint64_t>(LengthMs(), 1) - 1);
    const auto wanted = static_cast<int64_t>(PositionMs()) + step_ms;
    MoveTo(PlaceAt(static_cast<uint64_t>(std::clamp<int64_t>(wanted, 0, last))));
}

void SetPlaying::MoveToNext() {
    if (run_.file + 1 < files_.size())
        MoveTo({run_.file + 1, 0});
    else if (repeat_)
        MoveToStart();
}

void SetPlaying::MoveToPrevious() {
    const bool own = run_.file == 0 || files_[run_.file].MillisecondsAt(ByteInFile()) > kStillAtBeginning;
    MoveTo({own ? run_.file : run_.file - 1, 0});
}

// Lengths of MP3 files may be estimates.
bool SetPlaying::HasEndedTooEarly() const {
    return !IsMp3() && due_.IsFar(paused_);
}

bool SetPlaying::GoOn() {
    if (HasEndedTooEarly() || (run_.file + 1 == files_.size() && !repeat_)) return false;
    const SetPlace next{(run_.file + 1) % files_.size(), 0};
    before_next_();
    if (const auto code = Play(LibraryMs(next)); code != TOLVANE_OK) {
        failure_ = ReportFileFailure("cannot play", files_[next.file].name, code);
        return false;
    }
    paused_ = false;
    Enter(next);
    return true;
}

std::string SetPlaying::Place() const {
    return files_.size() == 1 ? "" : fmt::format("{}/{}", run_.file + 1, files_.size());
}

}  // namespace tolvane::host
