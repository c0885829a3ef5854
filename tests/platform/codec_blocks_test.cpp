// The codecs' own arithmetic: G.711 against its definition, ADPCM against sox, the fast way against the plain one.
#include "platform/codec_stream.h"
#include "platform/codecs/g711_laws.h"
#include "platform/codecs/ima_blocks.h"
#include "platform/codecs/ms_blocks.h"
#include "platform/codecs/processor.h"
#include "platform/workspace.h"

#include <cstdlib>

namespace {

using namespace tolvane::platform;
using tolvane::testing::Contents;
using tolvane::testing::Put;
using tolvane::testing::Workspace;

using Samples16 = std::vector<int16_t>;

Bytes RandomBytes(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random());
    return bytes;
}

Samples16 RandomSamples(size_t count, unsigned seed) {
    Samples16 samples(count);
    const Bytes bytes = RandomBytes(count * 2, seed);
    memcpy(samples.data(), bytes.data(), bytes.size());
    return samples;
}

// ---- G.711 ----

struct Law {
    const char* name;
    decltype(plain::DecodeMuLaw)*decode, *plain_decode, *fast_decode;
    decltype(plain::EncodeMuLaw)*encode, *plain_encode, *fast_encode;
    int (*value)(int byte);
};

// The recommendation's tables: where each of the eight segments begins, how far its sixteen steps are, and a value in
// the middle of its step, in 14 bits (mu-law, the first step centred on 0) and 13 bits (A-law).
int MuLawValue(int byte) {
    constexpr int kBegins[] = {-1, 31, 95, 223, 479, 991, 2015, 4063};
    const int number = ~byte & 0x7F, segment = number / 16, step = 2 << segment;
    const int value = 4 * (kBegins[segment] + step * (number % 16) + step / 2);
    return byte < 128 ? -value : value;
}

int ALawValue(int byte) {
    constexpr int kBegins[] = {0, 32, 64, 128, 256, 512, 1024, 2048},
                  kSteps[] = {2, 2, 4, 8, 16, 32, 64, 128};
    const int number = (byte ^ 0x55) & 0x7F, segment = number / 16, step = kSteps[segment];
    const int value = 8 * (kBegins[segment] + step * (number % 16) + step / 2);
    return byte < 128 ? -value : value;
}

const Law kLaws[] = {{"mu-law", DecodeMuLaw, plain::DecodeMuLaw, avx2::DecodeMuLaw, EncodeMuLaw,
                      plain::EncodeMuLaw, avx2::EncodeMuLaw, MuLawValue},
                     {"A-law", DecodeALaw, plain::DecodeALaw, avx2::DecodeALaw, EncodeALaw, plain::EncodeALaw,
                      avx2::EncodeALaw, ALawValue}};

TEST(CodecBlocks, G711IsTheNearestValueOfTheRecommendation) {
    Bytes bytes(256), packed(65'536);
    Samples16 values(256), samples(65'536);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(i);
    for (const Law& law : kLaws) {
        SCOPED_TRACE(law.name);
        law.decode(bytes.data(), bytes.size(), values.data());
        for (int byte = 0; byte < 256; ++byte)
            ASSERT_EQ(values[static_cast<size_t>(byte)], law.value(byte)) << byte;
        law.encode(samples.data(), samples.size(), packed.data());
        std::vector<int> sorted(values.begin(), values.end());
        std::ranges::sort(sorted);
        for (size_t i = 0; i < samples.size(); ++i) {
            const int sample = samples[i], heard = values[packed[i]];
            const auto above = std::ranges::lower_bound(sorted, sample);
            const int up = above == sorted.end() ? 65'536 : *above - sample;
            const int down = above == sorted.begin() ? 65'536 : sample - above[-1];
            ASSERT_EQ(std::abs(heard - sample), std::min(up, down)) << sample;
        }
        for (const uint8_t byte : bytes) {
            const uint8_t again = packed[static_cast<uint16_t>(values[byte])];
            ASSERT_TRUE(again == byte || (values[byte] == 0 && values[again] == 0)) << int{byte};
        }
    }
}

TEST(CodecBlocks, G711IsTheSameTheFastWay) {
    if (!HasAvx2()) GTEST_SKIP() << "the processor has no AVX2";
    const Samples16 samples = RandomSamples(70'000, 1);
    const Bytes bytes = RandomBytes(70'000, 2);
    for (const Law& law : kLaws)
        for (const size_t count : {0u, 1u, 15u, 31u, 33u, 70'000u}) {
            Bytes packed(count), packed_fast(count);
            law.plain_encode(samples.data(), count, packed.data());
            law.fast_encode(samples.data(), count, packed_fast.data());
            EXPECT_TRUE(packed == packed_fast) << law.name << count;
            Samples16 heard(count), heard_fast(count);
            law.plain_decode(bytes.data(), count, heard.data());
            law.fast_decode(bytes.data(), count, heard_fast.data());
            EXPECT_TRUE(heard == heard_fast) << law.name << count;
        }
}

// ---- ADPCM ----

// Sound with silence, full scale and jumps in it, as the steps have to follow.
Samples16 Rough(size_t count, unsigned seed) {
    Samples16 samples = RandomSamples(count, seed);
    for (size_t i = 0; i < count; ++i) {
        const int shift = static_cast<int>(i / 700 % 17);
        samples[i] =
            static_cast<int16_t>(shift == 16 ? (i / 40 % 2 ? 32'767 : -32'768) : samples[i] >> shift);
    }
    return samples;
}

// Encodes a rough sound and decodes it and any bytes, both ways.
template <typename Layout, typename Encode, typename Decode>
void ExpectTheSameTheFastWay(const Layout& layout, size_t blocks, Encode encode, Encode fast_encode,
                             Decode decode, Decode fast_decode) {
    const Samples16 sound = Rough(blocks * layout.frames * layout.channels, 3);
    Bytes packed(blocks * layout.block_size, 1), packed_fast(packed.size(), 2);
    encode(sound.data(), blocks, layout, packed.data());
    fast_encode(sound.data(), blocks, layout, packed_fast.data());
    ASSERT_TRUE(packed == packed_fast) << layout.channels << " " << blocks << " " << layout.frames;
    Samples16 heard(sound.size(), 1), heard_fast(sound.size(), 2);
    for (const Bytes& input : {packed, RandomBytes(packed.size(), 4)}) {
        decode(input.data(), blocks, layout, heard.data());
        fast_decode(input.data(), blocks, layout, heard_fast.data());
        ASSERT_TRUE(heard == heard_fast) << layout.channels << " " << blocks << " " << layout.frames;
    }
}

TEST(CodecBlocks, AdpcmIsTheSameTheFastWay) {
    if (!HasAvx2()) GTEST_SKIP() << "the processor has no AVX2";
    for (const size_t channels : {1u, 2u}) {
        for (const size_t blocks : {1u, 2u, 7u, 16u, 17u, 33u, 70u})
            for (const size_t extra : {0u, 5u, 30u * 8u})
                ExpectTheSameTheFastWay(
                    ImaLayout{channels, kImaHeader * channels * 31 + extra, 1 + 30 * kImaGroup}, blocks,
                    plain::EncodeImaBlocks, avx2::EncodeImaBlocks, plain::DecodeImaBlocks,
                    avx2::DecodeImaBlocks);
        for (const size_t blocks : {1u, 4u, 19u})
            for (size_t frames = 2; frames < 3'000; frames += frames / 3 + 1)
                ExpectTheSameTheFastWay(
                    MsLayout{channels,
                             (kMsHeader + frames / 2) * channels,
                             frames,
                             {{{256, 0}, {512, -256}, {0, 0}, {192, 64}, {240, 0}, {460, -208}, {392, -232}}},
                             kMsPredictors},
                    blocks, plain::EncodeMsBlocks, avx2::EncodeMsBlocks, plain::DecodeMsBlocks,
                    avx2::DecodeMsBlocks);
    }
}

// Hostile blocks: an index beyond the table counts as the last, a predictor that is none as the first.
TEST(CodecBlocks, WhatNoTableHasIsTakenForWhatItHas) {
    const ImaLayout ima{1, 260, ImaFramesIn(260, 1)};
    Bytes block = RandomBytes(ima.block_size, 5);
    Samples16 last(ima.frames), beyond(ima.frames);
    block[2] = kImaLastIndex;
    DecodeImaBlocks(block.data(), 1, ima, last.data());
    for (const int index : {kImaLastIndex + 1, 127, 128, 255}) {
        block[2] = static_cast<uint8_t>(index);
        DecodeImaBlocks(block.data(), 1, ima, beyond.data());
        EXPECT_TRUE(beyond == last) << index;
    }
    MsLayout ms{2, 1'024, MsFramesIn(1'024, 2), {}, kMsPredictors};
    ms.predictors.fill({-32'768, -32'768});
    ms.predictors[0] = {256, 0};
    block = RandomBytes(ms.block_size, 6);
    Samples16 by_first(ms.frames * 2), by_other(ms.frames * 2);
    block[0] = block[1] = 0;
    DecodeMsBlocks(block.data(), 1, ms, by_first.data());
    for (const int predictor : {3, 7, 255}) {
        block[0] = block[1] = static_cast<uint8_t>(predictor);
        DecodeMsBlocks(block.data(), 1, ms, by_other.data());
        EXPECT_EQ(by_other == by_first, predictor >= 7) << predictor;
    }
}

struct Tool {
    WORD tag;
    const char* name;

    // Block size and samples of a suggested format, made to measure.
    AnyFormat Format(WORD channels, WORD block, WORD frames) const {
        AnyFormat format = Compressed(tag, Pcm(channels, 44'100, 16));
        format->nBlockAlign = block;
        memcpy(&format.bytes[sizeof(WAVEFORMATEX)], &frames, sizeof frames);
        return format;
    }
};
const Tool kIma{WAVE_FORMAT_IMA_ADPCM, "ima-adpcm"}, kMs{WAVE_FORMAT_ADPCM, "ms-adpcm"};

std::string WaveFile(AnyFormat format, const Bytes& data) {
    std::string file = "RIFF    WAVE";
    const auto number = [&file](size_t value) {
        const auto size = static_cast<uint32_t>(value);
        file.append(reinterpret_cast<const char*>(&size), sizeof size);
    };
    const size_t record = sizeof(WAVEFORMATEX) + format->cbSize;
    file += "fmt ";
    number(record);
    file.append(format.bytes.begin(), format.bytes.begin() + static_cast<std::ptrdiff_t>(record));
    file += "data";
    number(data.size());
    file.append(data.begin(), data.end());
    const auto size = static_cast<uint32_t>(file.size() - 8);
    memcpy(&file[4], &size, sizeof size);
    return file;
}

class Sox {
  public:
    void Run(const std::string& arguments) const {
        ASSERT_EQ(system(("cd " + folder.folder() + " && sox -D -V1 " + arguments).c_str()), 0) << arguments;
    }
    Bytes Decoded(const std::string& wave) const {
        Put(folder.Name("in.wav"), wave);
        Run("in.wav -t raw -e signed -b 16 out.raw");
        const std::string raw = Contents(folder.Name("out.raw"));
        return {raw.begin(), raw.end()};
    }
    Workspace folder;
};

TEST(CodecBlocks, DecodesAdpcmAsSoxDoes) {
    struct Case {
        Tool tool;
        WORD channels, block, frames;
        size_t length, cut;  // frames of the sound; bytes missing from its last block
    };
    const Case cases[] = {{kIma, 1, 256, 505, 50'000, 0},      {kIma, 1, 36, 65, 3'000, 0},
                          {kIma, 1, 1'024, 2'041, 100, 1'001}, {kIma, 2, 2'048, 2'041, 150'000, 3},
                          {kIma, 2, 512, 505, 9'000, 9},       {kIma, 2, 16, 9, 1'000, 7},
                          {kMs, 1, 256, 500, 50'000, 0},       {kMs, 1, 32, 52, 3'000, 5},
                          {kMs, 2, 2'048, 2'036, 30'000, 0},   {kMs, 2, 1'024, 1'012, 5'000, 777},
                          {kMs, 2, 64, 52, 1'000, 1}};
    const Sox sox;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.tool.name << " " << c.channels << " " << c.block << " " << c.cut);
        const AnyFormat pcm = Pcm(c.channels, 44'100, 16),
                        packed = c.tool.Format(c.channels, c.block, c.frames);
        AcmStream there(pcm, packed), back(packed, pcm);
        ASSERT_EQ(there.result | back.result, 0u);
        const Samples16 sound = Rough(c.length * c.channels, 7);
        Bytes bytes(sound.size() * 2);
        memcpy(bytes.data(), sound.data(), bytes.size());
        Bytes data = ConvertAll(there, bytes);
        ASSERT_EQ(data.size(), (c.length + c.frames - 1u) / c.frames * c.block)
            << "the last block is filled up";
        data.resize(data.size() - c.cut);
        const Bytes ours = ConvertAll(back, data), theirs = sox.Decoded(WaveFile(packed, data));
        EXPECT_EQ(ours.size(), theirs.size());
        EXPECT_TRUE(ours == theirs);
    }
}

}  // namespace
