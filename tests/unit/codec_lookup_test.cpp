// The lookup of a codec by the format tag of a file.
#include "convert/catalogue.h"

#include <gtest/gtest.h>

#include "convert/registered_codec.h"

namespace {

using tolvane::FindCodecForFormatTag;

constexpr uint32_t kCodec = ACMDRIVERDETAILS_SUPPORTF_CODEC;

TEST(CodecLookup, FindsTheFirstThatListsTheTag) {
    if (!PlatformShowBuiltInCodecs(0))
        GTEST_SKIP() << "the system's codec manager takes no drivers from a test";
    const std::vector<PlatformCodecTag> one{{1, "PCM"}, {0x1111, "One"}},
        both{{0x2222, "Two"}, {0x1111, "One"}};
    EXPECT_EQ(FindCodecForFormatTag(1), -1) << "no codec at all";
    {
        PlatformCodec closed = CodecNamed("Closed", kCodec, both);
        closed.open_result = MMSYSERR_NOMEM;
        const RegisteredCodec a(closed), b(CodecNamed("One", kCodec, one)),
            c(CodecNamed("Both", kCodec, both));
        EXPECT_EQ(FindCodecForFormatTag(0x1111), 1) << "the first lists nothing";
        EXPECT_EQ(FindCodecForFormatTag(0x2222), 2);
        EXPECT_EQ(FindCodecForFormatTag(0x3333), -1);
        const RegisteredCodec late(
            CodecNamed("Late", kCodec, std::vector<PlatformCodecTag>{{0x3333, "Three"}}));
        EXPECT_EQ(FindCodecForFormatTag(0x3333), 3) << "the catalogue is made anew for every lookup";
    }
    PlatformShowBuiltInCodecs(1);
    EXPECT_GE(FindCodecForFormatTag(WAVE_FORMAT_PCM), 0);
}

TEST(CodecLookup, FreedCatalogueIsEmptyUntilTheNextCount) {
    ASSERT_GT(tolvane::GetNumberOfCodec(), 0);
    CodecDescription codec;
    EXPECT_EQ(tolvane::GetCodecDescription(&codec, 0), TOLVANE_OK);
    tolvane::FreeCatalogue();
    EXPECT_EQ(tolvane::GetCodecDescription(&codec, 0), TOLVANE_NO_CODEC);
    EXPECT_EQ(tolvane::TheCatalogue().codecs.First(), nullptr);
}

}  // namespace
