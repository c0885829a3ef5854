/* An effect plug-in that leaves silence out of a recording: pieces of it in which nothing is loud. It makes buffers
 * shorter. */
#include "gate.h"

#include <string.h>

#include "plugin.h"

static uint32_t Loudness(const uint8_t* bytes, uint32_t size, uint32_t bits) { /* percent of full scale */
    uint32_t loudest = 0, i;
    for (i = 0; i < size; i += bits / 8) {
        int32_t sample = bits == 8 ? (bytes[i] - 128) * 256 : (int16_t)(bytes[i] | bytes[i + 1] << 8);
        uint32_t magnitude = (uint32_t)(sample < 0 ? -sample : sample);
        if (magnitude > loudest) loudest = magnitude;
    }
    return loudest * 100 / 32768;
}

uint32_t TOLVANE_CALL SetEffectParams(void* parameters, const WAVEFORMATEX* format, uint32_t zero1,
                                      uint32_t zero2, uint32_t zero3, uint32_t zero4, uint32_t which) {
    GateParameters* gate = parameters;
    uint32_t frames;
    (void)zero1, (void)zero2, (void)zero3, (void)zero4, (void)which;
    if (!gate) return 0;
    if (gate->milliseconds > 1000) gate->milliseconds = 1000;
    frames = (uint32_t)((uint64_t)format->nSamplesPerSec * gate->milliseconds / 1000);
    gate->bits = format->wBitsPerSample;
    gate->piece = (frames ? frames : 1) * format->nBlockAlign;
    return 0;
}

/* Loud pieces move to the front, over the quiet ones; what they come to is the new size. */
uint32_t TOLVANE_CALL ApplyEffect(void* input, void* output, uint32_t* input_bytes, uint32_t* output_bytes,
                                  void* parameters) {
    const GateParameters* gate = parameters;
    const uint32_t size = *input_bytes; /* both counts are one: it is read before it is written */
    uint32_t kept = 0, at, piece;
    if (gate->bits != 8 && gate->bits != 16) return 0;
    for (at = 0; at < size; at += piece) {
        piece = size - at < gate->piece ? size - at : gate->piece;
        if (Loudness((uint8_t*)input + at, piece, gate->bits) < gate->threshold) continue;
        memmove((uint8_t*)output + kept, (uint8_t*)input + at, piece);
        kept += piece;
    }
    *output_bytes = kept;
    return 0;
}

uint32_t TOLVANE_CALL FreeEffectBuffers(void* parameters) {
    GlobalFree(parameters);
    return 0;
}
