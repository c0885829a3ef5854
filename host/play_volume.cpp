// How loud the program plays.
#include "play_volume.h"

#include <tolvane.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace tolvane::host {
namespace {

std::optional<int> ParsePercent(std::string_view text) {
    int percent = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), percent);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && percent >= 0 && percent <= kLoudest ? std::optional(percent) : std::nullopt;
}

void ChangeBy(int points, Loudness& loudness) {
    loudness.left = std::clamp(loudness.left + points, 0, kLoudest);
    loudness.right = std::clamp(loudness.right + points, 0, kLoudest);
}

float Factor(int percent) {
    return static_cast<float>(percent) / 100;
}

}  // namespace

std::optional<Loudness> ParseLoudness(std::string_view text) {
    const size_t comma = text.find(',');
    const auto left = ParsePercent(text.substr(0, comma));
    const auto right = comma == text.npos ? left : ParsePercent(text.substr(comma + 1));
    if (!left || !right) return std::nullopt;
    return Loudness{*left, *right};
}

PlayVolume::PlayVolume(Loudness played, Loudness mixed) : played_(played), mixed_(mixed) {
    Apply();
}

void PlayVolume::Change(int points) {
    ChangeBy(points, played_);
    ChangeBy(points, mixed_);
    Apply();
}

std::string PlayVolume::Text() const {
    if (played_.left != played_.right) return fmt::format("{}%,{}%", played_.left, played_.right);
    return played_.left == 100 ? "" : fmt::format("{}%", played_.left);
}

void PlayVolume::Apply() const {
    SetVolume(Factor(played_.left), Factor(played_.right), Factor(mixed_.left), Factor(mixed_.right));
}

}  // namespace tolvane::host
