// The search for a PCM format, and the lookup of a codec by format tag.
#include "convert/suggest.h"

#include <mmreg.h>
#include <msacm.h>

#include <platform/testing/faults.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "convert/catalogue.h"
#include "convert/registered_codec.h"
#include "frame/handles.h"

namespace {

using tolvane::MmioFile;
using tolvane::SuggestPcmFormat;

constexpr uint32_t kCodec = ACMDRIVERDETAILS_SUPPORTF_CODEC;
const char kPassedOver[] = "Creative MP3 CODEC";

MPEGLAYER3WAVEFORMAT Mp3Format() {
    MPEGLAYER3WAVEFORMAT mp3{};
    mp3.wfx = {WAVE_FORMAT_MPEGLAYER3, 2, 44'100, 16'000, 1, 0, MPEGLAYER3_WFX_EXTRA_BYTES};
    mp3.wID = MPEGLAYER3_ID_MPEG;
    mp3.fdwFlags = MPEGLAYER3_FLAG_PADDING_OFF;
    mp3.nBlockSize = 182;
    mp3.nFramesPerBlock = 1;
    mp3.nCodecDelay = 1460;
    return mp3;
}

// What a registered driver suggests, and what it was asked.
struct Suggestion {
    WAVEFORMATEX format{};
    uint32_t asked = 0, flags = 0, size = 0;
    WORD tag = 0;
};

uint32_t Suggest(void* context, const void*, void* target, uint32_t size, uint32_t flags) {
    auto& suggestion = *static_cast<Suggestion*>(context);
    auto* format = static_cast<WAVEFORMATEX*>(target);
    ++suggestion.asked;
    suggestion.flags = flags;
    suggestion.size = size;
    suggestion.tag = format->wFormatTag;
    *format = suggestion.format;
    return MMSYSERR_NOERROR;
}

PlatformCodec Suggesting(const char* name, Suggestion& suggestion) {
    static const std::vector<PlatformCodecTag> tags{{WAVE_FORMAT_PCM, "PCM"}};
    PlatformCodec codec = CodecNamed(name, kCodec, tags);
    codec.suggest = Suggest;
    codec.context = &suggestion;
    return codec;
}

struct Result {
    tolvane::TolvaneResultOf code;
    WAVEFORMATEX format;
};

}  // namespace
