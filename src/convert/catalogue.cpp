#include "convert/catalogue.h"

#include <cstring>
#include <limits>

#include "convert/codec_manager.h"
#include "frame/immortal.h"

namespace tolvane {

namespace {

static_assert(sizeof(ACMFORMATTAGDETAILSA) == 72);

bool HasOnePurpose(DWORD support) {
    return support == ACMDRIVERDETAILS_SUPPORTF_CODEC || support == ACMDRIVERDETAILS_SUPPORTF_CONVERTER ||
           support == ACMDRIVERDETAILS_SUPPORTF_FILTER;
}

// Into a zeroed field; a driver need not have terminated its own.
template <size_t size>
void CopyName(char (&to)[size], const CHAR (&from)[size]) {
    memcpy(to, from, strnlen(from, size - 1));
}

BOOL CALLBACK ListFormatTag(HACMDRIVERID, ACMFORMATTAGDETAILSA* details, DWORD_PTR instance, DWORD) {
    auto& codec = *reinterpret_cast<CodecEntry*>(instance);
    if (FormatTagEntry* entry = codec.format_tags.Append()) {
        entry->codec_index = codec.codec_index;
        entry->format_tag_index = codec.listed_format_tag_count++;
        entry->format_tag = details->dwFormatTag;
        CopyName(entry->name, details->szFormatTag);
    }
    return TRUE;
}

void ListFormatTags(CodecEntry& codec) {
    DWORD priority = 0;
    if (!ReadDriverPriority(codec.driver_id, &priority) || (priority & kPriorityOfNoUse)) return;
    const AcmDriver driver = OpenAcmDriver(codec.driver_id);
    if (!driver) return;
    ACMFORMATTAGDETAILSA details{};
    details.cbStruct = sizeof details;
    acmFormatTagEnumA(driver.Get(), &details, ListFormatTag, reinterpret_cast<DWORD_PTR>(&codec), 0);
}

BOOL CALLBACK ListCodec(HACMDRIVERID driver, DWORD_PTR instance, DWORD support) {
    auto& catalogue = *reinterpret_cast<Catalogue*>(instance);
    if (!HasOnePurpose(support) || catalogue.count == std::numeric_limits<uint16_t>::max()) return FALSE;
    ACMDRIVERDETAILSA details{};
    details.cbStruct = sizeof details;
    acmDriverDetailsA(driver, &details, 0);
    CodecEntry* entry = catalogue.codecs.Append();
    if (!entry) return TRUE;
    entry->codec_index = catalogue.count++;
    entry->driver_id = driver;
    entry->reported_format_tag_count = details.cFormatTags;
    CopyName(entry->long_name, details.szLongName);
    ListFormatTags(*entry);
    return TRUE;
}

// The drivers are asked outside the catalogue's lock, so that readers never wait for one.
uint16_t Rebuild() {
    Catalogue fresh;
    {
        const CodecManagerGuard guard;
        acmDriverEnum(ListCodec, reinterpret_cast<DWORD_PTR>(&fresh), ACM_DRIVERENUMF_DISABLED);
    }
    const uint16_t count = fresh.count;
    Catalogue& catalogue = TheCatalogue();
    const LockGuard guard(catalogue.lock);
    catalogue.codecs.Swap(fresh.codecs);
    catalogue.count = count;
    return count;
}

bool IsNamedPcm(const char* name) {
    return (name[0] | 0x20) == 'p' && (name[1] | 0x20) == 'c' && (name[2] | 0x20) == 'm' && name[3] == 0;
}

bool ListsFormatTag(const CodecEntry& codec, uint16_t format_tag) {
    const FormatTagEntry* entry = codec.format_tags.First();
    while (entry && entry->format_tag != format_tag)
        entry = entry->next;
    return entry != nullptr;
}

void Describe(const CodecEntry& codec, CodecDescription& out) {
    out.codecIndex = codec.codec_index;
    out.driverId = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(codec.driver_id));
    out.reportedFormatTagCount = codec.reported_format_tag_count;
    out.listedFormatTagCount = codec.listed_format_tag_count;
    memcpy(out.longName, codec.long_name, sizeof out.longName);
}

void Describe(const FormatTagEntry& entry, FormatTagDescription& out) {
    out.codecIndex = entry.codec_index;
    out.formatTagIndex = entry.format_tag_index;
    out.formatTag = entry.format_tag;
    memcpy(out.name, entry.name, sizeof out.name);
}

}  // namespace

Catalogue& TheCatalogue() {
    return Immortal<Catalogue>();
}

uint16_t GetNumberOfCodec() {
    return Rebuild();
}

TolvaneResult GetCodecDescription(CodecDescription* out, uint16_t codec_index) {
    Catalogue& catalogue = TheCatalogue();
    const LockGuard guard(catalogue.lock);
    if (catalogue.count == 0) return TOLVANE_NO_CODEC;
    if (out) *out = {};
    const CodecEntry* codec = catalogue.codecs.At(codec_index);
    if (!codec) return TOLVANE_NO_CODEC;
    if (out) Describe(*codec, *out);
    return TOLVANE_OK;
}

TolvaneResult GetCodecFormatTagDescription(FormatTagDescription* out, uint16_t codec_index,
                                           uint16_t format_tag_index) {
    if (!out) return TOLVANE_OK;
    *out = {};
    Catalogue& catalogue = TheCatalogue();
    const LockGuard guard(catalogue.lock);
    const CodecEntry* codec = catalogue.codecs.At(codec_index);
    if (!codec) return TOLVANE_OK;
    const bool reported = format_tag_index < codec->reported_format_tag_count;
    if (const FormatTagEntry* entry = codec->format_tags.At(reported ? format_tag_index : 0))
        Describe(*entry, *out);
    return TOLVANE_OK;
}

int32_t FindCodecForFormatTag(uint16_t format_tag) {
    Rebuild();
    Catalogue& catalogue = TheCatalogue();
    const LockGuard guard(catalogue.lock);
    const CodecEntry* codec = catalogue.codecs.First();
    while (codec && !ListsFormatTag(*codec, format_tag))
        codec = codec->next;
    return codec ? static_cast<int32_t>(codec->codec_index) : -1;
}

bool ChooseCodec(uint16_t codec_index, int32_t format_tag_index, CodecChoice* choice) {
    Catalogue& catalogue = TheCatalogue();
    const LockGuard guard(catalogue.lock);
    const CodecEntry* codec = catalogue.codecs.At(codec_index);
    if (!codec) return false;
    choice->driver_id = codec->driver_id;
    const auto index = static_cast<uint32_t>(format_tag_index);
    if (format_tag_index < 0 || index >= codec->reported_format_tag_count) return true;
    const FormatTagEntry* entry = codec->format_tags.At(index);
    if (!entry) return false;
    choice->names_tag = true;
    choice->to_pcm = IsNamedPcm(entry->name);
    choice->format_tag = static_cast<uint16_t>(entry->format_tag);
    return true;
}

bool ReadDriverPriority(HACMDRIVERID driver, DWORD* priority) {
    const CodecManagerGuard guard;
    return acmMetrics(reinterpret_cast<HACMOBJ>(driver), ACM_METRIC_DRIVER_PRIORITY, priority) ==
           MMSYSERR_NOERROR;
}

void FreeCatalogue() {
    Catalogue& catalogue = TheCatalogue();
    const LockGuard guard(catalogue.lock);
    catalogue.codecs.Clear();
    catalogue.count = 0;
}

}  // namespace tolvane
