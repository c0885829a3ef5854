// The choice of a format: the nearest one, a host's chooser, and what may be written.
#include "platform/codec_stream.h"
#include "platform/testing/faults.h"

#include <platform_codecs.h>

#include <string>

#include "convert/registered_codec.h"

namespace {

// A question with a record of some size to be answered into.
struct Question {
    ACMFORMATCHOOSEA choice{};
    AnyFormat format{};

    explicit Question(const AnyFormat& start) : format(start) {
        choice.cbStruct = sizeof choice;
        choice.fdwStyle = ACMFORMATCHOOSE_STYLEF_INITTOWFXSTRUCT;
        choice.pwfx = format.get();
        choice.cbwfx = static_cast<DWORD>(format.bytes.size());
    }
    MMRESULT Ask() { return acmFormatChooseA(&choice); }
};

AnyFormat Start(WORD tag, WORD channels = 1, DWORD rate = 11'025) {
    AnyFormat format = Pcm(channels, rate, 8);
    format->wFormatTag = tag;
    return format;
}

struct Seen {
    int32_t answer;
    std::string tag{};
    std::vector<std::string> formats{};
    uint32_t suggested = 0;
};

int32_t Choose(void* context, const char* tag, const char* const* formats, uint32_t count,
               uint32_t suggested) {
    auto& seen = *static_cast<Seen*>(context);
    seen.tag = tag;
    seen.formats.assign(formats, formats + count);
    seen.suggested = suggested;
    return seen.answer;
}

// A chooser that is registered while it lives.
struct RegisteredChooser {
    explicit RegisteredChooser(Seen& seen) { PlatformSetFormatChooser(Choose, &seen); }
    ~RegisteredChooser() { PlatformSetFormatChooser(nullptr, nullptr); }
};

TEST(CodecChoice, KeepsToTheNearestFormatOfTheTag) {
    const struct {
        AnyFormat start;
        DWORD rate;
        WORD channels, bits;
        const char* text;
    } cases[] = {
        {Start(WAVE_FORMAT_IMA_ADPCM), 11'025, 1, 4, "11025 Hz, Mono, 4 Bit"},
        {Start(WAVE_FORMAT_ADPCM, 2, 30'000), 22'050, 2, 4, "22050 Hz, Stereo, 4 Bit"},
        {Start(WAVE_FORMAT_GSM610, 2, 96'000), 44'100, 1, 0, "44100 Hz, Mono, 72 kbit/s"},
        {Start(WAVE_FORMAT_MULAW, 0, 0), 8'000, 1, 8, "8000 Hz, Mono, 8 Bit"},
        {Start(WAVE_FORMAT_MPEGLAYER3), 11'025, 1, 0, "11025 Hz, Mono, 96 kbit/s"},
        {Start(WAVE_FORMAT_PCM, 5, 44'099), 44'100, 2, 8, "44100 Hz, Stereo, 8 Bit"},
    };
    for (const auto& c : cases) {
        Question question(c.start);
        ASSERT_EQ(question.Ask(), 0u) << c.text;
        EXPECT_STREQ(question.choice.szFormat, c.text);
        EXPECT_EQ(question.format->nSamplesPerSec, c.rate) << c.text;
        EXPECT_EQ(question.format->nChannels, c.channels) << c.text;
        EXPECT_EQ(question.format->wBitsPerSample, c.bits) << c.text;
    }
}

TEST(CodecChoice, AsksTheChooser) {
    Seen seen{2};
    const RegisteredChooser registered(seen);
    Question question(Start(WAVE_FORMAT_IMA_ADPCM, 2, 22'050));
    EXPECT_EQ(question.Ask(), 0u);
    EXPECT_EQ(seen.tag, "IMA ADPCM");
    ASSERT_EQ(seen.formats.size(), 8u);
    EXPECT_EQ(seen.formats[seen.suggested], "22050 Hz, Stereo, 4 Bit");
    EXPECT_EQ(seen.formats[2], question.choice.szFormat);
    EXPECT_EQ(question.format->nSamplesPerSec, 11'025u);
    for (seen.answer = 0;; ++seen.answer) {
        Question mpeg(Start(WAVE_FORMAT_MPEGLAYER3));
        if (mpeg.Ask() != 0) break;
        AcmStream stream(Pcm(mpeg.format->nChannels, mpeg.format->nSamplesPerSec, 16), mpeg.format);
        EXPECT_EQ(stream.result, 0u) << seen.formats[static_cast<size_t>(seen.answer)];
    }
    EXPECT_GT(seen.answer, 40);
    EXPECT_EQ(static_cast<size_t>(seen.answer), seen.formats.size())
        << "beyond all of them nothing is chosen";
    seen.answer = -1;
    const Bytes before = question.format.bytes;
    EXPECT_EQ(question.Ask(), UINT{ACMERR_CANCELED});
    EXPECT_EQ(question.format.bytes, before);
}

uint32_t SuggestLong(void*, const void* source, void* target, uint32_t size, uint32_t) {
    auto& format = *static_cast<WAVEFORMATEX*>(target);
    memcpy(&format, source, 16);
    format.wFormatTag = 0x1234;
    format.cbSize = 30;
    memset(&format + 1, 0xAB, size - sizeof format < 30 ? size - sizeof format : 30);
    return 0;
}

TEST(CodecChoice, OffersWhatAHostsDriverSuggests) {
    const std::vector<PlatformCodecTag> tags{{0x1234, "Twelve"}};
    PlatformCodec codec = CodecNamed("Twelve", ACMDRIVERDETAILS_SUPPORTF_CODEC, tags);
    codec.suggest = SuggestLong;
    const RegisteredCodec registered(codec);
    Question question(Start(0x1234));
    EXPECT_EQ(question.Ask(), 0u);
    EXPECT_STREQ(question.choice.szFormatTag, "Twelve");
    EXPECT_EQ(question.format->cbSize, 30);
    for (const DWORD room : {18u, 47u}) {
        Question tight(Start(0x1234));
        tight.choice.cbwfx = room;
        const Bytes before = tight.format.bytes;
        EXPECT_EQ(tight.Ask(), UINT{ACMERR_NOTPOSSIBLE});
        EXPECT_EQ(tight.format.bytes, before);
    }
}

TEST(CodecChoice, RefusesWhatItCannotAnswer) {
    const Question good(Start(WAVE_FORMAT_IMA_ADPCM));
    const auto refused = [&](MMRESULT result, auto spoil) {
        Question question = good;
        question.choice.pwfx = question.format.get();
        spoil(question.choice);
        EXPECT_EQ(question.Ask(), result);
        EXPECT_EQ(question.format.bytes, good.format.bytes);
    };
    refused(MMSYSERR_INVALPARAM, [](auto& choice) { --choice.cbStruct; });
    refused(MMSYSERR_INVALPARAM, [](auto& choice) { choice.pwfx = nullptr; });
    refused(MMSYSERR_INVALPARAM, [](auto& choice) { choice.cbwfx = 17; });
    refused(MMSYSERR_INVALFLAG, [](auto& choice) { choice.fdwStyle |= 8; });
    refused(MMSYSERR_INVALFLAG, [](auto& choice) { choice.fdwEnum = 1; });
    EXPECT_EQ(acmFormatChooseA(nullptr), UINT{MMSYSERR_INVALPARAM});
    Question unknown(Start(0x4321));
    EXPECT_EQ(unknown.Ask(), UINT{ACMERR_NOTPOSSIBLE});
    PlatformFailCall("acmFormatChooseA", 1, MMSYSERR_NODRIVER, 0);
    refused(MMSYSERR_NODRIVER, [](auto&) {});
    PlatformFailNone();
}

}  // namespace
