/* An effect plug-in that adds a number to every byte and tells a test of its calls. */
#include "probe_effect.h"

#include "plugin.h"

uint32_t TOLVANE_CALL SetEffectParams(void* parameters, const WAVEFORMATEX* format, uint32_t zero1,
                                      uint32_t zero2, uint32_t zero3, uint32_t zero4, uint32_t which) {
    ProbeParameters* probe = parameters;
    if (!probe) return 0;
    probe->log->sets++;
    probe->log->format = *format;
    probe->log->zeros |= zero1 | zero2 | zero3 | zero4;
    probe->log->which = which;
    probe->log->copy = probe;
    return 0;
}

uint32_t TOLVANE_CALL ApplyEffect(void* input, void* output, uint32_t* input_bytes, uint32_t* output_bytes,
                                  void* parameters) {
    ProbeParameters* probe = parameters;
    uint8_t* bytes = output;
    uint32_t i;
    probe->log->applies++;
    probe->log->strange += input != output || input_bytes != output_bytes || probe != probe->log->copy;
    if (*input_bytes > probe->log->most_bytes) probe->log->most_bytes = *input_bytes;
    for (i = 0; i < *input_bytes; ++i)
        bytes[i] = (uint8_t)(bytes[i] + probe->add);
    if (probe->most && probe->most < *input_bytes) *output_bytes = probe->most;
    if (*input_bytes) *output_bytes += probe->extra;
    return 0;
}

uint32_t TOLVANE_CALL FreeEffectBuffers(void* parameters) {
    ProbeParameters* probe = parameters;
    probe->log->frees++;
    probe->log->strange += probe != probe->log->copy;
    GlobalFree(parameters);
    return 0;
}
