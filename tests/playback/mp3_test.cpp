// MP3 files: found by their first frame header, described, and played through the system's decoder.
#include <cstring>

#include <gmock/gmock.h>

#include "convert/real_codecs.h"
#include "support/child.h"
#include "support/virtual_card.h"

namespace tolvane::test {
namespace {

// A header in the order of its fields; of each field what most files have.
struct Header {
    uint32_t version = 3, layer = 1, no_checksum = 1, bitrate = 9, rate = 0, mode = 1;

    Bytes Write() const {
        const uint32_t value = 0x7FFu << 21 | version << 19 | layer << 17 | no_checksum << 16 |
                               bitrate << 12 | rate << 10 | mode << 6;
        Bytes bytes = Little(value, 4);
        return {bytes.rbegin(), bytes.rend()};
    }
};

class Mp3Files : public ::testing::Test {
  protected:
    uint16_t Read(const Bytes& content) {
        format_found_ = {};
        size_found_ = 0;
        return GetMP3FileInfo(folder_.Write("x.mp3", content).c_str(), &format_found_, &size_found_);
    }
    // At which byte of otherwise empty content the header is seen.
    bool IsSeen(size_t before, size_t behind) {
        return Read(Bytes(before) + Header().Write() + Bytes(behind)) == 0;
    }

    TempFolder folder_;
    Mp3StreamFormat format_found_;
    uint32_t size_found_;
};

TEST_F(Mp3Files, AreFoundByAHeaderAnywhere) {
    for (const size_t block : {0u, 65536u, 131072u})
        for (size_t before = block ? block - 5 : 0; before < block + 3; ++before)
            EXPECT_TRUE(IsSeen(before, 1)) << before;
    EXPECT_FALSE(IsSeen(0, 0)) << "a header in the last four bytes is none";
    EXPECT_FALSE(IsSeen(70000, 0));
    EXPECT_EQ(Read({}), TOLVANE_CANNOT_OPEN);
    EXPECT_EQ(Read({0xFF, 0xFB, 0x90}), TOLVANE_CANNOT_OPEN);
    EXPECT_EQ(Read(WaveFile({8000, 1, 8}, Bytes(1000, 128))), TOLVANE_CANNOT_OPEN);
    EXPECT_EQ(GetMP3FileInfo("none.mp3", &format_found_, &size_found_), TOLVANE_CANNOT_OPEN);
    EXPECT_EQ(GetMP3FileInfo(nullptr, nullptr, nullptr), TOLVANE_CANNOT_OPEN);
    EXPECT_EQ(size_found_, 0u);
    ASSERT_TRUE(IsSeen(0, 17));
    EXPECT_EQ(size_found_, 21u);
}

// The rule, byte by byte: where the first header is, or the size of the content.
size_t FirstHeader(const Bytes& content) {
    for (size_t at = 0; at + 4 < content.size(); ++at) {
        const uint8_t *bytes = &content[at], second = bytes[1], third = bytes[2];
        const bool sync =
            bytes[0] == 0xFF && second >= 0xE0 && (second >> 3 & 3) != 1 && (second >> 1 & 3) != 0;
        if (sync && third >> 4 != 0 && third >> 4 != 15 && (third >> 2 & 3) != 3) return at;
    }
    return content.size();
}

// Headers differ in what a description tells of them, so one that is found too soon or too late shows.
TEST_F(Mp3Files, AreFoundWhereTheRuleFindsThem) {
    std::mt19937 random(5);
    int found = 0, none = 0;
    for (int round = 0; round < 250; ++round) {
        Bytes content(4 + random() % (round % 2 ? 300 : 140'000), 0);
        const auto dense = 2 + random() % 4000;
        for (uint8_t& byte : content)
            byte = random() % dense ? static_cast<uint8_t>(random() % 0xE0) : 0xFF;
        for (size_t at = 0; at + 1 < content.size(); ++at)
            if (content[at] == 0xFF && random() % 3) content[at + 1] = static_cast<uint8_t>(0xE0 | random());
        const size_t at = FirstHeader(content);
        const bool is_there = at < content.size();
        ASSERT_EQ(Read(content), is_there ? TOLVANE_OK : TOLVANE_CANNOT_OPEN) << round;
        const Mp3StreamFormat format = format_found_;
        ++(is_there ? found : none);
        if (!is_there) continue;
        ASSERT_EQ(Read(Part(content, at, at + 4) + Bytes(1)), TOLVANE_OK);
        ASSERT_EQ(memcmp(&format, &format_found_, sizeof format), 0) << round << ", at " << at;
    }
    EXPECT_GT(found, 80);
    EXPECT_GT(none, 20);
}

TEST_F(Mp3Files, AreDescribedForACodec) {
    const Mp3StreamFormat plain = {85, 2, 44100, 16000, 1, 0, 12, 1, 2, 182, 1, 1460};
    ASSERT_EQ(Read(Header().Write() + Bytes(9)), TOLVANE_OK);
    EXPECT_EQ(memcmp(&format_found_, &plain, sizeof plain), 0);
    constexpr uint32_t kRates[4][3] = {
        {11025, 12000, 8000}, {}, {22050, 24000, 16000}, {44100, 48000, 32000}};
    // Kilobits by index, from the standards: MPEG-1 layers 3, 2, 1; MPEG-2 layers 3, 2, 1.
    constexpr uint32_t kKilobits[6][14] = {
        {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
        {32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
        {32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
        {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
        {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
        {32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256}};
    int described = 0;
    for (const uint32_t version : {0u, 2u, 3u})
        for (const uint32_t layer : {1u, 2u, 3u})
            for (uint32_t bitrate = 1; bitrate < 15; ++bitrate)
                for (uint32_t rate = 0; rate < 3; ++rate) {
                    const uint32_t mode = bitrate % 4;
                    if (Read(Header{version, layer, rate % 2, bitrate, rate, mode}.Write() + Bytes(9)) != 0)
                        continue;
                    ++described;
                    ASSERT_EQ(format_found_.wFormatTag, 85);
                    ASSERT_EQ(format_found_.nSamplesPerSec, kRates[version][rate]);
                    ASSERT_EQ(format_found_.nAvgBytesPerSec,
                              kKilobits[(version == 3 ? 0 : 3) + layer - 1][bitrate - 1] * 125);
                    ASSERT_EQ(format_found_.nChannels, mode < 2 ? 2 : 1);
                    ASSERT_EQ(format_found_.fdwFlags, 1 + rate % 2);
                }
    EXPECT_EQ(described, 3 * 3 * 14 * 3) << "every stream has a decoder here";
}

// Of what most bytes are like, and of nothing but beginnings of headers: with every sanitizer that takes its time.
TEST_F(Mp3Files, LargeOnesWithoutAHeaderAreAnsweredSoon) {
    for (const uint8_t byte : std::initializer_list<uint8_t>{0x7F, 0xFF}) {
        const std::string path = folder_.Write("long.mp3", Bytes(30'000'000, byte));
        const DWORD begin = GetTickCount();
        EXPECT_EQ(GetMP3FileInfo(path.c_str(), nullptr, nullptr), TOLVANE_CANNOT_OPEN);
        EXPECT_LT(GetTickCount() - begin, 6000u) << "milliseconds";
    }
}

class Mp3Sounds : public Playing {
  protected:
    void SetUp() override {
        Playing::SetUp();
        if (!IsSkipped() && !RunTools(folder_.Path(), "lame --version > log"))
            GTEST_SKIP() << "lame is not here";
    }
    bool Encode(const std::string& name, const Format& format, const std::string& options) {
        return Encode(name, format, options, Music(format, kFrames));
    }
    // The last bytes that fill no block of the decoded sound are not played, so there are none.
    bool Encode(const std::string& name, const Format& format, const std::string& options,
                const Bytes& sound) {
        folder_.Write("in.wav", WaveFile(format, sound));
        if (!RunTools(folder_.Path(), "lame --quiet " + options + " in.wav " + name)) return false;
        const Bytes content = ReadAll(folder_.Path(name));
        folder_.Write(name, content + Bytes((4 - content.size() % 4) % 4));
        return true;
    }
    // What the device gets of the whole file.
    Bytes PlayWhole(const std::string& name) {
        PlatformVirtualClearPlayed(0);
        EXPECT_EQ(AudioPlayMP3(folder_.Path(name).c_str(), 0, 0, 0, 0, 0), TOLVANE_OK);
        PlayOut();
        return PlayedBytes();
    }
    void StartAgain() {
        Advance(3000);
        AudioMoveTo(0, 0);
    }
    // Mono that is expected in two channels is in both.
    Sound DecodedByOthers(const std::string& name, uint32_t rate, size_t copies) {
        EXPECT_TRUE(RunTools(folder_.Path(), "ffmpeg -v error -y -i " + name + " -c:a pcm_s16le -ar " +
                                                 std::to_string(rate) + " out.wav"));
        const Sound decoded = SoundOf(TakeApart(ReadAll(folder_.Path("out.wav"))));
        Sound sound;
        for (const double sample : decoded)
            sound.insert(sound.end(), copies, sample);
        return sound;
    }
    static constexpr size_t kFrames = 100'000;
    static constexpr ptrdiff_t kMostDelay = 2400;  // of encoder and decoder, which others leave out
};

struct Making {
    const char* what;
    Format format;
    const char* options;
    Format declared = format;
};
constexpr Format kBelieved = {48000, 2, 16};  // of tags whose text has the bytes of such a header
constexpr Making kMakings[] = {
    {"joint stereo", {44100, 2, 16}, "-m j -b 128"},
    {"mono", {44100, 1, 16}, "-m m -b 64"},
    {"varying bit rate", {44100, 2, 16}, "-V 4"},
    {"a tag at the end", {44100, 2, 16}, "-b 160 --tt Title --ta Artist --id3v1-only"},
    {"a title that looks like a header", {44100, 2, 16}, "-b 128 --tt Title --add-id3v2", kBelieved},
    {"mono that looks like stereo", {22050, 1, 16}, "-m m -b 32 --tt Title --add-id3v2", kBelieved},
    {"MPEG-2", {22050, 2, 16}, "-b 64"},
    {"MPEG-2.5", {8000, 1, 16}, "-b 16"},
    {"48 kHz with checksums", {48000, 2, 16}, "-p -b 192"}};

TEST_F(Mp3Sounds, PlayToTheirEndAsTheyAreDecoded) {
    for (const Making& making : kMakings) {
        SCOPED_TRACE(making.what);
        ASSERT_TRUE(Encode("x.mp3", making.format, making.options));
        SetVolume(0.5, 0.5, 1, 1);
        SelectOutputDevice(0);
        const uint16_t started = AudioPlayMP3(folder_.Path("x.mp3").c_str(), 1000, 0, 0, 0, 1500);
        SetVolume(1, 1, 1, 1);
        ASSERT_EQ(started, TOLVANE_OK);
        const PlatformVirtualState state = State();
        EXPECT_EQ(state.rate, making.declared.rate);
        EXPECT_EQ(state.channels, making.declared.channels);
        if (state.rate != making.format.rate) StartAgain();
        PlatformVirtualClearPlayed(0);
        PlayOut();
        const Sound heard = SoundOf(PlayedBytes(), 16),
                    expected = DecodedByOthers("x.mp3", state.rate,
                                               uint32_t{state.channels} / making.format.channels);
        // A change of the rate holds back what its filter looks ahead; nobody tells a device that it was the last.
        const uint32_t held = state.rate == making.format.rate ? 0 : state.rate / 50 * state.channels;
        EXPECT_LE(heard.size(), expected.size() + state.channels);
        EXPECT_GE(heard.size() + held, expected.size());
        EXPECT_GE(Compare(expected, heard, state.channels, kMostDelay).decibels, 60);
    }
}

TEST_F(Mp3Sounds, CountTheBytesOfTheFile) {
    ASSERT_TRUE(Encode("x.mp3", {44100, 2, 16}, "-b 128 --noreplaygain -t"));
    const std::string path = folder_.Path("x.mp3");
    const auto size = static_cast<uint32_t>(ReadAll(path).size());
    Make({44100, 2, 16}, 1000);
    ASSERT_EQ(Play(0, 0, TOLVANE_SAMPLES, true), TOLVANE_OK) << "of whose repeat nothing may stay";
    AudioStop();
    ASSERT_EQ(AudioPlayMP3(path.c_str(), 0, 0, 0, 0, 0), TOLVANE_OK);
    EXPECT_EQ(AudioPlayMP3(path.c_str(), 0, 0, 0, 0, 0), TOLVANE_ALREADY_PLAYING);
    Advance(44100);
    const uint32_t after_a_second = AudioGetPosition(TOLVANE_BYTES);
    EXPECT_NEAR(after_a_second, 16000, 1500);
    AudioMoveTo(size - 3000, TOLVANE_BYTES);
    PlatformVirtualClearPlayed(0);
    PlayOut();
    EXPECT_LT(PlayedBytes().size(), 44100u) << "no repeat, and only the end";
    EXPECT_EQ(AudioPlayMP3("", 0, 0, 0, 0, 0), TOLVANE_NO_PATH);
    EXPECT_EQ(AudioPlayMP3(folder_.Write("empty.mp3", Bytes(99)).c_str(), 0, 0, 0, 0, 0),
              TOLVANE_CANNOT_OPEN);
}

TEST_F(Mp3Sounds, AreSetsToo) {
    ASSERT_TRUE(Encode("one.mp3", {44100, 2, 16}, "-b 128"));
    ASSERT_TRUE(Encode("two.mp3", {22050, 1, 16}, "-m m -b 32"));
    PlaybackSetEntry entries[2] = {};
    strcpy(entries[0].path, folder_.Path("one.mp3").c_str());
    strcpy(entries[1].path, folder_.Path("two.mp3").c_str());
    const auto play = [&](int32_t count, uint32_t start) {
        return AudioPlayMP3FilesSet(entries, count, start, 0, 0, 0, 0);
    };
    EXPECT_EQ(play(0, 0), TOLVANE_OK);
    EXPECT_EQ(play(-1, 0), TOLVANE_OK);
    ASSERT_EQ(play(2, 0), TOLVANE_OK);
    const auto size = ReadAll(entries[0].path).size();
    const auto seconds = static_cast<uint32_t>((size * 8 + 127'999) / 128'000);
    EXPECT_EQ(+entries[0].milliseconds, seconds * 1000);
    EXPECT_EQ(+entries[0].bytes, seconds * 176400);
    EXPECT_EQ(+entries[0].bytesPerFileByte, seconds * 176400 / size);
    EXPECT_EQ(+entries[0].bitRate, 128u);
    PlaybackSetInfo info;
    Advance(44100);
    AudioGetPlaybackSetInfo(&info, TOLVANE_MILLISECONDS);
    EXPECT_NEAR(info.position, 16000 * entries[0].bytesPerFileByte / 176.4, 150) << "as the estimate has it";
    EXPECT_EQ(info.formatTag, 85);
    AudioMoveIntoPlaybackSet(entries[0].milliseconds + 1000, 0);
    EXPECT_EQ(State().rate, 22050u);
    AudioGetPlaybackSetInfo(&info, TOLVANE_MILLISECONDS);
    EXPECT_STREQ(info.path, entries[1].path);
    EXPECT_EQ(info.position, entries[0].milliseconds + 1000);
    PlatformVirtualClearPlayed(0);
    AudioMoveIntoPlaybackSet(0, 0);
    Advance(30'000);
    AudioMoveIntoPlaybackSet(entries[0].milliseconds, 0);
    PlayOut();
    const Bytes heard = PlayedBytes();
    AudioStop();
    EXPECT_TRUE(heard == Part(PlayWhole("one.mp3"), 0, 30'000 * 4) + PlayWhole("two.mp3"));
    EXPECT_EQ(play(2, entries[0].milliseconds + entries[1].milliseconds), TOLVANE_OK);
    EXPECT_TRUE(Closed());
    strcpy(entries[1].path, folder_.Write("none.mp3", Bytes(50)).c_str());
    EXPECT_EQ(play(2, 0), TOLVANE_CANNOT_OPEN);
}

// Decibels of a tone of 1000 Hz over everything else, in the middle half of a stretch of stereo at 44.1 kHz.
double ToneOverRest(const Sound& stereo, size_t from, size_t to) {
    constexpr size_t kWholeCycles = 441;
    const size_t first = from + (to - from) / 4, count = (to - from) / 2 / kWholeCycles * kWholeCycles;
    double sine = 0, cosine = 0, whole = 0;
    for (size_t i = 0; i < count; ++i) {
        const double sample = stereo[2 * (first + i)], time = static_cast<double>(i) / 44100;
        sine += sample * Sine(1000, time);
        cosine += sample * Sine(1000, time + 0.00025);
        whole += sample * sample;
    }
    const double tone = 2 * (sine * sine + cosine * cosine) / static_cast<double>(count);
    return 10 * std::log10(tone / (whole - tone));
}

// The first frame decides what the device is opened for; what comes in other rates and channels is brought to that.
TEST_F(Mp3Sounds, KeepTheirPitchWhereTheFramesChangeTheirRate) {
    constexpr Format kParts[] = {
        {44100, 2, 16}, {22050, 1, 16}, {48000, 2, 16}, {44100, 1, 16}, {8000, 1, 16}};
    constexpr double kSeconds = 1.5;
    Bytes file;
    for (const Format& format : kParts) {
        const auto frames = static_cast<size_t>(kSeconds * format.rate);
        const Bytes tone =
            MakePcm(format, frames, [](double time, size_t) { return 0.5 * Sine(1000, time); });
        const char* const rate = format.rate < 10'000 ? "64" : format.rate < 32'000 ? "160" : "320";
        ASSERT_TRUE(Encode("part.mp3", format, std::string("-t -b ") + rate, tone));
        file = file + ReadAll(folder_.Path("part.mp3"));
    }
    folder_.Write("x.mp3", file);
    const Sound heard = SoundOf(PlayWhole("x.mp3"), 16);
    const size_t frames = heard.size() / 2, parts = std::size(kParts);
    // Of every part the encoder makes up to three frames more.
    EXPECT_GT(static_cast<double>(frames), kSeconds * parts * 44100);
    EXPECT_LT(static_cast<double>(frames), (kSeconds + 3 * 0.0721) * parts * 44100);
    for (size_t i = 0; i < parts; ++i) {
        const double decibels = ToneOverRest(heard, i * frames / parts, (i + 1) * frames / parts);
        std::cout << kParts[i].rate << " Hz: " << decibels << " dB\n";
        EXPECT_GE(decibels, 70) << "part " << i;
    }
}

}  // namespace
}  // namespace tolvane::test
