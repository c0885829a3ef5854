// Exports: the mixer.

#include "mixer/sources.h"
#include "mixer/volume.h"
#include "tolvane.h"

uint16_t TOLVANE_CALL AudioSetVolume(uint16_t percent) {
    tolvane::SetPlaybackVolume(percent);
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioGetVolume(void) {
    return tolvane::GetPlaybackVolume();
}

uint16_t TOLVANE_CALL AudioMute(uint32_t mute) {
    tolvane::MutePlayback(mute != 0);
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioSetRecVolume(uint16_t percent) {
    tolvane::SetRecordVolume(percent);
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL AudioGetRecVolume(void) {
    return tolvane::GetRecordVolume();
}

uint32_t TOLVANE_CALL GetNumberOfRecordSources(void) {
    return tolvane::CountRecordSources();
}

uint16_t TOLVANE_CALL GetRecordSourceName(uint32_t index, char* name) {
    tolvane::GetRecordSourceName(index, name);
    return TOLVANE_OK;
}

uint16_t TOLVANE_CALL GetRecordSourceMic(uint32_t* index) {
    return tolvane::FindMicrophone(index);
}

uint16_t TOLVANE_CALL GetRecordSourceLine(uint32_t* index) {
    return tolvane::FindLineInput(index);
}

uint16_t TOLVANE_CALL SetTheSource(uint16_t index) {
    return tolvane::SelectRecordSource(index);
}
