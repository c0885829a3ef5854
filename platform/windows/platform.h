/* platform.h on Windows: the services are the system's own, so nothing can be said to a layer below the host. */
#ifndef TOLVANE_PLATFORM_H
#define TOLVANE_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

typedef void (*PlatformDebugHook)(const char* text, void* context);
static inline void PlatformSetDebugHook(PlatformDebugHook hook, void* context) {
    (void)hook, (void)context;
}

typedef enum PlatformCard {
    PLATFORM_CARD_DEFAULT = 0,
    PLATFORM_CARD_SERVER = 1,
    PLATFORM_CARD_VIRTUAL = 2,
    PLATFORM_CARD_NONE = 3
} PlatformCard;
static inline int PlatformUseCard(PlatformCard card) {
    return card == PLATFORM_CARD_DEFAULT;
}
static inline int PlatformCardInUse(void) {
    return -1;
}

typedef enum PlatformClock {
    PLATFORM_CLOCK_REAL_TIME = 0,
    PLATFORM_CLOCK_FREE_RUNNING = 1,
    PLATFORM_CLOCK_MOVED = 2
} PlatformClock;

typedef struct PlatformVirtualDevice {
    char name[64];
    uint32_t min_rate, max_rate;
    uint16_t max_channels;
    uint16_t bits;
} PlatformVirtualDevice;

typedef struct PlatformVirtualState {
    uint32_t opens;
    uint32_t open, paused;
    uint32_t rate;
    uint16_t channels, bits;
} PlatformVirtualState;

static inline int PlatformVirtualReset(void) {
    return 0;
}
static inline int PlatformVirtualSetOutputs(const PlatformVirtualDevice* d, uint32_t n) {
    return (void)d, (void)n, 0;
}
static inline int PlatformVirtualSetInputs(const PlatformVirtualDevice* d, uint32_t n) {
    return (void)d, (void)n, 0;
}
static inline int PlatformVirtualSetPreferred(uint32_t o, uint32_t i) {
    return (void)o, (void)i, 0;
}
static inline int PlatformVirtualSetClock(PlatformClock clock) {
    return (void)clock, 0;
}
static inline uint32_t PlatformVirtualAdvance(uint32_t o, uint32_t frames) {
    return (void)o, (void)frames, 0u;
}
static inline void PlatformVirtualSettle(void) {}
static inline size_t PlatformVirtualPlayed(uint32_t o, size_t from, void* b, size_t n) {
    return (void)o, (void)from, (void)b, (void)n, (size_t)0;
}
static inline void PlatformVirtualClearPlayed(uint32_t o) {
    (void)o;
}
static inline void PlatformVirtualKeepPlayed(uint32_t o, int keep) {
    (void)o, (void)keep;
}
static inline int PlatformVirtualPlayInto(uint32_t o, const char* path) {
    return (void)o, (void)path, 0;
}
static inline uint32_t PlatformVirtualQueued(uint32_t o, uint32_t* lengths, uint32_t n) {
    return (void)o, (void)lengths, (void)n, 0u;
}
static inline int PlatformVirtualGetState(uint32_t o, PlatformVirtualState* state) {
    return (void)o, (void)state, 0;
}

static inline int PlatformVirtualFeed(uint32_t i, const void* b, size_t n) {
    return (void)i, (void)b, (void)n, 0;
}
static inline int PlatformVirtualRecordFrom(uint32_t i, const char* path) {
    return (void)i, (void)path, 0;
}
static inline int PlatformVirtualTone(uint32_t i, uint32_t hertz, uint32_t percent) {
    return (void)i, (void)hertz, (void)percent, 0;
}
static inline uint32_t PlatformVirtualAdvanceInput(uint32_t i, uint32_t frames) {
    return (void)i, (void)frames, 0u;
}
static inline int PlatformVirtualMisreport(uint32_t i, uint32_t skip, uint32_t bytes) {
    return (void)i, (void)skip, (void)bytes, 0;
}
static inline int PlatformVirtualUnplugInput(uint32_t i) {
    return (void)i, 0;
}
static inline uint32_t PlatformVirtualInputQueued(uint32_t i, uint32_t* lengths, uint32_t n) {
    return (void)i, (void)lengths, (void)n, 0u;
}
static inline int PlatformVirtualGetInputState(uint32_t i, PlatformVirtualState* state) {
    return (void)i, (void)state, 0;
}

enum {
    PLATFORM_MIXER_VOLUME = 1,
    PLATFORM_MIXER_MUTE = 2,
    PLATFORM_MIXER_MUX = 4,
    PLATFORM_MIXER_MULTIPLE = 8
};

typedef struct PlatformMixerLine {
    char name[64];
    uint32_t component;
    uint32_t controls;
    uint32_t unreadable;
    uint32_t channels;
    uint32_t said_sources;
    uint32_t said_items;
} PlatformMixerLine;

static inline int PlatformVirtualSetMixer(const PlatformMixerLine* lines, uint32_t n) {
    return (void)lines, (void)n, 0;
}
static inline uint32_t PlatformVirtualMixerValues(uint32_t line, uint32_t control, uint32_t* v, uint32_t n) {
    return (void)line, (void)control, (void)v, (void)n, 0u;
}
static inline int PlatformVirtualSetMixerValues(uint32_t line, uint32_t control, const uint32_t* v,
                                                uint32_t n) {
    return (void)line, (void)control, (void)v, (void)n, 0;
}

#endif
