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

// Makes the catalogue anew and returns the index of the first codec that lists the tag; -1 when none does.
int32_t FindCodecForFormatTag(uint16_t format_tag);

// At unload.
void FreeCatalogue();

}  // namespace tolvane
