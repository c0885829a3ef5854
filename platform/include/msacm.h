/* msacm.h: the codec manager: which codec drivers there are, what they handle, what they suggest.
 *
 * Records have the layout that the system's callers know, packed to single bytes. */
#ifndef TOLVANE_PLATFORM_MSACM_H
#define TOLVANE_PLATFORM_MSACM_H

#include <mmsystem.h>
#include <mmreg.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma pack(push, 1)

/* A driver that is installed, a driver that is open, and either of them where a service takes both. */
DECLARE_HANDLE(HACMDRIVERID);
DECLARE_HANDLE(HACMDRIVER);
DECLARE_HANDLE(HACMOBJ);
typedef HACMDRIVERID* LPHACMDRIVERID;
typedef HACMDRIVER* LPHACMDRIVER;
typedef struct HICON__* HICON;

/* ---- Results beside the common ones ---- */

#define ACMERR_BASE 512
#define ACMERR_NOTPOSSIBLE (ACMERR_BASE + 0)
#define ACMERR_BUSY (ACMERR_BASE + 1)
#define ACMERR_UNPREPARED (ACMERR_BASE + 2)
#define ACMERR_CANCELED (ACMERR_BASE + 3)

/* ---- Figures of the manager (no object) and of a driver ---- */

#define ACM_METRIC_MAX_SIZE_FORMAT 50
#define ACM_METRIC_DRIVER_PRIORITY 101

MMRESULT WINAPI acmMetrics(HACMOBJ object, UINT metric, LPVOID answer);

/* ---- Drivers ---- */

#define ACMDRIVERDETAILS_SHORTNAME_CHARS 32
#define ACMDRIVERDETAILS_LONGNAME_CHARS 128
#define ACMDRIVERDETAILS_COPYRIGHT_CHARS 80
#define ACMDRIVERDETAILS_LICENSING_CHARS 128
#define ACMDRIVERDETAILS_FEATURES_CHARS 512

#define ACMDRIVERDETAILS_FCCTYPE_AUDIOCODEC mmioFOURCC('a', 'u', 'd', 'c')
#define ACMDRIVERDETAILS_FCCCOMP_UNDEFINED mmioFOURCC('\0', '\0', '\0', '\0')

#define ACMDRIVERDETAILS_SUPPORTF_CODEC 0x00000001L
#define ACMDRIVERDETAILS_SUPPORTF_CONVERTER 0x00000002L
#define ACMDRIVERDETAILS_SUPPORTF_FILTER 0x00000004L
#define ACMDRIVERDETAILS_SUPPORTF_HARDWARE 0x00000008L
#define ACMDRIVERDETAILS_SUPPORTF_ASYNC 0x00000010L
#define ACMDRIVERDETAILS_SUPPORTF_LOCAL 0x40000000L
#define ACMDRIVERDETAILS_SUPPORTF_DISABLED 0x80000000L

typedef struct tACMDRIVERDETAILSA {
    DWORD cbStruct;
    FOURCC fccType;
    FOURCC fccComp;
    WORD wMid;
    WORD wPid;
    DWORD vdwACM;
    DWORD vdwDriver;
    DWORD fdwSupport;
    DWORD cFormatTags;
    DWORD cFilterTags;
    HICON hicon;
    CHAR szShortName[ACMDRIVERDETAILS_SHORTNAME_CHARS];
    CHAR szLongName[ACMDRIVERDETAILS_LONGNAME_CHARS];
    CHAR szCopyright[ACMDRIVERDETAILS_COPYRIGHT_CHARS];
    CHAR szLicensing[ACMDRIVERDETAILS_LICENSING_CHARS];
    CHAR szFeatures[ACMDRIVERDETAILS_FEATURES_CHARS];
} ACMDRIVERDETAILSA, *PACMDRIVERDETAILSA, *LPACMDRIVERDETAILSA;

#define ACM_DRIVERENUMF_DISABLED 0x80000000L

/* A callback returns FALSE to end the enumeration. */
typedef BOOL(CALLBACK* ACMDRIVERENUMCB)(HACMDRIVERID driver, DWORD_PTR instance, DWORD support);

MMRESULT WINAPI acmDriverEnum(ACMDRIVERENUMCB callback, DWORD_PTR instance, DWORD flags);
MMRESULT WINAPI acmDriverDetailsA(HACMDRIVERID driver, LPACMDRIVERDETAILSA details, DWORD flags);
MMRESULT WINAPI acmDriverOpen(LPHACMDRIVER open, HACMDRIVERID driver, DWORD flags);
MMRESULT WINAPI acmDriverClose(HACMDRIVER open, DWORD flags);

/* ---- Format tags ---- */

#define ACMFORMATTAGDETAILS_FORMATTAG_CHARS 48

typedef struct tACMFORMATTAGDETAILSA {
    DWORD cbStruct;
    DWORD dwFormatTagIndex;
    DWORD dwFormatTag;
    DWORD cbFormatSize; /* bytes of the largest format record of this tag */
    DWORD fdwSupport;
    DWORD cStandardFormats;
    CHAR szFormatTag[ACMFORMATTAGDETAILS_FORMATTAG_CHARS];
} ACMFORMATTAGDETAILSA, *PACMFORMATTAGDETAILSA, *LPACMFORMATTAGDETAILSA;

typedef BOOL(CALLBACK* ACMFORMATTAGENUMCBA)(HACMDRIVERID driver, LPACMFORMATTAGDETAILSA details,
                                            DWORD_PTR instance, DWORD support);

MMRESULT WINAPI acmFormatTagEnumA(HACMDRIVER open, LPACMFORMATTAGDETAILSA details,
                                  ACMFORMATTAGENUMCBA callback, DWORD_PTR instance, DWORD flags);

/* ---- Suggestions ---- */

/* Which fields of the target format are given and must come back as they are. */
#define ACM_FORMATSUGGESTF_WFORMATTAG 0x00010000L
#define ACM_FORMATSUGGESTF_NCHANNELS 0x00020000L
#define ACM_FORMATSUGGESTF_NSAMPLESPERSEC 0x00040000L
#define ACM_FORMATSUGGESTF_WBITSPERSAMPLE 0x00080000L

MMRESULT WINAPI acmFormatSuggest(HACMDRIVER open, LPWAVEFORMATEX source, LPWAVEFORMATEX target,
                                 DWORD target_size, DWORD flags);

/* ---- The user's choice of a format ---- */

#define ACMFORMATDETAILS_FORMAT_CHARS 128

#define ACMFORMATCHOOSE_STYLEF_INITTOWFXSTRUCT 0x00000040L

typedef UINT(CALLBACK* ACMFORMATCHOOSEHOOKPROCA)(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam);

typedef struct tACMFORMATCHOOSEA {
    DWORD cbStruct;
    DWORD fdwStyle;
    HWND hwndOwner;
    LPWAVEFORMATEX pwfx; /* what to begin with; receives the choice */
    DWORD cbwfx;
    LPCSTR pszTitle;
    CHAR szFormatTag[ACMFORMATTAGDETAILS_FORMATTAG_CHARS];
    CHAR szFormat[ACMFORMATDETAILS_FORMAT_CHARS];
    LPSTR pszName;
    DWORD cchName;
    DWORD fdwEnum;
    LPWAVEFORMATEX pwfxEnum;
    HINSTANCE hInstance;
    LPCSTR pszTemplateName;
    LPARAM lCustData;
    ACMFORMATCHOOSEHOOKPROCA pfnHook;
} ACMFORMATCHOOSEA, *PACMFORMATCHOOSEA, *LPACMFORMATCHOOSEA;

MMRESULT WINAPI acmFormatChooseA(LPACMFORMATCHOOSEA choice);

/* ---- Conversion streams ---- */

DECLARE_HANDLE(HACMSTREAM);
typedef HACMSTREAM* LPHACMSTREAM;

#define ACMSTREAMHEADER_STATUSF_DONE 0x00010000L
#define ACMSTREAMHEADER_STATUSF_PREPARED 0x00020000L

typedef struct tACMSTREAMHEADER {
    DWORD cbStruct;
    DWORD fdwStatus; /* ACMSTREAMHEADER_STATUSF_ */
    DWORD_PTR dwUser;
    LPBYTE pbSrc;
    DWORD cbSrcLength;
    DWORD cbSrcLengthUsed; /* what a conversion took */
    DWORD_PTR dwSrcUser;
    LPBYTE pbDst;
    DWORD cbDstLength;
    DWORD cbDstLengthUsed; /* what it produced */
    DWORD_PTR dwDstUser;
#ifdef __LP64__
    DWORD dwReservedDriver[15];
#else
    DWORD dwReservedDriver[10];
#endif
} ACMSTREAMHEADER, *PACMSTREAMHEADER, *LPACMSTREAMHEADER;

/* Of the system's filters there are none here. */
typedef struct tWAVEFILTER WAVEFILTER, *LPWAVEFILTER;

#define ACM_STREAMOPENF_QUERY 0x00000001L
#define ACM_STREAMOPENF_ASYNC 0x00000002L
#define ACM_STREAMOPENF_NONREALTIME 0x00000004L

#define ACM_STREAMSIZEF_SOURCE 0x00000000L
#define ACM_STREAMSIZEF_DESTINATION 0x00000001L

#define ACM_STREAMCONVERTF_BLOCKALIGN 0x00000004L
#define ACM_STREAMCONVERTF_START 0x00000010L
#define ACM_STREAMCONVERTF_END 0x00000020L

MMRESULT WINAPI acmStreamOpen(LPHACMSTREAM stream, HACMDRIVER open, LPWAVEFORMATEX source,
                              LPWAVEFORMATEX target, LPWAVEFILTER filter, DWORD_PTR callback,
                              DWORD_PTR instance, DWORD flags);
MMRESULT WINAPI acmStreamClose(HACMSTREAM stream, DWORD flags);
MMRESULT WINAPI acmStreamSize(HACMSTREAM stream, DWORD input, LPDWORD output, DWORD flags);
MMRESULT WINAPI acmStreamPrepareHeader(HACMSTREAM stream, LPACMSTREAMHEADER header, DWORD flags);
MMRESULT WINAPI acmStreamConvert(HACMSTREAM stream, LPACMSTREAMHEADER header, DWORD flags);
MMRESULT WINAPI acmStreamUnprepareHeader(HACMSTREAM stream, LPACMSTREAMHEADER header, DWORD flags);

#pragma pack(pop)

#ifdef __cplusplus
}
#endif
#endif
