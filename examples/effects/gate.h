/* The parameters of the effect plug-in "gate". A host fills in the first two and hands the record to
 * SetEffectsParameters. */
#ifndef TOLVANE_EXAMPLE_GATE_H
#define TOLVANE_EXAMPLE_GATE_H

#include <stdint.h>

typedef struct GateParameters {
    uint32_t threshold; /* percent of full scale (0 to 100) that a piece has to reach to be kept */
    uint32_t
        milliseconds; /* length of a piece, at most 1,000; what a buffer has behind its last whole piece counts as one */
    uint32_t piece; /* the plug-in's own from here on: bytes of a piece, bits of a sample */
    uint32_t bits;
} GateParameters;

#endif
