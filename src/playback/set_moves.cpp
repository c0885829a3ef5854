// Moving within a set: to another file on the same device, or on one opened anew where the formats differ.
#include "playback/set_moves.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "files/positions.h"
#include "playback/device.h"
#include "playback/ring.h"

namespace tolvane {

namespace {

constexpr DWORD kDevicePoll = 1;  // milliseconds

// The byte of a file at which such a part of its entry begins.
DWORD OffsetInFile(const PlaybackSet& set, const SetPlace& place, uint16_t unit, const PlayedFile& file) {
    const PlaybackSetEntry& entry = set.entries[place.index];
    DWORD bytes = PlaybackBytes(file.format, place.offset, unit);
    if (set.mp3) bytes /= std::max(DWORD{entry.bytesPerFileByte}, DWORD{1});
    return DownToBlock(std::min(bytes, file.data_size), file.format.nBlockAlign);
}

uint16_t OpenEntry(const PlaybackSet& set, uint32_t index, PlayedFile* file) {
    const char* path = set.entries[index].path;
    return set.mp3 ? OpenMp3ForPlay(path, file) : OpenWaveSource(path, false, file);
}

bool HaveOneFormat(const PlayedFile& a, const PlayedFile& b) {
    return memcmp(&a.format, &b.format, sizeof a.format) == 0 && memcmp(&a.mp3, &b.mp3, sizeof a.mp3) == 0;
}

// Where in the set the run begins: exactly as the host said it, in other units as near as they allow.
Extent RunStart(const PlaybackSet& set, const SetPlace& place, uint32_t position, uint16_t unit) {
    const InputFileInfo& format = set.entries[place.index].format;
    const uint32_t bytes = PositionToBytes(place.offset, unit, format);
    Extent start = place.before;
    start.Add({{BytesToPosition(bytes, TOLVANE_MILLISECONDS, format),
                BytesToPosition(bytes, TOLVANE_SAMPLES, format), bytes}});
    if (unit < kUnits) start.in[unit] = position;
    return start;
}

// Takes over the file of a place, which may be the one that is open, and goes to the place in it.
bool GoTo(Playback& playback, const SetPlace& place, uint32_t position, uint16_t unit, PlayedFile* other) {
    if (other) playback.main = std::move(*other);
    SetPlaybackEnd(playback);
    const DWORD offset = OffsetInFile(playback.set, place, unit, playback.main);
    if (!SeekToData(playback, offset)) return false;
    playback.data_offset = playback.main.data_start + offset;
    playback.base_position = 0;
    playback.set.current = place.index;
    playback.set.run_start = RunStart(playback.set, place, position, unit);
    return true;
}

void PlayOn(Playback& playback) {
    PrimePlaybackBuffers(playback);
    if (!playback.paused && !RestartDevice(playback)) GiveUpPlayback(playback);
}

// Another format: the device is opened for it when everything has come back.
struct DeviceChange {
    uint32_t run;
    const PlaybackSetEntry* entries;
    SetPlace place;
    uint32_t position;
    uint16_t unit;
    PlayedFile file;
    bool reset;  // the device has been reset for it
};

bool OpenDeviceAnew(Playback& playback) {
    FreePlaybackBuffers(playback);
    CloseOutputDevice(playback);
    return AllocatePlaybackBuffers(playback) >= kFewestBuffers &&
           OpenOutputDevice(playback, playback.options.sample_rate) && PreparePlaybackBuffers(playback);
}

// Meanwhile the set may have been taken away, and its entries with it.
bool Change(Playback& playback, DeviceChange& change) {
    if (playback.set.entries != change.entries || change.place.index >= playback.set.count) return false;
    playback.main = std::move(change.file);
    playback.direct = false;
    return OpenDeviceAnew(playback) && GoTo(playback, change.place, change.position, change.unit, nullptr);
}

// False while buffers are still to come back.
bool TryChange(Playback& playback, DeviceChange& change) {
    LockGuard guard(playback.lock);
    if (!playback.playing || playback.ended_runs != change.run) return true;
    if (playback.buffers_in_device > 0) {
        InsistOnReset(playback, &change.reset);
        return false;
    }
    playback.changing_device = false;
    if (Change(playback, change)) {
        PauseDevice(playback);
        PlayOn(playback);
    }
    if (playback.buffers_in_device == 0) EndAndTell(playback);
    return true;
}

enum class Move { kDone, kChangesDevice };

// The device is silent before the other file is looked at, which may take its time. A compressed file that is played as it
// is has no places to go to, but the other files have.
Move MoveTo(Playback& playback, const SetPlace& place, uint32_t position, uint16_t unit,
            DeviceChange* change) {
    const bool other = place.index != playback.set.current;
    if (playback.direct && !other) return Move::kDone;
    const bool reset = ResetDevice(playback);
    PauseDevice(playback);
    PlayedFile file;
    if (other && OpenEntry(playback.set, place.index, &file) != TOLVANE_OK) {
        GiveUpPlayback(playback);
        return Move::kDone;
    }
    if (other && !HaveOneFormat(file, playback.main)) {
        playback.changing_device = true;
        *change = {playback.ended_runs, playback.set.entries, place, position, unit, std::move(file), reset};
        return Move::kChangesDevice;
    }
    if (GoTo(playback, place, position, unit, other ? &file : nullptr))
        PlayOn(playback);
    else
        GiveUpPlayback(playback);
    return Move::kDone;
}

Move BeginMove(Playback& playback, uint32_t position, uint16_t unit, DeviceChange* change) {
    LockGuard guard(playback.lock);
    const PlaybackSet& set = playback.set;
    const bool steerable = playback.playing && !playback.changing_device && playback.buffers_in_device > 0;
    SetPlace place;
    if (!set.IsActive() || !steerable || position >= set.total.In(unit)) return Move::kDone;
    return FindInSet(set, position, unit, &place) ? MoveTo(playback, place, position, unit, change)
                                                  : Move::kDone;
}

}  // namespace

// The first file may be open as the PCM copy of a compressed one.
bool PositionInSet(Playback& playback, const char* path, const StartOptions& options) {
    const PlaybackSet& set = playback.set;
    SetPlace place;
    if (!FindInSet(set, options.start, options.unit, &place)) return true;
    if (strcmp(path, set.entries[place.index].path) == 0)
        return GoTo(playback, place, options.start, options.unit, nullptr);
    PlayedFile file;
    return OpenEntry(set, place.index, &file) == TOLVANE_OK &&
           GoTo(playback, place, options.start, options.unit, &file);
}

void MoveIntoSet(uint32_t position, uint16_t unit) {
    Playback& playback = ThePlayback();
    DeviceChange change;
    if (BeginMove(playback, position, unit, &change) == Move::kDone) return;
    while (!TryChange(playback, change))
        Sleep(kDevicePoll);
}

}  // namespace tolvane
