#include "record/effect_wave.h"

#include <mmsystem.h>

#include <algorithm>
#include <atomic>
#include <cstdio>

#include "files/wave_reader.h"
#include "frame/handles.h"
#include "frame/immortal.h"
#include "frame/lock.h"
#include "tolvane.h"

namespace tolvane {

namespace {

struct EffectWave {
    std::atomic<HANDLE> lock = nullptr;  // there from the first recording on; guards what follows
    MmioFile file;                       // positioned at the sound that comes next
    DWORD size = 0;
    DWORD used = 0;
    std::atomic<bool> active = false;  // read without the lock
};

EffectWave& TheEffectWave() {
    return Immortal<EffectWave>();
}

// What is told a debugger.
void Tell(const char* format, unsigned long number) {
    char text[64];
    snprintf(text, sizeof text, format, static_cast<long>(number));
    OutputDebugStringA(text);
}

// Of any RIFF form; the file is then positioned at its sound.
uint16_t FindSound(const MmioFile& file, DWORD* size) {
    Chunk riff = {}, data = {};
    if (!FindRiff(file, &riff)) {
        Tell("%ld", MMIOERR_CHUNKNOTFOUND);
        OutputDebugStringA("Couldnot find RIFF chunk.");
        return TOLVANE_EFFECT_WAVE_NO_RIFF;
    }
    if (!FindSubchunk(file, riff, kDataChunk, &data)) {
        Tell("%ld", MMIOERR_CHUNKNOTFOUND);
        return TOLVANE_EFFECT_WAVE_NO_DATA;
    }
    OutputDebugStringA("Descended to the DATA Chunk.");
    if (data.cksize == 0) return TOLVANE_EFFECT_WAVE_EMPTY;
    Tell("dataSize = %ld", data.cksize);
    *size = data.cksize;
    return TOLVANE_OK;
}

uint16_t OpenEffectWave(EffectWave& wave, const char* path) {
    if (wave.file) {
        wave.file.Reset();
        OutputDebugStringA("Closing file");
    }
    OutputDebugStringA("Got the mutex ownership!");
    wave.file = OpenForReading(path);
    if (!wave.file) return TOLVANE_EFFECT_WAVE_MISSING;
    OutputDebugStringA("Successfully opened the wave file");
    wave.used = 0;
    wave.size = 0;
    return FindSound(wave.file, &wave.size);
}

}  // namespace

uint16_t StartEffectWave(const char* path) {
    EffectWave& wave = TheEffectWave();
    MutexGuard guard(wave.lock);
    if (!guard) return TOLVANE_NOTHING_RECORDED;
    const uint16_t result = OpenEffectWave(wave, path);
    wave.active = result == TOLVANE_OK;
    return result;
}

void ForgetEffectWave() {
    TheEffectWave().active = false;
}

void MakeEffectWaveLock() {
    EffectWave& wave = TheEffectWave();
    if (!wave.lock) wave.lock = CreateMutexA(nullptr, FALSE, nullptr);
}

bool IsEffectWaveActive() {
    return TheEffectWave().active;
}

uint16_t PlayEffectWave(uint8_t* data, DWORD bytes) {
    EffectWave& wave = TheEffectWave();
    MutexGuard guard(wave.lock);
    if (!guard) return TOLVANE_EFFECT_WAVE_BUSY;
    if (!wave.file) return TOLVANE_EFFECT_WAVE_CLOSED;
    if (wave.size == 0) return TOLVANE_EFFECT_WAVE_EMPTY;
    if (wave.used >= wave.size) return TOLVANE_EFFECT_WAVE_USED_UP;
    const DWORD left = wave.size - wave.used;
    const DWORD count = std::min(bytes, left);
    Tell("data left: %ld", left);
    Tell("ReadingBytes: %ld", count);
    OutputDebugStringA("Reading without mixing");
    const LONG got = mmioRead(wave.file.Get(), reinterpret_cast<HPSTR>(data), static_cast<LONG>(count));
    if (got < 0 || count == left) wave.active = false;
    if (got < 0) return TOLVANE_EFFECT_WAVE_BROKEN;
    wave.used += count;
    if (count == left) wave.file.Reset();
    return TOLVANE_OK;
}

// Under the lock, which a host's thread may hold: what it does then is short.
void ReleaseEffectWave() {
    EffectWave& wave = TheEffectWave();
    {
        MutexGuard guard(wave.lock);
        wave.active = false;
        wave.file.Reset();
    }
    if (const HANDLE lock = wave.lock.exchange(nullptr)) CloseHandle(lock);
}

}  // namespace tolvane
