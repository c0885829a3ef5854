// How loud the program plays: in percent, which the samples are multiplied by.
#ifndef TOLVANE_HOST_PLAY_VOLUME_H
#define TOLVANE_HOST_PLAY_VOLUME_H

#include <optional>
#include <string>
#include <string_view>

namespace tolvane::host {

constexpr int kLoudest = 400;

struct Loudness {
    int left = 100, right = 100;
};

// "80" or "80,40"; nothing where the text is anything else than one or two whole numbers up to kLoudest.
std::optional<Loudness> ParseLoudness(std::string_view text);

// Of what is played and of what is mixed into it.
class PlayVolume {
  public:
    PlayVolume(Loudness played, Loudness mixed);
    // Everything becomes louder or quieter by so many points.
    void Change(int points);
    // "80%" or "80%,40%"; empty where the samples stay as they are.
    std::string Text() const;

  private:
    void Apply() const;

    Loudness played_, mixed_;
};

}  // namespace tolvane::host

#endif
