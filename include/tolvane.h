/* tolvane.h - play, record, edit and convert sound files, from file to file, in constant memory.
 *
 * What holds for every function:
 *
 *  1. Text is zero-terminated 8-bit text in the system's own encoding; it is copied, never kept. A path has at most
 *     TOLVANE_MAX_PATH characters; a longer one is treated like a file that cannot be opened, a null one like an
 *     empty one, but for the conversions into PCM.
 *  2. Memory that a function fills belongs to the caller and is described with its size. A null pointer where a
 *     result should go is allowed: that result is not stored.
 *  3. A function that returns a result code returns TOLVANE_OK (0) when done, otherwise one of `TolvaneResult`.
 *     Where a function fails, nothing has changed but what its description names, and the current file: that is the
 *     file last loaded or played, which an empty name stands for in edits. Loading makes a file the current one also where
 *     it fails; a start of a playback that fails, also because another is running, leaves none.
 *  4. Positions and lengths come with a unit: TOLVANE_SAMPLES counts sample frames (one sample of every channel),
 *     TOLVANE_BYTES bytes of sample data, and TOLVANE_MILLISECONDS milliseconds; every other value means
 *     milliseconds too. A position inside a frame moves down to the start of that frame.
 *  5. Functions may be called from any thread of the host, except from its DllMain or a library constructor. They run
 *     in the caller's thread and return when they are done, unless their description says otherwise.
 *  6. There is one playback and one recording at a time and one set of choices (devices, callback window, temp folder,
 *     effects), shared by the whole process. They last while the library is loaded; nothing is kept between runs.
 *  7. Unloading the library ends a playback and a recording and removes the scratch files. Nothing of it stays behind but
 *     effect plug-ins, which stay loaded; on Windows the system itself may close a device that was still open a moment
 *     later.
 *
 * The smallest host that plays a file and waits for its end (it needs the system's <windows.h>):
 *
 *     HWND window = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
 *     MSG message;
 *     SetCallbackWindow(window);
 *     if (AudioPlayWave("hello.wav", 0, TOLVANE_MILLISECONDS, 0, 1, 0) == TOLVANE_OK)
 *         while (GetMessageA(&message, window, 0, 0) > 0 && message.message != TOLVANE_PLAYBACK_ENDED)
 *             DispatchMessageA(&message);
 */
#ifndef TOLVANE_H
#define TOLVANE_H

#include <stdint.h>

#if defined(_WIN32) && !defined(_WIN64)
#define TOLVANE_CALL __stdcall
#else
#define TOLVANE_CALL
#endif

#if defined(__GNUC__) && !defined(_WIN32)
#define TOLVANE_API __attribute__((visibility("default")))
#else
#define TOLVANE_API
#endif

#ifdef __cplusplus
#define TOLVANE_ASSERT_SIZE(type, size) static_assert(sizeof(type) == (size), #type " has a fixed layout")
extern "C" {
#else
#define TOLVANE_ASSERT_SIZE(type, size) _Static_assert(sizeof(type) == (size), #type " has a fixed layout")
#endif

enum {
    TOLVANE_MAX_PATH = 259,        /* characters of a path, without the terminating zero */
    TOLVANE_DEVICE_NAME_SIZE = 32, /* bytes of a device description, with the terminating zero */
    TOLVANE_SOURCE_NAME_SIZE = 64, /* bytes of the name of a record source, with the terminating zero */
    TOLVANE_PLAYBACK_ENDED = 1125  /* message posted to the callback window, see SetCallbackWindow */
};

/* As a device: whichever the system prefers and can play the format. */
#define TOLVANE_WAVE_MAPPER 0xFFFFFFFFu

/* Units of positions and lengths. */
enum { TOLVANE_MILLISECONDS = 0, TOLVANE_SAMPLES = 1, TOLVANE_BYTES = 2 };

/* Result codes, each with the sentence that a host can show its user. */
typedef enum TolvaneResult {
    TOLVANE_OK = 0,                    /* Done. */
    TOLVANE_NO_PATH = 100,             /* No file was named. */
    TOLVANE_ALREADY_PLAYING = 101,     /* A playback is already running. */
    TOLVANE_CANNOT_OPEN = 102,         /* The file cannot be opened, or it is no usable wave file. */
    TOLVANE_NO_BUFFERS = 103,          /* There is not enough memory for the playback buffers. */
    TOLVANE_FORMAT_NOT_PLAYABLE = 104, /* The output device cannot play this format or sample rate. */
    TOLVANE_DEVICE_NOT_OPENED = 105,   /* The output device cannot be opened. */
    TOLVANE_BUFFER_NOT_PREPARED = 106, /* The output device refused a playback buffer. */
    TOLVANE_NOT_WAVE = 107,            /* The file is no wave file, or its format is of no use here. */
    TOLVANE_NO_FORMAT = 108,           /* The wave file has no usable format record. */
    TOLVANE_NOT_PCM = 109,             /* The sound is compressed. */
    TOLVANE_NO_DATA = 110,             /* The wave file has no data chunk. */
    TOLVANE_NO_MICROPHONE = 111,       /* No record source is called a microphone. */
    TOLVANE_NO_LINE_INPUT = 112,       /* No record source is called a line input. */
    TOLVANE_CANNOT_SEEK = 113,         /* The file cannot be positioned at its sound. */
    TOLVANE_FORMAT_NOT_LEFT = 114,     /* The wave file breaks off behind its format record. */
    TOLVANE_NO_MEMORY = 115,           /* There is not enough memory. */
    TOLVANE_MEMORY_NOT_LOCKED = 116,   /* The system did not hand out the memory it had granted. */
    TOLVANE_EMPTY_DATA = 117,          /* The wave file holds no sound. */
    TOLVANE_NO_PREFERRED_OUTPUT = 150, /* There is no output device, or the system prefers none. */
    TOLVANE_NO_SUCH_OUTPUT = 151,      /* This output device does not exist. */
    TOLVANE_OUTPUT_NOT_SELECTED = 152, /* This output device cannot be selected: it does not exist. */
    TOLVANE_NO_PREFERRED_INPUT = 153,  /* There is no input device, or the system prefers none. */
    TOLVANE_NO_SUCH_INPUT = 154,       /* This input device does not exist. */
    TOLVANE_INPUT_NOT_SELECTED = 155,  /* This input device cannot be selected: it does not exist. */
    TOLVANE_FORMAT_NOT_RECORDED = 201, /* The input device cannot record this format. */
    TOLVANE_NO_RECORD_BUFFERS = 202,   /* There is not enough memory for the recording buffers. */
    TOLVANE_RECORD_NOT_CREATED = 203,  /* The file to record into cannot be created. */
    TOLVANE_RECORDER_NOT_OPENED = 204, /* The input device cannot be opened. */
    TOLVANE_RECORD_NOT_STARTED = 205,  /* The input device does not start. */
    TOLVANE_ALREADY_RECORDING = 206,   /* A recording or level test is already running. */
    TOLVANE_NO_RECORD_PATH = 207,      /* No file to record into was named. */
    TOLVANE_NO_SOURCE_CONTROL = 250,   /* The mixer has nothing to choose a record source with. */
    TOLVANE_NO_SUCH_SOURCE = 251,      /* This record source does not exist. */
    TOLVANE_NO_SELECTION_MEMORY = 252, /* There is not enough memory for what the mixer tells. */
    TOLVANE_SOURCE_NOT_READ = 253,     /* The mixer does not tell which record sources are chosen. */
    TOLVANE_SOURCE_NOT_SET = 254,      /* The mixer refused the choice of the record source. */
    TOLVANE_EDIT_NOT_WRITTEN = 301,    /* The edited sound cannot be written, or the file breaks off. */
    TOLVANE_NOTHING_TO_CUT = 302,      /* Nothing is selected. */
    TOLVANE_DISK_FULL = 303,           /* There is not enough room on the disk of the temp folder. */
    TOLVANE_NO_FILE_BUFFER = 304,      /* There is not enough memory to read the file. */
    TOLVANE_NO_UNDO_COPY = 305,        /* The copy for undo cannot be made, or not be copied back. */
    TOLVANE_NOTHING_TO_COPY = 306,     /* Nothing is selected. */
    TOLVANE_NO_PASTE_FILE = 307,       /* The file to paste does not exist. */
    TOLVANE_PASTE_NOT_FITTING =
        308, /* The file to paste is no PCM wave file of the same format, with sound in it. */
    TOLVANE_FILE_IS_PLAYING = 310,     /* The file is being played. */
    TOLVANE_CANCELLED = 311,           /* The operation was cancelled. */
    TOLVANE_NOTHING_TO_PASTE = 312,    /* There is nothing to paste. */
    TOLVANE_BEYOND_END = 313,          /* The position lies behind the end of the sound. */
    TOLVANE_UNDO_OFF = 314,            /* Undo is switched off. */
    TOLVANE_NO_REDO_COPY = 315,        /* The copy for redo cannot be made. */
    TOLVANE_NOTHING_TO_UNDO = 316,     /* There is no edit to take back or to repeat. */
    TOLVANE_NOT_REDONE = 317,          /* The edit cannot be repeated: is the disk full? */
    TOLVANE_EDIT_NOT_PCM = 318,        /* The sound is compressed: it has to be converted to PCM first. */
    TOLVANE_NOT_PUT_IN_PLACE = 319,    /* The file cannot be replaced by the edited one. */
    TOLVANE_NOTHING_SELECTED = 320,    /* Nothing is selected. */
    TOLVANE_NOTHING_TO_CROP = 321,     /* Nothing is selected. */
    TOLVANE_NOT_A_FOLDER = 322,        /* The temp folder is not an existing folder. */
    TOLVANE_INPUT_NOT_OPENED = 350,    /* The file to convert cannot be opened. */
    TOLVANE_INPUT_NOT_WAVE = 351,      /* The file to convert is no wave file. */
    TOLVANE_INPUT_NO_FORMAT = 352,     /* The file to convert has no format record. */
    TOLVANE_INPUT_BAD_FORMAT = 353,    /* The format record of the file to convert cannot be read. */
    TOLVANE_INPUT_NOT_PCM = 354,       /* The file to convert is compressed. */
    TOLVANE_BLOCK_NOT_SIZED = 354,     /* The codec does not tell how much room its output needs. */
    TOLVANE_INPUT_NO_DATA = 355,       /* The file to convert has no data chunk. */
    TOLVANE_INPUT_EMPTY = 356,         /* The file to convert holds no sound. */
    TOLVANE_NO_CHANGE_MEMORY = 357,    /* There is not enough memory for the conversion. */
    TOLVANE_OUTPUT_NOT_WRITTEN = 358,  /* The new file cannot be created or written: is the disk full? */
    TOLVANE_CHANGE_NOT_POSSIBLE = 359, /* Only whole ratios of rates, 1 or 2 channels, 8 or 16 bits. */
    TOLVANE_SAME_FORMAT = 360,         /* The file has this format already. */
    TOLVANE_NO_INPUT_PATH = 361,       /* No file to convert was named. */
    TOLVANE_NO_OUTPUT_PATH = 362,      /* No file to create was named. */
    TOLVANE_OUTPUT_NO_FORM = 363,      /* The new wave file cannot be begun: is the disk full? */
    TOLVANE_OUTPUT_NO_FORMAT = 364,    /* The format record of the new file cannot be begun. */
    TOLVANE_OUTPUT_NO_DATA = 365,      /* The data chunk of the new file cannot be begun. */
    TOLVANE_OUTPUT_FORMAT_LOST = 366,  /* The format record of the new file cannot be written. */
    TOLVANE_FORMAT_NOT_CLOSED = 367,   /* A format record breaks off. */
    TOLVANE_OUTPUT_NOT_PREPARED = 369, /* The codec refused the buffers of the conversion. */
    TOLVANE_NO_CODEC = 400,            /* No such codec is installed. */
    TOLVANE_NO_FORMAT_SIZE = 401,      /* The system does not tell how large a format record can be. */
    TOLVANE_NO_FORMAT_MEMORY = 402,    /* There is not enough memory for a format record. */
    TOLVANE_NO_PRIORITY = 403,         /* The codec does not answer. */
    TOLVANE_CODEC_NOT_OPENED = 404,    /* The codec cannot be opened. */
    TOLVANE_NO_PCM_SUGGESTION = 405,   /* No codec knows a format into which this sound can be converted. */
    TOLVANE_NO_STREAM = 406,           /* No codec can convert between these formats. */
    TOLVANE_SOURCE_NOT_OPENED = 407,   /* The file to convert cannot be opened. */
    TOLVANE_TARGET_NOT_CREATED = 408,  /* The new file cannot be created. */
    TOLVANE_SOURCE_NOT_WAVE = 409,     /* The file to convert is no wave file. */
    TOLVANE_SOURCE_NO_DATA = 410,      /* The file to convert has no data chunk. */
    TOLVANE_TARGET_NOT_SIZED = 411,    /* The codec does not tell how much room its output needs. */
    TOLVANE_NO_SOURCE_MEMORY = 412,    /* There is not enough memory to read the file. */
    TOLVANE_NO_TARGET_MEMORY = 413,    /* There is not enough memory for the converted sound. */
    TOLVANE_NOT_PREPARED = 414,        /* The codec refused the buffers of the conversion. */
    TOLVANE_TARGET_NO_FORM = 415,      /* The new wave file cannot be begun: is the disk full? */
    TOLVANE_TARGET_NO_FORMAT = 416,    /* The format record of the new file cannot be begun. */
    TOLVANE_TARGET_FORMAT_LOST = 417,  /* The format record of the new file cannot be written. */
    TOLVANE_TARGET_FORMAT_OPEN = 418,  /* The format record of the new file cannot be closed. */
    TOLVANE_TARGET_NO_FACT = 419,      /* The fact chunk of the new file cannot be begun. */
    TOLVANE_TARGET_FACT_LOST = 420,    /* The fact chunk of the new file cannot be written. */
    TOLVANE_TARGET_FACT_OPEN = 421,    /* The fact chunk of the new file cannot be closed. */
    TOLVANE_TARGET_NO_DATA = 422,      /* The data chunk of the new file cannot be begun. */
    TOLVANE_SOURCE_CUT_SHORT = 423,    /* The file to convert ends before its sound does. */
    TOLVANE_NOT_CONVERTED = 424,       /* The codec could not convert a part of the sound. */
    TOLVANE_TARGET_NOT_WRITTEN = 425,  /* The new file cannot be written: is the disk full? */
    TOLVANE_TARGET_DATA_OPEN = 426,    /* The data chunk of the new file cannot be closed. */
    TOLVANE_TARGET_FORM_OPEN = 427,    /* The new file cannot be closed: is the disk full? */
    TOLVANE_SOURCE_NO_FORMAT = 429,    /* The file to convert has no format record. */
    TOLVANE_SOURCE_BAD_FORMAT = 430,   /* The format record of the file to convert cannot be read. */
    TOLVANE_EFFECT_WAVE_CLOSED = 461,  /* No effect wave is open. */
    TOLVANE_EFFECT_WAVE_EMPTY = 462,   /* The effect wave holds no sound. */
    TOLVANE_EFFECT_WAVE_USED_UP = 463, /* The effect wave has been played to its end. */
    TOLVANE_EFFECT_WAVE_BROKEN = 464,  /* The effect wave cannot be read. */
    TOLVANE_EFFECT_WAVE_BUSY = 465,    /* The effect wave cannot be waited for. */
    TOLVANE_PCM_SOURCE_NOT_WAVE = 466, /* The file to convert is no wave file. */
    TOLVANE_EFFECT_WAVE_NO_RIFF = 466, /* The effect wave is no wave file. */
    TOLVANE_PCM_SOURCE_NO_DATA = 467,  /* The file to convert has no data chunk. */
    TOLVANE_EFFECT_WAVE_NO_DATA = 467, /* The effect wave has no data chunk. */
    TOLVANE_EFFECT_WAVE_MISSING = 468, /* The effect wave cannot be opened. */
    TOLVANE_NOTHING_RECORDED = 469     /* Nothing has been recorded yet. */
} TolvaneResult;

/* Beside 0 (running), what GetACMStatus answers. */
enum { TOLVANE_CONVERSION_DONE = 1000, TOLVANE_CONVERSION_FAILED = 1001 };

/* The system's WAVEFORMATEX of <mmreg.h>, 18 bytes. */
struct tWAVEFORMATEX;

#pragma pack(push, 1)

/* The format of a wave file: the first 16 bytes of its "fmt " chunk. */
typedef struct InputFileInfo {
    uint16_t wFormatTag; /* 1 = PCM */
    uint16_t nChannels;
    uint32_t nSamplesPerSec; /* sample rate in Hz */
    uint32_t nAvgBytesPerSec;
    uint16_t nBlockAlign; /* bytes of one sample frame (PCM) or one compressed block */
    uint16_t wBitsPerSample;
} InputFileInfo;
TOLVANE_ASSERT_SIZE(InputFileInfo, 16);

/* What AudioGetFileInfo tells of a PCM wave file or of the running recording. */
typedef struct AudioFileInfo {
    uint16_t bitsPerSample;
    uint16_t channels;
    uint32_t length;              /* in the unit asked for */
    uint32_t sampleRate;          /* Hz */
    uint16_t formatTag;           /* 1 = PCM */
    uint16_t reserved;            /* not written */
    uint32_t recordingSampleRate; /* Hz; 0 while nothing is recorded, like the two below */
    uint16_t recordingBitsPerSample;
    uint16_t recordingChannels;
} AudioFileInfo;
TOLVANE_ASSERT_SIZE(AudioFileInfo, 24);

/* A codec of the catalogue. */
typedef struct CodecDescription {
    uint32_t codecIndex;             /* position in the catalogue, from 0 */
    uint32_t driverId;               /* the compression manager's identifier */
    uint32_t reportedFormatTagCount; /* what the driver says it has */
    uint32_t listedFormatTagCount;   /* how many can be described */
    char longName[128];
    uint8_t reserved[8]; /* zero */
} CodecDescription;
TOLVANE_ASSERT_SIZE(CodecDescription, 152);

/* A format tag (a kind of compression) that a codec handles. */
typedef struct FormatTagDescription {
    uint32_t codecIndex;
    uint32_t formatTagIndex; /* position among the codec's format tags, from 0 */
    uint32_t formatTag;      /* 1 = PCM */
    char name[48];
    uint8_t reserved[4]; /* zero */
} FormatTagDescription;
TOLVANE_ASSERT_SIZE(FormatTagDescription, 64);

/* An MP3 stream as codecs know it: a format record (tag 85) with what is added for MPEG Layer-3. */
typedef struct Mp3StreamFormat {
    uint16_t wFormatTag;
    uint16_t nChannels; /* of dual channel streams 1 */
    uint32_t nSamplesPerSec;
    uint32_t nAvgBytesPerSec; /* of the first frame */
    uint16_t nBlockAlign, wBitsPerSample, cbSize, wID;
    uint32_t fdwFlags;
    uint16_t nBlockSize, nFramesPerBlock, nCodecDelay;
} Mp3StreamFormat;
TOLVANE_ASSERT_SIZE(Mp3StreamFormat, 30);

/* A file of a playback set. The host fills in the path; the rest is written when the set is started. The array stays the
 * host's, and must stay as it is until AudioStop or another set. */
typedef struct PlaybackSetEntry {
    uint32_t reserved; /* not used */
    char path[260];
    InputFileInfo format; /* of an MP3 file: its rate and channels, with 16 bits */
    uint16_t extraSize;
    uint32_t bitRate; /* MP3 only: of the first frame, kilobits a second */
    uint32_t bytes;   /* length; of an MP3 file an estimate of what it is decoded */
    uint32_t samples;
    uint32_t milliseconds;
    uint32_t bytesPerFileByte; /* MP3 only: `bytes` divided by the file's size */
} PlaybackSetEntry;
TOLVANE_ASSERT_SIZE(PlaybackSetEntry, 302);

/* Where the playback of a set stands, and the whole length of the set. */
typedef struct PlaybackSetInfo {
    char path[260];    /* of the file that plays */
    uint32_t position; /* in the set, in the unit asked for */
    uint16_t bitsPerSample;
    uint16_t channels;
    uint32_t sampleRate; /* Hz */
    uint16_t formatTag;
    uint32_t totalBytes;
    uint32_t totalSamples;
    uint32_t totalMilliseconds;
} PlaybackSetInfo;
TOLVANE_ASSERT_SIZE(PlaybackSetInfo, 286);

#pragma pack(pop)

/* ======== Frame ======== */

/* Names the window that is told when a playback ends; null (the initial state) tells nobody. `window` is an HWND.
 * At the end of every playback, by itself or through AudioStop, the window gets exactly one posted message
 * TOLVANE_PLAYBACK_ENDED, after device and file are closed. Its wParam is 1 once a mixed sum has been clipped since
 * the library was loaded, otherwise 0; its lParam is 0. The window in force when the playback ends gets it. */
TOLVANE_API void TOLVANE_CALL SetCallbackWindow(void* window);

/* Makes `folder` the temp folder, where clipboard, undo, redo and playback copy lie. Initially it is the system's
 * (on Linux $TMPDIR, else /tmp). What these scratch files held is lost. Results: TOLVANE_OK, or TOLVANE_NOT_A_FOLDER
 * when `folder` is no existing folder or its path too long to put file names behind it; nothing changes then. */
TOLVANE_API uint32_t TOLVANE_CALL SetTempPath(const char* folder);

/* ======== Wave files ======== */

/* Reads the format of a wave file, compressed or not, into `info` (16 bytes). Results: TOLVANE_OK;
 * TOLVANE_CANNOT_OPEN when the file cannot be opened, is no wave file or has no whole format record;
 * TOLVANE_NO_MEMORY, TOLVANE_MEMORY_NOT_LOCKED. */
TOLVANE_API uint16_t TOLVANE_CALL GetInputFileInfo(const char* path, InputFileInfo* info);

/* Tells how many bytes of sound a wave file says it holds. Results: TOLVANE_OK; TOLVANE_CANNOT_OPEN;
 * TOLVANE_NOT_WAVE when it is no wave file; TOLVANE_NO_DATA when it has no data chunk. */
TOLVANE_API uint16_t TOLVANE_CALL GetDataChunkSize(const char* path, uint32_t* size);

/* With `fromFile` not 0: fills the first five fields of `info` from a PCM wave file, the length in `unit`; a file
 * without data has length 0. Results: TOLVANE_OK; TOLVANE_NO_PATH when `path` is empty; those of GetInputFileInfo;
 * TOLVANE_NOT_WAVE when the file is compressed or names no channel, sample rate or sample size.
 * With `fromFile` 0: fills the last three fields with the format of the running recording, or 0 when there is none;
 * `path` and `unit` are ignored; TOLVANE_OK. The other fields stay as they were. */
TOLVANE_API uint16_t TOLVANE_CALL AudioGetFileInfo(AudioFileInfo* info, const char* path, uint16_t unit,
                                                   uint32_t fromFile);

/* 1 when the selected output device could play the file at `sampleRate` Hz, otherwise 0 (also when the file is no
 * wave file). No result code. */
TOLVANE_API uint32_t TOLVANE_CALL AudioIsTheSampleSpeedSupported(const char* path, uint32_t sampleRate);

/* 1 when start position, moves and sample rate are honoured in a playback of this file: it is a PCM wave file.
 * Otherwise 0. No result code. */
TOLVANE_API uint32_t TOLVANE_CALL CanSetPositionAndSampleRate(const char* path);

/* Describes an MP3 file by its first frame header, which may stand anywhere in it (also inside a tag that looks like one),
 * and tells the file's size in bytes. Results: TOLVANE_OK; TOLVANE_CANNOT_OPEN when the file cannot be opened or holds no
 * frame header; TOLVANE_NO_FORMAT_SIZE, TOLVANE_NO_FORMAT_MEMORY, or TOLVANE_NO_PCM_SUGGESTION when no installed codec
 * decodes it. Neither `format` nor `size` is written then. */
TOLVANE_API uint16_t TOLVANE_CALL GetMP3FileInfo(const char* path, Mp3StreamFormat* format, uint32_t* size);

/* Measures the peaks of a block of PCM samples, in percent of full scale (0 to 100). Of `format` only channels and
 * bits per sample are read; 1 and 2 channels of 8 and 16 bits are measured. A mono block gives the same value twice.
 * Of 16-bit stereo every second frame is looked at. An 8-bit channel that holds the lowest value, 0, is reported as
 * 0. `data` null or `length` (bytes) 0, or another format: both values stay as they were. Memory that cannot be
 * read: both are 0. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioGetLevelInBuffer(const InputFileInfo* format, const uint8_t* data,
                                                        uint32_t length, uint32_t* left, uint32_t* right);

/* ======== Playback ======== */

/* Plays a wave file on the selected output device, from `start` to `end` (both in `unit`; `end` 0 = to the end of the
 * sound), at `sampleRate` Hz (0 = the file's own). It returns as soon as the playback runs; the end is told to the
 * callback window. A start at or behind the end of the sound plays from the beginning; an end behind it plays to the
 * end; an end at or before the start ends the playback at once.
 * A compressed file with `convert` 0 goes to the device as it is, and `start` and `sampleRate` are ignored. With
 * `convert` not 0 it is first converted into a PCM copy, which takes its time; the copy is played again without
 * converting as long as the same, unchanged file is played and SetTempPath is not called. A file that AudioLoadFile
 * opened is closed, also when the start fails.
 * Results: TOLVANE_OK; TOLVANE_NO_PATH; TOLVANE_ALREADY_PLAYING; TOLVANE_CANNOT_OPEN; TOLVANE_NO_BUFFERS;
 * TOLVANE_FORMAT_NOT_PLAYABLE; TOLVANE_DEVICE_NOT_OPENED; TOLVANE_BUFFER_NOT_PREPARED; TOLVANE_CANNOT_SEEK; where a copy
 * cannot be made, TOLVANE_CANNOT_OPEN (no codec for it) or a result of AudioConvert. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPlayWave(const char* path, uint32_t start, uint16_t unit,
                                                uint32_t sampleRate, uint32_t convert, uint32_t end);

/* As AudioPlayWave; with `repeat` not 0 the playback begins again at `start` whenever it reaches `end`, until
 * AudioStop. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPlayWaveEx(const char* path, uint32_t start, uint16_t unit,
                                                  uint32_t sampleRate, uint32_t convert, uint32_t end,
                                                  uint32_t repeat);

/* Opens a PCM wave file for AudioPlayCurrentFile. Results: TOLVANE_OK, the file stays open; TOLVANE_NO_PATH;
 * TOLVANE_ALREADY_PLAYING; TOLVANE_CANNOT_OPEN, also for a compressed file; TOLVANE_FORMAT_NOT_PLAYABLE.
 * A file that was loaded before is closed, unless a playback is running. An edit of the loaded file is possible, and is
 * what is played then. */
TOLVANE_API uint16_t TOLVANE_CALL AudioLoadFile(const char* path);

/* Plays the file that AudioLoadFile opened, once, from `start` to its end. Results: TOLVANE_OK;
 * TOLVANE_ALREADY_PLAYING; TOLVANE_CANNOT_OPEN when no file is loaded (a playback closes it at its end);
 * TOLVANE_NO_BUFFERS; TOLVANE_FORMAT_NOT_PLAYABLE; TOLVANE_DEVICE_NOT_OPENED; TOLVANE_BUFFER_NOT_PREPARED;
 * TOLVANE_CANNOT_SEEK. After a failure the file is still loaded, and the call can be repeated. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPlayCurrentFile(uint32_t start, uint16_t unit);

/* Ends the playback and returns when device and file are closed; the callback window is told as at a natural end.
 * Without a playback nothing happens. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioStop(void);

/* Holds the playback where it is; AudioResume goes on from there. Pausing twice or resuming what is not paused does
 * nothing. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPause(void);
TOLVANE_API uint16_t TOLVANE_CALL AudioResume(void);

/* Moves the playback to `position`, counted in `unit` from the beginning of the sound; a position behind the end
 * (of the sound, or of what is to be played) goes to that end, and the playback ends or repeats. A paused playback
 * stays paused. The place where a repeat begins stays the same. Ignored without a playback and for a compressed file
 * that is played as it is. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioMoveTo(uint32_t position, uint16_t unit);

/* The position of what is heard now, counted in `unit` from the beginning of the sound (in a set: of the whole, for a
 * file that was started or moved to in it); it grows on through repeats
 * (after 4 GiB of sound from 0 again).
 * 0 when nothing plays. For a compressed file played as it is: always milliseconds. No result code. */
TOLVANE_API uint32_t TOLVANE_CALL AudioGetPosition(uint16_t unit);

/* Peaks of the buffer that is played now (about an eighth of a second, in a set half a second), in percent of full scale (0 to 100). Both
 * values stay as they were when nothing plays, when the playback is busy at this moment, and for formats other than
 * 8 or 16 bits in 1 or 2 channels. Of compressed data that is played as it is they mean nothing. */
TOLVANE_API void TOLVANE_CALL AudioGetPlaybackLevel(uint32_t* left, uint32_t* right);

/* ======== Mixed playback and software volume ======== */

/* As AudioPlayWave, with a second PCM file laid over it: the bytes that stand at the same place of both files are added
 * (limited to what a sample can be; see wParam of TOLVANE_PLAYBACK_ENDED) or, with `average` not 0, averaged. So both files
 * should have one format and their sound begin at the same byte. What the second file has beyond the first is not heard.
 * `mixPath` null: `path` alone; TOLVANE_CANNOT_OPEN when it is no PCM wave file. A compressed file that is played as it is
 * is heard without it. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPlayMixWave(const char* path, const char* mixPath, uint32_t start,
                                                   uint16_t unit, uint32_t sampleRate, uint32_t convert,
                                                   uint32_t end, uint32_t average);

/* Factors for the first two channels of what is played and of what is mixed into it; 1.0 leaves samples as they are (the
 * initial state), 0 silences, a negative one inverts, and a larger one amplifies up to the limits of a sample. In force from
 * the next buffer on, for 8- and 16-bit PCM, until they are changed; in a mixed playback only as far as the second file
 * reaches. */
TOLVANE_API void TOLVANE_CALL SetVolume(float mainLeft, float mainRight, float mixLeft, float mixRight);

/* Mixes `mixBlock` (`mixLength` bytes) into `block` (`blockLength` bytes, with room for the longer of both) as a mixed
 * playback does, with the factors of SetVolume; 8- or 16-bit samples, whole frames of `channels`. A block that is shorter
 * than the other is first continued with silence. 16-bit samples of `mixBlock` become what its factor makes of them.
 * `*clipFlag` becomes 1 when an added sum had to be limited, and otherwise stays as it is. */
TOLVANE_API void TOLVANE_CALL MixData(uint8_t* block, uint32_t blockLength, uint8_t* mixBlock,
                                      uint32_t mixLength, uint16_t channels, uint16_t bitsPerSample,
                                      uint32_t average, uint32_t* clipFlag);

/* ======== Playback sets and MP3 ======== */

/* Plays wave files as one timeline, from `start`, a position in the whole: the file that contains it plays from there to its
 * own end, which is told to the callback window; the host then starts the next, or has moved there before. Files may differ
 * in format. `end` (0 = none) counts in whichever file plays. The other arguments are AudioPlayWave's, but
 * `convert` is for the first file only, so the others have to be PCM; and in another unit than the three there is nothing
 * to play.
 *
 *     PlaybackSetEntry tracks[2] = {{0}};
 *     strcpy(tracks[0].path, "one.wav");
 *     strcpy(tracks[1].path, "two.wav");
 *     AudioPlayWaveFilesSet(tracks, 2, 0, TOLVANE_MILLISECONDS, 0, 1, 0);
 *     AudioMoveIntoPlaybackSet(tracks[0].milliseconds, TOLVANE_MILLISECONDS);  (to the second)
 *
 * The set stays in force until AudioStop: whatever AudioPlayWave plays until then begins at a position of the set.
 * Results: TOLVANE_OK, also when there is nothing to play (no entries, which changes nothing, or a start at or behind the end of the
 * whole); those of
 * GetInputFileInfo for each file; those of AudioPlayWave. After a failure, and with nothing to play, there is no set any more,
 * also none that was playing: its file then plays to its end. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPlayWaveFilesSet(PlaybackSetEntry* entries, uint32_t count,
                                                        uint32_t start, uint16_t unit, uint32_t sampleRate,
                                                        uint32_t convert, uint32_t end);

/* Moves the playback of a set to a position in the whole, in another file where it lies there; a paused playback stays
 * paused. A position at or behind the end is ignored, and so is the call when no set plays. When the file cannot be
 * opened the playback ends, and the callback window is told. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioMoveIntoPlaybackSet(uint32_t position, uint16_t unit);

/* Tells where the set's playback stands. Without a set everything but the path is 0, and the path stays as it was; of a
 * playback that has ended, and of a file outside the set, only the totals are told. Always
 * TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioGetPlaybackSetInfo(PlaybackSetInfo* info, uint16_t unit);

/* Plays an MP3 file through the system's wave mapper, which decodes it, on the device that the system prefers. It plays from
 * the first byte to the last; `start` and `end` are used in sets and for moves only. Positions are those of the file's own
 * bytes counted as decoded sound: AudioGetPosition in TOLVANE_BYTES tells how many bytes of the file have been played, and
 * AudioMoveTo in TOLVANE_BYTES goes to a byte of the file. SetVolume has no effect. Edits with an empty file name keep to the
 * file played before. Results: TOLVANE_OK; TOLVANE_NO_PATH; TOLVANE_ALREADY_PLAYING; TOLVANE_CANNOT_OPEN, also when no codec
 * decodes it; TOLVANE_NO_BUFFERS; TOLVANE_DEVICE_NOT_OPENED; TOLVANE_BUFFER_NOT_PREPARED; TOLVANE_CANNOT_SEEK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPlayMP3(const char* path, uint32_t start, uint16_t unit,
                                               uint32_t sampleRate, uint32_t convert, uint32_t end);

/* As AudioPlayWaveFilesSet, with MP3 files. Their lengths are estimates from the file's size and the bit rate of its first
 * frame, in whole seconds. `sampleRate` and `convert` are not used. Results besides: those of GetMP3FileInfo. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPlayMP3FilesSet(PlaybackSetEntry* entries, int32_t count,
                                                       uint32_t start, uint16_t unit, uint32_t sampleRate,
                                                       uint32_t convert, uint32_t end);

/* ======== Recording ======== */

/* One recording or level test runs at a time, beside a playback. It takes what the selected input device hears as PCM, in
 * buffers of 375 milliseconds, up to 16 of them ahead of the disk.
 * The file is a wave file in which the sound begins at byte 46. A file of the same name is replaced as soon as the start
 * creates its own; a start that fails before leaves it alone (TOLVANE_FORMAT_NOT_RECORDED, TOLVANE_NO_RECORD_BUFFERS),
 * one that fails later deletes what it created. After every buffer the file is whole: should the process end, it holds
 * all but the buffers that had not come back. It grows to 2 GiB at most; then the recording goes on without it.
 * A recording also ends by itself, with a whole file: when fewer than 102,400 bytes are free on the temp folder's disk, or
 * on its own disk where nothing more can be written; when the device is gone; when a device or effect says that a
 * buffer holds more than it can. Nobody is told; AudioGetFileInfo and the levels show it. Another write that fails is
 * left out, and the recording goes on. */

/* Records into `fileName`, whose buffer is changed: white space around the name goes. `sampleRate` in Hz, `bits` of a
 * sample 8 or 16, `channels` 1 or 2 (more where the device can). `source` is the index of the source line that the record
 * volume means. Results: TOLVANE_OK; TOLVANE_NO_RECORD_PATH; TOLVANE_ALREADY_RECORDING, also while one is still stopping;
 * TOLVANE_FORMAT_NOT_RECORDED; TOLVANE_NO_RECORD_BUFFERS; TOLVANE_RECORD_NOT_CREATED, also for a name that is too long;
 * TOLVANE_RECORDER_NOT_OPENED; TOLVANE_RECORD_NOT_STARTED. */
TOLVANE_API uint16_t TOLVANE_CALL AudioStartRecord(char* fileName, uint32_t sampleRate, uint16_t bits,
                                                   uint16_t channels, uint16_t source);

/* As AudioStartRecord, for recording into a place of a longer sound. The offsets are bytes of the file, counted from its
 * first byte (so 46 + the bytes of sound before); 0 means none.
 * The file begins with `leadIn` bytes of silence, whole frames. What is recorded before `startOffset` is silence too; the
 * buffer (375 milliseconds) in which `startOffset` lies is written to its end. From `stopOffset` on nothing is written any
 * more: `message` is posted to `window` (an HWND) once, with wParam and lParam 0, and the
 * recording runs on until it is stopped. At its end silence makes the file `minimumLength` bytes long (1 to 0x7FFFFFFF,
 * other values mean nothing). */
TOLVANE_API uint16_t TOLVANE_CALL AudioStartRecordEx(void* window, uint32_t message, char* fileName,
                                                     uint32_t sampleRate, uint16_t bits, uint16_t channels,
                                                     uint16_t source, uint32_t leadIn, uint32_t startOffset,
                                                     uint32_t stopOffset, uint32_t minimumLength);

/* Measures without writing a file. Results as AudioStartRecord, without those of a file. */
TOLVANE_API uint16_t TOLVANE_CALL AudioStartRecordLevelTest(uint32_t sampleRate, uint16_t bits,
                                                            uint16_t channels);

/* Ends the recording or level test (both functions either) and returns when the file is written and closed. Without one
 * it returns at once. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioStopRecord(void);
TOLVANE_API uint16_t TOLVANE_CALL AudioStopRecordLevelTest(void);

/* While it is paused, a recording drops the buffers that come back; their levels are still measured. Pausing twice or
 * resuming what is not paused does nothing; every start begins without a pause. */
TOLVANE_API void TOLVANE_CALL PauseRecording(void);
TOLVANE_API void TOLVANE_CALL ResumeRecording(void);

/* Peaks of the buffer recorded last, before the effects, in percent of full scale (0 to 100). Both values stay as they were when nothing
 * runs; formats other than 8 or 16 bits in 1 or 2 channels measure nothing. */
TOLVANE_API void TOLVANE_CALL AudioGetRecordLevel(uint32_t* left, uint32_t* right);

/* How long the recording takes by now, without its pauses, in `unit`: the time since its start and what the file held then
 * (its header and `leadIn`). It follows the clock, not the file, and runs on behind the end; it stays at 4 GiB of sound. No
 * result code. */
TOLVANE_API uint32_t TOLVANE_CALL AudioGetRecordPosition(uint16_t unit);

/* From the next buffer on, the sound of a wave file takes the place of what the input hears, to its end: byte for byte, so
 * its format has to be that of the recording. One that still plays ends. To be called while a recording runs, since every
 * start ends it; levels and effects take it for recorded, and it goes on in a pause. Results: TOLVANE_OK;
 * TOLVANE_NOTHING_RECORDED when no start has opened the device since the library was loaded; TOLVANE_EFFECT_WAVE_MISSING;
 * TOLVANE_EFFECT_WAVE_NO_RIFF; TOLVANE_EFFECT_WAVE_NO_DATA; TOLVANE_EFFECT_WAVE_EMPTY. After a failure the input is heard. */
TOLVANE_API uint16_t TOLVANE_CALL AudioMixEffectWithRecord(const char* fileName);

/* ======== Effects ======== */

/* Effect plug-ins are libraries that change every buffer before it is written into a recording's file (not in a level
 * test). There are slots 0 to 5, which work one after the other, each on what the one before made of it. A host loads a
 * plug-in, gives it parameters, enables it, and says that something has changed:
 *
 *     LoadEffectFile(0, "gain.dll");
 *     SetEffectsParameters(0, &gain, sizeof gain);
 *     SetEffectState(0, 1);
 *     AudioStartRecord(name, 44100, 16, 1, 0);
 *     gain.percent = 50, EffectChanged();             heard from the next buffer on
 *
 * At the end of a recording the plug-ins' parameters are released, and the next recording goes without effects unless
 * EffectChanged or LoadEffectFile is called before or while it runs. */

/* Loads a plug-in into a slot: disabled, without parameters. It stays loaded even when another takes the slot. 1 when
 * done; 0 for a slot that there is not, and for a library that cannot be loaded or whose name has more than 1,559
 * characters; the slot then stays as it was. No result code. */
TOLVANE_API uint16_t TOLVANE_CALL LoadEffectFile(int32_t slot, const char* fileName);

/* Switches a slot on (not 0) or off. 1, or 0 for a slot that there is not. No result code. */
TOLVANE_API uint16_t TOLVANE_CALL SetEffectState(int32_t slot, uint32_t enabled);

/* Names the parameters of a slot, `size` bytes; what is in them is the plug-in's business. The memory stays the host's; it
 * is read when a recording starts and at the next buffer after EffectChanged or any LoadEffectFile, in any thread, and has
 * to stay as long as the slot names it. A slot that never had parameters does nothing. 1, or 0 for a slot that there is not. No result code. */
TOLVANE_API uint16_t TOLVANE_CALL SetEffectsParameters(int32_t slot, const void* parameters, uint32_t size);

/* Says that parameters have changed, or that the next recording wants effects. */
TOLVANE_API void TOLVANE_CALL EffectChanged(void);

/* What a plug-in exports under these undecorated names; each may be missing. A plug-in never sees the host's parameters
 * but a copy of them, which is its own: `parameters` below. Its functions are called in the library's own thread, which has
 * at most 375 milliseconds for a buffer, and in the thread that starts a recording; they call no function of this
 * library. What they return is not looked at. examples/effects/ holds two plug-ins.
 *
 * SetEffectParams comes first, with the format of the recording and then four zeros and TOLVANE_ALL_PARAMETERS; it comes
 * again after EffectChanged, with a new copy. `parameters` is null where memory is lacking, or for size 0.
 * ApplyEffect changes a buffer in place: `input` and `output` are one address, `inputBytes` and `outputBytes` too. The
 * buffer holds *inputBytes bytes of whole frames, possibly none; the plug-in says in *outputBytes how many are left, never more.
 * FreeEffectBuffers comes last: the plug-in lets go of what it holds for this copy, and frees the copy itself with the
 * system's GlobalFree. Where it is missing, the slot keeps its copy, and goes on with
 * it in later recordings.
 * AbortEffectProcessing and QueryEffectInterface are looked for and not called. */
typedef uint32_t(TOLVANE_CALL* TolvaneSetEffectParams)(void* parameters, const struct tWAVEFORMATEX* format,
                                                       uint32_t zero1, uint32_t zero2, uint32_t zero3,
                                                       uint32_t zero4, uint32_t which);
typedef uint32_t(TOLVANE_CALL* TolvaneApplyEffect)(void* input, void* output, uint32_t* inputBytes,
                                                   uint32_t* outputBytes, void* parameters);
typedef uint32_t(TOLVANE_CALL* TolvaneFreeEffectBuffers)(void* parameters);

enum { TOLVANE_ALL_PARAMETERS = 0xFF00 };

/* ======== Devices ======== */

/* How many devices there are; an index below that names one. */
TOLVANE_API uint32_t TOLVANE_CALL GetNumberOfOutputDevices(void);
TOLVANE_API uint32_t TOLVANE_CALL GetNumberOfInputDevices(void);

/* Stores the index of the device that the system prefers. Results: TOLVANE_OK, or TOLVANE_NO_PREFERRED_OUTPUT
 * (TOLVANE_NO_PREFERRED_INPUT), and TOLVANE_WAVE_MAPPER is stored. */
TOLVANE_API uint32_t TOLVANE_CALL GetPreferredOutputDeviceIndex(uint32_t* device);
TOLVANE_API uint32_t TOLVANE_CALL GetPreferredInputDeviceIndex(uint32_t* device);

/* Copies the name of a device into `description` (at least TOLVANE_DEVICE_NAME_SIZE bytes). The name of an output
 * comes without blanks around it, a blank one as "Unknown Device"; that of an input as the device gives it. Results:
 * TOLVANE_OK, or TOLVANE_NO_SUCH_OUTPUT (TOLVANE_NO_SUCH_INPUT), and the description is empty. */
TOLVANE_API uint32_t TOLVANE_CALL GetOutputDeviceDescription(uint32_t device, char* description);
TOLVANE_API uint32_t TOLVANE_CALL GetInputDeviceDescription(uint32_t device, char* description);

/* Chooses the device for what is started from now on: an index, or TOLVANE_WAVE_MAPPER (the initial choice). Results:
 * TOLVANE_OK, or TOLVANE_OUTPUT_NOT_SELECTED (TOLVANE_INPUT_NOT_SELECTED), and the earlier choice stays. */
TOLVANE_API uint32_t TOLVANE_CALL SelectOutputDevice(uint32_t device);
TOLVANE_API uint32_t TOLVANE_CALL SelectInputDevice(uint32_t device);

/* ======== Mixer ======== */

/* Volumes and sources are settings of the system's mixer (its device 0), whichever devices are selected: they act on
 * every program and outlive this one. Without a mixer, or where it lacks the line or the control, nothing is set and
 * volumes are 0.
 * Record sources are the lines that feed the mixer's recording line (microphone, line input and so on), with an index
 * from 0 in the mixer's order. The one in use is the index that SetTheSource or the start of a recording was last given,
 * initially 0, valid or not; the mixer is not asked which one it has chosen itself. */

/* Sets the volume of playback, in percent; more than 100 means 100. While AudioMute mutes, the volume is only kept for
 * the end of the mute. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioSetVolume(uint16_t percent);

/* The volume of playback in percent (0 to 100), that of the left channel; 0 while muted. No result code. */
TOLVANE_API uint16_t TOLVANE_CALL AudioGetVolume(void);

/* With `mute` not 0 keeps the volume of playback and sets it to 0; with 0 sets it to what was kept. Neither asks whether
 * it is muted: muting twice keeps 0, and what is kept initially is 100 percent. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioMute(uint32_t mute);

/* The volume of recording, in percent: where the mixer chooses sources with one control (the usual case), that of the
 * first source of the same kind as the one in use; otherwise that of the recording line itself. An index in use that
 * does not exist sets nothing, and reads 0. AudioSetRecVolume: always TOLVANE_OK. AudioGetRecVolume: no result code. */
TOLVANE_API uint16_t TOLVANE_CALL AudioSetRecVolume(uint16_t percent);
TOLVANE_API uint16_t TOLVANE_CALL AudioGetRecVolume(void);

/* How many record sources there are. No result code. */
TOLVANE_API uint32_t TOLVANE_CALL GetNumberOfRecordSources(void);

/* Copies the name of a record source into `name` (TOLVANE_SOURCE_NAME_SIZE bytes), which stays as it was where there is
 * no such source. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL GetRecordSourceName(uint32_t index, char* name);

/* Stores the index of the first record source whose name contains "mic" (or "line"), in small or capital letters.
 * Results: TOLVANE_OK; TOLVANE_NO_MICROPHONE, TOLVANE_NO_LINE_INPUT, and nothing is stored then. */
TOLVANE_API uint16_t TOLVANE_CALL GetRecordSourceMic(uint32_t* index);
TOLVANE_API uint16_t TOLVANE_CALL GetRecordSourceLine(uint32_t* index);

/* Records from this source from now on. A mixer with a control for one source at a time then has this one alone, one for
 * several also those that it had, and where there is none, the other sources are muted and this one is not (those without
 * a switch are left alone). Results: TOLVANE_OK; TOLVANE_NO_SOURCE_CONTROL; TOLVANE_NO_SUCH_SOURCE;
 * TOLVANE_NO_SELECTION_MEMORY; TOLVANE_SOURCE_NOT_READ; TOLVANE_SOURCE_NOT_SET; where sources are muted, that of the
 * last one with a switch. The index is the one in use afterwards, whatever the result. */
TOLVANE_API uint16_t TOLVANE_CALL SetTheSource(uint16_t index);

/* ======== Codecs ======== */

/* Makes the catalogue of the installed codecs anew and returns how many there are. Indexes obtained before mean
 * nothing any more. */
TOLVANE_API uint16_t TOLVANE_CALL GetNumberOfCodec(void);

/* Describes a codec in `out` (152 bytes). Results: TOLVANE_OK; TOLVANE_NO_CODEC when the catalogue is empty (`out`
 * stays as it was) or has no such index (`out` is cleared). */
TOLVANE_API uint16_t TOLVANE_CALL GetCodecDescription(CodecDescription* out, uint16_t codecIndex);

/* Describes a format tag of a codec in `out` (64 bytes). An index at or above the count that the driver reports
 * describes format tag 0; where there is nothing to describe, `out` is cleared. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL GetCodecFormatTagDescription(FormatTagDescription* out, uint16_t codecIndex,
                                                               uint16_t formatTagIndex);

/* ======== Edit jobs ======== */

/* An operation that was started with `wait` 0 runs in a thread of its own, which keeps the library loaded, and hands
 * out a job. The host asks it whether it is over, may cancel it, and closes it. Of a null handle these functions say
 * that it is over, with progress 0 and reason 0. */
typedef struct EditJob EditJob;

/* Asks the job to stop; it does so at its next block, with TOLVANE_CANCELLED as the reason. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioEditCancelPressed(EditJob* job);

/* 0 while the operation runs, then 1. No result code. */
TOLVANE_API uint32_t TOLVANE_CALL AudioEditProcessIsOver(EditJob* job);

/* How far the operation is, in percent. No result code. */
TOLVANE_API uint32_t TOLVANE_CALL AudioEditGetProcessProgress(EditJob* job);

/* What the operation would have returned with `wait` not 0. It counts once the job is over; before, it is 0. */
TOLVANE_API uint16_t TOLVANE_CALL AudioEditGetReasonForProcessExit(EditJob* job);

/* Frees the job and makes the handle null; a null handle stays so. A job that still runs is cancelled and freed when
 * it has stopped. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioEditCloseHandle(EditJob** job);

/* ======== Editing ======== */

/* Edits change PCM wave files from file to file. What they share:
 * `fileName` is the file; an empty one means the file last loaded or played. A compressed file that was just played from
 * its PCM copy is not changed: the copy is edited. `start` and `end` are the selection in `unit`, in either order,
 * `position` a place between frames.
 * The result replaces the file, or, where `destination` is neither null nor empty, becomes that file; both in one step
 * when it is whole, so that at every moment the old file is there or the new one. Rights of a replaced file are kept. The
 * chunks before the sound are kept byte for byte; what follows the sound is dropped.
 * `wait` not 0: returns when done, and `job` is not used. `wait` 0: runs as a job (see Edit jobs), whose handle is stored
 * in *job, null where memory or a thread is lacking. One edit runs at a time.
 * Results at once: TOLVANE_FILE_IS_PLAYING; TOLVANE_NO_PATH; TOLVANE_CANNOT_OPEN when the file is missing, empty or of no
 * use; TOLVANE_EDIT_NOT_PCM; TOLVANE_NOT_PUT_IN_PLACE for a destination whose path is too long. At once or as the reason
 * of a job: TOLVANE_NOT_WAVE; TOLVANE_NO_DATA; TOLVANE_BEYOND_END; TOLVANE_DISK_FULL when the temp folder's disk has not
 * more than twice the file's size; TOLVANE_NO_FILE_BUFFER; TOLVANE_NO_UNDO_COPY; TOLVANE_EDIT_NOT_WRITTEN, also for a
 * file that ends before its sound does and a result that would be larger than a wave file can be;
 * TOLVANE_NOT_PUT_IN_PLACE; TOLVANE_CANCELLED; TOLVANE_NO_MEMORY and TOLVANE_MEMORY_NOT_LOCKED; and those named below. After a failure no file has
 * changed. */

/* Takes the selection out of the file and into the clipboard, or into `cutFile`. Nothing selected:
 * TOLVANE_NOTHING_TO_CUT. A `cutFile` that is missing or the file itself: TOLVANE_EDIT_NOT_WRITTEN. A cut that fails on
 * its way leaves the clipboard empty. */
TOLVANE_API uint16_t TOLVANE_CALL AudioCut(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                           EditJob** job, uint32_t wait, const char* destination);
TOLVANE_API uint16_t TOLVANE_CALL AudioCutInFile(const char* fileName, uint32_t start, uint32_t end,
                                                 uint16_t unit, EditJob** job, uint32_t wait,
                                                 const char* cutFile, const char* destination);

/* Copies the selection into the clipboard, or into `copyFile`; the file stays as it is, and so does what can be undone.
 * Nothing selected: TOLVANE_NOTHING_TO_COPY. Otherwise as AudioCut. */
TOLVANE_API uint16_t TOLVANE_CALL AudioCopy(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                            EditJob** job, uint32_t wait);
TOLVANE_API uint16_t TOLVANE_CALL AudioCopyInFile(const char* fileName, uint32_t start, uint32_t end,
                                                  uint16_t unit, EditJob** job, uint32_t wait,
                                                  const char* copyFile);

/* Inserts the sound of the clipboard, or of `pasteFile` (null or empty: the clipboard), at `position`. Results besides:
 * TOLVANE_NOTHING_TO_PASTE; TOLVANE_NO_PASTE_FILE; TOLVANE_PASTE_NOT_FITTING when it is no PCM with the channels, rate and
 * frame size of the file, or has no sound. */
TOLVANE_API uint16_t TOLVANE_CALL AudioPaste(const char* fileName, uint32_t position, uint16_t unit,
                                             EditJob** job, uint32_t wait);
TOLVANE_API uint16_t TOLVANE_CALL AudioPasteEx(const char* fileName, uint32_t position, uint16_t unit,
                                               EditJob** job, uint32_t wait, const char* pasteFile,
                                               const char* destination);

/* 1 when the clipboard holds something, otherwise 0. */
TOLVANE_API uint32_t TOLVANE_CALL AudioEditCanPaste(void);

/* Empties the clipboard, undo and redo. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioFlushCutCopyPasteBuffer(void);

/* Takes the selection out; keeps nothing but the selection. Nothing selected: TOLVANE_NOTHING_SELECTED,
 * TOLVANE_NOTHING_TO_CROP. */
TOLVANE_API uint16_t TOLVANE_CALL AudioClear(const char* fileName, uint32_t start, uint32_t end,
                                             uint16_t unit, EditJob** job, uint32_t wait,
                                             const char* destination);
TOLVANE_API uint16_t TOLVANE_CALL AudioCrop(const char* fileName, uint32_t start, uint32_t end, uint16_t unit,
                                            EditJob** job, uint32_t wait, const char* destination);

/* Silences channels of the selection: bit 0 of `channels` is the first channel, bit 1 the second, up to 32. Sound of other
 * sample sizes than 8 and 16 bits stays as it is. Nothing selected: TOLVANE_NOTHING_SELECTED. */
TOLVANE_API uint16_t TOLVANE_CALL AudioEditMute(const char* fileName, uint32_t start, uint32_t end,
                                                uint16_t unit, EditJob** job, uint32_t wait,
                                                uint32_t channels, const char* destination);

/* Takes the quiet frames off both ends of the selection: those of which no channel is louder than `level`, in hundredths
 * of a percent of full scale (10,000 = full scale). Of a selection that is quiet throughout the first frame is kept.
 * Nothing selected: TOLVANE_NOTHING_SELECTED. */
TOLVANE_API uint16_t TOLVANE_CALL AudioEditTrimSilence(const char* fileName, uint32_t start, uint32_t end,
                                                       uint16_t unit, EditJob** job, uint32_t wait,
                                                       uint16_t level, const char* destination);

/* Inserts `durationMs` milliseconds of silence at `position`, rounded down to whole frames. */
TOLVANE_API uint16_t TOLVANE_CALL AudioInsertSilence(const char* fileName, uint32_t position, uint16_t unit,
                                                     EditJob** job, uint32_t wait, uint32_t durationMs,
                                                     const char* destination);

/* Whether edits (all but copies) keep what the file was, so that one edit can be undone; initially they do. Always
 * TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioEditSetUndoRedo(uint32_t on);

/* 1 when something is kept that an undo or a redo could bring back, otherwise 0. After an edit that was refused something
 * may still be kept that belongs to an earlier one: the undo itself decides. */
TOLVANE_API uint32_t TOLVANE_CALL AudioEditCanUndo(void);
TOLVANE_API uint32_t TOLVANE_CALL AudioEditCanRedo(void);

/* Gives the file of the last edit back what it held before; redo gives it what it held before the undo. They act on the
 * file that was edited, also where its result went to another destination. Results: TOLVANE_OK; TOLVANE_UNDO_OFF;
 * TOLVANE_NOTHING_TO_UNDO when no edit can be undone, the last one failed or, for redo, nothing was undone since;
 * undo: TOLVANE_NO_REDO_COPY, TOLVANE_NO_UNDO_COPY; redo: TOLVANE_NOT_REDONE. The file is as it was then. */
TOLVANE_API uint16_t TOLVANE_CALL AudioEditUndo(void);
TOLVANE_API uint16_t TOLVANE_CALL AudioEditRedo(void);

/* ======== Change of format ======== */

/* Writes a copy of a PCM wave file with another sample rate, sample size or channel count, or several of them, into
 * `target`, which is created or replaced. An empty `fileName` means the file last loaded or played. Rates change by
 * whole numbers, and frames are repeated or dropped, without a filter; 8 and 16 bits, 1 and 2 channels (averaged) are
 * possible. Up to three steps follow one another, rate, channels, size, and share the progress in equal parts of
 * 100, 50 or 33 percent. When it fails or is cancelled, the target keeps what the last step left in it.
 * Unlike an edit it does not ask whether the file that an empty name stands for is being played.
 * With `wait` not 0 it returns when done, and `job` is not used; with `wait` 0 it runs as a job (see above).
 * Results: TOLVANE_OK, also when a job was started. At once: TOLVANE_FILE_IS_PLAYING; TOLVANE_NO_PATH;
 * TOLVANE_CANNOT_OPEN; TOLVANE_EDIT_NOT_PCM; TOLVANE_NO_CHANGE_MEMORY, also when no job can be started, and the
 * handle is null then. With `wait` not 0, or as the job's reason: TOLVANE_INPUT_NOT_OPENED to
 * TOLVANE_OUTPUT_NOT_WRITTEN, the last also for a target that is the file itself, for a result that would be larger
 * than a wave file can be, and for a file that ends before its sound does; TOLVANE_CHANGE_NOT_POSSIBLE; TOLVANE_SAME_FORMAT; TOLVANE_CANCELLED. */
TOLVANE_API uint16_t TOLVANE_CALL AudioChangeFormat(const char* fileName, const char* target,
                                                    uint32_t sampleRate, uint16_t bitsPerSample,
                                                    uint16_t channels, EditJob** job, uint32_t wait);

/* ======== Conversion ======== */

/* Conversions run in the caller's thread, or as a job of their own thread, which the host polls. A job keeps the
 * library loaded until it has ended, also when the host unloads it meanwhile. The new file appears, or replaces the
 * one of its name, only when it is whole (it lies beside it until then); a replaced file's rights are kept. A relative
 * name means what it means at the call, also for a job. */
typedef struct ConvertJob ConvertJob;
typedef struct PcmConversion PcmConversion;

/* Converts the wave file `source` with a codec of the catalogue into the wave file `target`.
 * `formatTagIndex` names a format tag of the codec. Where it is called "PCM", channels, rate and bits of `pcmFormat`
 * (null = all 0) are the target format; of any other tag the user chooses the format in the system's dialog (on Linux
 * the codec's format nearest to 11,025 Hz, mono, 8 bits). 0xFFFFFFFF, like any index from its count of tags on, takes
 * the format that the codec itself suggests, and asks nobody: what a host without a user passes. With `allowFallback`
 * not 0 another codec may take over; where PCM was asked for, into the format of 18 bytes that the system suggests
 * for the source, or at last into PCM at 22,050 Hz, stereo, 16 bits.
 * `wait` not 0: returns when the conversion is done; `job` is not used. `wait` 0: starts a job and stores its handle in
 * *job, to be closed with AudioConvertCloseHandle; null when memory or a thread was lacking.
 * The file gets the largest format record of the codec (PCM: 18 bytes), a fact chunk with the bytes of sound in
 * `source`, and the sound. After a failure or a cancel there is no new file, and an old one is as it was.
 * Results, also the reason of a job: TOLVANE_OK; TOLVANE_NO_CODEC (400) to TOLVANE_SOURCE_BAD_FORMAT (430);
 * TOLVANE_SOURCE_NOT_OPENED and TOLVANE_TARGET_NOT_CREATED at once where a path is missing or too long. A `target`
 * that is the `source`, or on Windows one that others have open without sharing it, is TOLVANE_TARGET_NOT_CREATED. */
TOLVANE_API uint16_t TOLVANE_CALL AudioConvert(uint16_t codecIndex, uint32_t formatTagIndex,
                                               const char* source, const char* target,
                                               const struct tWAVEFORMATEX* pcmFormat, uint32_t allowFallback,
                                               ConvertJob** job, uint32_t wait);

/* Asks a job to end; it then ends with the reason TOLVANE_OK and leaves no new file, unless it was just done. Always TOLVANE_OK. A null handle is
 * ignored here, and is a job that has ended well in the functions below. */
TOLVANE_API uint16_t TOLVANE_CALL AudioConvertCancelPressed(ConvertJob* job);

/* 1 when the job has ended, otherwise 0. */
TOLVANE_API uint32_t TOLVANE_CALL AudioConvertProcessIsOver(ConvertJob* job);

/* How much is done, in percent (0 to 100). */
TOLVANE_API uint32_t TOLVANE_CALL AudioConvertGetProcessProgress(ConvertJob* job);

/* The result of a job that has ended (see AudioConvert). */
TOLVANE_API uint16_t TOLVANE_CALL AudioConvertGetReasonForProcessExit(ConvertJob* job);

/* Frees the job and makes the handle null; a null handle stays so. A job that still runs is cancelled and freed when
 * it has stopped. Always TOLVANE_OK. */
TOLVANE_API uint16_t TOLVANE_CALL AudioConvertCloseHandle(ConvertJob** job);

/* Converts the wave file `source` into `target` in a PCM format, by whatever codec can: a compressed file first into
 * the PCM format that its codec suggests, then into `format`, which must be PCM (else, or null: TOLVANE_NO_STREAM). A
 * file that has the format already is copied. If the second of two steps fails, `target` holds what was converted
 * until then, or is as it was where that is nothing. A null path is TOLVANE_NO_INPUT_PATH or TOLVANE_NO_OUTPUT_PATH. Results: TOLVANE_OK; TOLVANE_INPUT_NOT_OPENED (350) to TOLVANE_OUTPUT_NOT_PREPARED (369);
 * TOLVANE_NO_PCM_SUGGESTION; TOLVANE_NO_STREAM; TOLVANE_SOURCE_CUT_SHORT (423) to TOLVANE_TARGET_FORM_OPEN (427);
 * TOLVANE_PCM_SOURCE_NOT_WAVE; TOLVANE_PCM_SOURCE_NO_DATA. */
TOLVANE_API uint32_t TOLVANE_CALL ACMAudioConvertFormatPCM(const char* source, const char* target,
                                                           const struct tWAVEFORMATEX* format);

/* The same in a thread of its own. Returns a handle, to be given to AbortACMConversion in the end; null when a path is
 * null or too long, or memory or a thread is lacking. */
TOLVANE_API PcmConversion* TOLVANE_CALL ACMBeginConvertPCMEx(const char* source, const char* target,
                                                             const struct tWAVEFORMATEX* format);

/* 0 while the conversion runs, TOLVANE_CONVERSION_DONE or TOLVANE_CONVERSION_FAILED when it has ended (also for a
 * null handle). *progress receives the percentage of the first step (0 to 100). */
TOLVANE_API uint32_t TOLVANE_CALL GetACMStatus(PcmConversion* conversion, uint32_t* progress);

/* Releases the handle. A conversion that still runs is asked to end, and waited for 100 milliseconds; what it has
 * converted until then becomes the target, also in the place of a source that is its own target; that may take a moment
 * longer. Always 0. */
TOLVANE_API uint32_t TOLVANE_CALL AbortACMConversion(PcmConversion* conversion);

#ifdef __cplusplus
}
#endif
#endif
