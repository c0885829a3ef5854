// What a codec driver is to the manager: one table of facts and functions a family.
//
// The manager has checked pointers and sizes before it calls; a driver repeats no check. It keeps no state of
// its own, so that its functions may run in any number of threads; a stream is used by one thread at a time.
#ifndef TOLVANE_PLATFORM_CODECS_DRIVER_H
#define TOLVANE_PLATFORM_CODECS_DRIVER_H

#include "platform/codecs/formats.h"
#include "platform/codecs/stream.h"

namespace tolvane::platform {

struct FormatTag {
    WORD tag;
    const char* name;
    DWORD largest_format;  // bytes of the largest record of this tag
};

struct Driver;

// Fills `target` with the best format to convert `source` into that the wish allows, or answers
// ACMERR_NOTPOSSIBLE. `source` is handled; `target` holds the caller's bytes, of which `size` count.
using Suggester = MMRESULT(const Driver& self, const FormatView& source, const Wish& wish, DWORD size,
                           FormatRecord& target);

// Opens a conversion between two formats that the driver handles; null when it has none between these.
using StreamOpener = std::unique_ptr<Stream>(const Driver& self, const FormatView& source,
                                             const FormatView& target);

struct Driver {
    const char* short_name;
    const char* long_name;
    DWORD support;  // ACMDRIVERDETAILS_SUPPORTF_ flags
    std::span<const FormatTag> tags;

    // Whether the driver can convert from or to this format.
    bool (*handles)(const FormatView& format);

    Suggester* suggest;

    // Describes the usual format of a tag of the driver's for this sound (see SuggestForCodec).
    void (*describe)(WORD tag, WORD channels, DWORD rate, FormatRecord& record);
    // Null: it converts nothing.
    StreamOpener* open = nullptr;
    // Appends what there is to choose from in place of the usual format. Null: only that one.
    void (*vary)(const FormatRecord& usual, std::vector<FormatRecord>& formats) = nullptr;
};

// For a family that turns PCM into its own tags and back, at the same rate and with the same channels.
Suggester SuggestForCodec;
// Whether such a family may convert here: one side is PCM, and both are of the same rate and channels.
bool IsCodecPair(const FormatView& source, const FormatView& target);

extern const Driver kImaAdpcm, kMsAdpcm, kG711, kGsm610, kMpegLayer3, kPcmConverter;

}  // namespace tolvane::platform
#endif
