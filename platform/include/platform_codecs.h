/* platform_codecs.h: what a host program or a test may say to the codec manager that stands in for the
 * system's.
 *
 * On Windows a header of the same name answers that it is unsupported (every function returns 0). The
 * conventions of platform.h hold here too. */
#ifndef TOLVANE_PLATFORM_CODECS_H
#define TOLVANE_PLATFORM_CODECS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct PlatformCodecTag {
    uint16_t tag;
    const char* name; /* cut to 47 characters */
} PlatformCodecTag;

/* Suggests a target format for `source` as acmFormatSuggest does, with its flags. `target` holds what the
 * caller gave and takes at most `size` bytes. Returns an MMRESULT. */
typedef uint32_t (*PlatformCodecSuggest)(void* context, const void* source, void* target, uint32_t size,
                                         uint32_t flags);

/* A stream of a host's driver between two WAVEFORMATEX records; what one function returns the others get as
 * `stream`. `open` returns null when it cannot convert between these formats. `bound` tells the most bytes that
 * `source` bytes can become, 0 = it cannot tell. `convert` takes at most `size` bytes and writes at most `room`,
 * with the ACM_STREAMCONVERTF_ flags; it returns an MMRESULT. `close` may be null. */
typedef struct PlatformCodecStream {
    void* (*open)(void* context, const void* source_format, const void* target_format);
    uint32_t (*bound)(void* stream, uint32_t source);
    uint32_t (*convert)(void* stream, const void* source, uint32_t size, uint32_t* used, void* target,
                        uint32_t room, uint32_t* produced, uint32_t flags);
    void (*close)(void* stream);
} PlatformCodecStream;

/* A codec driver of the host's own. What is left 0 behaves as a driver without peculiarities does. */
typedef struct PlatformCodec {
    const char* short_name; /* cut to 31 characters */
    const char* long_name;  /* cut to 127 characters */
    uint32_t support;       /* ACMDRIVERDETAILS_SUPPORTF_ flags */
    const PlatformCodecTag* tags;
    uint32_t tag_count;
    uint32_t reported_tags;       /* how many tags the details claim; 0 = tag_count */
    uint32_t largest_format;      /* bytes of the largest format record; 0 = 18 */
    uint32_t priority;            /* what the manager reports; 0 = the place in the order, from 1 */
    uint32_t open_result;         /* MMRESULT of every acmDriverOpen */
    uint32_t metrics_result;      /* MMRESULT of every acmMetrics on the driver */
    PlatformCodecSuggest suggest; /* null: nothing is possible */
    void* context;
    const PlatformCodecStream* stream; /* copied; null: it converts nothing */
} PlatformCodec;

/* Installs a driver before (`in_front` not 0) or behind all others. Texts and tags are copied. Returns its
 * identifier, the one acmDriverEnum gives; 0 when `codec` or a name in it is null or memory runs short. */
uint32_t PlatformAddCodec(const PlatformCodec* codec, int in_front);

/* Removes a driver that PlatformAddCodec installed. Handles to it that are open stay usable until closed. */
int PlatformRemoveCodec(uint32_t identifier);

/* Removes the drivers that the layer brings along (`show` 0), or puts them back (initial state). */
int PlatformShowBuiltInCodecs(int show);

/* How many drivers, and how many conversion streams, are open now. */
uint32_t PlatformOpenCodecs(void);
uint32_t PlatformOpenStreams(void);

/* Answers acmFormatChooseA: of `count` formats of one tag, each described by a text such as
 * "22050 Hz, Mono, 4 Bit", it returns the index of the one to take; a negative number is a cancelled dialog.
 * `suggested` is the one that would be taken without a chooser. It may be called from any thread. */
typedef int32_t (*PlatformFormatChooser)(void* context, const char* tag_name, const char* const* formats,
                                         uint32_t count, uint32_t suggested);

/* Null (the initial state) keeps to the driver's format that is nearest to what the caller began with. */
int PlatformSetFormatChooser(PlatformFormatChooser chooser, void* context);

#ifdef __cplusplus
}
#endif
#endif
