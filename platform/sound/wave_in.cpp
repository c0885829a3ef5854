// The wave-in services: which devices there are.
#include <algorithm>
#include <cstring>

#include "platform/sound/service.h"
#include "platform/sound/wave_mapper.h"

using namespace tolvane::platform;

UINT waveInGetNumDevs(void) {
    if (FaultIn("waveInGetNumDevs")) return 0;
    const CardLease lease;
    return lease.card ? lease.card->Count(Direction::kInput) : 0;
}

MMRESULT waveInGetDevCapsA(UINT_PTR device, LPWAVEINCAPSA caps, UINT size) {
    if (const MMRESULT fault = FaultIn("waveInGetDevCapsA")) return fault;
    if (!caps || size == 0) return MMSYSERR_INVALPARAM;
    const CardLease lease;
    const UINT id = static_cast<UINT>(device);
    const auto index = lease.card ? MapDevice(*lease.card, Direction::kInput, id) : std::nullopt;
    const auto found = index ? lease.card->Describe(Direction::kInput, *index) : std::nullopt;
    if (!found) return MMSYSERR_BADDEVICEID;
    WAVEINCAPSA answer = {
        kNoManufacturer, kNoManufacturer, kDriverVersion, {}, found->formats, found->channels, 0};
    memcpy(answer.szPname, id == WAVE_MAPPER ? kMapperName : found->name, sizeof(answer.szPname));
    memcpy(caps, &answer, std::min<size_t>(size, sizeof(answer)));
    return MMSYSERR_NOERROR;
}

MMRESULT waveInMessage(HWAVEIN handle, UINT message, DWORD_PTR first, DWORD_PTR second) {
    if (const MMRESULT fault = FaultIn("waveInMessage")) return fault;
    return MapperMessage(Direction::kInput, reinterpret_cast<uintptr_t>(handle), message, first, second);
}
