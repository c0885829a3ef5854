// What the reading exports tell of wave files, whole and damaged: every code, every field, every unit.
#include <cstring>

#include <gmock/gmock.h>

#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

using ::testing::AnyOf;

constexpr Format kStereo{44100, 2, 16};
const Bytes kSound = Pattern(40);
const Bytes kFormat = Chunk("fmt ", FormatRecord(kStereo));
const Bytes kData = Chunk("data", kSound);

struct Codes {
    uint16_t format, data_size, info;
    bool operator==(const Codes&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Codes& codes) {
    return out << codes.format << '/' << codes.data_size << '/' << codes.info;
}

Codes Inspect(const std::string& path) {
    InputFileInfo format;
    AudioFileInfo info;
    uint32_t size;
    const Codes codes = {GetInputFileInfo(path.c_str(), &format), GetDataChunkSize(path.c_str(), &size),
                         AudioGetFileInfo(&info, path.c_str(), TOLVANE_SAMPLES, 1)};
    EXPECT_EQ(CanSetPositionAndSampleRate(path.c_str()), codes.format == 0 && format.wFormatTag == 1);
    return codes;
}

Bytes WithFormat(const Format& format) {
    return WaveFile(format, kSound);
}

struct Case {
    const char* name;
    Bytes file;
    Codes codes;
};

const Case kCases[] = {
    {"plain", WaveFile(kStereo, kSound), {0, 0, 0}},
    {"without sound", WaveFile(kStereo, {}), {0, 0, 0}},
    {"no byte", {}, {102, 107, 102}},
    {"one byte", {'R'}, {102, 107, 102}},
    {"another form", Riff(kFormat + kData, "AVI "), {102, 107, 102}},
    {"a list instead of a file", Riff(kFormat + kData, "WAVE", "LIST"), {102, 107, 102}},
    {"big-endian kin", Riff(kFormat + kData, "WAVE", "RIFX"), {102, 107, 102}},
    {"nothing inside", Riff({}), {102, 110, 102}},
    {"no format", Riff(kData), {102, 0, 102}},
    {"no data", Riff(kFormat), {0, 110, 0}},
    {"format of 14 bytes", Riff(Chunk("fmt ", Bytes(14, 1)) + kData), {102, 0, 102}},
    {"empty format", Riff(Chunk("fmt ", {}) + kData), {102, 0, 102}},
    {"format breaks off", Riff(Chunk("fmt ", Bytes(10, 1), 16)), {102, 110, 102}},
    {"a file that claims more", Riff(kFormat + kData, "WAVE", "RIFF", 0xFFFFFFFE), {0, 0, 0}},
    {"a file that claims less", Riff(kFormat + kData, "WAVE", "RIFF", 4), {102, 110, 102}},
    {"format only nested", Riff(Chunk("LIST", kFormat) + kData), {102, 0, 102}},
    {"data only nested", Riff(kFormat + Chunk("LIST", kData)), {0, 110, 0}},
    {"data before format", Riff(kData + kFormat), {0, 0, 0}},
    {"chunks between and behind",
     Riff(Chunk("LIST", Pattern(31)) + kFormat + Chunk("fact", Pattern(4)) + Chunk("odd ", {7}) + kData +
          Chunk("LIST", Pattern(9))),
     {0, 0, 0}},
    {"a second format", Riff(kFormat + Chunk("fmt ", Bytes(16)) + kData), {0, 0, 0}},
    {"data claims 4 GiB", Riff(kFormat + Chunk("data", kSound, 0xFFFFFFFF)), {0, 0, 0}},
    {"compressed", WithFormat({8000, 1, 8, 7}), {0, 0, 107}},
    {"no tag", WithFormat({44100, 2, 16, 0}), {0, 0, 107}},
    {"no channel", WithFormat({44100, 0, 16}), {0, 0, 107}},
    {"no rate", WithFormat({0, 2, 16}), {0, 0, 107}},
    {"no sample size", WithFormat({44100, 2, 0}), {0, 0, 107}},
};

TEST(InspectWave, GivesItsCodeToEachKindOfFile) {
    const TempFolder folder;
    for (const auto& item : kCases)
        EXPECT_EQ(Inspect(folder.Write("x.wav", item.file)), item.codes) << item.name;
    EXPECT_EQ(Inspect(folder.Path("missing.wav")), (Codes{102, 102, 102}));
    EXPECT_EQ(Inspect(folder.Path()), (Codes{102, 102, 102})) << "a folder";
    EXPECT_EQ(Inspect(""), (Codes{102, 102, 100}));
    EXPECT_EQ(GetInputFileInfo(nullptr, nullptr), TOLVANE_CANNOT_OPEN);
    EXPECT_EQ(GetDataChunkSize(nullptr, nullptr), TOLVANE_CANNOT_OPEN);
    EXPECT_EQ(AudioGetFileInfo(nullptr, nullptr, 0, 1), TOLVANE_NO_PATH);
    EXPECT_EQ(CanSetPositionAndSampleRate(nullptr), 0u);
}

// Where a chunk of 64 KiB or a frame of no bytes may be read or refused, but nothing else.
TEST(InspectWave, TakesOrRefusesTheExtremes) {
    const TempFolder folder;
    const Bytes long_record = FormatRecord(kStereo) + Bytes(65536);
    for (const size_t size : {65535u, 65536u, 65552u}) {
        const auto path = folder.Write("long.wav", Riff(Chunk("fmt ", Part(long_record, 0, size)) + kData));
        EXPECT_THAT(Inspect(path), AnyOf(Codes{0, 0, 0}, Codes{102, 0, 102})) << size;
    }
    const auto vast = folder.Write("vast.wav", Riff(Chunk("fmt ", FormatRecord(kStereo), 0xFFFFFFF0)));
    EXPECT_THAT(Inspect(vast), AnyOf(Codes{102, 110, 102}, Codes{115, 110, 115})) << "a format of 4 GiB";
    Bytes no_block = WaveFile(kStereo, kSound);
    no_block[32] = no_block[33] = 0;
    EXPECT_THAT(Inspect(folder.Write("zero.wav", no_block)), AnyOf(Codes{0, 0, 0}, Codes{0, 0, 107}));
}

TEST(InspectWave, ReportsTheFirstFormatFieldByField) {
    const TempFolder folder;
    const Format odd{11025, 1, 8, 0x55};
    const auto path = folder.Write("x.wav", Riff(Chunk("fmt ", FormatRecord(odd, Pattern(12))) + kFormat +
                                                 Chunk("data", kSound, 0x80000001)));
    struct {
        InputFileInfo info;
        uint8_t behind[4] = {1, 2, 3, 4};
    } out{};
    ASSERT_EQ(GetInputFileInfo(path.c_str(), &out.info), TOLVANE_OK);
    EXPECT_EQ(std::memcmp(&out.info, FormatRecord(odd).data(), 16), 0);
    EXPECT_THAT(out.behind, ::testing::ElementsAre(1, 2, 3, 4));
    uint32_t size = 0;
    ASSERT_EQ(GetDataChunkSize(path.c_str(), &size), TOLVANE_OK);
    EXPECT_EQ(size, 0x80000001u) << "what the file says, though it holds less";
    EXPECT_EQ(GetInputFileInfo(path.c_str(), nullptr), TOLVANE_OK);
    EXPECT_EQ(GetDataChunkSize(path.c_str(), nullptr), TOLVANE_OK);
}

TEST(InspectWave, FillsTheFileHalfOfTheRecordAndOnlyThat) {
    const TempFolder folder;
    const auto path = folder.Write("x.wav", WaveFile({22050, 1, 8}, Pattern(22050)));
    AudioFileInfo info, expected;
    std::memset(&info, 0xCC, sizeof info);
    expected = info;
    expected.bitsPerSample = 8, expected.channels = 1, expected.length = 22050;
    expected.sampleRate = 22050, expected.formatTag = 1;
    ASSERT_EQ(AudioGetFileInfo(&info, path.c_str(), TOLVANE_BYTES, 1), TOLVANE_OK);
    EXPECT_EQ(std::memcmp(&info, &expected, sizeof info), 0);

    std::memset(&info, 0xCC, sizeof info);
    std::memset(&expected, 0xCC, sizeof info);
    expected.recordingSampleRate = 0, expected.recordingBitsPerSample = 0, expected.recordingChannels = 0;
    ASSERT_EQ(AudioGetFileInfo(&info, nullptr, TOLVANE_BYTES, 0), TOLVANE_OK);
    EXPECT_EQ(std::memcmp(&info, &expected, sizeof info), 0) << "no recording is running";
    EXPECT_EQ(AudioGetFileInfo(nullptr, path.c_str(), TOLVANE_BYTES, 0), TOLVANE_OK);
}

TEST(InspectWave, TellsTheLengthInTheUnitAskedFor) {
    const struct {
        Format format;
        uint32_t bytes, samples, milliseconds;
    } lengths[] = {
        {{44100, 2, 16}, 176400, 44100, 1000},
        {{44100, 2, 16}, 176399, 44099, 999},
        {{44100, 2, 16}, 3, 0, 0},
        {{8000, 1, 8}, 8001, 8001, 1000},
        {{48000, 2, 8}, 48001, 24000, 500},
        {{11025, 1, 16}, 22049, 11024, 999},
        {{96000, 2, 24}, 600, 100, 1},
        {{44100, 2, 16}, 0, 0, 0},
        {{1, 1, 8}, 2, 2, 2000},
    };
    const TempFolder folder;
    for (const auto& item : lengths) {
        const auto path = folder.Write("x.wav", WaveFile(item.format, Pattern(item.bytes)));
        const auto length = [&](uint16_t unit) {
            AudioFileInfo info{};
            EXPECT_EQ(AudioGetFileInfo(&info, path.c_str(), unit, 1), TOLVANE_OK);
            return info.length;
        };
        EXPECT_EQ(length(TOLVANE_BYTES), item.bytes);
        EXPECT_EQ(length(TOLVANE_SAMPLES), item.samples);
        EXPECT_EQ(length(TOLVANE_MILLISECONDS), item.milliseconds);
        EXPECT_EQ(length(3), item.milliseconds) << "an unknown unit";
    }
}

TEST(InspectWave, TakesPathsUpToTheirLimit) {
    const TempFolder folder;
    folder.Write("x.wav", WaveFile(kStereo, kSound));
    for (const size_t length : {258u, 259u})
        EXPECT_EQ(Inspect(folder.LongPath(length, "x.wav")), (Codes{0, 0, 0})) << length;
    for (const size_t length : {260u, 261u, 70000u})
        EXPECT_EQ(Inspect(folder.LongPath(length, "x.wav")), (Codes{102, 102, 102})) << length;
}

class SampleSpeed : public VirtualCard {};

TEST_F(SampleSpeed, IsAskedOfTheSelectedDevice) {
    const PlatformVirtualDevice devices[] = {{"narrow", 8000, 22050, 1, 1}, {"wide", 4000, 96000, 2, 3}};
    ASSERT_TRUE(PlatformVirtualSetOutputs(devices, 2));
    const TempFolder folder;
    const auto mono8 = folder.Write("mono.wav", WaveFile({44100, 1, 8}, kSound));
    const auto stereo16 = folder.Write("stereo.wav", WaveFile(kStereo, kSound));
    const auto supported = [](const std::string& path, uint32_t rate) {
        return AudioIsTheSampleSpeedSupported(path.c_str(), rate);
    };
    ASSERT_EQ(SelectOutputDevice(0), TOLVANE_OK);
    EXPECT_EQ(supported(mono8, 8000), 1u);
    EXPECT_EQ(supported(mono8, 22050), 1u);
    EXPECT_EQ(supported(mono8, 22051), 0u) << "the rate asked for counts, not the file's";
    EXPECT_EQ(supported(stereo16, 8000), 0u);
    ASSERT_EQ(SelectOutputDevice(1), TOLVANE_OK);
    EXPECT_EQ(supported(stereo16, 96000), 1u);
    EXPECT_EQ(supported(stereo16, 3999), 0u);
    EXPECT_EQ(supported(folder.Path("missing.wav"), 8000), 0u);
    EXPECT_EQ(supported("", 8000), 0u);
    EXPECT_EQ(AudioIsTheSampleSpeedSupported(nullptr, 8000), 0u);
    PlatformVirtualState state{};
    PlatformVirtualGetState(1, &state);
    EXPECT_EQ(state.opens, 0u) << "a question opens nothing";
    ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_NONE));
    EXPECT_EQ(supported(stereo16, 44100), 0u);
}

}  // namespace
}  // namespace tolvane::test
