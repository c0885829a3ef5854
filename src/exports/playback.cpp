// Exports: playback.

#include "playback/choice.h"
#include "tolvane.h"

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

uint16_t TOLVANE_CALL AudioLoadFile(const char* path) {
    return tolvane::LoadFile(path);
}

uint16_t TOLVANE_CALL AudioPlayCurrentFile(uint32_t start, uint16_t unit) {
    return tolvane::StartLoadedFile(start, unit);
}

uint16_t TOLVANE_CALL AudioStop(void) {
    tolvane::StopPlayback();
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
