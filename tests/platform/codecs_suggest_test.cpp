// What the built-in drivers suggest. Block sizes and rates follow the registrations of the wave formats; the
// figures were worked out by hand.
#include <msacm.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace {

constexpr DWORD kTag = ACM_FORMATSUGGESTF_WFORMATTAG;

WAVEFORMATEX Pcm(WORD channels, DWORD rate, WORD bits) {
    const auto block = static_cast<WORD>(channels * bits / 8);
    return {WAVE_FORMAT_PCM, channels, rate, rate * block, block, bits, 0};
}

// A format with the words that follow it.
struct Record {
    WAVEFORMATEX head{};
    std::array<uint16_t, 16> extra{};
};
static_assert(sizeof(Record) == 50);

struct Answer {
    MMRESULT result;
    Record record;
};

Answer Suggest(const void* source, const WAVEFORMATEX& wish, DWORD flags, DWORD size = sizeof(Record)) {
    Answer answer{0, {wish, {}}};
    const std::vector<uint8_t> copy(static_cast<const uint8_t*>(source),
                                    static_cast<const uint8_t*>(source) + sizeof(Record));
    answer.result =
        acmFormatSuggest(nullptr, reinterpret_cast<WAVEFORMATEX*>(const_cast<uint8_t*>(copy.data())),
                         &answer.record.head, size, flags);
    return answer;
}

Answer Compress(WORD tag, WORD channels, DWORD rate, WORD bits = 16) {
    const Record source{Pcm(channels, rate, bits), {}};
    WAVEFORMATEX wish{};
    wish.wFormatTag = tag;
    return Suggest(&source, wish, kTag);
}

struct Case {
    WORD tag, channels;
    DWORD rate, average;
    WORD block, bits;
    std::vector<uint16_t> extra;
};

const Case kCases[] = {
    {0x11, 1, 8'000, 4'055, 256, 4, {505}},
    {0x11, 2, 44'100, 44'251, 2048, 4, {2041}},
    {0x02,
     2,
     44'100,
     44'359,
     2048,
     4,
     {2036, 7, 256, 0, 512, 0xFF00, 0, 0, 192, 64, 240, 0, 460, 0xFF30, 392, 0xFF18}},
    {0x06, 2, 22'050, 44'100, 2, 8, {}},
    {0x07, 1, 8'000, 8'000, 1, 8, {}},
    {0x31, 1, 8'000, 1'625, 65, 0, {320}},
    {0x55, 2, 44'100, 16'000, 1, 0, {1, 0, 0, 417, 1, 1105}},
};

TEST(CodecSuggestion, CompressesAsTheFormatsAreRegistered) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(testing::Message() << "tag " << c.tag << ", " << c.rate << " Hz");
        const Answer answer = Compress(c.tag, c.channels, c.rate);
        ASSERT_EQ(answer.result, 0u);
        const WAVEFORMATEX& head = answer.record.head;
        EXPECT_EQ(head.wFormatTag, c.tag);
        EXPECT_EQ(head.nChannels, c.channels);
        EXPECT_EQ(head.nSamplesPerSec, c.rate);
        EXPECT_EQ(head.nAvgBytesPerSec, c.average);
        EXPECT_EQ(head.nBlockAlign, c.block);
        EXPECT_EQ(head.wBitsPerSample, c.bits);
        ASSERT_EQ(head.cbSize, c.extra.size() * 2);
        EXPECT_TRUE(std::equal(c.extra.begin(), c.extra.end(), answer.record.extra.begin()));
    }
}

// A record that claims less than the family needs, or figures that do not go together, decodes into nothing.
TEST(CodecSuggestion, RefusesHostileFormats) {
    for (const WORD tag : {WORD{0x11}, WORD{0x02}, WORD{0x31}, WORD{0x55}}) {
        const Record good = Compress(tag, 1, 8'000).record;
        std::vector<Record> bad(6, good);
        bad[0].head.cbSize = 0;
        bad[1].head.nChannels = 0;
        bad[2].head.nSamplesPerSec = 0;
        bad[3].head.nSamplesPerSec = 0xFFFFFFFF;
        bad[4].head.nChannels = 3;
        bad[5].extra[0] = 0xFFFF;
        for (const Record& record : bad)
            EXPECT_EQ(Suggest(&record, Pcm(1, 8'000, 16), kTag).result, UINT{ACMERR_NOTPOSSIBLE})
                << "tag " << tag << ", case " << &record - bad.data();
    }
    for (const WORD tag : {WORD{0x11}, WORD{0x02}, WORD{0x31}, WORD{0x06}}) {
        Record no_block = Compress(tag, 1, 8'000).record;
        no_block.head.nBlockAlign = 0;
        EXPECT_EQ(Suggest(&no_block, Pcm(1, 8'000, 16), kTag).result, UINT{ACMERR_NOTPOSSIBLE}) << tag;
    }
    Record predictors = Compress(0x02, 1, 8'000).record;
    for (const uint16_t count : {uint16_t{6}, uint16_t{8}, uint16_t{0xFFFF}}) {
        predictors.extra[1] = count;
        EXPECT_EQ(Suggest(&predictors, Pcm(1, 8'000, 16), kTag).result, UINT{ACMERR_NOTPOSSIBLE}) << count;
    }
}

TEST(CodecSuggestion, NeverWritesBehindTheRoomGiven) {
    Record source{Pcm(1, 8'000, 16), {}};
    WAVEFORMATEX wish{};
    wish.wFormatTag = 0x11;
    Answer answer = Suggest(&source, wish, kTag, 19);
    EXPECT_EQ(answer.result, UINT{ACMERR_NOTPOSSIBLE}) << "an IMA ADPCM record has 20 bytes";
    EXPECT_EQ(memcmp(&answer.record.head, &wish, sizeof wish), 0) << "nothing was written";
    EXPECT_EQ(Suggest(&source, wish, kTag, 20).result, 0u);
    answer = Suggest(&source, {}, 0, sizeof(WAVEFORMATEX));
    EXPECT_EQ(answer.record.head.wFormatTag, WAVE_FORMAT_ALAW)
        << "the first in order that fits into 18 bytes";
}

}  // namespace
