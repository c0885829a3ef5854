#include "playback/device.h"

#include <mmreg.h>

#include <algorithm>
#include <cstring>

#include "devices/closing.h"
#include "devices/devices.h"
#include "files/positions.h"
#include "frame/callback_thread.h"

namespace tolvane {

namespace {

bool CopyMp3Format(const Playback& playback, GlobalBlock* record) {
    const MPEGLAYER3WAVEFORMAT& format = playback.main.mp3;
    if (record->Allocate(sizeof format, GMEM_MOVEABLE) != GlobalBlock::Outcome::kDone) return false;
    memcpy(record->Data(), &format, sizeof format);
    return true;
}

// Only the mapper takes a compressed stream to a codec.
UINT DeviceFor(const Playback& playback) {
    return playback.main.IsMp3() ? UINT{WAVE_MAPPER} : SelectedOutputDevice();
}

// The format record of the main file as the device is to be given it.
bool ReadDeviceFormat(const Playback& playback, uint32_t sample_rate, GlobalBlock* record) {
    if (playback.main.IsMp3()) return CopyMp3Format(playback, record);
    if (ReadFormatRecord(playback.main.file, playback.main.riff, record) != FormatRead::kDone) return false;
    if (sample_rate) static_cast<WAVEFORMATEX*>(record->Data())->nSamplesPerSec = sample_rate;
    return true;
}

uint64_t BitsPerSecond(const WAVEFORMATEX& format) {
    uint64_t bits = uint64_t{format.nSamplesPerSec} * format.wBitsPerSample * format.nChannels;
    return bits ? bits : uint64_t{format.nAvgBytesPerSec} * 8;
}

DWORD Scale(uint64_t value, uint64_t by, uint64_t over) {
    return over ? static_cast<DWORD>(std::min<uint64_t>(value * by / over, UINT32_MAX)) : 0;
}

// SMPTE time in milliseconds.
uint64_t SmpteMilliseconds(const MMTIME& time) {
    const auto& smpte = time.u.smpte;
    uint64_t seconds = (uint64_t{smpte.hour} * 60 + smpte.min) * 60 + smpte.sec;
    return seconds * 1000 + (smpte.fps ? smpte.frame * 1000u / smpte.fps : 0);
}

// A device may answer in another time format than it was asked for.
bool ToMilliseconds(const MMTIME& time, const WAVEFORMATEX& format, DWORD* milliseconds) {
    switch (time.wType) {
        case TIME_MS:
            *milliseconds = time.u.ms;
            return true;
        case TIME_SAMPLES:
            *milliseconds = Scale(time.u.sample, 1000, format.nSamplesPerSec);
            return true;
        case TIME_BYTES:
            *milliseconds = Scale(time.u.cb, 8000, BitsPerSecond(format));
            return true;
        case TIME_SMPTE:
            *milliseconds = static_cast<DWORD>(SmpteMilliseconds(time));
            return true;
        default:
            return false;
    }
}

bool ToBytes(const MMTIME& time, const WAVEFORMATEX& format, DWORD* bytes) {
    if (time.wType == TIME_BYTES) {
        *bytes = time.u.cb;
        return true;
    }
    if (time.wType == TIME_SAMPLES) {
        *bytes = Scale(time.u.sample, format.nBlockAlign, 1);
        return true;
    }
    DWORD milliseconds;
    if (!ToMilliseconds(time, format, &milliseconds)) return false;
    *bytes = DownToBlock(Scale(milliseconds, BitsPerSecond(format), 8000), format.nBlockAlign);
    return true;
}

bool AskPosition(Playback& playback, UINT type, MMTIME* time) {
    *time = {};
    time->wType = type;
    MutexGuard guard(playback.device_lock.Get());
    return waveOutGetPosition(playback.device, time, sizeof *time) == MMSYSERR_NOERROR;
}

}  // namespace

bool QueryOutputFormat(const Playback& playback, uint32_t sample_rate) {
    GlobalBlock record;
    if (!ReadDeviceFormat(playback, sample_rate, &record)) return false;
    const WAVEFORMATEX* format = static_cast<const WAVEFORMATEX*>(record.Data());
    return waveOutOpen(nullptr, SelectedOutputDevice(), format, 0, 0, WAVE_FORMAT_QUERY) == MMSYSERR_NOERROR;
}

bool OpenOutputDevice(Playback& playback, uint32_t sample_rate) {
    GlobalBlock record;
    DWORD thread = CallbackThreadId();
    if (!thread || !ReadDeviceFormat(playback, sample_rate, &record)) return false;
    playback.device_lock.Reset(CreateMutexA(nullptr, FALSE, nullptr));
    if (!playback.device_lock) return false;
    const WAVEFORMATEX* format = static_cast<const WAVEFORMATEX*>(record.Data());
    if (waveOutOpen(&playback.device, DeviceFor(playback), format, thread, 0, CALLBACK_THREAD) ==
        MMSYSERR_NOERROR) {
        return true;
    }
    playback.device = nullptr;
    playback.device_lock.Reset();
    return false;
}

// A device that holds on to a buffer refuses to be closed: it is told once more to hand everything back.
void CloseOutputDevice(Playback& playback) {
    if (playback.device) {
        MutexGuard guard(playback.device_lock.Get());
        if (CloseApart(waveOutClose, playback.device) == Closing::kRefused) {
            waveOutReset(playback.device);
            waveOutClose(playback.device);
        }
    }
    playback.device = nullptr;
    playback.device_lock.Reset();
}

bool PreparePlaybackBuffers(Playback& playback) {
    for (uint16_t slot = 0; slot < playback.buffer_count; ++slot) {
        MutexGuard guard(playback.device_lock.Get());
        WaveBuffer& buffer = playback.buffers[slot];
        if (waveOutPrepareHeader(playback.device, buffer.Header(), sizeof(WAVEHDR)) != MMSYSERR_NOERROR)
            return false;
        buffer.Header()->dwFlags = WHDR_PREPARED;
        buffer.prepared = true;
    }
    return true;
}

void UnprepareBuffers(Playback& playback) {
    for (WaveBuffer& buffer : playback.buffers) {
        if (!buffer.prepared) continue;
        MutexGuard guard(playback.device_lock.Get());
        buffer.Header()->dwBufferLength = playback.buffer_size;  // as it was prepared
        waveOutUnprepareHeader(playback.device, buffer.Header(), sizeof(WAVEHDR));
        buffer.prepared = false;
    }
}

bool WriteBuffer(Playback& playback, uint16_t slot) {
    WaveBuffer& buffer = playback.buffers[slot];
    MutexGuard guard(playback.device_lock.Get());
    if (waveOutWrite(playback.device, buffer.Header(), sizeof(WAVEHDR)) != MMSYSERR_NOERROR) return false;
    playback.queue[(playback.queue_head + playback.buffers_in_device) % kMostBuffers] =
        static_cast<uint8_t>(slot);
    ++playback.buffers_in_device;
    buffer.in_device = true;
    return true;
}

void PauseDevice(Playback& playback) {
    MutexGuard guard(playback.device_lock.Get());
    waveOutPause(playback.device);
}

bool RestartDevice(Playback& playback) {
    MutexGuard guard(playback.device_lock.Get());
    return waveOutRestart(playback.device) == MMSYSERR_NOERROR;
}

bool ResetDevice(Playback& playback) {
    MutexGuard guard(playback.device_lock.Get());
    return waveOutReset(playback.device) == MMSYSERR_NOERROR;
}

void InsistOnReset(Playback& playback, bool* reset) {
    if (*reset) return;
    *reset = ResetDevice(playback);
    if (!*reset) RestartDevice(playback);
}

bool GetBytesPlayed(Playback& playback, DWORD* bytes) {
    MMTIME time;
    return AskPosition(playback, TIME_BYTES, &time) && ToBytes(time, playback.main.format, bytes);
}

bool GetMillisecondsPlayed(Playback& playback, DWORD* milliseconds) {
    MMTIME time;
    return AskPosition(playback, TIME_MS, &time) && ToMilliseconds(time, playback.main.format, milliseconds);
}

}  // namespace tolvane
