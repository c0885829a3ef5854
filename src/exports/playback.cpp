// Exports: playback.

#include "playback/choice.h"
#include "playback/mixing.h"
#include "playback/set.h"
#include "tolvane.h"

using tolvane::FrameLayout;
using tolvane::StartOptions;

uint16_t TOLVANE_CALL AudioPlayWave(const char* path, uint32_t start, uint16_t unit, uint32_t sampleRate,
                                    uint32_t convert, uint32_t end) {
    return AudioPlayWaveEx(path, start, unit, sampleRate, convert, end, 0);
}

uint16_t TOLVANE_CALL AudioPlayWaveEx(const char* path, uint32_t start, uint16_t unit, uint32_t sampleRate,
                                      uint32_t convert, uint32_t end, uint32_t repeat) {
    StartOptions options;
    options.start = start;
    options.end = end;
    options.unit = unit;
    options.sample_rate = sampleRate;
    options.repeat = repeat != 0;
    return tolvane::PlayWave(path, nullptr, options, convert != 0);
}

uint16_t TOLVANE_CALL AudioPlayMixWave(const char* path, const char* mixPath, uint32_t start, uint16_t unit,
                                       uint32_t sampleRate, uint32_t convert, uint32_t end,
                                       uint32_t average) {
    StartOptions options;
    options.start = start;
    options.end = end;
    options.unit = unit;
    options.sample_rate = sampleRate;
    options.average = average != 0;
    return tolvane::PlayWave(path, mixPath, options, convert != 0);
}

uint16_t TOLVANE_CALL AudioPlayMP3(const char* path, uint32_t start, uint16_t unit, uint32_t, uint32_t,
                                   uint32_t end) {
    StartOptions options;
    options.start = start;
    options.end = end;
    options.unit = unit;
    return tolvane::PlayMp3(path, options);
}

uint16_t TOLVANE_CALL AudioPlayWaveFilesSet(PlaybackSetEntry* entries, uint32_t count, uint32_t start,
                                            uint16_t unit, uint32_t sampleRate, uint32_t convert,
                                            uint32_t end) {
    return tolvane::PlayWaveSet(entries, count, start, unit, sampleRate, convert != 0, end);
}

uint16_t TOLVANE_CALL AudioPlayMP3FilesSet(PlaybackSetEntry* entries, int32_t count, uint32_t start,
                                           uint16_t unit, uint32_t, uint32_t, uint32_t end) {
    return tolvane::PlayMp3Set(entries, count > 0 ? static_cast<uint32_t>(count) : 0, start, unit, end);
}

uint16_t TOLVANE_CALL AudioMoveIntoPlaybackSet(uint32_t position, uint16_t unit) {
    tolvane::MoveIntoSet(position, unit);
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioGetPlaybackSetInfo(PlaybackSetInfo* info, uint16_t unit) {
    if (info) tolvane::GetSetInfo(info, unit);
    return TOLVANE_OK;
}

void TOLVANE_CALL SetVolume(float mainLeft, float mainRight, float mixLeft, float mixRight) {
    tolvane::SetSoftwareVolume({mainLeft, mainRight}, {mixLeft, mixRight});
}

void TOLVANE_CALL MixData(uint8_t* block, uint32_t blockLength, uint8_t* mixBlock, uint32_t mixLength,
                          uint16_t channels, uint16_t bitsPerSample, uint32_t average, uint32_t* clipFlag) {
    const FrameLayout layout{channels, bitsPerSample};
    if (!block || !layout.IsMixable()) return;
    if (!mixBlock) mixLength = 0;
    const bool clipped = tolvane::MixInto({block, blockLength, mixBlock, mixLength, layout, average != 0});
    if (clipped && clipFlag) *clipFlag = 1;
}

uint16_t TOLVANE_CALL AudioLoadFile(const char* path) {
    return tolvane::LoadFile(path);
}

uint16_t TOLVANE_CALL AudioPlayCurrentFile(uint32_t start, uint16_t unit) {
    return tolvane::PlayLoadedFile(start, unit);
}

uint16_t TOLVANE_CALL AudioStop(void) {
    tolvane::StopPlayback();
    tolvane::ForgetSet();
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioPause(void) {
    tolvane::PausePlayback(true);
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioResume(void) {
    tolvane::PausePlayback(false);
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioMoveTo(uint32_t position, uint16_t unit) {
    tolvane::MovePlayback(position, unit);
    return TOLVANE_OK;
}

uint32_t TOLVANE_CALL AudioGetPosition(uint16_t unit) {
    return tolvane::GetPlaybackPosition(unit);
}

void TOLVANE_CALL AudioGetPlaybackLevel(uint32_t* left, uint32_t* right) {
    tolvane::GetPlaybackLevel(left, right);
}
