/* mmddk.h: what may be asked of a wave device with waveOutMessage and waveInMessage. */
#ifndef TOLVANE_PLATFORM_MMDDK_H
#define TOLVANE_PLATFORM_MMDDK_H

#include <mmsystem.h>

/* To the wave mapper: first is the address of a DWORD for the preferred device, second that of a DWORD for flags. */
#define DRVM_MAPPER_PREFERRED_GET 0x2015

#endif
