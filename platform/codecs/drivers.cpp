// The services around drivers: listing, describing, opening, figures.
#include "platform/codecs/manager.h"

#include <algorithm>
#include <optional>

namespace tolvane::platform {
namespace {

constexpr DWORD kManagerVersion = 0x05000000;
constexpr DWORD kDriverVersion = 0x01000000;
constexpr WORD kNoMaker = 0xFFFF;

template <size_t size>
void PutText(CHAR (&field)[size], const char* text) {
    std::strncpy(field, text, size - 1);
}

ACMDRIVERDETAILSA Describe(const Installed& installed) {
    ACMDRIVERDETAILSA details{};
    details.fccType = ACMDRIVERDETAILS_FCCTYPE_AUDIOCODEC;
    details.fccComp = ACMDRIVERDETAILS_FCCCOMP_UNDEFINED;
    details.wMid = details.wPid = kNoMaker;
    details.vdwACM = kManagerVersion;
    details.vdwDriver = kDriverVersion;
    details.fdwSupport = installed.driver->support;
    details.cFormatTags = installed.TagCount();
    PutText(details.szShortName, installed.driver->short_name);
    PutText(details.szLongName, installed.driver->long_name);
    return details;
}

MMRESULT EnumerateDrivers(ACMDRIVERENUMCB callback, DWORD_PTR instance, DWORD flags) {
    if (!callback) return MMSYSERR_INVALPARAM;
    if (flags & ~static_cast<DWORD>(ACM_DRIVERENUMF_DISABLED)) return MMSYSERR_INVALFLAG;
    for (const InstalledDriver& installed : ListDrivers(flags))
        if (!callback(installed->Handle(), instance, installed->driver->support)) break;
    return MMSYSERR_NOERROR;
}

MMRESULT GetDetails(HACMDRIVERID driver, ACMDRIVERDETAILSA* details, DWORD flags) {
    if (!details || details->cbStruct < sizeof details->cbStruct) return MMSYSERR_INVALPARAM;
    if (flags) return MMSYSERR_INVALFLAG;
    const InstalledDriver installed = FindDriver(driver);
    if (!installed) return MMSYSERR_INVALHANDLE;
    ACMDRIVERDETAILSA all = Describe(*installed);
    all.cbStruct = std::min<DWORD>(details->cbStruct, sizeof all);
    std::memcpy(details, &all, all.cbStruct);
    return MMSYSERR_NOERROR;
}

MMRESULT Open(HACMDRIVER* open, HACMDRIVERID driver, DWORD flags) {
    if (!open) return MMSYSERR_INVALPARAM;
    *open = nullptr;
    if (flags) return MMSYSERR_INVALFLAG;
    InstalledDriver installed = FindDriver(driver);
    if (!installed) return MMSYSERR_INVALHANDLE;
    if (installed->IsDisabled()) return MMSYSERR_NOTENABLED;
    if (installed->open_result) return installed->open_result;
    *open = OpenDriver(std::move(installed));
    return MMSYSERR_NOERROR;
}

DWORD LargestFormat() {
    DWORD largest = 0;
    for (const InstalledDriver& installed : ListDrivers(0))
        largest = std::max(largest, installed->LargestFormat());
    return largest;
}

DWORD PriorityOf(const Installed& installed) {
    if (installed.priority) return installed.priority;
    const auto list = ListDrivers(ACM_DRIVERENUMF_DISABLED);
    const auto place = std::ranges::find(list, installed.id, [](const auto& d) { return d->id; });
    return static_cast<DWORD>(place - list.begin()) + 1;
}

std::optional<DWORD> MeasureDriver(const Installed& installed, UINT metric) {
    switch (metric) {
        case ACM_METRIC_MAX_SIZE_FORMAT:
            return installed.LargestFormat();
        case ACM_METRIC_DRIVER_PRIORITY:
            return PriorityOf(installed);
        default:
            return std::nullopt;
    }
}

MMRESULT Measure(HACMOBJ object, UINT metric, void* answer) {
    if (!answer) return MMSYSERR_INVALPARAM;
    const InstalledDriver installed = object ? FindEither(object) : nullptr;
    if (object && !installed) return MMSYSERR_INVALHANDLE;
    if (installed && installed->metrics_result) return installed->metrics_result;
    std::optional<DWORD> figure;
    if (installed)
        figure = MeasureDriver(*installed, metric);
    else if (metric == ACM_METRIC_MAX_SIZE_FORMAT)
        figure = LargestFormat();
    if (!figure) return MMSYSERR_NOTSUPPORTED;
    std::memcpy(answer, &*figure, sizeof *figure);
    return MMSYSERR_NOERROR;
}

}  // namespace
}  // namespace tolvane::platform

using namespace tolvane::platform;

MMRESULT WINAPI acmDriverEnum(ACMDRIVERENUMCB callback, DWORD_PTR instance, DWORD flags) {
    return Serve("acmDriverEnum", MMSYSERR_NOMEM,
                 [=] { return EnumerateDrivers(callback, instance, flags); });
}

MMRESULT WINAPI acmDriverDetailsA(HACMDRIVERID driver, LPACMDRIVERDETAILSA details, DWORD flags) {
    return Serve("acmDriverDetailsA", MMSYSERR_NODRIVER, [=] { return GetDetails(driver, details, flags); });
}

MMRESULT WINAPI acmDriverOpen(LPHACMDRIVER open, HACMDRIVERID driver, DWORD flags) {
    return Serve("acmDriverOpen", MMSYSERR_NOMEM, [=] { return Open(open, driver, flags); });
}

MMRESULT WINAPI acmDriverClose(HACMDRIVER open, DWORD flags) {
    return ServeAnyway("acmDriverClose", MMSYSERR_INVALHANDLE, [=]() -> MMRESULT {
        if (flags) return MMSYSERR_INVALFLAG;
        return CloseDriver(open) ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
    });
}

MMRESULT WINAPI acmMetrics(HACMOBJ object, UINT metric, LPVOID answer) {
    return Serve("acmMetrics", MMSYSERR_NOTSUPPORTED, [=] { return Measure(object, metric, answer); });
}
