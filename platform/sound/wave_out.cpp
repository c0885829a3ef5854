// The wave-out services: checks of arguments, then the open device's queue and card.
#include <algorithm>
#include <cstring>
#include <exception>

#include "platform/sound/service.h"
#include "platform/sound/wave_mapper.h"
#include "platform/sound/wave_out_device.h"

using namespace tolvane::platform;

namespace {

constexpr DWORD kKnownFlags =
    CALLBACK_TYPEMASK | WAVE_FORMAT_QUERY | WAVE_ALLOWSYNC | WAVE_MAPPED | WAVE_FORMAT_DIRECT;

struct ErrorText {
    MMRESULT error;
    const char* text;
};

constexpr ErrorText kErrorTexts[] = {
    {MMSYSERR_NOERROR, "There is no error."},
    {MMSYSERR_ERROR, "The device failed for a reason of its own."},
    {MMSYSERR_BADDEVICEID, "There is no such sound device."},
    {MMSYSERR_NOTENABLED, "The sound device could not be switched on."},
    {MMSYSERR_ALLOCATED, "The sound device is in use already."},
    {MMSYSERR_INVALHANDLE, "The handle is not that of an open device."},
    {MMSYSERR_NODRIVER, "The sound device is gone."},
    {MMSYSERR_NOMEM, "There is not enough memory."},
    {MMSYSERR_NOTSUPPORTED, "The device does not do that."},
    {MMSYSERR_BADERRNUM, "There is no such error number."},
    {MMSYSERR_INVALFLAG, "A flag is not valid here."},
    {MMSYSERR_INVALPARAM, "An argument is not valid."},
    {MMSYSERR_HANDLEBUSY, "Another thread is using the handle."},
    {WAVERR_BADFORMAT, "The device cannot play this wave format."},
    {WAVERR_STILLPLAYING, "The device still has buffers to play."},
    {WAVERR_UNPREPARED, "The buffer was not prepared for the device."},
    {WAVERR_SYNC, "The device works only synchronously."},
};

// Runs `action` on the open device under its lock.
template <typename Action>
MMRESULT WithDevice(const char* service, HWAVEOUT handle, Action action) {
    if (const MMRESULT fault = FaultIn(service)) return fault;
    const auto device = WaveOutTable::Find(handle);
    if (!device) return MMSYSERR_INVALHANDLE;
    const OutputLock lock(device->Output());
    return action(*device);
}

bool IsHeader(const WAVEHDR* header, UINT size) {
    return header && size >= sizeof(WAVEHDR) && (header->lpData || header->dwBufferLength == 0);
}

// A device tells nobody or a thread.
MMRESULT ReadTarget(DWORD_PTR callback, DWORD flags, WaveEvents& events) {
    if (flags & ~kKnownFlags) return MMSYSERR_INVALFLAG;
    switch (flags & CALLBACK_TYPEMASK) {
        case CALLBACK_NULL:
            return MMSYSERR_NOERROR;
        case CALLBACK_THREAD:
            events.thread = static_cast<DWORD>(callback);
            return events.thread ? MMSYSERR_NOERROR : MMSYSERR_INVALPARAM;
        default:
            return MMSYSERR_INVALFLAG;
    }
}

MMRESULT Open(const CardLease& lease, UINT id, OutputTarget& target, WaveEvents events, HWAVEOUT& opened) {
    const HWAVEOUT handle = WaveOutTable::NewHandle();
    events.device = reinterpret_cast<HWAVE>(handle);
    const auto device = std::make_shared<WaveOutDevice>(id, target.format, std::move(target.decoder), events);
    if (const MMRESULT result = device->Open(lease, target.index)) return result;
    if (!WaveOutTable::Add(handle, device)) return MMSYSERR_NOMEM;
    opened = handle;
    events.Tell(MM_WOM_OPEN, nullptr);
    return MMSYSERR_NOERROR;
}

// Bytes are the host's own, samples and time those of the sound that was heard.
MMRESULT FillTime(const WaveQueue& queue, uint64_t position, MMTIME& time) {
    const PcmFormat& format = queue.Format();
    if (time.wType == TIME_SAMPLES) {
        time.u.sample = static_cast<DWORD>(position / format.frame_bytes);
    } else if (time.wType == TIME_MS) {
        time.u.ms = static_cast<DWORD>(position * 1000 / format.BytesPerSecond());
    } else {
        time.wType = TIME_BYTES;
        time.u.cb = static_cast<DWORD>(queue.SourceAt(position));
    }
    return MMSYSERR_NOERROR;
}

}  // namespace

UINT waveOutGetNumDevs(void) {
    if (FaultIn("waveOutGetNumDevs")) return 0;
    const CardLease lease;
    return lease.card ? lease.card->Count(Direction::kOutput) : 0;
}

MMRESULT waveOutGetDevCapsA(UINT_PTR device, LPWAVEOUTCAPSA caps, UINT size) {
    if (const MMRESULT fault = FaultIn("waveOutGetDevCapsA")) return fault;
    if (!caps || size == 0) return MMSYSERR_INVALPARAM;
    const CardLease lease;
    const UINT id = static_cast<UINT>(device);
    const auto index = lease.card ? MapDevice(*lease.card, Direction::kOutput, id) : std::nullopt;
    const auto found = index ? lease.card->Describe(Direction::kOutput, *index) : std::nullopt;
    if (!found) return MMSYSERR_BADDEVICEID;
    WAVEOUTCAPSA answer = {
        kNoManufacturer,        kNoManufacturer, kDriverVersion, {}, found->formats, found->channels, 0,
        WAVECAPS_SAMPLEACCURATE};
    memcpy(answer.szPname, id == WAVE_MAPPER ? kMapperName : found->name, sizeof(answer.szPname));
    memcpy(caps, &answer, std::min<size_t>(size, sizeof(answer)));
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutOpen(LPHWAVEOUT handle, UINT device, LPCWAVEFORMATEX format, DWORD_PTR callback, DWORD_PTR,
                     DWORD flags) try {
    if (const MMRESULT fault = FaultIn("waveOutOpen")) return fault;
    const bool query = flags & WAVE_FORMAT_QUERY;
    if (!format || (!handle && !query)) return MMSYSERR_INVALPARAM;
    WaveEvents events = {};
    if (!query)
        if (const MMRESULT result = ReadTarget(callback, flags, events)) return result;
    const CardLease lease;
    OutputTarget target = {};
    const MMRESULT result = FindOutput(lease.card, device, *format, flags, target);
    return result || query ? result : Open(lease, device, target, events, *handle);
} catch (const std::exception&) {
    return MMSYSERR_NOMEM;
}

MMRESULT waveOutClose(HWAVEOUT handle) {
    const MMRESULT result = WithDevice("waveOutClose", handle, [](WaveOutDevice& device) -> MMRESULT {
        return device.Queue().Empty() ? MMSYSERR_NOERROR : WAVERR_STILLPLAYING;
    });
    if (result) return result;
    const auto device = WaveOutTable::Remove(handle);
    if (!device) return MMSYSERR_INVALHANDLE;
    device->Close();
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutPrepareHeader(HWAVEOUT handle, LPWAVEHDR header, UINT size) {
    return WithDevice("waveOutPrepareHeader", handle, [=](WaveOutDevice&) -> MMRESULT {
        if (!IsHeader(header, size)) return MMSYSERR_INVALPARAM;
        header->dwFlags |= WHDR_PREPARED;
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutUnprepareHeader(HWAVEOUT handle, LPWAVEHDR header, UINT size) {
    return WithDevice("waveOutUnprepareHeader", handle, [=](WaveOutDevice&) -> MMRESULT {
        if (!IsHeader(header, size)) return MMSYSERR_INVALPARAM;
        if (header->dwFlags & WHDR_INQUEUE) return WAVERR_STILLPLAYING;
        header->dwFlags &= ~DWORD{WHDR_PREPARED};
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutWrite(HWAVEOUT handle, LPWAVEHDR header, UINT size) {
    return WithDevice("waveOutWrite", handle, [=](WaveOutDevice& device) -> MMRESULT {
        if (!IsHeader(header, size)) return MMSYSERR_INVALPARAM;
        if (!(header->dwFlags & WHDR_PREPARED)) return WAVERR_UNPREPARED;
        if (header->dwFlags & WHDR_INQUEUE) return WAVERR_STILLPLAYING;
        return device.Write(*header);
    });
}

MMRESULT waveOutPause(HWAVEOUT handle) {
    return WithDevice("waveOutPause", handle, [](WaveOutDevice& device) -> MMRESULT {
        device.SetPaused(true);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutRestart(HWAVEOUT handle) {
    return WithDevice("waveOutRestart", handle, [](WaveOutDevice& device) -> MMRESULT {
        device.SetPaused(false);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutReset(HWAVEOUT handle) {
    return WithDevice("waveOutReset", handle, [](WaveOutDevice& device) -> MMRESULT {
        device.Reset();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutGetPosition(HWAVEOUT handle, LPMMTIME time, UINT size) {
    return WithDevice("waveOutGetPosition", handle, [=](WaveOutDevice& device) -> MMRESULT {
        if (!time || size < sizeof(MMTIME)) return MMSYSERR_INVALPARAM;
        return FillTime(device.Queue(), device.Output().Position(), *time);
    });
}

MMRESULT waveOutGetID(HWAVEOUT handle, UINT* id) {
    return WithDevice("waveOutGetID", handle, [=](WaveOutDevice& device) -> MMRESULT {
        if (!id) return MMSYSERR_INVALPARAM;
        *id = device.Id();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutGetErrorTextA(MMRESULT error, LPSTR text, UINT size) {
    if (const MMRESULT fault = FaultIn("waveOutGetErrorTextA")) return fault;
    if (!text || size == 0) return MMSYSERR_INVALPARAM;
    const auto known = std::ranges::find(kErrorTexts, error, &ErrorText::error);
    if (known == std::end(kErrorTexts)) return MMSYSERR_BADERRNUM;
    const size_t length = std::min<size_t>(strlen(known->text), size - 1);
    memcpy(text, known->text, length);
    text[length] = 0;
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutMessage(HWAVEOUT handle, UINT message, DWORD_PTR first, DWORD_PTR second) {
    if (const MMRESULT fault = FaultIn("waveOutMessage")) return fault;
    return MapperMessage(Direction::kOutput, reinterpret_cast<uintptr_t>(handle), message, first, second);
}
