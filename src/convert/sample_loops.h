// The loops of the change of format over whole blocks of samples. Compiled with the vectors of the processor in
// mind: no branch depends on a sample.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

// Turns `count` units of a block into what `out` receives; returns the bytes made. Both blocks are aligned as
// allocated memory is and do not overlap.
using BlockLoop = size_t (*)(const void* in, size_t count, uint32_t factor, void* out);

// Units of 1, 2 or 4 bytes: each `factor` times in a row; those whose number is a multiple of `factor`.
BlockLoop RepeatLoop(uint32_t unit_size);
BlockLoop KeepLoop(uint32_t unit_size);

// Frames of two samples (1 or 2 bytes each): their average, halved toward zero.
BlockLoop AverageLoop(uint32_t sample_size);

// Samples: 8 bits to 16, and back toward zero.
size_t WidenSamples(const void* in, size_t count, uint32_t, void* out);
size_t NarrowSamples(const void* in, size_t count, uint32_t, void* out);

}  // namespace tolvane
