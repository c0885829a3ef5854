// The choice of a format, which on a desktop is a dialog: the nearest one, or what a host's chooser takes.
#include "platform/codecs/manager.h"

#include <platform_codecs.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <tuple>

namespace tolvane::platform {
namespace {

struct Chooser {
    PlatformFormatChooser choose = nullptr;
    void* context = nullptr;
};

std::mutex chooser_mutex;
Chooser present_chooser;

Chooser PresentChooser() {
    const std::lock_guard lock(chooser_mutex);
    return present_chooser;
}

// One driver's formats of one tag.
struct Offer {
    InstalledDriver driver;
    const FormatTag* tag = nullptr;
    std::vector<FormatRecord> formats;
};

DWORD SizeOf(const FormatRecord& format) {
    return format.View().IsPcm() ? kWaveRecordSize : kWaveRecordSize + format.head().cbSize;
}

// What the driver makes of the sound of one usual PCM format.
void OfferFor(const FormatRecord& pcm, Offer& offer) {
    const Driver& driver = *offer.driver->driver;
    Wish wish{ACM_FORMATSUGGESTF_WFORMATTAG | ACM_FORMATSUGGESTF_WBITSPERSAMPLE, pcm.head()};
    wish.target.wFormatTag = offer.tag->tag;
    if (wish.target.wFormatTag != WAVE_FORMAT_PCM) wish.flags = ACM_FORMATSUGGESTF_WFORMATTAG;
    FormatRecord format;
    format.head() = wish.target;
    if (!driver.handles(pcm.View()) ||
        driver.suggest(driver, pcm.View(), wish, FormatRecord::kCapacity, format) ||
        SizeOf(format) > FormatRecord::kCapacity)
        return;
    const size_t before = offer.formats.size();
    if (driver.vary) driver.vary(format, offer.formats);
    if (offer.formats.size() == before) offer.formats.push_back(format);
}

std::vector<FormatRecord> OfferedBy(const InstalledDriver& driver, const FormatTag& tag) {
    Offer offer{driver, &tag, {}};
    for (const DWORD rate : {8'000u, 11'025u, 22'050u, 44'100u})
        for (const WORD bits : {WORD{8}, WORD{16}})
            for (const WORD channels : {WORD{1}, WORD{2}}) {
                if (tag.tag != WAVE_FORMAT_PCM && bits == 8) continue;
                FormatRecord source;
                source.MakePcm(channels, rate, bits);
                OfferFor(source, offer);
            }
    return std::move(offer.formats);
}

// The first driver that has formats of this tag.
Offer FindOffer(WORD tag) {
    for (const InstalledDriver& driver : ListDrivers(0))
        for (const FormatTag& own : driver->driver->tags) {
            if (own.tag != tag) continue;
            Offer offer{driver, &own, OfferedBy(driver, own)};
            if (!offer.formats.empty()) return offer;
        }
    return {};
}

std::string DescribeFormat(const WAVEFORMATEX& format) {
    char text[ACMFORMATDETAILS_FORMAT_CHARS];
    const unsigned rate = format.nSamplesPerSec, bits = format.wBitsPerSample;
    const unsigned kilobits = (format.nAvgBytesPerSec * 8u + 500) / 1'000;
    std::snprintf(text, sizeof text, "%u Hz, %s, %u %s", rate, format.nChannels == 1 ? "Mono" : "Stereo",
                  bits ? bits : kilobits, bits ? "Bit" : "kbit/s");
    return text;
}

// The same rate counts most, then the channels.
size_t FindNearest(const std::vector<FormatRecord>& formats, const WAVEFORMATEX& start) {
    const auto distance = [](DWORD a, DWORD b) { return a < b ? b - a : a - b; };
    const auto from_start = [&](const FormatRecord& record) {
        const WAVEFORMATEX& head = record.head();
        return std::tuple(distance(head.nSamplesPerSec, start.nSamplesPerSec),
                          distance(head.nChannels, start.nChannels),
                          distance(head.wBitsPerSample, start.wBitsPerSample),
                          distance(head.nAvgBytesPerSec, start.nAvgBytesPerSec));
    };
    return static_cast<size_t>(std::ranges::min_element(formats, {}, from_start) - formats.begin());
}

// The index of the format to take; beyond all of them when the user wants none.
size_t Choose(const Offer& offer, size_t nearest) {
    const Chooser chooser = PresentChooser();
    if (!chooser.choose) return nearest;
    std::vector<std::string> texts;
    std::vector<const char*> pointers;
    texts.reserve(offer.formats.size());
    for (const FormatRecord& format : offer.formats)
        pointers.push_back(texts.emplace_back(DescribeFormat(format.head())).c_str());
    const int32_t chosen =
        chooser.choose(chooser.context, offer.tag->name, pointers.data(),
                       static_cast<uint32_t>(pointers.size()), static_cast<uint32_t>(nearest));
    return chosen < 0 ? pointers.size() : static_cast<size_t>(chosen);
}

MMRESULT Deliver(const Offer& offer, const FormatRecord& format, ACMFORMATCHOOSEA& choice) {
    if (SizeOf(format) > choice.cbwfx) return ACMERR_NOTPOSSIBLE;
    std::memcpy(choice.pwfx, format.bytes, SizeOf(format));
    std::snprintf(choice.szFormatTag, sizeof choice.szFormatTag, "%s", offer.tag->name);
    std::snprintf(choice.szFormat, sizeof choice.szFormat, "%s", DescribeFormat(format.head()).c_str());
    if (choice.pszName && choice.cchName) *choice.pszName = 0;
    return MMSYSERR_NOERROR;
}

WAVEFORMATEX StartOf(const ACMFORMATCHOOSEA& choice) {
    FormatRecord usual;
    usual.MakePcm(2, 44'100, 16);
    return choice.fdwStyle & ACMFORMATCHOOSE_STYLEF_INITTOWFXSTRUCT ? FormatView(choice.pwfx).head
                                                                    : usual.head();
}

MMRESULT ChooseFormat(ACMFORMATCHOOSEA* choice) {
    if (!choice || choice->cbStruct < sizeof *choice || !choice->pwfx || choice->cbwfx < kWaveRecordSize)
        return MMSYSERR_INVALPARAM;
    if ((choice->fdwStyle & ~DWORD{ACMFORMATCHOOSE_STYLEF_INITTOWFXSTRUCT}) || choice->fdwEnum)
        return MMSYSERR_INVALFLAG;
    const WAVEFORMATEX start = StartOf(*choice);
    const Offer offer = FindOffer(start.wFormatTag);
    if (offer.formats.empty()) return ACMERR_NOTPOSSIBLE;
    const size_t chosen = Choose(offer, FindNearest(offer.formats, start));
    if (chosen >= offer.formats.size()) return ACMERR_CANCELED;
    return Deliver(offer, offer.formats[chosen], *choice);
}

}  // namespace
}  // namespace tolvane::platform

using namespace tolvane::platform;

MMRESULT WINAPI acmFormatChooseA(LPACMFORMATCHOOSEA choice) {
    return Serve("acmFormatChooseA", ACMERR_NOTPOSSIBLE, [=] { return ChooseFormat(choice); });
}

int PlatformSetFormatChooser(PlatformFormatChooser chooser, void* context) {
    const std::lock_guard lock(chooser_mutex);
    present_chooser = {chooser, chooser ? context : nullptr};
    return 1;
}
