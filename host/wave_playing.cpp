// The playback of one wave file.
#include "wave_playing.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>

#include "codec_names.h"

namespace tolvane::host {
namespace {

using std::chrono::milliseconds;

std::string TitleOf(const PlayRequest& request, const SoundFormat& played) {
    SoundFormat sound;
    ReadSound(request.files[0], sound);
    return fmt::format("Playing {}: {}, {}", request.files[0],
                       FormatText(sound.format, NameOfTag(sound.format.wFormatTag)),
                       TimeText(played.Milliseconds()));
}

}  // namespace

WavePlaying::WavePlaying(const PlayRequest& request, const std::string& played, Span span)
    : span_(span), rate_(request.rate), repeat_(request.repeat) {
    ReadSound(played, sound_);
    if (span_.to == 0) span_.to = sound_.Bytes();
    if (rate_ == 0) rate_ = sound_.format.nSamplesPerSec;
    due_.Expect(Remaining(span_.from), false);
    if (!request.quiet) title_ = TitleOf(request, sound_);
}

uint64_t WavePlaying::ToMs(uint32_t bytes) const {
    const uint64_t rate = sound_.BytesPerSecond();
    return rate == 0 ? 0 : uint64_t{bytes} * 1000 / rate;
}

milliseconds WavePlaying::Remaining(uint32_t from) const {
    const uint64_t bytes = span_.to > from ? span_.to - from : 0;
    const uint64_t rate =
        sound_.IsPcm() ? uint64_t{rate_} * sound_.format.nBlockAlign : sound_.BytesPerSecond();
    return milliseconds(rate == 0 ? 0 : bytes * 1000 / rate);
}

// The library counts on through repeats; a listener wants the place in the sound.
uint32_t WavePlaying::WrappedBytes() const {
    const uint32_t bytes = AudioGetPosition(TOLVANE_BYTES);
    if (bytes < span_.to || span_.to <= span_.from) return std::min(bytes, span_.to);
    return repeat_ ? span_.from + (bytes - span_.to) % (span_.to - span_.from) : span_.to;
}

uint64_t WavePlaying::PositionMs() const {
    return sound_.IsPcm() ? ToMs(WrappedBytes()) : AudioGetPosition(TOLVANE_MILLISECONDS);
}

bool WavePlaying::HasEndedTooEarly() const {
    return sound_.IsPcm() && (repeat_ || due_.IsFar(paused_));
}

void WavePlaying::MoveTo(uint32_t bytes) {
    if (!sound_.IsPcm()) return;
    AudioMoveTo(bytes, TOLVANE_BYTES);
    due_.Expect(Remaining(bytes), paused_);
}

void WavePlaying::MoveBy(int64_t step_ms) {
    const auto step = step_ms * static_cast<int64_t>(sound_.BytesPerSecond()) / 1000;
    MoveTo(static_cast<uint32_t>(std::clamp<int64_t>(WrappedBytes() + step, 0, span_.to)));
}

}  // namespace tolvane::host
