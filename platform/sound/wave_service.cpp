// What the wave-out and wave-in services share.
#include "platform/sound/wave_service.h"

#include "platform/sound/wave_mapper.h"

namespace tolvane::platform {
namespace {

constexpr DWORD kKnownFlags =
    CALLBACK_TYPEMASK | WAVE_FORMAT_QUERY | WAVE_ALLOWSYNC | WAVE_MAPPED | WAVE_FORMAT_DIRECT;

constexpr char kMapperName[] = "Sound mapper";

bool IsHeader(const WAVEHDR* header, UINT size) {
    return header && size >= sizeof(WAVEHDR) && (header->lpData || header->dwBufferLength == 0);
}

}  // namespace

MMRESULT PrepareHeader(const WaveDevice& device, WAVEHDR* header, UINT size) {
    if (!IsHeader(header, size)) return MMSYSERR_INVALPARAM;
    if (device.IsLost()) return MMSYSERR_NODRIVER;
    header->dwFlags |= WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT UnprepareHeader(WAVEHDR* header, UINT size) {
    if (!IsHeader(header, size)) return MMSYSERR_INVALPARAM;
    if (header->dwFlags & WHDR_INQUEUE) return WAVERR_STILLPLAYING;
    header->dwFlags &= ~DWORD{WHDR_PREPARED};
    return MMSYSERR_NOERROR;
}

MMRESULT AddHeader(WaveDevice& device, WAVEHDR* header, UINT size) {
    if (!IsHeader(header, size)) return MMSYSERR_INVALPARAM;
    if (!(header->dwFlags & WHDR_PREPARED)) return WAVERR_UNPREPARED;
    if (header->dwFlags & WHDR_INQUEUE) return WAVERR_STILLPLAYING;
    return device.Add(*header);
}

MMRESULT FillTime(const PcmFormat& format, uint64_t position, uint64_t bytes, MMTIME* time, UINT size) {
    if (!time || size < sizeof(MMTIME)) return MMSYSERR_INVALPARAM;
    if (time->wType == TIME_SAMPLES) {
        time->u.sample = static_cast<DWORD>(position / format.frame_bytes);
    } else if (time->wType == TIME_MS) {
        time->u.ms = static_cast<DWORD>(position * 1000 / format.BytesPerSecond());
    } else {
        time->wType = TIME_BYTES;
        time->u.cb = static_cast<DWORD>(bytes);
    }
    return MMSYSERR_NOERROR;
}

MMRESULT BeginOpening(bool has_handle, const WAVEFORMATEX* format, DWORD_PTR callback, DWORD flags,
                      WaveEvents& events) {
    const bool query = flags & WAVE_FORMAT_QUERY;
    if (!format || (!has_handle && !query)) return MMSYSERR_INVALPARAM;
    if (query) return MMSYSERR_NOERROR;
    if (flags & ~kKnownFlags) return MMSYSERR_INVALFLAG;
    switch (flags & CALLBACK_TYPEMASK) {
        case CALLBACK_NULL:
            break;
        case CALLBACK_THREAD:
            events.thread = static_cast<DWORD>(callback);
            if (!events.thread) return MMSYSERR_INVALPARAM;
            break;
        default:
            return MMSYSERR_INVALFLAG;
    }
    events.device = OpenDevices::NewHandle();
    return MMSYSERR_NOERROR;
}

MMRESULT CloseDevice(const char* service, Direction direction, HWAVE handle) {
    if (const MMRESULT fault = FaultIn(service)) return fault;
    const auto device = OpenDevices::Find(direction, handle);
    if (!device) return MMSYSERR_INVALHANDLE;
    {
        const StreamLock lock(*device->Stream());
        if (!device->Empty()) return WAVERR_STILLPLAYING;
    }
    if (!OpenDevices::Remove(direction, handle)) return MMSYSERR_INVALHANDLE;
    device->Close();
    return MMSYSERR_NOERROR;
}

std::optional<CardDevice> DescribeDevice(Direction direction, UINT_PTR id) {
    const CardLease lease;
    if (!lease.card) return std::nullopt;
    const auto index = MapDevice(*lease.card, direction, static_cast<UINT>(id));
    auto device = index ? lease.card->Describe(direction, *index) : std::nullopt;
    if (device && static_cast<UINT>(id) == WAVE_MAPPER) SetDeviceName(*device, kMapperName);
    return device;
}

}  // namespace tolvane::platform
