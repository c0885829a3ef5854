// The services around formats: the tags that drivers handle, and their suggestions.
#include "platform/codecs/manager.h"

#include <algorithm>

namespace tolvane::platform {
namespace {

// One tag of one driver.
struct TagPlace {
    const Installed* installed = nullptr;
    DWORD index = 0;

    const FormatTag& Tag() const { return installed->driver->tags[index]; }
};

bool IsWhole(const ACMFORMATTAGDETAILSA* details) {
    return details && details->cbStruct >= sizeof *details;
}

void Describe(const TagPlace& place, ACMFORMATTAGDETAILSA& details) {
    details = {};
    details.cbStruct = sizeof details;
    details.dwFormatTagIndex = place.index;
    details.dwFormatTag = place.Tag().tag;
    details.cbFormatSize = place.Tag().largest_format;
    details.fdwSupport = place.installed->driver->support;
    std::strncpy(details.szFormatTag, place.Tag().name, sizeof details.szFormatTag - 1);
}

// Every tag of these drivers once: the first driver that has it counts.
std::vector<TagPlace> TagsOf(const std::vector<InstalledDriver>& drivers) {
    std::vector<TagPlace> places;
    for (const InstalledDriver& installed : drivers)
        for (DWORD index = 0; index < installed->driver->tags.size(); ++index) {
            const TagPlace place{installed.get(), index};
            const auto same = [&](const TagPlace& other) {
                return drivers.size() > 1 && other.Tag().tag == place.Tag().tag;
            };
            if (std::ranges::none_of(places, same)) places.push_back(place);
        }
    return places;
}

MMRESULT EnumerateTags(HACMDRIVER open, ACMFORMATTAGDETAILSA* details, ACMFORMATTAGENUMCBA callback,
                       DWORD_PTR instance, DWORD flags) {
    if (!IsWhole(details) || !callback) return MMSYSERR_INVALPARAM;
    if (flags) return MMSYSERR_INVALFLAG;
    const auto drivers = DriversBehind(open);
    if (open && drivers.empty()) return MMSYSERR_INVALHANDLE;
    for (const TagPlace& place : TagsOf(drivers)) {
        Describe(place, *details);
        if (!callback(place.installed->Handle(), details, instance, place.installed->driver->support)) break;
    }
    return MMSYSERR_NOERROR;
}

// Hands the suggestion over if it fits; a PCM record may come without its last field.
MMRESULT Deliver(const FormatRecord& record, WAVEFORMATEX* target, DWORD size) {
    const WAVEFORMATEX& head = record.head();
    const bool fits = head.wFormatTag == WAVE_FORMAT_PCM || kWaveRecordSize + head.cbSize <= size;
    if (!fits) return ACMERR_NOTPOSSIBLE;
    std::memcpy(target, record.bytes, std::min(size, FormatRecord::kCapacity));
    return MMSYSERR_NOERROR;
}

MMRESULT AskDriver(const Driver& driver, const FormatView& source, const Wish& wish, WAVEFORMATEX* target,
                   DWORD size) {
    if (!driver.handles(source)) return ACMERR_NOTPOSSIBLE;
    FormatRecord record;
    std::memcpy(record.bytes, target, std::min(size, FormatRecord::kCapacity));
    const MMRESULT result =
        driver.suggest(driver, source, wish, std::min(size, FormatRecord::kCapacity), record);
    return result ? result : Deliver(record, target, size);
}

MMRESULT Suggest(HACMDRIVER open, const WAVEFORMATEX* source, WAVEFORMATEX* target, DWORD size, DWORD flags) {
    constexpr DWORD kKnownFlags = ACM_FORMATSUGGESTF_WFORMATTAG | ACM_FORMATSUGGESTF_NCHANNELS |
                                  ACM_FORMATSUGGESTF_NSAMPLESPERSEC | ACM_FORMATSUGGESTF_WBITSPERSAMPLE;
    if (flags & ~kKnownFlags) return MMSYSERR_INVALFLAG;
    if (!source || !target || size < kPcmRecordSize) return MMSYSERR_INVALPARAM;
    const auto drivers = DriversBehind(open);
    if (open && drivers.empty()) return MMSYSERR_INVALHANDLE;
    Wish wish{flags, {}};
    std::memcpy(&wish.target, target, kPcmRecordSize);
    MMRESULT result = ACMERR_NOTPOSSIBLE;
    for (const InstalledDriver& installed : drivers) {
        result = AskDriver(*installed->driver, FormatView(source), wish, target, size);
        if (result == MMSYSERR_NOERROR) return result;
    }
    return open ? result : ACMERR_NOTPOSSIBLE;
}

}  // namespace
}  // namespace tolvane::platform

using namespace tolvane::platform;

MMRESULT WINAPI acmFormatTagEnumA(HACMDRIVER open, LPACMFORMATTAGDETAILSA details,
                                  ACMFORMATTAGENUMCBA callback, DWORD_PTR instance, DWORD flags) {
    return Serve("acmFormatTagEnumA", MMSYSERR_NOMEM,
                 [=] { return EnumerateTags(open, details, callback, instance, flags); });
}

MMRESULT WINAPI acmFormatSuggest(HACMDRIVER open, LPWAVEFORMATEX source, LPWAVEFORMATEX target,
                                 DWORD target_size, DWORD flags) {
    return Serve("acmFormatSuggest", ACMERR_NOTPOSSIBLE,
                 [=] { return Suggest(open, source, target, target_size, flags); });
}
