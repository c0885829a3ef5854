/* The parameters of an effect plug-in that tells a test of its calls. */
#ifndef TOLVANE_TESTS_RECORD_PROBE_EFFECT_H
#define TOLVANE_TESTS_RECORD_PROBE_EFFECT_H

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

typedef struct ProbeLog {
    unsigned sets, applies, frees;
    WAVEFORMATEX format; /* of the last SetEffectParams */
    UINT zeros, which;   /* the four arguments that have to be 0, or-ed; the last one */
    UINT most_bytes;     /* ever to be changed */
    unsigned strange;    /* calls that were not as they should be */
    void* copy;          /* that the last SetEffectParams brought */
} ProbeLog;

typedef struct ProbeParameters {
    ProbeLog* log;
    UINT add;   /* to every byte */
    UINT most;  /* bytes that are left of a buffer; 0: all */
    UINT extra; /* bytes that are claimed beyond them, unless the buffer is empty */
} ProbeParameters;

#endif
