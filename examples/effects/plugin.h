/* What effect plug-ins need beside tolvane.h: their functions leave the library under plain names. (On 32-bit Windows the
 * linker also has to be told so: -Wl,--kill-at, or a .def file.) */
#ifndef TOLVANE_EXAMPLE_PLUGIN_H
#define TOLVANE_EXAMPLE_PLUGIN_H

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include <tolvane.h>

#ifdef _WIN32
#define PLUGIN_EXPORT __declspec(dllexport)
#else
#define PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

/* The functions that a plug-in may export; see tolvane.h. Declared here, so that a wrong argument does not compile. */
PLUGIN_EXPORT uint32_t TOLVANE_CALL SetEffectParams(void* parameters, const WAVEFORMATEX* format,
                                                    uint32_t zero1, uint32_t zero2, uint32_t zero3,
                                                    uint32_t zero4, uint32_t which);
PLUGIN_EXPORT uint32_t TOLVANE_CALL ApplyEffect(void* input, void* output, uint32_t* input_bytes,
                                                uint32_t* output_bytes, void* parameters);
PLUGIN_EXPORT uint32_t TOLVANE_CALL FreeEffectBuffers(void* parameters);

#endif
