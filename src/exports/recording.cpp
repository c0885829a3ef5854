// Exports: recording and effects.

#include "record/effect_wave.h"
#include "record/effects.h"
#include "record/recording.h"
#include "tolvane.h"

using tolvane::RecordRequest;

uint16_t TOLVANE_CALL AudioStartRecord(char* fileName, uint32_t sampleRate, uint16_t bits, uint16_t channels,
                                       uint16_t source) {
    return AudioStartRecordEx(nullptr, 0, fileName, sampleRate, bits, channels, source, 0, 0, 0, 0);
}

uint16_t TOLVANE_CALL AudioStartRecordEx(void* window, uint32_t message, char* fileName, uint32_t sampleRate,
                                         uint16_t bits, uint16_t channels, uint16_t source, uint32_t leadIn,
                                         uint32_t startOffset, uint32_t stopOffset, uint32_t minimumLength) {
    RecordRequest request = {sampleRate, bits, channels};
    request.punch_in = {static_cast<HWND>(window), message, leadIn, startOffset, stopOffset, minimumLength};
    return tolvane::StartRecording(fileName, source, request);
}

uint16_t TOLVANE_CALL AudioStartRecordLevelTest(uint32_t sampleRate, uint16_t bits, uint16_t channels) {
    return tolvane::StartLevelTest({sampleRate, bits, channels});
}

uint16_t TOLVANE_CALL AudioStopRecord(void) {
    tolvane::StopRecording();
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioStopRecordLevelTest(void) {
    return AudioStopRecord();
}

void TOLVANE_CALL PauseRecording(void) {
    tolvane::PauseRecordingClock();
}

void TOLVANE_CALL ResumeRecording(void) {
    tolvane::ResumeRecordingClock();
}

void TOLVANE_CALL AudioGetRecordLevel(uint32_t* left, uint32_t* right) {
    tolvane::GetRecordLevel(left, right);
}

uint32_t TOLVANE_CALL AudioGetRecordPosition(uint16_t unit) {
    return tolvane::GetRecordPosition(unit);
}

uint16_t TOLVANE_CALL AudioMixEffectWithRecord(const char* fileName) {
    return tolvane::StartEffectWave(fileName);
}

uint16_t TOLVANE_CALL LoadEffectFile(int32_t slot, const char* fileName) {
    return tolvane::LoadEffect(slot, fileName);
}

uint16_t TOLVANE_CALL SetEffectState(int32_t slot, uint32_t enabled) {
    return tolvane::EnableEffect(slot, enabled);
}

uint16_t TOLVANE_CALL SetEffectsParameters(int32_t slot, const void* parameters, uint32_t size) {
    return tolvane::SetEffectParameters(slot, parameters, size);
}

void TOLVANE_CALL EffectChanged(void) {
    tolvane::ChangeEffects();
}
