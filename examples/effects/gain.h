/* The parameters of the effect plug-in "gain". A host fills in `percent` and hands the record to SetEffectsParameters. */
#ifndef TOLVANE_EXAMPLE_GAIN_H
#define TOLVANE_EXAMPLE_GAIN_H

#include <stdint.h>

typedef struct GainParameters {
    uint32_t percent; /* of the recorded volume: 100 changes nothing */
    uint32_t bits;    /* the plug-in's own: a host leaves 0 */
} GainParameters;

#endif
