// The search for the first frame header of an MP3 file, beside a plain one, and the playback of what is found.
#include <optional>

#include <gmock/gmock.h>

#include "fuzz/virtual_card.h"
#include "support/temp_folder.h"
#include "tolvane.h"

using namespace tolvane::test;

namespace {

constexpr uint32_t kMpeg1Rates[] = {44100, 48000, 32000};

// Whether a frame header stands there, and its sample rate. The last byte of a file belongs to no header.
std::optional<uint32_t> RateAt(const uint8_t* bytes) {
    const int version = bytes[1] >> 3 & 3, layer = bytes[1] >> 1 & 3, bitrate = bytes[2] >> 4,
              rate = bytes[2] >> 2 & 3;
    const bool header = bytes[0] == 0xFF && bytes[1] >= 0xE0 && version != 1 && layer != 0 && bitrate != 0 &&
                        bitrate != 15 && rate != 3;
    if (!header) return std::nullopt;
    return kMpeg1Rates[rate] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
}

std::optional<uint32_t> FirstRate(const uint8_t* data, size_t size) {
    for (size_t at = 0; at + 5 <= size; ++at)
        if (const auto rate = RateAt(data + at)) return rate;
    return std::nullopt;
}

// Some of it is played, moved through and played on; what is left is stopped.
void Play(const char* path) {
    using ::testing::AnyOf;
    ASSERT_THAT(AudioPlayMP3(path, 0, TOLVANE_BYTES, 0, 0, 0), AnyOf(0, 102, 103, 105, 106, 113));
    PlatformVirtualAdvance(0, 3000);
    AudioMoveTo(200, TOLVANE_BYTES);
    PlatformVirtualAdvance(0, 100000);
    AudioGetPosition(TOLVANE_BYTES);
    AudioStop();
    EXPECT_EQ(AudioGetPosition(TOLVANE_BYTES), 0u);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempFolder folder;
    static const FuzzedCard card;
    const std::string path = folder.Write("x.mp3", Bytes(data, data + size));
    Mp3StreamFormat format = {};
    uint32_t told = 0;
    const uint16_t code = GetMP3FileInfo(path.c_str(), &format, &told);
    const auto rate = FirstRate(data, size);
    EXPECT_EQ(code, rate ? TOLVANE_OK : TOLVANE_CANNOT_OPEN);
    if (code == TOLVANE_OK) {
        EXPECT_EQ(format.nSamplesPerSec, *rate);
        EXPECT_EQ(told, size);
        Play(path.c_str());
    }
    return 0;
}
