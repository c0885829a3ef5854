/* An effect plug-in that has nothing but the effect: its first parameter byte is added to every byte. */
#include "plugin.h"

uint32_t TOLVANE_CALL ApplyEffect(void* input, void* output, uint32_t* input_bytes, uint32_t* output_bytes,
                                  void* parameters) {
    uint32_t i;
    for (i = 0; i < *input_bytes; ++i)
        ((uint8_t*)output)[i] = (uint8_t)(((uint8_t*)input)[i] + *(uint8_t*)parameters);
    *output_bytes = *input_bytes;
    return 0;
}
