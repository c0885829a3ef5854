// How a playback starts.

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "convert/catalogue.h"
#include "convert/convert_file.h"
#include "files/positions.h"
#include "frame/callback_thread.h"
#include "frame/immortal.h"
#include "frame/scratch_files.h"
#include "playback/device.h"
#include "playback/playback.h"
#include "playback/ring.h"
#include "playback/set_moves.h"
#include "tolvane.h"

namespace tolvane {

namespace {

// The right to change what a playback plays, for the time of a start or load; refused while one plays.
class Claim {
  public:
    explicit Claim(Playback& playback) {
        LockGuard guard(playback.lock);
        if (playback.playing || playback.device || playback.claimed.exchange(true)) return;
        playback_ = &playback;
    }
    ~Claim() { Release(); }
    void Release() {
        if (playback_) playback_->claimed = false;
        playback_ = nullptr;
    }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;
    explicit operator bool() const { return playback_ != nullptr; }

  private:
    Playback* playback_ = nullptr;
};

bool IsInSet(const Playback& playback, const StartOptions& options) {
    return playback.set.IsActive() && !options.outside_set && playback.set.mp3 == playback.main.IsMp3();
}

DWORD StartOffset(const Playback& playback, const StartOptions& options) {
    DWORD offset = PlaybackBytes(playback, options.start, options.unit);
    if (offset >= playback.main.data_size) offset = 0;
    return DownToBlock(offset, playback.main.format.nBlockAlign);
}

// Goes to where the playback begins. An end at or before the start leaves nothing to play; an MP3 file is played to its
// end from wherever it begins.
bool SetSpan(Playback& playback, const StartOptions& options) {
    const bool from_zero = options.direct || playback.main.IsMp3() || IsInSet(playback, options);
    const DWORD start = from_zero ? 0 : StartOffset(playback, options);
    playback.base_position = start;
    playback.data_offset = playback.main.data_start + start;
    playback.repeat = options.repeat;
    playback.options = options;
    SetPlaybackEnd(playback);
    if (!SeekToData(playback, start)) return false;
    if (playback.main.IsMp3()) {
        playback.bytes_to_play = playback.main.data_size;
    } else if (options.end != 0 && !options.direct && playback.end_position <= start) {
        playback.bytes_to_play = 0;
        playback.repeat = false;
    }
    return true;
}

// Result codes.
uint16_t GoToStart(Playback& playback, const char* path, const StartOptions& options) {
    if (!SetSpan(playback, options)) return TOLVANE_CANNOT_SEEK;
    playback.set.run_start = Extent();
    playback.set.current = FindEntry(playback.set, path);
    if (!IsInSet(playback, options)) return TOLVANE_OK;
    if (options.start == 0) return TOLVANE_OK;
    return PositionInSet(playback, path, options) ? uint16_t{TOLVANE_OK} : uint16_t{TOLVANE_CANNOT_OPEN};
}

bool IsDrained(Playback& playback) {
    LockGuard guard(playback.lock);
    return playback.device && playback.buffers_in_device == 0;
}

// Nothing will come back from the device that could end this playback.
void EndWhatNeverBegan() {
    if (!AskForEndOfPlayback()) EndPlaybackIfDrained();
}

uint16_t OpenDeviceForFile(Playback& playback, uint32_t sample_rate) {
    if (AllocatePlaybackBuffers(playback) < kFewestBuffers) return TOLVANE_NO_BUFFERS;
    if (!playback.main.IsMp3() && !QueryOutputFormat(playback, sample_rate))
        return TOLVANE_FORMAT_NOT_PLAYABLE;
    if (!OpenOutputDevice(playback, sample_rate)) return TOLVANE_DEVICE_NOT_OPENED;
    return PreparePlaybackBuffers(playback) ? TOLVANE_OK : TOLVANE_BUFFER_NOT_PREPARED;
}

void StartRing(Playback& playback, const StartOptions& options) {
    playback.playing = playback.started = true;
    playback.paused = false;
    playback.direct = options.direct;
    if (options.start_paused) PauseDevice(playback);
    PrimePlaybackBuffers(playback);
    if (options.start_paused && !RestartDevice(playback)) GiveUpPlayback(playback);
}

// The opening of the device has read the file's format.
bool SeekToFirst(const Playback& playback) {
    return mmioSeek(playback.main.file.Get(), static_cast<LONG>(playback.data_offset), SEEK_SET) >= 0;
}

// Plays the file that is open, or another of the set; after a failure a file is still open, and nothing else is. The
// claim ends before anybody can hear of the playback, so that the next start is free as soon as this one has ended.
uint16_t StartOpenFile(Playback& playback, const char* path, const StartOptions& options, Claim& claim) {
    LockGuard guard(playback.lock);
    const uint16_t placed = GoToStart(playback, path, options);  // what a device refuses is told first
    uint16_t result = OpenDeviceForFile(playback, options.sample_rate);
    if (result == TOLVANE_OK) result = placed;
    if (result == TOLVANE_OK && !SeekToFirst(playback)) result = TOLVANE_CANNOT_SEEK;
    if (result == TOLVANE_OK) {
        StartRing(playback, options);
        claim.Release();
    } else {
        FreePlaybackBuffers(playback);
        CloseOutputDevice(playback);
    }
    return result;
}

uint16_t StartAndWatch(Playback& playback, const char* path, const StartOptions& options, Claim& claim) {
    uint16_t result = StartOpenFile(playback, path, options, claim);
    if (result == TOLVANE_OK && IsDrained(playback)) EndWhatNeverBegan();
    return result;
}

uint16_t OpenCopy(Playback& playback, const char* mix_path) {
    char copy[kPathSize];
    CopyScratchName(ScratchFile::kPlaybackCopy, copy);
    const uint16_t result = OpenWaveForPlay(copy, mix_path, &playback.main, &playback.mix);
    return result == TOLVANE_OK ? result : uint16_t{TOLVANE_CANNOT_OPEN};
}

// The temp folder may have been changed while the copy was made: then it belongs to nobody.
bool IsPlaybackCopy(const char* copy) {
    char now[kPathSize];
    CopyScratchName(ScratchFile::kPlaybackCopy, now);
    return strcmp(copy, now) == 0;
}

// Makes the playback copy of a compressed file and opens it. Nothing else can start meanwhile: the claim is held.
uint16_t OpenConverted(Playback& playback, const char* path, const char* mix_path, bool* made_copy) {
    const int32_t codec = FindCodecForFormatTag(playback.main.format.wFormatTag);
    ClosePlaybackFiles(playback);
    if (codec < 0) return TOLVANE_CANNOT_OPEN;
    char copy[kPathSize];
    CopyScratchName(ScratchFile::kPlaybackCopy, copy);
    ConvertRequest request;
    request.codec_index = static_cast<uint16_t>(codec);
    request.source = path;
    request.target = copy;
    request.allow_fallback = true;
    if (const TolvaneResult result = ConvertFile(request, nullptr); result != TOLVANE_OK)
        return static_cast<uint16_t>(result);
    *made_copy = true;
    if (IsPlaybackCopy(copy)) return OpenCopy(playback, mix_path);
    DeleteFileA(copy);
    return TOLVANE_CANNOT_OPEN;
}

}  // namespace

Playback& ThePlayback() {
    return Immortal<Playback>();
}

// The device took the buffers but will not play them: they come back, and with the last one the playback ends.
void GiveUpPlayback(Playback& playback) {
    playback.playing = false;
    ResetDevice(playback);
}

uint16_t StartWavePlayback(const char* path, const char* mix_path, StartOptions options, bool* made_copy) {
    Playback& playback = ThePlayback();
    Claim claim(playback);
    if (!claim) return TOLVANE_ALREADY_PLAYING;
    playback.average = options.average;
    uint16_t result = options.from_copy ? OpenCopy(playback, mix_path)
                                        : OpenWaveForPlay(path, mix_path, &playback.main, &playback.mix);
    const bool compressed = result == TOLVANE_NOT_PCM && !playback.mix.file;
    options.direct = options.direct && compressed;
    if (options.direct) {
        options.sample_rate = 0;
        options.start = 0;
        result = TOLVANE_OK;
    } else if (compressed) {
        result = OpenConverted(playback, path, mix_path, made_copy);
    } else if (result != TOLVANE_OK) {
        result = TOLVANE_CANNOT_OPEN;
    }
    if (result == TOLVANE_OK) result = StartAndWatch(playback, path, options, claim);
    if (result != TOLVANE_OK) ClosePlaybackFiles(playback);
    return result;
}

// Outside a set an MP3 file plays from its first byte.
uint16_t StartMp3Playback(const char* path, StartOptions options) {
    Playback& playback = ThePlayback();
    Claim claim(playback);
    if (!claim) return TOLVANE_ALREADY_PLAYING;
    ClosePlaybackFiles(playback);
    if (OpenMp3ForPlay(path, &playback.main) != TOLVANE_OK) return TOLVANE_CANNOT_OPEN;
    const uint16_t result = StartAndWatch(playback, path, options, claim);
    if (result != TOLVANE_OK) ClosePlaybackFiles(playback);
    return result;
}

uint16_t LoadPlaybackFile(const char* path) {
    Playback& playback = ThePlayback();
    Claim claim(playback);
    if (!claim) return TOLVANE_ALREADY_PLAYING;
    uint16_t result = OpenWaveForPlay(path, nullptr, &playback.main, &playback.mix);
    if (result == TOLVANE_OK && QueryOutputFormat(playback, 0)) return TOLVANE_OK;
    ClosePlaybackFiles(playback);
    return result == TOLVANE_OK ? TOLVANE_FORMAT_NOT_PLAYABLE : TOLVANE_CANNOT_OPEN;
}

bool ClosePlaybackFile() {
    Playback& playback = ThePlayback();
    Claim claim(playback);
    if (!claim || !playback.main.file) return false;
    ClosePlaybackFiles(playback);
    return true;
}

uint16_t StartLoadedFile(uint32_t start, uint16_t unit) {
    Playback& playback = ThePlayback();
    Claim claim(playback);
    if (!claim) return TOLVANE_ALREADY_PLAYING;
    if (!playback.main.file) return TOLVANE_CANNOT_OPEN;
    StartOptions options;
    options.start = start;
    options.unit = unit;
    options.start_paused = false;
    options.outside_set = true;
    return StartAndWatch(playback, "", options, claim);
}

}  // namespace tolvane
