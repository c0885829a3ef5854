#include "playback/mp3.h"

#include <algorithm>

#include "convert/suggest.h"
#include "files/inspect.h"
#include "files/mp3_format.h"
#include "files/positions.h"
#include "playback/playback.h"

namespace tolvane {

namespace {

constexpr LONG kFileBufferSize = 65536;

struct Mp3File {
    MmioFile file;  // at its start
    MPEGLAYER3WAVEFORMAT format;
    WAVEFORMATEX pcm = {};  // what a codec makes of it
    LONG size = 0;
};

uint16_t Open(const char* path, LONG buffer_size, Mp3File* mp3) {
    Mp3Header header;
    if (!FindMp3Header(path, &header)) return TOLVANE_CANNOT_OPEN;
    mp3->format = ToMp3Format(header);
    mp3->file = OpenForReading(path);
    if (!mp3->file) return TOLVANE_CANNOT_OPEN;
    mp3->size = mmioSeek(mp3->file.Get(), 0, SEEK_END);
    if (mp3->size <= 0 || GetFileLength(path) == 0) return TOLVANE_CANNOT_OPEN;
    if (buffer_size && mmioSetBuffer(mp3->file.Get(), nullptr, buffer_size, 0) != MMSYSERR_NOERROR)
        return TOLVANE_NO_FILE_BUFFER;
    return static_cast<uint16_t>(SuggestPcmFormat(mp3->file.Get(), &mp3->format.wfx, &mp3->pcm));
}

bool IsUsable(const WAVEFORMATEX& pcm) {
    return pcm.nSamplesPerSec != 0 && pcm.nChannels != 0 && pcm.nBlockAlign != 0;
}

}  // namespace

uint16_t ReadMp3FileInfo(const char* path, MPEGLAYER3WAVEFORMAT* format, uint32_t* size) {
    Mp3File mp3;
    if (const uint16_t failed = Open(path, 0, &mp3)) return failed;
    if (mp3.pcm.nSamplesPerSec == 0) return TOLVANE_CANNOT_OPEN;
    if (format) *format = mp3.format;
    if (size) *size = static_cast<uint32_t>(mp3.size);
    return TOLVANE_OK;
}

uint16_t OpenMp3ForPlay(const char* path, PlayedFile* played) {
    Mp3File mp3;
    if (const uint16_t failed = Open(path, kFileBufferSize, &mp3)) return failed;
    if (!IsUsable(mp3.pcm)) return TOLVANE_CANNOT_OPEN;
    *played = PlayedFile();
    played->data_size = DownToBlock(static_cast<uint32_t>(mp3.size), mp3.pcm.nBlockAlign);
    played->file = std::move(mp3.file);
    played->format = mp3.pcm;
    played->mp3 = mp3.format;
    return TOLVANE_OK;
}

}  // namespace tolvane
