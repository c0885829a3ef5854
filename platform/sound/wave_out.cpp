// The wave-out services: checks of arguments, then the open device.
#include <algorithm>
#include <cstring>
#include <exception>

#include "platform/sound/wave_mapper.h"
#include "platform/sound/wave_out_device.h"
#include "platform/sound/wave_service.h"

using namespace tolvane::platform;

namespace {

constexpr auto WithOutput = [](const char* service, HWAVEOUT handle, auto action) -> MMRESULT {
    return WithDevice<WaveOutDevice>(service, handle, action);
};

}  // namespace

UINT waveOutGetNumDevs(void) {
    if (FaultIn("waveOutGetNumDevs")) return 0;
    const CardLease lease;
    return lease.card ? lease.card->Count(Direction::kOutput) : 0;
}

MMRESULT waveOutGetDevCapsA(UINT_PTR device, LPWAVEOUTCAPSA caps, UINT size) {
    if (const MMRESULT fault = FaultIn("waveOutGetDevCapsA")) return fault;
    if (!caps || size == 0) return MMSYSERR_INVALPARAM;
    const auto found = DescribeDevice(Direction::kOutput, device);
    if (!found) return MMSYSERR_BADDEVICEID;
    WAVEOUTCAPSA answer = {
        kNoManufacturer,        kNoManufacturer, kDriverVersion, {}, found->formats, found->channels, 0,
        WAVECAPS_SAMPLEACCURATE};
    memcpy(answer.szPname, found->name, sizeof(answer.szPname));
    memcpy(caps, &answer, std::min<size_t>(size, sizeof(answer)));
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutOpen(LPHWAVEOUT handle, UINT device, LPCWAVEFORMATEX format, DWORD_PTR callback, DWORD_PTR,
                     DWORD flags) try {
    if (const MMRESULT fault = FaultIn("waveOutOpen")) return fault;
    WaveEvents events = {Direction::kOutput, nullptr, 0};
    if (const MMRESULT result = BeginOpening(handle, format, callback, flags, events)) return result;
    const CardLease lease;
    OutputTarget target = {};
    const MMRESULT result = FindOutput(lease.card, device, *format, flags, target);
    if (result || flags & WAVE_FORMAT_QUERY) return result;
    return OpenDevice(std::make_shared<WaveOutDevice>(target.format, std::move(target.decoder), events),
                      target.index, *handle);
} catch (const std::exception&) {
    return MMSYSERR_NOMEM;
}

MMRESULT waveOutClose(HWAVEOUT handle) {
    return CloseDevice("waveOutClose", Direction::kOutput, reinterpret_cast<HWAVE>(handle));
}

MMRESULT waveOutPrepareHeader(HWAVEOUT handle, LPWAVEHDR header, UINT size) {
    return WithOutput("waveOutPrepareHeader", handle,
                      [=](WaveOutDevice& device) { return PrepareHeader(device, header, size); });
}

MMRESULT waveOutUnprepareHeader(HWAVEOUT handle, LPWAVEHDR header, UINT size) {
    return WithOutput("waveOutUnprepareHeader", handle,
                      [=](WaveOutDevice&) { return UnprepareHeader(header, size); });
}

MMRESULT waveOutWrite(HWAVEOUT handle, LPWAVEHDR header, UINT size) {
    return WithOutput("waveOutWrite", handle,
                      [=](WaveOutDevice& device) { return AddHeader(device, header, size); });
}

MMRESULT waveOutPause(HWAVEOUT handle) {
    return WithOutput("waveOutPause", handle, [](WaveOutDevice& device) -> MMRESULT {
        device.SetPaused(true);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutRestart(HWAVEOUT handle) {
    return WithOutput("waveOutRestart", handle, [](WaveOutDevice& device) -> MMRESULT {
        device.SetPaused(false);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutReset(HWAVEOUT handle) {
    return WithOutput("waveOutReset", handle, [](WaveOutDevice& device) -> MMRESULT {
        device.Reset();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveOutGetPosition(HWAVEOUT handle, LPMMTIME time, UINT size) {
    return WithOutput("waveOutGetPosition", handle, [=](WaveOutDevice& device) -> MMRESULT {
        const uint64_t position = device.Position();
        const WaveQueue& queue = device.Queue();
        return FillTime(queue.Format(), position, queue.SourceAt(position), time, size);
    });
}

MMRESULT waveOutMessage(HWAVEOUT handle, UINT message, DWORD_PTR first, DWORD_PTR second) {
    if (const MMRESULT fault = FaultIn("waveOutMessage")) return fault;
    return MapperMessage(Direction::kOutput, reinterpret_cast<uintptr_t>(handle), message, first, second);
}
