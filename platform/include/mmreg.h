/* mmreg.h: format tags and the format records of the codecs, packed to single bytes. */
#ifndef TOLVANE_PLATFORM_MMREG_H
#define TOLVANE_PLATFORM_MMREG_H

#include <mmsystem.h>

#pragma pack(push, 1)

#define WAVE_FORMAT_UNKNOWN 0x0000
#define WAVE_FORMAT_ADPCM 0x0002
#define WAVE_FORMAT_IEEE_FLOAT 0x0003
#define WAVE_FORMAT_ALAW 0x0006
#define WAVE_FORMAT_MULAW 0x0007
#define WAVE_FORMAT_DVI_ADPCM 0x0011
#define WAVE_FORMAT_IMA_ADPCM WAVE_FORMAT_DVI_ADPCM
#define WAVE_FORMAT_GSM610 0x0031
#define WAVE_FORMAT_MPEG 0x0050
#define WAVE_FORMAT_MPEGLAYER3 0x0055
#define WAVE_FORMAT_EXTENSIBLE 0xFFFE

typedef struct adpcmcoef_tag {
    short iCoef1;
    short iCoef2;
} ADPCMCOEFSET;

typedef struct adpcmwaveformat_tag {
    WAVEFORMATEX wfx;
    WORD wSamplesPerBlock;
    WORD wNumCoef;
    ADPCMCOEFSET aCoef[1]; /* wNumCoef pairs */
} ADPCMWAVEFORMAT;

typedef struct dvi_adpcmwaveformat_tag {
    WAVEFORMATEX wfx;
    WORD wSamplesPerBlock;
} DVIADPCMWAVEFORMAT;
typedef DVIADPCMWAVEFORMAT IMAADPCMWAVEFORMAT;

typedef struct gsm610waveformat_tag {
    WAVEFORMATEX wfx;
    WORD wSamplesPerBlock;
} GSM610WAVEFORMAT;

#define MPEGLAYER3_WFX_EXTRA_BYTES 12

#define MPEGLAYER3_ID_UNKNOWN 0
#define MPEGLAYER3_ID_MPEG 1
#define MPEGLAYER3_ID_CONSTANTFRAMESIZE 2

#define MPEGLAYER3_FLAG_PADDING_ISO 0
#define MPEGLAYER3_FLAG_PADDING_ON 1
#define MPEGLAYER3_FLAG_PADDING_OFF 2

typedef struct mpeglayer3waveformat_tag {
    WAVEFORMATEX wfx;
    WORD wID;
    DWORD fdwFlags;
    WORD nBlockSize;
    WORD nFramesPerBlock;
    WORD nCodecDelay;
} MPEGLAYER3WAVEFORMAT;

#pragma pack(pop)

#endif
