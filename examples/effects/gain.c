/* An effect plug-in that makes what is recorded louder or softer. It changes the sound where it stands and keeps its
 * length. */
#include "gain.h"

#include "plugin.h"

static int32_t Scale(int32_t sample, uint32_t percent, int32_t lowest, int32_t highest) {
    int64_t scaled = (int64_t)sample * percent / 100;
    if (scaled < lowest) return lowest;
    return scaled > highest ? highest : (int32_t)scaled;
}

/* The format is told here and nowhere else. `parameters` is this plug-in's own copy, so it can be remembered in it. */
uint32_t TOLVANE_CALL SetEffectParams(void* parameters, const WAVEFORMATEX* format, uint32_t zero1,
                                      uint32_t zero2, uint32_t zero3, uint32_t zero4, uint32_t which) {
    GainParameters* gain = parameters;
    (void)zero1, (void)zero2, (void)zero3, (void)zero4, (void)which;
    if (gain) gain->bits = format->wBitsPerSample;
    return 0;
}

uint32_t TOLVANE_CALL ApplyEffect(void* input, void* output, uint32_t* input_bytes, uint32_t* output_bytes,
                                  void* parameters) {
    const GainParameters* gain = parameters;
    uint32_t i;
    if (gain->bits == 16) {
        int16_t* samples = output;
        for (i = 0; i < *input_bytes / 2; ++i)
            samples[i] = (int16_t)Scale(((int16_t*)input)[i], gain->percent, -32768, 32767);
    } else if (gain->bits == 8) { /* unsigned, with silence at 128 */
        uint8_t* samples = output;
        for (i = 0; i < *input_bytes; ++i)
            samples[i] = (uint8_t)(Scale(((uint8_t*)input)[i] - 128, gain->percent, -128, 127) + 128);
    }
    *output_bytes = *input_bytes;
    return 0;
}

/* Nothing is held beside the copy, which is freed here and not by the library. */
uint32_t TOLVANE_CALL FreeEffectBuffers(void* parameters) {
    GlobalFree(parameters);
    return 0;
}
