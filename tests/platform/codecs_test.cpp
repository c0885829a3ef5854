// The codec manager: its drivers, handles, figures and format tags.
#include <msacm.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "convert/registered_codec.h"

namespace {

constexpr uint32_t kCodec = ACMDRIVERDETAILS_SUPPORTF_CODEC;
constexpr uint32_t kDisabled = ACMDRIVERDETAILS_SUPPORTF_DISABLED;
constexpr uint32_t kLocal = ACMDRIVERDETAILS_SUPPORTF_LOCAL;

struct Seen {
    std::vector<HACMDRIVERID> drivers;
    std::vector<DWORD> support;
    size_t at_most = 100;
};

BOOL CALLBACK See(HACMDRIVERID driver, DWORD_PTR instance, DWORD support) {
    auto& seen = *reinterpret_cast<Seen*>(instance);
    seen.drivers.push_back(driver);
    seen.support.push_back(support);
    return seen.drivers.size() < seen.at_most;
}

Seen Enumerate(DWORD flags, size_t at_most = 100) {
    Seen seen;
    seen.at_most = at_most;
    EXPECT_EQ(acmDriverEnum(See, reinterpret_cast<DWORD_PTR>(&seen), flags), 0u);
    return seen;
}

ACMDRIVERDETAILSA Details(HACMDRIVERID driver) {
    ACMDRIVERDETAILSA details{};
    details.cbStruct = sizeof details;
    EXPECT_EQ(acmDriverDetailsA(driver, &details, 0), 0u);
    return details;
}

template <class Handle>
DWORD Metric(Handle object, UINT metric) {
    DWORD answer = 0xEEEEEEEE;
    EXPECT_EQ(acmMetrics(reinterpret_cast<HACMOBJ>(object), metric, &answer), 0u) << metric;
    return answer;
}

HACMDRIVERID Id(const RegisteredCodec& codec) {
    return reinterpret_cast<HACMDRIVERID>(uintptr_t{codec.Id()});
}

struct Tags {
    std::vector<DWORD> tags;
    std::vector<DWORD> indexes;
    size_t at_most = 100;
};

BOOL CALLBACK SeeTag(HACMDRIVERID, LPACMFORMATTAGDETAILSA details, DWORD_PTR instance, DWORD) {
    auto& seen = *reinterpret_cast<Tags*>(instance);
    seen.tags.push_back(details->dwFormatTag);
    seen.indexes.push_back(details->dwFormatTagIndex);
    return seen.tags.size() < seen.at_most;
}

const std::vector<PlatformCodecTag> kTags{{1, "PCM"}, {0x1234, "Twelve"}};

TEST(CodecManager, BringsAlongADriverAFamily) {
    std::vector<std::string> names;
    std::set<std::string> short_names;
    for (const HACMDRIVERID driver : Enumerate(0).drivers) {
        const ACMDRIVERDETAILSA details = Details(driver);
        names.push_back(details.szLongName);
        short_names.insert(details.szShortName);
        EXPECT_EQ(details.cbStruct, sizeof details);
        EXPECT_EQ(details.fccType, FOURCC{ACMDRIVERDETAILS_FCCTYPE_AUDIOCODEC});
        EXPECT_EQ(Metric(driver, ACM_METRIC_DRIVER_PRIORITY), names.size());
        EXPECT_EQ(Metric(driver, ACM_METRIC_DRIVER_SUPPORT), details.fdwSupport);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Tolvane IMA ADPCM Codec", "Tolvane MS ADPCM Codec",
                                               "Tolvane CCITT G.711 Codec", "Tolvane GSM 6.10 Codec",
                                               "Tolvane MPEG Layer-3 Codec", "Tolvane PCM Converter"}));
    EXPECT_EQ(short_names.size(), names.size());
    EXPECT_EQ(Metric(HACMOBJ{}, ACM_METRIC_COUNT_DRIVERS), 6u);
    EXPECT_EQ(Metric(HACMOBJ{}, ACM_METRIC_COUNT_CODECS), 5u);
    EXPECT_EQ(Metric(HACMOBJ{}, ACM_METRIC_COUNT_CONVERTERS), 1u);
    EXPECT_EQ(Metric(HACMOBJ{}, ACM_METRIC_MAX_SIZE_FORMAT), 50u) << "MS ADPCM with its seven predictors";
}

TEST(CodecManager, ListsDisabledAndLocalDriversOnRequest) {
    const RegisteredCodec off(CodecNamed("Off", kCodec | kDisabled, kTags));
    const RegisteredCodec local(CodecNamed("Local", kCodec | kLocal, kTags));
    EXPECT_EQ(Enumerate(0).drivers.size(), 7u);
    EXPECT_EQ(Enumerate(ACM_DRIVERENUMF_NOLOCAL).drivers.size(), 6u);
    const Seen all = Enumerate(ACM_DRIVERENUMF_DISABLED);
    ASSERT_EQ(all.drivers.size(), 8u);
    EXPECT_EQ(all.drivers[6], Id(off));
    EXPECT_EQ(all.support[6], kCodec | kDisabled);
    EXPECT_EQ(Metric(HACMOBJ{}, ACM_METRIC_COUNT_DISABLED), 1u);
    EXPECT_EQ(Enumerate(0, 2).drivers.size(), 2u) << "the callback ends it";
    HACMDRIVER open = nullptr;
    EXPECT_EQ(acmDriverOpen(&open, Id(off), 0), UINT{MMSYSERR_NOTENABLED});
    EXPECT_EQ(acmDriverEnum(nullptr, 0, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(acmDriverEnum(See, 0, 1), UINT{MMSYSERR_INVALFLAG});
}

TEST(CodecManager, EnumeratesAndFindsFormatTags) {
    const RegisteredCodec codec(CodecNamed("Tagged", kCodec, kTags));
    HACMDRIVER open = nullptr;
    ASSERT_EQ(acmDriverOpen(&open, Id(codec), 0), 0u);
    ACMFORMATTAGDETAILSA details{};
    details.cbStruct = sizeof details;
    Tags own, all;
    EXPECT_EQ(acmFormatTagEnumA(open, &details, SeeTag, reinterpret_cast<DWORD_PTR>(&own), 0), 0u);
    EXPECT_EQ(own.tags, (std::vector<DWORD>{1, 0x1234}));
    EXPECT_EQ(own.indexes, (std::vector<DWORD>{0, 1}));
    EXPECT_EQ(acmFormatTagEnumA(nullptr, &details, SeeTag, reinterpret_cast<DWORD_PTR>(&all), 0), 0u);
    EXPECT_EQ(all.tags, (std::vector<DWORD>{1, 0x11, 2, 6, 7, 0x31, 0x55, 0x1234})) << "each of them once";

    details.dwFormatTagIndex = 1;
    EXPECT_EQ(acmFormatTagDetailsA(open, &details, ACM_FORMATTAGDETAILSF_INDEX), 0u);
    EXPECT_STREQ(details.szFormatTag, "Twelve");
    details.dwFormatTagIndex = 2;
    EXPECT_EQ(acmFormatTagDetailsA(open, &details, ACM_FORMATTAGDETAILSF_INDEX), UINT{ACMERR_NOTPOSSIBLE});
    details.dwFormatTag = 0;
    EXPECT_EQ(acmFormatTagDetailsA(nullptr, &details, ACM_FORMATTAGDETAILSF_LARGESTSIZE), 0u);
    EXPECT_EQ(details.dwFormatTag, 2u);
    EXPECT_EQ(details.cbFormatSize, 50u);
    details.cbStruct = 71;
    EXPECT_EQ(acmFormatTagEnumA(open, &details, SeeTag, 0, 0), UINT{MMSYSERR_INVALPARAM});
    EXPECT_EQ(acmDriverClose(open, 0), 0u);
}

}  // namespace
