// The catalogue of codecs, as a host reads it.
#include <tolvane.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <set>
#include <string>
#include <thread>

#include "convert/registered_codec.h"
#include "support/faults.h"

namespace {

constexpr uint32_t kCodec = 1, kConverter = 2, kFilter = 4, kHardware = 8, kLocal = 0x40000000,
                   kDisabled = 0x80000000;
constexpr uint32_t kFailed = 1;  // any result that is not 0
constexpr int kJunk = 0xEE;

template <class Record>
Record Junk() {
    Record record;
    memset(&record, kJunk, sizeof record);
    return record;
}

template <class Record>
bool Same(const Record& a, const Record& b) {
    return memcmp(&a, &b, sizeof a) == 0;
}

CodecDescription ExpectedCodec(uint32_t index, uint32_t id, uint32_t reported, uint32_t listed,
                               const char* name) {
    CodecDescription codec{index, id, reported, listed, {}, {}};
    snprintf(codec.longName, sizeof codec.longName, "%s", name);
    return codec;
}

FormatTagDescription ExpectedTag(uint32_t codec, uint32_t index, uint32_t tag, const char* name) {
    FormatTagDescription description{codec, index, tag, {}, {}};
    snprintf(description.name, sizeof description.name, "%s", name);
    return description;
}

CodecDescription Codec(uint16_t index) {
    auto codec = Junk<CodecDescription>();
    EXPECT_EQ(GetCodecDescription(&codec, index), TOLVANE_OK);
    return codec;
}

FormatTagDescription Tag(uint16_t codec, uint16_t index) {
    auto tag = Junk<FormatTagDescription>();
    EXPECT_EQ(GetCodecFormatTagDescription(&tag, codec, index), TOLVANE_OK);
    return tag;
}

class Catalogue : public OwnCodecs {
  protected:
    const std::vector<PlatformCodecTag> tags_{{1, "PCM"}, {0x1234, "Twelve"}};
    const std::vector<PlatformCodecTag> pcm_{{1, "PCM"}};
};

TEST_F(Catalogue, DescribesEveryDriverInTheSystemsOrder) {
    const RegisteredCodec a(CodecNamed("First", kCodec, tags_));
    const RegisteredCodec b(CodecNamed("Second", kConverter, pcm_));
    const RegisteredCodec c(CodecNamed("Third", kFilter, {}));
    const PlatformCodec front = CodecNamed("Before the first", kCodec, pcm_);
    const uint32_t front_id = PlatformAddCodec(&front, 1);
    ASSERT_EQ(GetNumberOfCodec(), 4);
    EXPECT_TRUE(Same(Codec(0), ExpectedCodec(0, front_id, 1, 1, "Before the first")));
    EXPECT_TRUE(Same(Codec(1), ExpectedCodec(1, a.Id(), 2, 2, "First")));
    EXPECT_TRUE(Same(Codec(2), ExpectedCodec(2, b.Id(), 1, 1, "Second")));
    EXPECT_TRUE(Same(Codec(3), ExpectedCodec(3, c.Id(), 0, 0, "Third")));
    EXPECT_TRUE(Same(Tag(1, 0), ExpectedTag(1, 0, 1, "PCM")));
    EXPECT_TRUE(Same(Tag(1, 1), ExpectedTag(1, 1, 0x1234, "Twelve")));
    EXPECT_TRUE(Same(Tag(3, 0), FormatTagDescription{}));

    PlatformRemoveCodec(front_id);
    EXPECT_TRUE(Same(Codec(0), ExpectedCodec(0, front_id, 1, 1, "Before the first")))
        << "only a recount changes it";
    ASSERT_EQ(GetNumberOfCodec(), 3);
    EXPECT_TRUE(Same(Codec(0), ExpectedCodec(0, a.Id(), 2, 2, "First")));
}

TEST_F(Catalogue, EndsAtADriverWithMoreOrLessThanOnePurpose) {
    const RegisteredCodec before(CodecNamed("Before", kCodec, pcm_));
    for (const uint32_t support : {0u, kCodec | kConverter, kCodec | kHardware, kFilter | kLocal,
                                   kCodec | kDisabled, kDisabled, 0x10u}) {
        const RegisteredCodec odd(CodecNamed("Odd", support, pcm_));
        const RegisteredCodec behind(CodecNamed("Behind", kCodec, pcm_));
        EXPECT_EQ(GetNumberOfCodec(), 1) << std::hex << support;
        EXPECT_STREQ(Codec(0).longName, "Before");
    }
}

TEST_F(Catalogue, ListsADriverThatCannotBeUsedWithoutTags) {
    PlatformCodec codecs[3];
    for (PlatformCodec& codec : codecs)
        codec = CodecNamed("Unusable", kCodec, tags_);
    codecs[0].priority = 0x80000001;
    codecs[1].metrics_result = kFailed;
    codecs[2].open_result = kFailed;
    for (const PlatformCodec& codec : codecs) {
        const RegisteredCodec unusable(codec);
        const RegisteredCodec behind(CodecNamed("Behind", kCodec, tags_));
        ASSERT_EQ(GetNumberOfCodec(), 2);
        EXPECT_TRUE(Same(Codec(0), ExpectedCodec(0, unusable.Id(), 2, 0, "Unusable")));
        EXPECT_TRUE(Same(Tag(0, 0), FormatTagDescription{}));
        EXPECT_EQ(Codec(1).listedFormatTagCount, 2u);
    }
    codecs[0].priority = 0x7FFFFFFF;
    const RegisteredCodec last(codecs[0]);
    ASSERT_EQ(GetNumberOfCodec(), 1);
    EXPECT_EQ(Codec(0).listedFormatTagCount, 2u);
}

TEST_F(Catalogue, TakesATagIndexAtOrAboveTheReportedCountAsTheFirst) {
    PlatformCodec codec = CodecNamed("Modest", kCodec, tags_);
    codec.reported_tags = 1;
    const RegisteredCodec modest(codec);
    codec.long_name = "Boastful";
    codec.reported_tags = 5;
    const RegisteredCodec boastful(codec);
    ASSERT_EQ(GetNumberOfCodec(), 2);
    EXPECT_TRUE(Same(Codec(0), ExpectedCodec(0, modest.Id(), 1, 2, "Modest")));
    for (const uint16_t index : {uint16_t{1}, uint16_t{2}, uint16_t{0xFFFF}})
        EXPECT_TRUE(Same(Tag(0, index), ExpectedTag(0, 0, 1, "PCM"))) << index;
    EXPECT_TRUE(Same(Tag(1, 1), ExpectedTag(1, 1, 0x1234, "Twelve")));
    EXPECT_TRUE(Same(Tag(1, 4), FormatTagDescription{})) << "claimed, but not there";
    EXPECT_TRUE(Same(Tag(1, 5), ExpectedTag(1, 0, 1, "PCM")));
}

TEST_F(Catalogue, OutOfRangeAndNullAreAnsweredSafely) {
    ASSERT_EQ(GetNumberOfCodec(), 0);
    auto codec = Junk<CodecDescription>();
    EXPECT_EQ(GetCodecDescription(&codec, 0), TOLVANE_NO_CODEC);
    EXPECT_TRUE(Same(codec, Junk<CodecDescription>())) << "an empty catalogue touches nothing";
    EXPECT_TRUE(Same(Tag(0, 0), FormatTagDescription{}));
    const std::string name(300, 'x');
    const std::vector<PlatformCodecTag> tags{{7, name.c_str()}};
    const RegisteredCodec only(CodecNamed(name.c_str(), kCodec, tags));
    ASSERT_EQ(GetNumberOfCodec(), 1);
    EXPECT_EQ(Codec(0).longName, name.substr(0, 127));
    EXPECT_EQ(Tag(0, 0).name, name.substr(0, 47));
    for (const uint16_t index : {uint16_t{1}, uint16_t{0xFFFF}}) {
        EXPECT_EQ(GetCodecDescription(&codec, index), TOLVANE_NO_CODEC);
        EXPECT_TRUE(Same(codec, CodecDescription{}));
        EXPECT_TRUE(Same(Tag(index, 0), FormatTagDescription{}));
        EXPECT_EQ(GetCodecDescription(nullptr, index), TOLVANE_NO_CODEC);
    }
    EXPECT_EQ(GetCodecDescription(nullptr, 0), TOLVANE_OK);
    EXPECT_EQ(GetCodecFormatTagDescription(nullptr, 0, 0), TOLVANE_OK);
}

TEST_F(Catalogue, EveryServiceMayFail) {
    const RegisteredCodec a(CodecNamed("First", kCodec, tags_));
    const RegisteredCodec b(CodecNamed("Second", kCodec, tags_));
    const auto listed_when_failing = [](const char* service) {
        const tolvane::test::FaultScope fault(service, 1);
        std::vector<uint32_t> listed;
        for (uint16_t i = 0, count = GetNumberOfCodec(); i < count; ++i)
            listed.push_back(Codec(i).listedFormatTagCount);
        EXPECT_EQ(PlatformFaultsStruck(), 1u) << service;
        return listed;
    };
    using Counts = std::vector<uint32_t>;
    EXPECT_EQ(listed_when_failing("acmDriverEnum"), Counts{});
    EXPECT_EQ(listed_when_failing("acmMetrics"), (Counts{0, 2}));
    EXPECT_EQ(listed_when_failing("acmDriverOpen"), (Counts{0, 2}));
    EXPECT_EQ(listed_when_failing("acmFormatTagEnumA"), (Counts{0, 2}));
    EXPECT_EQ(listed_when_failing("acmDriverDetailsA"), (Counts{2, 2}));
    EXPECT_TRUE(Same(Codec(0), ExpectedCodec(0, a.Id(), 0, 2, "")));
}

TEST_F(Catalogue, RebuildsNeverRunUnderAReader) {
    const RegisteredCodec a(CodecNamed("First", kCodec, tags_));
    const CodecDescription codec = ExpectedCodec(0, a.Id(), 2, 2, "First");
    const FormatTagDescription tag = ExpectedTag(0, 1, 0x1234, "Twelve");
    ASSERT_EQ(GetNumberOfCodec(), 1);
    std::atomic<int> rebuilds = 0;
    std::atomic<bool> over = false;
    std::thread rebuilding([&] {
        while (!over)
            rebuilds += GetNumberOfCodec() == 1;
    });
    while (rebuilds == 0)
        std::this_thread::yield();
    for (int i = 0; i < 3000 || rebuilds < 100; ++i)
        if (!Same(Codec(0), codec) || !Same(Tag(0, 1), tag)) ADD_FAILURE() << "read " << i;
    over = true;
    rebuilding.join();
}

// What holds for the drivers that are really there, on every system.
TEST(InstalledCodecs, AreDescribedConsistentlyAndCoverTheCommonFormats) {
    const uint16_t count = GetNumberOfCodec();
    std::set<uint32_t> ids, tags;
    for (uint16_t i = 0; i < count; ++i) {
        const CodecDescription codec = Codec(i);
        SCOPED_TRACE(codec.longName);
        EXPECT_EQ(codec.codecIndex, i);
        EXPECT_TRUE(ids.insert(codec.driverId).second);
        EXPECT_STRNE(codec.longName, "");
        EXPECT_EQ(codec.listedFormatTagCount, codec.reportedFormatTagCount);
        for (uint16_t t = 0; t < codec.listedFormatTagCount; ++t) {
            const FormatTagDescription tag = Tag(i, t);
            EXPECT_TRUE(Same(tag, ExpectedTag(i, t, tag.formatTag, tag.name)));
            EXPECT_STRNE(tag.name, "");
            tags.insert(tag.formatTag);
        }
    }
    for (const uint32_t tag : {1u, 2u, 6u, 7u, 0x11u, 0x31u, 0x55u})
        EXPECT_TRUE(tags.contains(tag)) << tag;
}

}  // namespace
