/* platform.h: what a host program or a test may say to the layer that stands in for the system's services.
 *
 * On Windows the services are the system's own and nothing of this can be said: a header of the same name answers
 * there that it is unsupported (every function below returns 0), so that a host is written once.
 *
 * 1. Functions return 1 when done and 0 when not; counts and sizes as described.
 * 2. Text is zero-terminated and copied; memory stays its owner's.
 * 3. Every function may be called from any thread. */
#ifndef TOLVANE_PLATFORM_H
#define TOLVANE_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Debugger output ---- */

/* Is told every text sent with OutputDebugStringA; null (the initial state) keeps the layer silent. */
typedef void (*PlatformDebugHook)(const char* text, void* context);
void PlatformSetDebugHook(PlatformDebugHook hook, void* context);

/* ---- Sound cards ---- */

typedef enum PlatformCard {
    PLATFORM_CARD_DEFAULT = 0, /* the sound server where one answers, otherwise none (initial state) */
    PLATFORM_CARD_SERVER = 1,  /* the sound server */
    PLATFORM_CARD_VIRTUAL =
        2,                 /* the virtual card: plays into memory or a wave file, records what it is given */
    PLATFORM_CARD_NONE = 3 /* a machine without sound */
} PlatformCard;

/* Chooses the card behind the wave devices. 0 while a device is open, or where cards cannot be chosen. */
int PlatformUseCard(PlatformCard card);

/* The card in use: VIRTUAL, SERVER or NONE (what DEFAULT came to). -1 where that cannot be told. */
int PlatformCardInUse(void);

/* ---- The virtual card ---- */

typedef enum PlatformClock {
    PLATFORM_CLOCK_REAL_TIME = 0, /* follows the wall clock (initial state) */
    PLATFORM_CLOCK_FREE_RUNNING =
        1,                   /* as fast as the buffers come; an input fills them as fast as they are added */
    PLATFORM_CLOCK_MOVED = 2 /* moves only with PlatformVirtualAdvance and PlatformVirtualAdvanceInput */
} PlatformClock;

/* A device of the virtual card. Formats outside the ranges are refused as a device refuses them. */
typedef struct PlatformVirtualDevice {
    char name[64]; /* cut to 31 characters where the system reports it; may be blank */
    uint32_t min_rate, max_rate;
    uint16_t max_channels;
    uint16_t bits; /* sample sizes taken: 1 = 8 bits, 2 = 16 bits, 3 = both */
} PlatformVirtualDevice;

/* Back to one output "Virtual speakers" and one input "Virtual microphone" (1 to 192,000 Hz, 2 channels, 8 and 16
 * bits), the real-time clock, nothing played or written to files, silence heard, the first mixer (below). 0 while a
 * device is open. */
int PlatformVirtualReset(void);

/* Replaces the outputs or inputs (at most 16; a count of 0 leaves none). 0 while a device is open. */
int PlatformVirtualSetOutputs(const PlatformVirtualDevice* devices, uint32_t count);
int PlatformVirtualSetInputs(const PlatformVirtualDevice* devices, uint32_t count);

/* Which output and input the wave mapper prefers; initially 0. UINT32_MAX makes the mapper refuse the question. */
int PlatformVirtualSetPreferred(uint32_t output, uint32_t input);

/* Applies to devices opened afterwards. */
int PlatformVirtualSetClock(PlatformClock clock);

/* Moves the clock of an open output by `frames` frames (PLATFORM_CLOCK_MOVED only). It stops at each end of a buffer
 * until the thread that was told of it has dealt with it and waits for its next message, so that nothing depends
 * on how fast that thread is. Returns the frames that were really played: a device that is paused or has no
 * buffer left plays nothing, and the rest of the time passes in silence that is not recorded. */
uint32_t PlatformVirtualAdvance(uint32_t output, uint32_t frames);

/* Waits until no thread has a message of a sound device left to deal with. */
void PlatformVirtualSettle(void);

/* What an output has played since it was set up or last cleared, in the format it was opened with: copies at most
 * `size` bytes from byte `from` and returns how many bytes there are after `from`. `bytes` may be null. */
size_t PlatformVirtualPlayed(uint32_t output, size_t from, void* bytes, size_t size);
void PlatformVirtualClearPlayed(uint32_t output);

/* Turns the keeping of played bytes in memory off (long playbacks) or on (initial state). */
void PlatformVirtualKeepPlayed(uint32_t output, int keep);

/* Also writes what the output plays into a wave file, whole and readable whenever the device is closed; null ends
 * that. A later open of the device writes the file anew. */
int PlatformVirtualPlayInto(uint32_t output, const char* wave_path);

/* Lengths in bytes of the buffers the open output holds, oldest first: copies at most `count`, returns how many. */
uint32_t PlatformVirtualQueued(uint32_t output, uint32_t* lengths, uint32_t count);

/* State of an output for tests: how often it was opened, whether it is open or paused now. */
typedef struct PlatformVirtualState {
    uint32_t opens;
    uint32_t open, paused;
    uint32_t rate;
    uint16_t channels, bits;
} PlatformVirtualState;
int PlatformVirtualGetState(uint32_t output, PlatformVirtualState* state);

/* ---- What the virtual card's inputs hear ---- */

/* What an input hears from now on, in the format it is opened with: first the bytes fed to it, in order, then the
 * sound of its wave file, then its tone; where there is none, silence. Only time that a started device records is
 * taken from it. PlatformVirtualReset and PlatformVirtualSetInputs take all of it back. Part of a frame waits until
 * the rest of it is fed. */
int PlatformVirtualFeed(uint32_t input, const void* bytes, size_t size);
/* The sound of a PCM wave file, once; null ends that. While some of it is left the device takes the file's format and
 * no other. 0 where it cannot be read, or the device is open in another format. */
int PlatformVirtualRecordFrom(uint32_t input, const char* wave_path);
/* A sine of `hertz` (0: none) and `percent` of full scale (0 to 100) on every channel, without end. */
int PlatformVirtualTone(uint32_t input, uint32_t hertz, uint32_t percent);

/* Moves the clock of an open input as PlatformVirtualAdvance does that of an output: it stops at the end of each buffer
 * until the thread that was told has dealt with it. Returns the frames recorded: a device that was not started or
 * has no buffer records nothing. */
uint32_t PlatformVirtualAdvanceInput(uint32_t input, uint32_t frames);

/* The next buffer that comes back full (`skip` buffers later) says that it holds `bytes` bytes, whatever it holds. */
int PlatformVirtualMisreport(uint32_t input, uint32_t skip, uint32_t bytes);

/* The device vanishes while it is open: what it holds comes back, and every call on it fails with MMSYSERR_NODRIVER
 * until it is closed and opened again; only waveInUnprepareHeader and waveInClose still work. 0 where it is not open. */
int PlatformVirtualUnplugInput(uint32_t input);

uint32_t PlatformVirtualInputQueued(uint32_t input, uint32_t* lengths, uint32_t count);
/* `paused`: open but not started. */
int PlatformVirtualGetInputState(uint32_t input, PlatformVirtualState* state);

/* ---- The virtual card's mixer ---- */

/* Controls of a line, to be added up. */
enum {
    PLATFORM_MIXER_VOLUME = 1,
    PLATFORM_MIXER_MUTE = 2,
    PLATFORM_MIXER_MUX = 4,     /* of a destination: selects one of its source lines */
    PLATFORM_MIXER_MULTIPLE = 8 /* of a destination: selects any of them */
};

/* A line of the mixer. What is "said" is what the mixer claims, rightly or not. */
typedef struct PlatformMixerLine {
    char name[64];         /* UTF-8 */
    uint32_t component;    /* a component type of the system; from 0x1000 on those of source lines */
    uint32_t controls;     /* PLATFORM_MIXER_... */
    uint32_t unreadable;   /* not 0: the mixer does not tell of the line */
    uint32_t channels;     /* said; 0: 2 */
    uint32_t said_sources; /* of a destination; 0: as many as follow it */
    uint32_t
        said_items; /* of all its controls; 0: a value for each source line in a selector, otherwise none */
} PlatformMixerLine;

/* Replaces the mixer by one with these lines: each destination is followed by its source lines. At most 256; a count of 0
 * is a machine without a mixer. Volumes stand at 65,535, nothing is muted, the first source is selected. The first mixer
 * is { speakers: wave }, { wave-in with volume and mux: Microphone, Line In, CD Audio }, each source with volume and
 * mute. */
int PlatformVirtualSetMixer(const PlatformMixerLine* lines, uint32_t count);

/* The values that a control of the line (its index above) has: one a channel of a volume, one of a mute, one an item of
 * a selector; where the mixer says more than 65,536, none. Copies at most `count`, returns how many there are. */
uint32_t PlatformVirtualMixerValues(uint32_t line, uint32_t control, uint32_t* values, uint32_t count);

/* Changes the first `count` of them, as another program may at any time. */
int PlatformVirtualSetMixerValues(uint32_t line, uint32_t control, const uint32_t* values, uint32_t count);

#ifdef __cplusplus
}
#endif
#endif
