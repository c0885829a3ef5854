// Exports: the change of format.

#include "convert/change_format.h"
#include "tolvane.h"

uint16_t TOLVANE_CALL AudioChangeFormat(const char* fileName, const char* target, uint32_t sampleRate,
                                        uint16_t bitsPerSample, uint16_t channels, EditJob** job,
                                        uint32_t wait) {
    const tolvane::PcmShape wanted = {sampleRate, bitsPerSample, channels};
    return wait ? tolvane::ChangeFormatNow(fileName, target, wanted)
                : tolvane::StartChangeFormat(fileName, target, wanted, job);
}
