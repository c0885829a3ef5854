// The wave mapper: a device that takes a format to the preferred device, one that is not PCM through a codec.
#include "platform/sound/wave_mapper.h"

#include <mmddk.h>

namespace tolvane::platform {

std::optional<uint32_t> MapDevice(Card& card, Direction direction, UINT device) {
    if (device != WAVE_MAPPER) return device;
    if (const auto preferred = card.Preferred(direction)) return preferred;
    if (card.Count(direction) == 0) return std::nullopt;
    return 0;
}

namespace {

MMRESULT FindDevice(Card* card, Direction direction, UINT device, const WAVEFORMATEX& record,
                    DeviceTarget& target) {
    const auto index = card ? MapDevice(*card, direction, device) : std::nullopt;
    if (!index) return MMSYSERR_BADDEVICEID;
    const auto format = PcmFormat::From(record);
    if (!format) return *index < card->Count(direction) ? WAVERR_BADFORMAT : MMSYSERR_BADDEVICEID;
    target = {*index, *format};
    return card->Accepts(direction, *index, *format);
}

}  // namespace

MMRESULT FindOutput(Card* card, UINT device, const WAVEFORMATEX& record, DWORD flags, OutputTarget& target) {
    const bool mapped = device == WAVE_MAPPER && !(flags & WAVE_FORMAT_DIRECT);
    if (card && mapped && record.wFormatTag != WAVE_FORMAT_PCM) target.decoder = PcmDecoder::Open(record);
    const WAVEFORMATEX& heard = target.decoder ? target.decoder->Target() : record;
    return FindDevice(card, Direction::kOutput, device, heard, target);
}

MMRESULT FindInput(Card* card, UINT device, const WAVEFORMATEX& record, DeviceTarget& target) {
    return FindDevice(card, Direction::kInput, device, record, target);
}

MMRESULT MapperMessage(Direction direction, uintptr_t handle, UINT message, DWORD_PTR first,
                       DWORD_PTR second) {
    if (static_cast<UINT>(handle) != WAVE_MAPPER) return MMSYSERR_INVALHANDLE;
    if (message != DRVM_MAPPER_PREFERRED_GET) return MMSYSERR_NOTSUPPORTED;
    if (!first || !second) return MMSYSERR_INVALPARAM;
    const CardLease lease;
    if (!lease.card || lease.card->Count(direction) == 0) return MMSYSERR_BADDEVICEID;
    const auto preferred = lease.card->Preferred(direction);
    if (!preferred) return MMSYSERR_NOTSUPPORTED;
    *reinterpret_cast<DWORD*>(first) = *preferred;
    *reinterpret_cast<DWORD*>(second) = 0;
    return MMSYSERR_NOERROR;
}

}  // namespace tolvane::platform
