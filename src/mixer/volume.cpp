#include "mixer/volume.h"

#include <atomic>

#include "mixer/mixer.h"
#include "record/settings.h"

namespace tolvane {

namespace {

constexpr DWORD kFullVolume = 65535;
constexpr DWORD kMostChannels = 64;  // of one line

std::atomic<bool> muted = false;
std::atomic<uint16_t> kept_volume = kFullVolume;  // what the end of the mute brings back

// Rounded down, and back up, so that a percentage reads as it was set. In whole numbers: what rounds here must not depend
// on the processor.
uint16_t VolumeOf(uint16_t percent) {
    return static_cast<uint16_t>(percent >= 100 ? kFullVolume : percent * kFullVolume / 100);
}

uint16_t PercentOf(DWORD volume) {
    return static_cast<uint16_t>(volume >= kFullVolume ? 100
                                                       : (volume * 100 + kFullVolume - 1) / kFullVolume);
}

DWORD PlaybackControl() {
    return FindSourceControl(MIXERLINE_COMPONENTTYPE_DST_SPEAKERS, MIXERLINE_COMPONENTTYPE_SRC_WAVEOUT,
                             MIXERCONTROL_CONTROLTYPE_VOLUME);
}

// Where the volume of recording is to be found.
struct RecordLine {
    MIXERLINEA destination = {};
    bool found = ReadDestination(MIXERLINE_COMPONENTTYPE_DST_WAVEIN, destination);
    MIXERCONTROLA selector = {};
    bool has_selector = found && ReadSelector(destination, selector);

    // The volume of the source in use; 0: none.
    DWORD SourceControl() const {
        MIXERLINEA source;
        const DWORD index = TheRecordSettings().source;
        if (index >= destination.cConnections || !ReadSource(destination, index, source)) return 0;
        return FindSourceControl(MIXERLINE_COMPONENTTYPE_DST_WAVEIN, source.dwComponentType,
                                 MIXERCONTROL_CONTROLTYPE_VOLUME);
    }
    // The volume of the line itself; 0: none.
    DWORD OwnControl() const {
        MIXERCONTROLA control;
        const bool has_volume = found && ReadControl(destination, MIXERCONTROL_CONTROLTYPE_VOLUME, control);
        return has_volume ? control.dwControlID : 0;
    }
    // The first value of that control, which has one for each channel of the line.
    DWORD OwnVolume() const {
        DWORD values[kMostChannels] = {};
        const DWORD control = OwnControl(), channels = destination.cChannels;
        return control && channels <= kMostChannels && ReadValues(control, channels, 0, values) ? values[0]
                                                                                                : 0;
    }
};

}  // namespace

void SetPlaybackVolume(uint16_t percent) {
    const uint16_t volume = VolumeOf(percent);
    if (muted)
        kept_volume = volume;
    else
        WriteBothChannels(PlaybackControl(), volume);
}

uint16_t GetPlaybackVolume() {
    return PercentOf(ReadFirstOfBothChannels(PlaybackControl()));
}

void MutePlayback(bool mute) {
    const DWORD control = PlaybackControl();
    if (mute) kept_volume = static_cast<uint16_t>(ReadFirstOfBothChannels(control));
    WriteBothChannels(control, mute ? 0 : kept_volume.load());
    muted = mute;
}

void SetRecordVolume(uint16_t percent) {
    const uint16_t volume = VolumeOf(percent);
    const RecordLine line;
    if (!line.has_selector)
        WriteBothChannels(line.OwnControl(), volume);
    else
        WriteUniform(line.SourceControl(), volume);
}

uint16_t GetRecordVolume() {
    const RecordLine line;
    return PercentOf(line.has_selector ? ReadUniform(line.SourceControl()) : line.OwnVolume());
}

}  // namespace tolvane
