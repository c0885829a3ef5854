// What the wave-out and wave-in services share: the checks of arguments and the way to the open device.
#ifndef TOLVANE_PLATFORM_SOUND_WAVE_SERVICE_H
#define TOLVANE_PLATFORM_SOUND_WAVE_SERVICE_H

#include "platform/sound/wave_device.h"
#include "platform/testing/faults.h"

namespace tolvane::platform {

// What the capability records of all devices say.
constexpr WORD kNoManufacturer = 0xFFFF;
constexpr MMVERSION kDriverVersion = 0x0100;

// The result a test wants this call to fail with, or MMSYSERR_NOERROR: every service begins with it.
inline MMRESULT FaultIn(const char* service) {
    uint32_t code = 0;
    if (!PlatformFaultStrikes(service, &code)) return MMSYSERR_NOERROR;
    return code ? code : MMSYSERR_NOMEM;
}

// Runs `action` on the open device under its lock.
template <typename Device, typename Handle, typename Action>
MMRESULT WithDevice(const char* service, Handle handle, Action action) {
    if (const MMRESULT fault = FaultIn(service)) return fault;
    const auto device = OpenDevices::Find(Device::kDirection, reinterpret_cast<HWAVE>(handle));
    if (!device) return MMSYSERR_INVALHANDLE;
    const StreamLock lock(*device->Stream());
    return action(static_cast<Device&>(*device));
}

// ---- What is done with every device under its lock ----

MMRESULT PrepareHeader(const WaveDevice& device, WAVEHDR* header, UINT size);
MMRESULT UnprepareHeader(WAVEHDR* header, UINT size);
MMRESULT AddHeader(WaveDevice& device, WAVEHDR* header, UINT size);
// `bytes` are the host's own, samples and time those of the sound.
MMRESULT FillTime(const PcmFormat& format, uint64_t position, uint64_t bytes, MMTIME* time, UINT size);

// ---- Opening and closing ----

// Checks the arguments and makes a handle, unless it is a question, which needs none. A device tells nobody or
// a thread.
MMRESULT BeginOpening(bool has_handle, const WAVEFORMATEX* format, DWORD_PTR callback, DWORD flags,
                      WaveEvents& events);
// Opens a device made for a handle of its own on the card.
template <typename Device, typename Handle>
MMRESULT OpenDevice(const std::shared_ptr<Device>& device, uint32_t index, Handle& opened) {
    if (const MMRESULT result = device->Open(index)) return result;
    if (!OpenDevices::Add(device)) return MMSYSERR_NOMEM;
    opened = reinterpret_cast<Handle>(device->Events().device);
    device->Events().TellOpened();
    return MMSYSERR_NOERROR;
}
MMRESULT CloseDevice(const char* service, Direction direction, HWAVE handle);

// The device that an identifier stands for and the name that it goes by; nothing where there is none.
std::optional<CardDevice> DescribeDevice(Direction direction, UINT_PTR id);

}  // namespace tolvane::platform

#endif
