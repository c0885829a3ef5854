/* mmsystem.h: the multimedia services: wave devices, the mixer and the millisecond clock (RIFF files are in
 * mmiscapi.h).
 *
 * Records have the layout that the system's callers know, packed to single bytes. */
#ifndef TOLVANE_PLATFORM_MMSYSTEM_H
#define TOLVANE_PLATFORM_MMSYSTEM_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma pack(push, 1)

typedef UINT MMRESULT;
typedef UINT MMVERSION;

#define MAXPNAMELEN 32

/* ---- Results of every multimedia service ---- */

#define MMSYSERR_NOERROR 0
#define MMSYSERR_ERROR 1
#define MMSYSERR_BADDEVICEID 2
#define MMSYSERR_NOTENABLED 3
#define MMSYSERR_ALLOCATED 4
#define MMSYSERR_INVALHANDLE 5
#define MMSYSERR_NODRIVER 6
#define MMSYSERR_NOMEM 7
#define MMSYSERR_NOTSUPPORTED 8
#define MMSYSERR_BADERRNUM 9
#define MMSYSERR_INVALFLAG 10
#define MMSYSERR_INVALPARAM 11
#define MMSYSERR_HANDLEBUSY 12

#define WAVERR_BADFORMAT 32
#define WAVERR_STILLPLAYING 33
#define WAVERR_UNPREPARED 34
#define WAVERR_SYNC 35

/* ---- Time ---- */

#define TIME_MS 1
#define TIME_SAMPLES 2
#define TIME_BYTES 4
#define TIME_SMPTE 8
#define TIME_MIDI 16
#define TIME_TICKS 32

typedef struct mmtime_tag {
    UINT wType; /* which member of the union holds the answer */
    union {
        DWORD ms;
        DWORD sample;
        DWORD cb;
        DWORD ticks;
        struct {
            BYTE hour;
            BYTE min;
            BYTE sec;
            BYTE frame;
            BYTE fps;
            BYTE dummy;
            BYTE pad[2];
        } smpte;
        struct {
            DWORD songptrpos;
        } midi;
    } u;
} MMTIME, *PMMTIME, *LPMMTIME;

DWORD WINAPI timeGetTime(void);

/* ---- How a device tells of its events ---- */

#define CALLBACK_TYPEMASK 0x00070000L
#define CALLBACK_NULL 0x00000000L
#define CALLBACK_WINDOW 0x00010000L
#define CALLBACK_TASK 0x00020000L
#define CALLBACK_THREAD CALLBACK_TASK
#define CALLBACK_FUNCTION 0x00030000L
#define CALLBACK_EVENT 0x00050000L

/* wParam is the device's handle, lParam the header. */
#define MM_WOM_OPEN 0x3BB
#define MM_WOM_CLOSE 0x3BC
#define MM_WOM_DONE 0x3BD
#define MM_WIM_OPEN 0x3BE
#define MM_WIM_CLOSE 0x3BF
#define MM_WIM_DATA 0x3C0

#define WOM_OPEN MM_WOM_OPEN
#define WOM_CLOSE MM_WOM_CLOSE
#define WOM_DONE MM_WOM_DONE
#define WIM_OPEN MM_WIM_OPEN
#define WIM_CLOSE MM_WIM_CLOSE
#define WIM_DATA MM_WIM_DATA

/* ---- Wave devices ---- */

#ifndef DECLARE_HANDLE
#define DECLARE_HANDLE(name) typedef struct name##__* name
#endif
DECLARE_HANDLE(HWAVE);
DECLARE_HANDLE(HWAVEOUT);
DECLARE_HANDLE(HWAVEIN);
typedef HWAVEOUT* LPHWAVEOUT;
typedef HWAVEIN* LPHWAVEIN;

#define WAVE_MAPPER ((UINT)-1)

#define WAVE_FORMAT_QUERY 0x0001
#define WAVE_ALLOWSYNC 0x0002
#define WAVE_MAPPED 0x0004
#define WAVE_FORMAT_DIRECT 0x0008

#define WAVE_FORMAT_PCM 1

#ifndef _WAVEFORMATEX_
#define _WAVEFORMATEX_
typedef struct tWAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize; /* bytes of codec data that follow */
} WAVEFORMATEX, *PWAVEFORMATEX, *LPWAVEFORMATEX;
typedef const WAVEFORMATEX* LPCWAVEFORMATEX;
#endif

#define WHDR_DONE 0x01
#define WHDR_PREPARED 0x02
#define WHDR_BEGINLOOP 0x04
#define WHDR_ENDLOOP 0x08
#define WHDR_INQUEUE 0x10

typedef struct wavehdr_tag {
    LPSTR lpData;
    DWORD dwBufferLength;
    DWORD dwBytesRecorded;
    DWORD_PTR dwUser;
    DWORD dwFlags;
    DWORD dwLoops;
    struct wavehdr_tag* lpNext; /* the device's own while the header is queued */
    DWORD_PTR reserved;
} WAVEHDR, *PWAVEHDR, *LPWAVEHDR;

#define WAVECAPS_PITCH 0x01
#define WAVECAPS_PLAYBACKRATE 0x02
#define WAVECAPS_VOLUME 0x04
#define WAVECAPS_LRVOLUME 0x08
#define WAVECAPS_SYNC 0x10
#define WAVECAPS_SAMPLEACCURATE 0x20

#define WAVE_FORMAT_1M08 0x001
#define WAVE_FORMAT_1S08 0x002
#define WAVE_FORMAT_1M16 0x004
#define WAVE_FORMAT_1S16 0x008
#define WAVE_FORMAT_2M08 0x010
#define WAVE_FORMAT_2S08 0x020
#define WAVE_FORMAT_2M16 0x040
#define WAVE_FORMAT_2S16 0x080
#define WAVE_FORMAT_4M08 0x100
#define WAVE_FORMAT_4S08 0x200
#define WAVE_FORMAT_4M16 0x400
#define WAVE_FORMAT_4S16 0x800

typedef struct tagWAVEOUTCAPSA {
    WORD wMid;
    WORD wPid;
    MMVERSION vDriverVersion;
    CHAR szPname[MAXPNAMELEN];
    DWORD dwFormats;
    WORD wChannels;
    WORD wReserved1;
    DWORD dwSupport;
} WAVEOUTCAPSA, *PWAVEOUTCAPSA, *LPWAVEOUTCAPSA;

typedef struct tagWAVEINCAPSA {
    WORD wMid;
    WORD wPid;
    MMVERSION vDriverVersion;
    CHAR szPname[MAXPNAMELEN];
    DWORD dwFormats;
    WORD wChannels;
    WORD wReserved1;
} WAVEINCAPSA, *PWAVEINCAPSA, *LPWAVEINCAPSA;

UINT WINAPI waveOutGetNumDevs(void);
MMRESULT WINAPI waveOutGetDevCapsA(UINT_PTR device, LPWAVEOUTCAPSA caps, UINT size);
MMRESULT WINAPI waveOutOpen(LPHWAVEOUT handle, UINT device, LPCWAVEFORMATEX format, DWORD_PTR callback,
                            DWORD_PTR instance, DWORD flags);
MMRESULT WINAPI waveOutClose(HWAVEOUT handle);
MMRESULT WINAPI waveOutPrepareHeader(HWAVEOUT handle, LPWAVEHDR header, UINT size);
MMRESULT WINAPI waveOutUnprepareHeader(HWAVEOUT handle, LPWAVEHDR header, UINT size);
MMRESULT WINAPI waveOutWrite(HWAVEOUT handle, LPWAVEHDR header, UINT size);
MMRESULT WINAPI waveOutPause(HWAVEOUT handle);
MMRESULT WINAPI waveOutRestart(HWAVEOUT handle);
MMRESULT WINAPI waveOutReset(HWAVEOUT handle);
MMRESULT WINAPI waveOutGetPosition(HWAVEOUT handle, LPMMTIME time, UINT size);
MMRESULT WINAPI waveOutMessage(HWAVEOUT handle, UINT message, DWORD_PTR first, DWORD_PTR second);

UINT WINAPI waveInGetNumDevs(void);
MMRESULT WINAPI waveInGetDevCapsA(UINT_PTR device, LPWAVEINCAPSA caps, UINT size);
MMRESULT WINAPI waveInMessage(HWAVEIN handle, UINT message, DWORD_PTR first, DWORD_PTR second);
MMRESULT WINAPI waveInOpen(LPHWAVEIN handle, UINT device, LPCWAVEFORMATEX format, DWORD_PTR callback,
                           DWORD_PTR instance, DWORD flags);
MMRESULT WINAPI waveInClose(HWAVEIN handle);
MMRESULT WINAPI waveInPrepareHeader(HWAVEIN handle, LPWAVEHDR header, UINT size);
MMRESULT WINAPI waveInUnprepareHeader(HWAVEIN handle, LPWAVEHDR header, UINT size);
MMRESULT WINAPI waveInAddBuffer(HWAVEIN handle, LPWAVEHDR header, UINT size);
MMRESULT WINAPI waveInStart(HWAVEIN handle);
MMRESULT WINAPI waveInReset(HWAVEIN handle);

/* ---- The mixer ---- */

DECLARE_HANDLE(HMIXEROBJ);

#define MIXERR_INVALLINE 1024
#define MIXERR_INVALCONTROL 1025

/* A mixer is meant by its number: there are no handles. */
#define MIXER_OBJECTF_MIXER 0x00000000u

#define MIXER_SHORT_NAME_CHARS 16
#define MIXER_LONG_NAME_CHARS 64

#define MIXERLINE_LINEF_ACTIVE 0x00000001u
#define MIXERLINE_LINEF_SOURCE 0x80000000u

#define MIXERLINE_COMPONENTTYPE_DST_SPEAKERS 0x0004
#define MIXERLINE_COMPONENTTYPE_DST_WAVEIN 0x0007
#define MIXERLINE_COMPONENTTYPE_SRC_FIRST 0x1000
#define MIXERLINE_COMPONENTTYPE_SRC_UNDEFINED 0x1000
#define MIXERLINE_COMPONENTTYPE_SRC_LINE 0x1002
#define MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE 0x1003
#define MIXERLINE_COMPONENTTYPE_SRC_SYNTHESIZER 0x1004
#define MIXERLINE_COMPONENTTYPE_SRC_COMPACTDISC 0x1005
#define MIXERLINE_COMPONENTTYPE_SRC_WAVEOUT 0x1008
#define MIXERLINE_COMPONENTTYPE_SRC_AUXILIARY 0x1009
#define MIXERLINE_COMPONENTTYPE_SRC_ANALOG 0x100A

typedef struct tagMIXERLINEA {
    DWORD cbStruct;
    DWORD dwDestination;
    DWORD dwSource; /* of a source line: its place among those of the destination */
    DWORD dwLineID;
    DWORD fdwLine;
    DWORD_PTR dwUser;
    DWORD dwComponentType;
    DWORD cChannels;
    DWORD cConnections; /* of a destination: how many source lines it has */
    DWORD cControls;
    CHAR szShortName[MIXER_SHORT_NAME_CHARS];
    CHAR szName[MIXER_LONG_NAME_CHARS];
    struct {
        DWORD dwType;
        DWORD dwDeviceID;
        WORD wMid;
        WORD wPid;
        MMVERSION vDriverVersion;
        CHAR szPname[MAXPNAMELEN];
    } Target;
} MIXERLINEA, *PMIXERLINEA, *LPMIXERLINEA;

#define MIXER_GETLINEINFOF_SOURCE 0x00000001u        /* dwDestination and dwSource say which */
#define MIXER_GETLINEINFOF_COMPONENTTYPE 0x00000003u /* dwComponentType says which */

#define MIXERCONTROL_CONTROLTYPE_BOOLEAN 0x20010000u
#define MIXERCONTROL_CONTROLTYPE_FADER 0x50030000u
#define MIXERCONTROL_CONTROLTYPE_SINGLESELECT 0x70010000u
#define MIXERCONTROL_CONTROLTYPE_MULTIPLESELECT 0x71010000u
#define MIXERCONTROL_CONTROLTYPE_MUTE (MIXERCONTROL_CONTROLTYPE_BOOLEAN + 2)
#define MIXERCONTROL_CONTROLTYPE_VOLUME (MIXERCONTROL_CONTROLTYPE_FADER + 1)
#define MIXERCONTROL_CONTROLTYPE_MUX (MIXERCONTROL_CONTROLTYPE_SINGLESELECT + 1)
#define MIXERCONTROL_CONTROLTYPE_MIXER (MIXERCONTROL_CONTROLTYPE_MULTIPLESELECT + 1)

#define MIXERCONTROL_CONTROLF_UNIFORM 0x00000001u  /* one value for all channels */
#define MIXERCONTROL_CONTROLF_MULTIPLE 0x00000002u /* cMultipleItems values */

typedef struct tagMIXERCONTROLA {
    DWORD cbStruct;
    DWORD dwControlID;
    DWORD dwControlType;
    DWORD fdwControl;
    DWORD cMultipleItems;
    CHAR szShortName[MIXER_SHORT_NAME_CHARS];
    CHAR szName[MIXER_LONG_NAME_CHARS];
    struct {
        DWORD dwMinimum;
        DWORD dwMaximum;
        DWORD dwReserved[4];
    } Bounds;
    struct {
        DWORD cSteps;
        DWORD dwReserved[5];
    } Metrics;
} MIXERCONTROLA, *PMIXERCONTROLA, *LPMIXERCONTROLA;

typedef struct tagMIXERLINECONTROLSA {
    DWORD cbStruct;
    DWORD dwLineID;
    union {
        DWORD dwControlID;
        DWORD dwControlType;
    };
    DWORD cControls;
    DWORD cbmxctrl; /* size of one record in pamxctrl */
    LPMIXERCONTROLA pamxctrl;
} MIXERLINECONTROLSA, *PMIXERLINECONTROLSA, *LPMIXERLINECONTROLSA;

#define MIXER_GETLINECONTROLSF_ONEBYID 0x00000001u
#define MIXER_GETLINECONTROLSF_ONEBYTYPE 0x00000002u

typedef struct tMIXERCONTROLDETAILS {
    DWORD cbStruct;
    DWORD dwControlID;
    DWORD cChannels; /* 1: the control as if it had one value for all channels */
    union {
        HWND hwndOwner;
        DWORD cMultipleItems;
    };
    DWORD cbDetails; /* size of one value in paDetails */
    LPVOID paDetails;
} MIXERCONTROLDETAILS, *PMIXERCONTROLDETAILS, *LPMIXERCONTROLDETAILS;

typedef struct tMIXERCONTROLDETAILS_UNSIGNED {
    DWORD dwValue;
} MIXERCONTROLDETAILS_UNSIGNED;

typedef struct tMIXERCONTROLDETAILS_BOOLEAN {
    LONG fValue;
} MIXERCONTROLDETAILS_BOOLEAN;

#define MIXER_GETCONTROLDETAILSF_VALUE 0x00000000u
#define MIXER_SETCONTROLDETAILSF_VALUE 0x00000000u

MMRESULT WINAPI mixerGetLineInfoA(HMIXEROBJ mixer, LPMIXERLINEA line, DWORD flags);
MMRESULT WINAPI mixerGetLineControlsA(HMIXEROBJ mixer, LPMIXERLINECONTROLSA controls, DWORD flags);
MMRESULT WINAPI mixerGetControlDetailsA(HMIXEROBJ mixer, LPMIXERCONTROLDETAILS details, DWORD flags);
MMRESULT WINAPI mixerSetControlDetails(HMIXEROBJ mixer, LPMIXERCONTROLDETAILS details, DWORD flags);

#pragma pack(pop)

#ifdef __cplusplus
}
#endif

#include <mmiscapi.h>

#endif
