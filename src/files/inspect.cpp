#include "files/inspect.h"

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "devices/devices.h"
#include "files/positions.h"
#include "files/wave_reader.h"
#include "frame/disk_space.h"
#include "frame/immortal.h"
#include "frame/lock.h"
#include "frame/text.h"
#include "record/recording.h"
#include "record/settings.h"

namespace tolvane {

namespace {

struct SavedIdentity {
    Lock lock;
    BY_HANDLE_FILE_INFORMATION record = {};
};

struct StreamCloser {
    void operator()(FILE* stream) const { fclose(stream); }
};

uint16_t CodeOf(GlobalBlock::Outcome outcome) {
    if (outcome == GlobalBlock::Outcome::kNoMemory) return TOLVANE_NO_MEMORY;
    return outcome == GlobalBlock::Outcome::kNotLocked ? TOLVANE_MEMORY_NOT_LOCKED : TOLVANE_OK;
}

bool FillFromFormat(const InputFileInfo& format, AudioFileInfo* info) {
    if (format.wFormatTag != WAVE_FORMAT_PCM) return false;
    if (format.nChannels == 0 || format.nSamplesPerSec == 0 || format.wBitsPerSample == 0) return false;
    info->bitsPerSample = format.wBitsPerSample;
    info->channels = format.nChannels;
    info->sampleRate = format.nSamplesPerSec;
    info->formatTag = WAVE_FORMAT_PCM;
    return true;
}

uint16_t DescribeFile(AudioFileInfo* info, const char* path, uint16_t unit) {
    if (IsEmpty(path)) return TOLVANE_NO_PATH;
    InputFileInfo format;
    if (uint16_t result = ReadInputFileInfo(path, &format)) return result;
    if (!FillFromFormat(format, info)) return TOLVANE_NOT_WAVE;
    uint32_t size = 0;
    ReadDataChunkSize(path, &size);
    info->length = BytesToPosition(size, unit, format);
    return TOLVANE_OK;
}

void DescribeRecording(AudioFileInfo* info) {
    const RecordSettings& settings = TheRecordSettings();
    const bool runs = TheRecording().running;
    info->recordingSampleRate = runs ? settings.sample_rate.load() : 0;
    info->recordingBitsPerSample = runs ? settings.bits.load() : uint16_t{0};
    info->recordingChannels = runs ? settings.channels.load() : uint16_t{0};
}

}  // namespace

uint16_t ReadInputFileInfo(const char* path, InputFileInfo* info) {
    MmioFile file = OpenForReading(path);
    Chunk riff, chunk;
    if (!file || !FindWave(file, &riff) || !FindSubchunk(file, riff, kFormatChunk, &chunk))
        return TOLVANE_CANNOT_OPEN;
    bool is_readable = chunk.cksize >= sizeof *info && chunk.cksize <= kLongestFormat;
    if (!is_readable || AvailableBytes(file, chunk) < chunk.cksize) return TOLVANE_CANNOT_OPEN;
    GlobalBlock record;
    if (uint16_t result = CodeOf(record.Allocate(chunk.cksize, GMEM_MOVEABLE))) return result;
    if (!ReadExactly(file, record.Data(), chunk.cksize)) return TOLVANE_CANNOT_OPEN;
    if (info) memcpy(info, record.Data(), sizeof *info);
    return TOLVANE_OK;
}

uint16_t ReadDataChunkSize(const char* path, uint32_t* size) {
    MmioFile file = OpenForReading(path);
    Chunk riff, chunk;
    if (!file) return TOLVANE_CANNOT_OPEN;
    if (!FindWave(file, &riff)) return TOLVANE_NOT_WAVE;
    if (!FindSubchunk(file, riff, kDataChunk, &chunk)) return TOLVANE_NO_DATA;
    if (size) *size = chunk.cksize;
    return TOLVANE_OK;
}

uint16_t DescribeAudio(AudioFileInfo* info, const char* path, uint16_t unit, bool from_file) {
    AudioFileInfo unwanted;
    if (!info) info = &unwanted;
    if (from_file) return DescribeFile(info, path, unit);
    DescribeRecording(info);
    return TOLVANE_OK;
}

bool IsTheSampleSpeedSupported(const char* path, uint32_t sample_rate) {
    InputFileInfo info;
    if (IsEmpty(path) || ReadInputFileInfo(path, &info) != TOLVANE_OK) return false;
    WAVEFORMATEX format = {};
    memcpy(&format, &info, sizeof info);
    format.nSamplesPerSec = sample_rate;
    return waveOutOpen(nullptr, SelectedOutputDevice(), &format, 0, 0, WAVE_FORMAT_QUERY) == MMSYSERR_NOERROR;
}

int IsNonPcmWaveFile(const char* path) {
    InputFileInfo info;
    return ReadInputFileInfo(path, &info) != TOLVANE_OK || info.wFormatTag != WAVE_FORMAT_PCM;
}

uint32_t GetFileLength(const char* path) {
    if (!IsUsablePath(path) || IsDirectory(path)) return 0;
    std::unique_ptr<FILE, StreamCloser> stream(fopen(path, "r"));
    if (!stream || fseek(stream.get(), 0, SEEK_END) != 0) return 0;
    long length = ftell(stream.get());
    return length > 0 ? Truncate(static_cast<double>(length)) : 0;
}

int IsSameFileAsLast(const char* path) {
    if (!IsUsablePath(path)) return 0;
    FileHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file) return 0;
    BY_HANDLE_FILE_INFORMATION record = {};
    bool was_read = GetFileInformationByHandle(file.Get(), &record);
    SavedIdentity& saved = Immortal<SavedIdentity>();
    LockGuard guard(saved.lock);
    bool same = was_read && memcmp(&record, &saved.record, sizeof record) == 0;
    saved.record = record;
    return same;
}

}  // namespace tolvane
