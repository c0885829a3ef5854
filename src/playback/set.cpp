// What a set is: its entries measured, a place in it found, what can be asked about it.
#include "playback/set.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "files/inspect.h"
#include "files/mp3_format.h"
#include "files/positions.h"
#include "frame/text.h"
#include "playback/choice.h"
#include "playback/mp3.h"
#include "playback/playback.h"

namespace tolvane {

namespace {

uint32_t Limit(uint64_t value) {
    return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

Extent LengthOf(const PlaybackSetEntry& entry) {
    return {{entry.milliseconds, entry.samples, entry.bytes}};
}

// The samples and milliseconds of an entry whose format and bytes are known.
void Measure(PlaybackSetEntry& entry) {
    entry.samples = BytesToPosition(entry.bytes, TOLVANE_SAMPLES, entry.format);
    entry.milliseconds = BytesToPosition(entry.bytes, TOLVANE_MILLISECONDS, entry.format);
}

uint16_t DescribeWave(PlaybackSetEntry& entry) {
    if (const uint16_t failed = ReadInputFileInfo(entry.path, &entry.format)) return failed;
    uint32_t bytes = 0;  // the record is packed, so its field has no address for one
    ReadDataChunkSize(entry.path, &bytes);
    entry.bytes = bytes;
    Measure(entry);
    return TOLVANE_OK;
}

// The first frame's bit rate is all that is known of the playing time without decoding the file.
void EstimateMp3(PlaybackSetEntry& entry, const MPEGLAYER3WAVEFORMAT& mp3, uint32_t file_size) {
    entry.format = ToInputFileInfo(mp3.wfx);
    entry.format.wBitsPerSample = 16;
    entry.format.nBlockAlign = static_cast<uint16_t>(mp3.wfx.nChannels * 2);
    entry.format.nAvgBytesPerSec = mp3.wfx.nSamplesPerSec * entry.format.nBlockAlign;
    entry.extraSize = mp3.wfx.cbSize;
    const double seconds = std::ceil(file_size * 8.0 / 1000 / std::max(uint32_t{entry.bitRate}, 1u));
    entry.bytes = Limit(uint64_t{entry.format.nAvgBytesPerSec} * static_cast<uint64_t>(seconds));
    entry.bytesPerFileByte = file_size ? entry.bytes / file_size : 0;
    Measure(entry);
}

uint16_t DescribeMp3(PlaybackSetEntry& entry) {
    MPEGLAYER3WAVEFORMAT mp3;
    uint32_t file_size = 0;
    if (const uint16_t failed = ReadMp3FileInfo(entry.path, &mp3, &file_size)) return failed;
    Mp3Header header;
    entry.bitRate = FindMp3Header(entry.path, &header) ? header.kilobits : 0;
    EstimateMp3(entry, mp3, file_size);
    return TOLVANE_OK;
}

// A path without an end in its field is none.
uint16_t Describe(PlaybackSetEntry& entry, bool mp3) {
    if (!memchr(entry.path, 0, sizeof entry.path)) return TOLVANE_CANNOT_OPEN;
    return mp3 ? DescribeMp3(entry) : DescribeWave(entry);
}

PlaybackSetEntry CopyOf(const PlaybackSetEntry& entry) {
    LockGuard guard(ThePlayback().lock);
    return entry;
}

// All but the path, which stays as the host wrote it.
void Store(const PlaybackSetEntry& from, PlaybackSetEntry* to) {
    LockGuard guard(ThePlayback().lock);
    memcpy(&to->format, &from.format, sizeof from - offsetof(PlaybackSetEntry, format));
}

// These may be the entries that play already, and others read them: they are measured aside.
uint16_t DescribeAll(PlaybackSet& set) {
    for (uint32_t i = 0; i < set.count; ++i) {
        PlaybackSetEntry entry = CopyOf(set.entries[i]);
        const uint16_t failed = Describe(entry, set.mp3);
        Store(entry, &set.entries[i]);
        if (failed) return failed;
        set.total.Add(LengthOf(entry));
    }
    return TOLVANE_OK;
}

void SetTheSet(const PlaybackSet& set) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    playback.set = set;
}

// Measures and activates the set; `play` starts it unless it begins behind its end. Whatever fails, no set is left.
template <class Play>
uint16_t PlaySet(PlaybackSet set, uint32_t start, uint16_t unit, Play play) {
    if (!set.entries || set.count == 0) return TOLVANE_OK;
    ForgetSet();  // it may be over the same entries, which are written now
    uint16_t result = DescribeAll(set);
    const bool plays = result == TOLVANE_OK && start < set.total.In(unit);
    if (plays) SetTheSet(set);
    if (plays) result = play(set.entries[0].path);
    if (!plays || result != TOLVANE_OK) ForgetSet();
    return result;
}

PlaybackSet Over(PlaybackSetEntry* entries, uint32_t count, bool mp3) {
    PlaybackSet set;
    set.entries = entries;
    set.count = count;
    set.mp3 = mp3;
    return set;
}

// What the device counts of an MP3 file are the file's own bytes.
uint32_t PositionInRun(Playback& playback, uint16_t unit) {
    const PlaybackSet& set = playback.set;
    const uint64_t position = PositionOf(playback, unit);
    return Limit(set.mp3 ? position * set.Current()->bytesPerFileByte : position);
}

}  // namespace

void Extent::Add(const Extent& other) {
    for (int unit = 0; unit < kUnits; ++unit)
        in[unit] = Limit(uint64_t{in[unit]} + other.in[unit]);
}

uint32_t FindEntry(const PlaybackSet& set, const char* path) {
    uint32_t index = 0;
    while (index < set.count && strcmp(set.entries[index].path, path) != 0)
        ++index;
    return index;
}

Extent StartOfCurrent(const PlaybackSet& set) {
    Extent start;
    for (uint32_t i = 0; i < set.current; ++i)
        start.Add(LengthOf(set.entries[i]));
    return start;
}

bool FindInSet(const PlaybackSet& set, uint32_t position, uint16_t unit, SetPlace* place) {
    *place = {};
    for (uint32_t i = 0; i < set.count; ++i) {
        const Extent length = LengthOf(set.entries[i]);
        place->index = i;
        place->offset = position - place->before.In(unit);
        if (place->offset < length.In(unit)) return true;
        place->before.Add(length);
    }
    return false;
}

uint16_t PlayWaveSet(PlaybackSetEntry* entries, uint32_t count, uint32_t start, uint16_t unit,
                     uint32_t sample_rate, bool convert, uint32_t end) {
    StartOptions options;
    options.start = start;
    options.end = end;
    options.unit = unit;
    options.sample_rate = sample_rate;
    return PlaySet(Over(entries, count, false), start, unit,
                   [&](const char* path) { return PlayWave(path, nullptr, options, convert); });
}

uint16_t PlayMp3Set(PlaybackSetEntry* entries, uint32_t count, uint32_t start, uint16_t unit, uint32_t end) {
    StartOptions options;
    options.start = start;
    options.end = end;
    options.unit = unit;
    return PlaySet(Over(entries, count, true), start, unit,
                   [&](const char* path) { return PlayMp3(path, options); });
}

void GetSetInfo(PlaybackSetInfo* info, uint16_t unit) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    const PlaybackSet& set = playback.set;
    const PlaybackSetEntry* const entry = playback.started ? set.Current() : nullptr;
    const uint16_t run_unit = unit < kUnits ? unit : uint16_t{TOLVANE_MILLISECONDS};
    const InputFileInfo format = entry ? entry->format : InputFileInfo{};
    if (entry) CopyText(info->path, sizeof info->path, entry->path);
    info->position = entry ? Limit(uint64_t{PositionInRun(playback, unit)} + set.run_start.In(run_unit)) : 0;
    info->bitsPerSample = format.wBitsPerSample;
    info->channels = format.nChannels;
    info->sampleRate = format.nSamplesPerSec;
    info->formatTag = format.wFormatTag;
    info->totalBytes = set.total.In(TOLVANE_BYTES);
    info->totalSamples = set.total.In(TOLVANE_SAMPLES);
    info->totalMilliseconds = set.total.In(TOLVANE_MILLISECONDS);
}

void ForgetSet() {
    SetTheSet(PlaybackSet());
}

bool IsPlayingInSet(const char* path) {
    Playback& playback = ThePlayback();
    LockGuard guard(playback.lock);
    const PlaybackSetEntry* const entry = playback.set.Current();
    return playback.playing && entry && strcmp(entry->path, path) == 0;
}

}  // namespace tolvane
