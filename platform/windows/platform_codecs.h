/* platform_codecs.h on Windows: the codec manager is the system's own and takes no drivers from here. */
#ifndef TOLVANE_PLATFORM_CODECS_H
#define TOLVANE_PLATFORM_CODECS_H

#include <stdint.h>

typedef struct PlatformCodecTag {
    uint16_t tag;
    const char* name;
} PlatformCodecTag;

typedef uint32_t (*PlatformCodecSuggest)(void* context, const void* source, void* target, uint32_t size,
                                         uint32_t flags);

typedef struct PlatformCodecStream {
    void* (*open)(void* context, const void* source_format, const void* target_format);
    uint32_t (*bound)(void* stream, uint32_t source);
    uint32_t (*convert)(void* stream, const void* source, uint32_t size, uint32_t* used, void* target,
                        uint32_t room, uint32_t* produced, uint32_t flags);
    void (*close)(void* stream);
} PlatformCodecStream;

typedef struct PlatformCodec {
    const char* short_name;
    const char* long_name;
    uint32_t support;
    const PlatformCodecTag* tags;
    uint32_t tag_count;
    uint32_t reported_tags;
    uint32_t largest_format;
    uint32_t priority;
    uint32_t open_result;
    uint32_t metrics_result;
    PlatformCodecSuggest suggest;
    void* context;
    const PlatformCodecStream* stream;
} PlatformCodec;

static inline uint32_t PlatformAddCodec(const PlatformCodec* codec, int in_front) {
    return (void)codec, (void)in_front, 0u;
}
static inline int PlatformRemoveCodec(uint32_t identifier) {
    return (void)identifier, 0;
}
static inline int PlatformShowBuiltInCodecs(int show) {
    return (void)show, 0;
}
static inline uint32_t PlatformOpenCodecs(void) {
    return 0;
}
static inline uint32_t PlatformOpenStreams(void) {
    return 0;
}

typedef int32_t (*PlatformFormatChooser)(void* context, const char* tag_name, const char* const* formats,
                                         uint32_t count, uint32_t suggested);

static inline int PlatformSetFormatChooser(PlatformFormatChooser chooser, void* context) {
    return (void)chooser, (void)context, 0;
}

#endif
