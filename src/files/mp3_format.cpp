#include "files/mp3_format.h"

#include <algorithm>
#include <cstring>

#include "files/wave_reader.h"

namespace tolvane {

namespace {

constexpr uint32_t kHeaderBytes = 4;
constexpr uint32_t kScanBlock = 64 * 1024;

enum Version : uint32_t { kMpeg25 = 0, kReservedVersion = 1, kMpeg2 = 2, kMpeg1 = 3 };
enum Layer : uint32_t { kReservedLayer = 0, kLayer3 = 1, kLayer2 = 2, kLayer1 = 3 };

constexpr uint32_t kSync = 0x7FF;
constexpr uint32_t kJointStereo = 1;  // modes up to this one have two channels that belong together

// Kilobits a second by index; 0 is free format, and the index behind the last is forbidden.
constexpr uint32_t kForbiddenBitrate = 15;
constexpr uint16_t kBitrates[][kForbiddenBitrate] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},  // MPEG-1 layer 1
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},     // MPEG-1 layer 2
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},      // MPEG-1 layer 3
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},     // MPEG-2 layer 1
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},          // MPEG-2 layers 2 and 3
};

constexpr uint32_t kForbiddenRate = 3;
constexpr uint32_t kMpeg1Rates[kForbiddenRate] = {44100, 48000, 32000};

const uint16_t* BitratesOf(uint32_t version, uint32_t layer) {
    const uint32_t row = kLayer1 - layer;
    return kBitrates[version == kMpeg1 ? row : 3 + std::min(row, 1u)];
}

uint32_t RateOf(uint32_t version, uint32_t index) {
    const uint32_t halvings = version == kMpeg1 ? 0 : version == kMpeg2 ? 1 : 2;
    return kMpeg1Rates[index] >> halvings;
}

uint32_t BigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Every header begins with a byte of ones, and most bytes of other things are none.
bool FindIn(const uint8_t* begin, const uint8_t* end, Mp3Header* header) {
    while (end - begin >= ptrdiff_t{kHeaderBytes}) {
        const auto room = static_cast<size_t>(end - begin) - (kHeaderBytes - 1);
        begin = static_cast<const uint8_t*>(memchr(begin, 0xFF, room));
        if (!begin) return false;
        if (ParseMp3Header(BigEndian(begin++), header)) return true;
    }
    return false;
}

// The last four bytes of a file are not looked at: a frame would follow its header.
bool Scan(const MmioFile& file, uint32_t size, uint8_t* block, Mp3Header* header) {
    uint32_t kept = 0;  // the end of the block before, in which a header may begin
    for (uint32_t left = size - 1; left > 0;) {
        const uint32_t length = std::min(left, kScanBlock - kept);
        if (!ReadExactly(file, block + kept, length)) return false;
        const uint32_t filled = kept + length;
        if (FindIn(block, block + filled, header)) return true;
        kept = std::min(filled, kHeaderBytes - 1);
        memmove(block, block + filled - kept, kept);
        left -= length;
    }
    return false;
}

}  // namespace

bool ParseMp3Header(uint32_t bytes, Mp3Header* header) {
    const uint32_t version = bytes >> 19 & 3, layer = bytes >> 17 & 3;
    const uint32_t bitrate = bytes >> 12 & 15, rate = bytes >> 10 & 3;
    if (bytes >> 21 != kSync || version == kReservedVersion || layer == kReservedLayer) return false;
    if (bitrate == 0 || bitrate == kForbiddenBitrate || rate == kForbiddenRate) return false;
    header->sample_rate = RateOf(version, rate);
    header->kilobits = BitratesOf(version, layer)[bitrate];
    header->stereo = (bytes >> 6 & 3) <= kJointStereo;
    header->has_checksum = (bytes >> 16 & 1) == 0;
    return true;
}

bool FindMp3Header(const char* path, Mp3Header* header) {
    const MmioFile file = OpenForReading(path, MMIO_DENYWRITE);
    if (!file) return false;
    const LONG size = mmioSeek(file.Get(), 0, SEEK_END);
    if (size < LONG{kHeaderBytes} || mmioSeek(file.Get(), 0, SEEK_SET) != 0) return false;
    GlobalBlock block;
    if (block.Allocate(kScanBlock, GMEM_MOVEABLE) != GlobalBlock::Outcome::kDone) return false;
    return Scan(file, static_cast<uint32_t>(size), static_cast<uint8_t*>(block.Data()), header);
}

MPEGLAYER3WAVEFORMAT ToMp3Format(const Mp3Header& header) {
    constexpr WORD kBlockSize = 182, kCodecDelay = 1460;
    MPEGLAYER3WAVEFORMAT format = {};
    format.wfx.wFormatTag = WAVE_FORMAT_MPEGLAYER3;
    format.wfx.nChannels = header.stereo ? 2 : 1;
    format.wfx.nSamplesPerSec = header.sample_rate;
    format.wfx.nAvgBytesPerSec = header.kilobits * 1000u / 8;
    format.wfx.nBlockAlign = 1;
    format.wfx.cbSize = MPEGLAYER3_WFX_EXTRA_BYTES;
    format.wID = MPEGLAYER3_ID_MPEG;
    format.fdwFlags = header.has_checksum ? MPEGLAYER3_FLAG_PADDING_ON : MPEGLAYER3_FLAG_PADDING_OFF;
    format.nBlockSize = kBlockSize;
    format.nFramesPerBlock = 1;
    format.nCodecDelay = kCodecDelay;
    return format;
}

}  // namespace tolvane
