#include "convert/suggest.h"

#include <algorithm>
#include <cstring>

#include "convert/codec_manager.h"

namespace tolvane {

namespace {

// Its suggestions are known to be of no use.
constexpr char kPassedOverCodec[] = "Creative MP3 CODEC";

struct Search {
    const WAVEFORMATEX* source;
    WAVEFORMATEX* format;
    DWORD format_size;
    MMRESULT result;
};

bool IsPassedOver(HACMDRIVERID driver) {
    ACMDRIVERDETAILSA details{};
    details.cbStruct = sizeof details;
    return acmDriverDetailsA(driver, &details, 0) == MMSYSERR_NOERROR &&
           strncmp(details.szLongName, kPassedOverCodec, sizeof details.szLongName) == 0;
}

BOOL CALLBACK AskCodec(HACMDRIVERID id, DWORD_PTR instance, DWORD) {
    auto& search = *reinterpret_cast<Search*>(instance);
    if (IsPassedOver(id)) return TRUE;
    const AcmDriver driver = OpenAcmDriver(id);
    if (!driver) return TRUE;
    if (acmFormatSuggest(driver.Get(), const_cast<WAVEFORMATEX*>(search.source), search.format,
                         search.format_size, ACM_FORMATSUGGESTF_WFORMATTAG) != MMSYSERR_NOERROR)
        return TRUE;
    search.result = MMSYSERR_NOERROR;
    return FALSE;
}

void Complete(WAVEFORMATEX& format) {
    if (!format.wBitsPerSample) format.wBitsPerSample = 16;
    if (!format.nBlockAlign)
        format.nBlockAlign = static_cast<WORD>(uint32_t{format.nChannels} * format.wBitsPerSample / 8);
    if (!format.nAvgBytesPerSec) format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
}

}  // namespace

TolvaneResult SuggestPcmFormat(HMMIO file, const WAVEFORMATEX* source, WAVEFORMATEX* out) {
    mmioSeek(file, 0, SEEK_SET);
    DWORD largest = 0;
    if (LargestFormat(&largest) != MMSYSERR_NOERROR) return TOLVANE_NO_FORMAT_SIZE;
    GlobalBlock block;
    if (block.Allocate(std::max<SIZE_T>(largest, sizeof(WAVEFORMATEX)), GMEM_MOVEABLE | GMEM_ZEROINIT) !=
        GlobalBlock::Outcome::kDone)
        return TOLVANE_NO_FORMAT_MEMORY;
    auto* format = static_cast<WAVEFORMATEX*>(block.Data());
    format->wFormatTag = WAVE_FORMAT_PCM;
    Search search{source, format, largest, ACMERR_NOTPOSSIBLE};
    const CodecManagerGuard guard;
    acmDriverEnum(AskCodec, reinterpret_cast<DWORD_PTR>(&search), 0);
    if (search.result != MMSYSERR_NOERROR) return TOLVANE_NO_PCM_SUGGESTION;
    Complete(*format);
    memcpy(out, format, std::min<size_t>(largest, sizeof(WAVEFORMATEX)));
    return TOLVANE_OK;
}

}  // namespace tolvane
