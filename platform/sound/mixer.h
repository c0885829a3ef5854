// What the mixer of a card does for the mixer services: it tells its lines, and reads and writes the values of their
// controls. What it is told is valid: a control that it told of, and as many values as that has.
#ifndef TOLVANE_PLATFORM_SOUND_MIXER_H
#define TOLVANE_PLATFORM_SOUND_MIXER_H

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <mmsystem.h>
#include <platform.h>

namespace tolvane::platform {

constexpr uint32_t kFullVolume = 65'535;
constexpr uint64_t kMostMixerValues = 65'536;  // of one control

struct MixerControl {
    DWORD id, type;
    uint32_t line;      // index of its line
    uint32_t channels;  // that have values of their own
    uint32_t items;     // of a list; 0: no list

    uint64_t Values() const { return uint64_t{channels} * (items ? items : 1); }
};

struct MixerLine {
    PlatformMixerLine told;
    uint32_t destination, source, sources;
    std::vector<MixerControl> controls;

    bool IsSource() const { return told.component >= MIXERLINE_COMPONENTTYPE_SRC_FIRST; }
};
using MixerLines = std::vector<MixerLine>;

// The system's type of a control of platform.h; 0: there is none.
DWORD MixerControlType(uint32_t platform_control);

// Each destination is followed by its source lines.
MixerLines MakeMixerLines(std::span<const PlatformMixerLine> told);

// Every function may be called from any thread, at any time.
class CardMixer {
  public:
    virtual ~CardMixer() = default;

    // The lines as they are now; none on a card without a mixer.
    virtual std::shared_ptr<const MixerLines> ReadLines() = 0;
    // As they were told last, so that an index or an identifier means what it meant then.
    virtual std::shared_ptr<const MixerLines> KnownLines() = 0;

    // All values, those of one channel after those of the other.
    virtual MMRESULT GetValues(const MixerControl& control, std::span<uint32_t> values) = 0;
    virtual MMRESULT SetValues(const MixerControl& control, std::span<const uint32_t> values) = 0;
};

}  // namespace tolvane::platform

#endif
