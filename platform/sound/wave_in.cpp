// The wave-in services: checks of arguments, then the open device.
#include <algorithm>
#include <cstring>
#include <exception>

#include "platform/sound/wave_in_device.h"
#include "platform/sound/wave_mapper.h"
#include "platform/sound/wave_service.h"

using namespace tolvane::platform;

namespace {

// Once the card's device has gone, only what was prepared and opened can be given back.
constexpr auto WithInput = [](const char* service, HWAVEIN handle, auto action) {
    return WithDevice<WaveInDevice>(service, handle, [&](WaveInDevice& device) -> MMRESULT {
        return device.IsLost() ? MMSYSERR_NODRIVER : action(device);
    });
};

}  // namespace

UINT waveInGetNumDevs(void) {
    if (FaultIn("waveInGetNumDevs")) return 0;
    const CardLease lease;
    return lease.card ? lease.card->Count(Direction::kInput) : 0;
}

MMRESULT waveInGetDevCapsA(UINT_PTR device, LPWAVEINCAPSA caps, UINT size) {
    if (const MMRESULT fault = FaultIn("waveInGetDevCapsA")) return fault;
    if (!caps || size == 0) return MMSYSERR_INVALPARAM;
    const auto found = DescribeDevice(Direction::kInput, device);
    if (!found) return MMSYSERR_BADDEVICEID;
    WAVEINCAPSA answer = {
        kNoManufacturer, kNoManufacturer, kDriverVersion, {}, found->formats, found->channels, 0};
    memcpy(answer.szPname, found->name, sizeof(answer.szPname));
    memcpy(caps, &answer, std::min<size_t>(size, sizeof(answer)));
    return MMSYSERR_NOERROR;
}

MMRESULT waveInOpen(LPHWAVEIN handle, UINT device, LPCWAVEFORMATEX format, DWORD_PTR callback, DWORD_PTR,
                    DWORD flags) try {
    if (const MMRESULT fault = FaultIn("waveInOpen")) return fault;
    WaveEvents events = {Direction::kInput, nullptr, 0};
    if (const MMRESULT result = BeginOpening(handle, format, callback, flags, events)) return result;
    const CardLease lease;
    DeviceTarget target = {};
    const MMRESULT result = FindInput(lease.card, device, *format, target);
    if (result || flags & WAVE_FORMAT_QUERY) return result;
    return OpenDevice(std::make_shared<WaveInDevice>(target.format, events), target.index, *handle);
} catch (const std::exception&) {
    return MMSYSERR_NOMEM;
}

MMRESULT waveInClose(HWAVEIN handle) {
    return CloseDevice("waveInClose", Direction::kInput, reinterpret_cast<HWAVE>(handle));
}

MMRESULT waveInPrepareHeader(HWAVEIN handle, LPWAVEHDR header, UINT size) {
    return WithInput("waveInPrepareHeader", handle,
                     [=](WaveInDevice& device) { return PrepareHeader(device, header, size); });
}

MMRESULT waveInUnprepareHeader(HWAVEIN handle, LPWAVEHDR header, UINT size) {
    return WithDevice<WaveInDevice>("waveInUnprepareHeader", handle,
                                    [=](WaveInDevice&) { return UnprepareHeader(header, size); });
}

MMRESULT waveInAddBuffer(HWAVEIN handle, LPWAVEHDR header, UINT size) {
    return WithInput("waveInAddBuffer", handle,
                     [=](WaveInDevice& device) { return AddHeader(device, header, size); });
}

MMRESULT waveInStart(HWAVEIN handle) {
    return WithInput("waveInStart", handle, [](WaveInDevice& device) -> MMRESULT {
        device.Start();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveInReset(HWAVEIN handle) {
    return WithInput("waveInReset", handle, [](WaveInDevice& device) -> MMRESULT {
        device.Reset();
        return MMSYSERR_NOERROR;
    });
}

MMRESULT waveInMessage(HWAVEIN handle, UINT message, DWORD_PTR first, DWORD_PTR second) {
    if (const MMRESULT fault = FaultIn("waveInMessage")) return fault;
    return MapperMessage(Direction::kInput, reinterpret_cast<uintptr_t>(handle), message, first, second);
}
