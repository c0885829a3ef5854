// The codecs that are installed in the system, each with the format tags it handles, in the system's order.
//
// Indexes are positions and hold until the catalogue is made anew. Who walks through the entries holds the
// lock.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include "convert/owned_list.h"
#include "frame/lock.h"
#include "tolvane.h"

namespace tolvane {

struct FormatTagEntry {
    uint32_t codec_index;
    uint32_t format_tag_index;
    uint32_t format_tag;
    char name[ACMFORMATTAGDETAILS_FORMATTAG_CHARS];
    FormatTagEntry* next;
};

struct CodecEntry {
    uint32_t codec_index;
    HACMDRIVERID driver_id;
    uint32_t reported_format_tag_count;
    uint32_t listed_format_tag_count;
    char long_name[ACMDRIVERDETAILS_LONGNAME_CHARS];
    OwnedList<FormatTagEntry> format_tags;
    CodecEntry* next;
};

struct Catalogue {
    OwnedList<CodecEntry> codecs;
    uint16_t count = 0;
    Lock lock;
};

Catalogue& TheCatalogue();

// Makes the catalogue anew and returns how many codecs it has.
uint16_t GetNumberOfCodec();

TolvaneResult GetCodecDescription(CodecDescription* out, uint16_t codec_index);
TolvaneResult GetCodecFormatTagDescription(FormatTagDescription* out, uint16_t codec_index,
                                           uint16_t format_tag_index);

// What a conversion needs to know of a codec and one of its format tags; a copy, so that the catalogue may be
// made anew meanwhile.
struct CodecChoice {
    HACMDRIVERID driver_id = nullptr;
    bool names_tag = false;  // otherwise the driver suggests a format of its own
    bool to_pcm = false;     // the tag's name is "PCM"
    uint16_t format_tag = 0;
};

// A negative `format_tag_index`, or one not below what the driver reports, names no tag. False when there is no
// such codec, or its list ends before the index.
bool ChooseCodec(uint16_t codec_index, int32_t format_tag_index, CodecChoice* choice);

// Whether the driver answers; the top bit of the priority says that it is not to be opened.
inline constexpr DWORD kPriorityOfNoUse = 0x80000000;
bool ReadDriverPriority(HACMDRIVERID driver, DWORD* priority);

// Makes the catalogue anew and returns the index of the first codec that lists the tag; -1 when none does.
int32_t FindCodecForFormatTag(uint16_t format_tag);

// At unload.
void FreeCatalogue();

}  // namespace tolvane
