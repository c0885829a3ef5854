// Conversions with the codecs that are really there, measured with other tools: what we write they read, what they
// write we decode as they do, and there and back the sound stays what it was.
#include <fstream>
#include <sstream>
#include <thread>

#include "convert/real_codecs.h"
#include "support/child.h"

namespace tolvane::test {
namespace {

constexpr size_t kFrames = 30001;  // no multiple of any block

// What each codec keeps of our music, in decibels, at full rates and at lower ones; 0: the system's does not encode.
struct Codec {
    uint16_t tag;
    const char *sox, *sox_says, *ffmpeg, *ffmpeg_says;
    double full, low, system;
};
constexpr Codec kCodecs[] = {
    {kMsAdpcm, "ms-adpcm", "MS ADPCM", "adpcm_ms", "adpcm_ms", 42, 25, 0},
    {kALaw, "a-law", "A-law", "pcm_alaw", "pcm_alaw", 36, 36, 36},
    {kMuLaw, "mu-law", "u-law", "pcm_mulaw", "pcm_mulaw", 36, 36, 36},
    {kImaAdpcm, "ima-adpcm", "IMA ADPCM", "adpcm_ima_wav", "adpcm_ima_wav", 37, 22, 15},
    {kGsm, "gsm-full-rate", "GSM", "libgsm_ms", "gsm_ms", 15, 15, 0},
    {kMp3, nullptr, nullptr, "libmp3lame", "mp3", 40, 25, 0}};  // the encoder takes 5 % off at low rates
constexpr Format kFormats[] = {{44100, 2, 16}, {22050, 2, 16}, {8000, 1, 16}};
constexpr ptrdiff_t kMp3Delay = 1105;  // of encoder and decoder together

const Codec& CodecOf(uint16_t tag) {
    for (const Codec& codec : kCodecs)
        if (codec.tag == tag) return codec;
    return kCodecs[0];
}

bool CanEncode(const Codec& codec, const Format& format) {
    return (AreOwnCodecs() || codec.system > 0) && (codec.tag != kGsm || format.rate == 8000);
}

// Frames that may come on top: what fills the last block, or the frames of an MP3.
size_t MostPadding(const Codec& codec) {
    return codec.tag == kMp3 ? kMp3Delay + 2 * 1152 : codec.ffmpeg_says[0] == 'p' ? 0 : 2041;
}

class ToolsOfOthers : public RealCodecs {
  protected:
    void SetUp() override {
        if (!RunTools(folder_.Path(), "sox --version\nffmpeg -version\nffprobe -version"))
            GTEST_SKIP() << "sox and ffmpeg are not here";
    }
    // The words that a line of the tools' answers has.
    std::vector<std::string> Answers() {
        std::vector<std::string> lines;
        std::ifstream log(folder_.Path("answers"));
        for (std::string line; std::getline(log, line);)
            lines.push_back(line);
        return lines;
    }
};

// The duration is theirs to guess from the fact chunk, which does not count samples; what they decode tells the length.
constexpr const char* kAsk = R"(ask() {
    ffprobe -v error -show_entries stream=codec_name,sample_rate,channels -of csv=p=0 $1.wav
    ffmpeg -v error -i $1.wav -f s16le - | wc -c
    if [ $2 = heard ]; then soxi -e $1.wav; sox -D $1.wav -e signed -b 16 -t raw - | wc -c; fi
}
exec > answers
)";

TEST_F(ToolsOfOthers, ReadWhatWeWrite) {
    if (!AreOwnCodecs())
        GTEST_SKIP() << "the system's IMA encoder leaves a reserved byte that other tools refuse";
    std::string script = kAsk;
    std::vector<std::pair<const Codec*, Format>> written;
    for (const Choice& choice : Choices())
        for (const Format& format : kFormats) {
            const Codec& codec = CodecOf(choice.tag);
            if (choice.tag == 1 || !CanEncode(codec, format)) continue;
            const std::string name = std::to_string(written.size());
            const std::string source = Music(format, kFrames), target = folder_.Path(name + ".wav");
            ASSERT_EQ(Compress(choice, source, target, format), TOLVANE_OK) << codec.ffmpeg;
            script += "ask " + name + (codec.sox ? " heard\n" : " unheard\n");
            written.emplace_back(&codec, format);
        }
    ASSERT_TRUE(RunTools(folder_.Path(), script));
    const std::vector<std::string> answers = Answers();
    auto answer = answers.begin();
    const auto next = [&] { return answer == answers.end() ? std::string() : *answer++; };
    for (const auto& [codec, format] : written) {
        std::ostringstream stream;
        stream << codec->ffmpeg_says << ',' << format.rate << ',' << format.channels;
        SCOPED_TRACE(stream.str());
        EXPECT_EQ(next(), stream.str());
        const std::string length = next();
        const size_t frames = std::strtoul(length.c_str(), nullptr, 10) / format.Block();
        EXPECT_GE(frames + (AreOwnCodecs() ? 0 : MostPadding(*codec)), kFrames);
        EXPECT_LE(frames, kFrames + MostPadding(*codec));
        if (!codec->sox) continue;
        EXPECT_NE(next().find(codec->sox_says), std::string::npos);
        EXPECT_EQ(next(), length);
    }
    EXPECT_GE(written.size(), AreOwnCodecs() ? 16u : 9u);
}

// GSM and MP3 leave the arithmetic to the decoder; of the others each has one outcome only, and ours is sox's.
TEST_F(ToolsOfOthers, DecodeWhatTheyWriteAsWeDo) {
    std::string script;
    std::vector<std::pair<const Codec*, std::string>> files;
    const auto add = [&](const Codec& codec, const std::string& name, const std::string& make) {
        const std::string decode = codec.sox ? "sox -D " + name + ".wav -e signed -b 16 -t wav "
                                             : "ffmpeg -v error -i " + name + ".wav -c:a pcm_s16le -f wav ";
        script += make + ' ' + name + ".wav\n" + decode + name + ".pcm\n";
        files.emplace_back(&codec, name);
    };
    for (const Format& format : kFormats) {
        const std::string source = "in" + std::to_string(format.rate) + ".wav";
        Music(format, kFrames, source);
        for (const Codec& codec : kCodecs) {
            const std::string name = std::to_string(files.size());
            if (codec.tag == kGsm && format.rate != 8000) continue;
            if (codec.tag == kMp3 && !AreOwnCodecs())
                continue;  // Wine's decoder divides by 0 on ffmpeg's files
            if (codec.sox) add(codec, "sox" + name, "sox -D " + source + " -e " + codec.sox);
            add(codec, "ffmpeg" + name, "ffmpeg -v error -i " + source + " -f wav -c:a " + codec.ffmpeg);
        }
    }
    ASSERT_TRUE(RunTools(folder_.Path(), script));
    for (const auto& [codec, name] : files) {
        SCOPED_TRACE(name + " " + codec->ffmpeg);
        const Wave theirs = TakeApart(ReadAll(folder_.Path(name + ".pcm")));
        const Wave ours = Decode(folder_.Path(name + ".wav"), theirs.Shape());
        EXPECT_GE(theirs.Frames(), kFrames);
        const uint16_t channels = theirs.Shape().channels;
        const Likeness like = Compare(SoundOf(theirs), SoundOf(ours), channels, codec->sox ? 0 : kMp3Delay);
        std::cout << name << " " << codec->ffmpeg << ": " << like.decibels << " dB, " << ours.Frames()
                  << " of " << theirs.Frames() << " frames\n";
        if (codec->sox && AreOwnCodecs())
            EXPECT_TRUE(ours.data == theirs.data);
        else
            EXPECT_GE(like.decibels, AreOwnCodecs() ? 60 : 40);
    }
}

TEST_F(RealCodecs, KeepTheSoundThereAndBack) {
    for (const Codec& codec : kCodecs)
        for (const Format& format : kFormats) {
            if (!CanEncode(codec, format)) continue;
            SCOPED_TRACE(std::string(codec.ffmpeg) + " " + std::to_string(format.rate));
            const std::string source = Music(format, kFrames), target = folder_.Path("out.wav");
            ASSERT_EQ(Compress(ChoiceOf(codec.tag), source, target, format), TOLVANE_OK);
            const Wave back = Decode(target, format);
            const Likeness like = Compare(SoundOf(TakeApart(ReadAll(source))), SoundOf(back), format.channels,
                                          codec.tag == kMp3 ? kMp3Delay : 0);
            EXPECT_GE(like.decibels, !AreOwnCodecs()       ? codec.system
                                     : format.rate > 32000 ? codec.full
                                                           : codec.low);
            EXPECT_EQ(like.delay, codec.tag == kMp3 ? kMp3Delay : 0);
            EXPECT_GE(back.Frames() + (AreOwnCodecs() ? 0 : MostPadding(codec)), kFrames);
            EXPECT_LE(back.Frames(), kFrames + MostPadding(codec));
            std::cout << codec.ffmpeg << " " << format.rate << ": " << like.decibels << " dB, "
                      << back.Frames() << " frames\n";
        }
}

// Sounds of less than a block, and around it.
TEST_F(RealCodecs, LoseNothingOfAShortSound) {
    if (!AreOwnCodecs()) GTEST_SKIP() << "the system's codecs drop what fills no block";
    constexpr Format kFormat{8000, 1, 16};
    for (const Codec& codec : kCodecs)
        for (const size_t frames : {1, 2, 319, 320, 321, 505, 506, 1153}) {
            const std::string source = Music(kFormat, frames), target = folder_.Path("out.wav");
            ASSERT_EQ(Compress(ChoiceOf(codec.tag), source, target, kFormat), TOLVANE_OK)
                << codec.ffmpeg << frames;
            const Wave back = Decode(target, kFormat);
            EXPECT_GE(back.Frames(), frames) << codec.ffmpeg;
            EXPECT_LE(back.Frames(), frames + MostPadding(codec)) << codec.ffmpeg;
        }
}

TEST_F(RealCodecs, ChangeTheRateWithoutANoise) {
    const auto tone = [](double time, size_t) {  // fades in and out
        return 0.9 * Sine(1000, time) * std::clamp(std::min(time, 2 - time) * 50, 0.0, 1.0);
    };
    struct Case {
        Format from, to;
        double own, system;  // decibels
    };
    const Case cases[] = {{{48000, 2, 16}, {44100, 2, 16}, 80, 18}, {{44100, 1, 16}, {48000, 1, 16}, 80, 23},
                          {{44100, 2, 16}, {22050, 2, 16}, 80, 15}, {{8000, 1, 16}, {44100, 2, 16}, 80, 6},
                          {{48000, 2, 16}, {44100, 1, 8}, 40, 5},   {{11025, 1, 8}, {22050, 2, 16}, 38, 11}};
    for (const auto& [from, to, own, system] : cases) {
        SCOPED_TRACE(std::to_string(from.rate) + " to " + std::to_string(to.rate));
        const std::string source =
            folder_.Write("in.wav", WaveFile(from, MakePcm(from, 2 * from.rate, tone)));
        const Wave heard = Decode(source, to);
        const Sound wanted = SoundOf(MakePcm({to.rate, to.channels, 16}, 2 * to.rate, tone), 16);
        const Likeness like = Compare(wanted, SoundOf(heard), to.channels);
        EXPECT_NEAR(static_cast<double>(heard.Frames()), 2.0 * to.rate, 1);
        EXPECT_GE(like.decibels, AreOwnCodecs() ? own : system);
        std::cout << from.rate << " to " << to.rate << ": " << like.decibels << " dB, " << heard.Frames()
                  << " frames\n";
    }
}

TEST_F(RealCodecs, AskForTheFormatOnlyWhereATagIsNamed) {
    constexpr Format kFormat{11025, 1, 16};
    const std::string source = Music(kFormat, 3000), target = folder_.Path("out.wav");
    const auto record = [&] { return Part(TakeApart(ReadAll(target)).record, 0, 16); };
    const Choice law = ChoiceOf(kMuLaw);
    const FormatUser user(7, 1);  // finds nothing and closes the dialog
    EXPECT_EQ(Convert({law.codec, kNoTag, 0}, source, target), TOLVANE_OK);
    EXPECT_EQ(user.Asked(), 0);
    std::remove(target.c_str());
    EXPECT_EQ(Convert(law, source, target), TOLVANE_OK);
    EXPECT_LE(user.Asked(), 1);  // of Wine's sessions some have no desktop
    EXPECT_TRUE(user.Asked() == 1 || !AreOwnCodecs());
    EXPECT_EQ(record(), FormatRecord({11025, 1, 8, kMuLaw})) << "what the dialog began with";
}

TEST_F(RealCodecs, TakeTheirOwnSuggestionWithoutADesktop) {
    constexpr Format kFormat{22050, 2, 16};
    const std::string source = Music(kFormat, 3000), target = folder_.Path("out.wav");
    uint16_t result = 1;
    if (!RunWithoutADesktop([&] { result = Convert(ChoiceOf(kMuLaw), source, target); }))
        GTEST_SKIP() << "where the format is asked for, somebody answers";
    EXPECT_EQ(result, TOLVANE_OK);
    EXPECT_EQ(Part(TakeApart(ReadAll(target)).record, 0, 16), FormatRecord({22050, 2, 8, kMuLaw}));
}

// Their manager may be one that forgets what it has open when several threads open and close at once; some find out only
// when the process ends.
TEST_F(RealCodecs, WorkForSeveralThreadsAtOnce) {
    constexpr int kConversions = 40;
    constexpr Format kFormat{8000, 1, 16};
    const std::string source = folder_.Write("law.wav", WaveFile({8000, 1, 8, kMuLaw}, Pattern(900)));
    const Bytes wanted = Decode(source, kFormat).data;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, target = folder_.Path("out" + std::to_string(i) + ".wav")] {
            const WAVEFORMATEX pcm = Pcm(kFormat);
            for (int conversion = 0; conversion < kConversions; ++conversion) {
                EXPECT_EQ(ACMAudioConvertFormatPCM(source.c_str(), target.c_str(), &pcm), 0u);
            }
            EXPECT_TRUE(TakeApart(ReadAll(target)).data == wanted);
        });
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace tolvane::test
