// Work that the library does in a thread of its own, as the program watches it.
#include "job.h"

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

namespace tolvane::host {
namespace {

// The rest follows from these, and the library does not look at it.
WAVEFORMATEX FormatOf(const PcmShape& shape) {
    WAVEFORMATEX format = {};
    format.nChannels = shape.channels;
    format.nSamplesPerSec = shape.rate;
    format.wBitsPerSample = shape.bits;
    return format;
}

// Without a handle and without a reason there was no memory for the job.
uint16_t WhyRefused(uint16_t code) {
    return code == TOLVANE_OK ? uint16_t{TOLVANE_NO_MEMORY} : code;
}

}  // namespace

ConversionJob::ConversionJob(const CodecTag& codec, const std::string& source, const std::string& target,
                             const PcmShape& pcm) {
    const WAVEFORMATEX format = FormatOf(pcm);
    refused_ = WhyRefused(
        AudioConvert(codec.codec, codec.index, source.c_str(), target.c_str(), &format, 0, &job_, 0));
}

EditingJob::EditingJob(const Start& start) : refused_(WhyRefused(start(&job_))) {}

}  // namespace tolvane::host
