// Exports: what a host can ask about files and blocks of samples.

#include "files/inspect.h"
#include "files/peaks.h"
#include "playback/mp3.h"
#include "tolvane.h"

uint16_t TOLVANE_CALL GetInputFileInfo(const char* path, InputFileInfo* info) {
    return tolvane::ReadInputFileInfo(path, info);
}

uint16_t TOLVANE_CALL GetDataChunkSize(const char* path, uint32_t* size) {
    return tolvane::ReadDataChunkSize(path, size);
}

uint16_t TOLVANE_CALL AudioGetFileInfo(AudioFileInfo* info, const char* path, uint16_t unit,
                                       uint32_t fromFile) {
    return tolvane::DescribeAudio(info, path, unit, fromFile != 0);
}

uint32_t TOLVANE_CALL AudioIsTheSampleSpeedSupported(const char* path, uint32_t sampleRate) {
    return tolvane::IsTheSampleSpeedSupported(path, sampleRate);
}

uint32_t TOLVANE_CALL CanSetPositionAndSampleRate(const char* path) {
    return !tolvane::IsNonPcmWaveFile(path);
}

uint16_t TOLVANE_CALL GetMP3FileInfo(const char* path, Mp3StreamFormat* format, uint32_t* size) {
    return tolvane::ReadMp3FileInfo(path, reinterpret_cast<MPEGLAYER3WAVEFORMAT*>(format), size);
}

uint16_t TOLVANE_CALL AudioGetLevelInBuffer(const InputFileInfo* format, const uint8_t* data, uint32_t length,
                                            uint32_t* left, uint32_t* right) {
    if (format) tolvane::MeasureLevelInBuffer(*format, data, length, left, right);
    return TOLVANE_OK;
}
