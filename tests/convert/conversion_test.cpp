// Converting files as a host does, with a codec of the test's own: layout of the result, every code, the ways a codec
// can misbehave, and what is left behind when a service fails.
#include <filesystem>
#include <memory>
#include <utility>

#include <platform.h>

#include "convert/converting.h"
#include "support/faults.h"

namespace tolvane::test {
namespace {

TEST_F(Converting, LaysTheFileOut) {
    const std::string source = Source(sound_);
    for (const uint32_t tag : {kNoTag, 2u, 77u, 0x80000000u}) {  // all of them leave the format to the driver
        ASSERT_EQ(Convert(source, tag), TOLVANE_OK) << tag;
        EXPECT_EQ(ReadAll(target_), Expected(kFlipFormat, 40, 200001, Flipped(sound_))) << tag;
    }
    const std::string flipped = folder_.Write("flip.wav", ReadAll(target_));
    ASSERT_EQ(Convert(flipped, 0), TOLVANE_OK);
    EXPECT_EQ(ReadAll(target_), Expected(kFlipPcm, 18, 200001, sound_));
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("flip.wav", "in.wav", "out.wav"));
}

TEST_F(Converting, CopesWithWhateverACodecTakesAndGives) {
    for (const uint32_t block : {1u, 7u, 505u, 65536u}) {
        for (const bool hoards : {false, true}) {
            for (const size_t size : {0, 1, 6, 65535, 65536, 65537, 131072}) {
                codec_.block = block;
                codec_.hoards = hoards;  // all of it comes at the end, in as many blocks as it needs
                const Bytes sound = Pattern(size);
                ASSERT_EQ(Convert(Source(sound)), TOLVANE_OK) << block << " " << hoards << " " << size;
                EXPECT_EQ(ReadAll(target_),
                          Expected(kFlipFormat, 40, static_cast<uint32_t>(size), Flipped(sound)))
                    << block << " " << hoards << " " << size;
            }
        }
    }
}

TEST_F(Converting, TakesAnotherCodecWhereItMay) {
    FlipCodec other;
    Format stereo = kFlipPcm;
    stereo.channels = 2;
    const std::string source = Source(sound_, stereo);
    const Bytes whole = ReadAll(source);
    EXPECT_EQ(Convert(source, 0), TOLVANE_NO_STREAM);
    EXPECT_EQ(Convert(source, 0, true), TOLVANE_OK) << "the suggestion for the source can be converted into";
    EXPECT_EQ(ReadFormat(ReadAll(target_).data() + 20).tag, kFlipTag);
    codec_.suggests = false;
    EXPECT_EQ(Convert(source, 0, true), TOLVANE_NO_STREAM) << "at last: 22,050 Hz, which it cannot";
    PlatformShowBuiltInCodecs(1);
    ASSERT_GT(GetNumberOfCodec(), 1);
    const Format last{22050, 2, 16, kFlipTag};
    const uint16_t flip = static_cast<uint16_t>(GetNumberOfCodec() - 1);
    EXPECT_EQ(Convert(Source(Flipped(sound_), last), 0, true, flip), TOLVANE_OK);
    EXPECT_EQ(ReadFormat(ReadAll(target_).data() + 20).rate, 22050u);
    PlatformShowBuiltInCodecs(0);
}

TEST_F(Converting, EveryCodeOfTheSourceAndTheTarget) {
    const auto wave = [this](const Bytes& bytes) { return folder_.Write("in.wav", bytes); };
    const Bytes format = Chunk("fmt ", FormatRecord(kFlipFormat)), data = Chunk("data", sound_);
    struct Case {
        const char* name;
        Bytes file;
        uint16_t convert;
        uint32_t to_pcm;
    };
    const Case cases[] = {
        {"no RIFF", Pattern(500), TOLVANE_SOURCE_NOT_WAVE, TOLVANE_PCM_SOURCE_NOT_WAVE},
        {"other form", Riff(format + data, "AVI "), TOLVANE_SOURCE_NOT_WAVE, TOLVANE_PCM_SOURCE_NOT_WAVE},
        {"no format", Riff(data), TOLVANE_SOURCE_NO_FORMAT, TOLVANE_INPUT_BAD_FORMAT},
        {"short format", Riff(Chunk("fmt ", Bytes(9)) + data), TOLVANE_SOURCE_BAD_FORMAT,
         TOLVANE_INPUT_BAD_FORMAT},
        {"cut format", Riff(Chunk("fmt ", FormatRecord(kFlipFormat), 500)), TOLVANE_SOURCE_BAD_FORMAT,
         TOLVANE_INPUT_BAD_FORMAT},
        {"no data", Riff(format), TOLVANE_SOURCE_NO_DATA, TOLVANE_PCM_SOURCE_NO_DATA},
        {"cut data", Riff(format + Chunk("data", sound_, 300000)), TOLVANE_SOURCE_CUT_SHORT,
         TOLVANE_SOURCE_CUT_SHORT},
        {"alien format", WaveFile({8000, 1, 8, 0x99}, sound_), TOLVANE_NO_STREAM, TOLVANE_NO_STREAM}};
    for (const Case& one : cases) {
        const std::string source = wave(one.file);
        EXPECT_EQ(Convert(source), one.convert) << one.name;
        EXPECT_EQ(ToPcm(source), one.to_pcm) << one.name;
        ExpectNothingLeft();
    }
    EXPECT_EQ(Convert(folder_.Path("none.wav")), TOLVANE_SOURCE_NOT_OPENED);
    EXPECT_EQ(ToPcm(folder_.Path("none.wav")), TOLVANE_INPUT_NOT_OPENED);
    const std::string source = Source(sound_);
    const std::string too_long(300, 'x');
    for (const char* path : {static_cast<const char*>(nullptr), "", too_long.c_str()}) {
        EXPECT_EQ(AudioConvert(0, kNoTag, path, target_.c_str(), nullptr, 0, nullptr, 1),
                  TOLVANE_SOURCE_NOT_OPENED);
        EXPECT_EQ(AudioConvert(0, kNoTag, source.c_str(), path, nullptr, 0, nullptr, 1),
                  TOLVANE_TARGET_NOT_CREATED);
    }
    EXPECT_EQ(ACMAudioConvertFormatPCM(nullptr, "x", &kPcmTarget), uint32_t{TOLVANE_NO_INPUT_PATH});
    EXPECT_EQ(ACMAudioConvertFormatPCM(source.c_str(), nullptr, &kPcmTarget),
              uint32_t{TOLVANE_NO_OUTPUT_PATH});
    const std::string nowhere = folder_.Path("no/folder.wav"), folder = folder_.MakeFolder("folder");
    for (const std::string& bad : {nowhere, folder, source}) {
        EXPECT_EQ(AudioConvert(0, kNoTag, source.c_str(), bad.c_str(), nullptr, 0, nullptr, 1),
                  TOLVANE_TARGET_NOT_CREATED);
        if (bad == source) continue;
        EXPECT_EQ(ACMAudioConvertFormatPCM(source.c_str(), bad.c_str(), &kPcmTarget),
                  TOLVANE_OUTPUT_NOT_WRITTEN);
    }
    EXPECT_EQ(ReadAll(source), WaveFile(kFlipPcm, sound_));
}

TEST_F(Converting, EveryCodeOfTheCodec) {
    const std::string source = Source(sound_);
    const auto code_of = [&](const std::function<void(PlatformCodec&)>& change, uint32_t tag = kNoTag) {
        Install(change);
        const uint16_t code = Convert(source, tag);
        ExpectNothingLeft();
        Install();
        return code;
    };
    EXPECT_EQ(Convert(source, kNoTag, false, 1), TOLVANE_NO_CODEC);
    EXPECT_EQ(code_of([](auto& driver) { driver.reported_tags = 3; }, 2), TOLVANE_NO_CODEC)
        << "the list ends";
    EXPECT_EQ(code_of([](auto& driver) { driver.metrics_result = 1; }), TOLVANE_NO_PRIORITY);
    EXPECT_EQ(code_of([](auto& driver) { driver.open_result = 1; }), TOLVANE_CODEC_NOT_OPENED);
    EXPECT_EQ(code_of([](auto& driver) { driver.priority = 0x80000001; }), TOLVANE_CODEC_NOT_OPENED);
    EXPECT_EQ(code_of([](auto& driver) { driver.suggest = nullptr; }), TOLVANE_NO_PCM_SUGGESTION);
    EXPECT_EQ(code_of([](auto& driver) { driver.stream = nullptr; }), TOLVANE_NO_STREAM);
    codec_.sizeless = true;
    EXPECT_EQ(Convert(source), TOLVANE_TARGET_NOT_SIZED);
    codec_.sizeless = false;
    codec_.stuck = true;
    EXPECT_EQ(Convert(source), TOLVANE_NOT_CONVERTED);
    codec_.stuck = false;
    codec_.fails_at = codec_.calls + 2;
    EXPECT_EQ(Convert(source), TOLVANE_NOT_CONVERTED);
    ExpectNothingLeft();
    driver_.reset();
    GetNumberOfCodec();
    EXPECT_EQ(Convert(source), TOLVANE_NO_CODEC) << "an empty catalogue";
}

TEST_F(Converting, EveryCodeOfTheSystem) {
    struct Fault {
        const char* service;
        uint32_t nth;
        uint32_t code;
    };
    const auto each = [this](std::initializer_list<Fault> faults, const Bytes& file,
                             const std::function<uint32_t(const std::string&)>& convert) {
        for (const Fault& fault : faults) {
            const std::string source = folder_.Write("in.wav", file);
            const FaultScope scope(fault.service, fault.nth);
            EXPECT_EQ(convert(source), fault.code) << fault.service << " " << fault.nth;
            ExpectNothingLeft();
        }
    };
    each({{"GetFullPathNameA", 1, 407}, {"GetFullPathNameA", 2, 408}, {"acmMetrics", 1, 403},
          {"acmDriverOpen", 1, 404},    {"mmioOpenA", 1, 407},        {"acmMetrics", 2, 401},
          {"GlobalAlloc", 1, 430},      {"GlobalAlloc", 2, 402},      {"GlobalAlloc", 3, 412},
          {"GlobalAlloc", 4, 413},      {"acmFormatSuggest", 1, 405}, {"acmStreamOpen", 1, 406},
          {"GetTempFileNameA", 1, 408}, {"mmioOpenA", 2, 408},        {"mmioCreateChunk", 1, 415},
          {"mmioCreateChunk", 2, 416},  {"mmioWrite", 1, 417},        {"mmioAscend", 1, 418},
          {"mmioCreateChunk", 3, 419},  {"mmioWrite", 2, 420},        {"mmioAscend", 2, 421},
          {"mmioCreateChunk", 4, 422},  {"acmStreamSize", 1, 411},    {"acmStreamPrepareHeader", 1, 414},
          {"acmStreamConvert", 1, 424}, {"mmioWrite", 3, 425},        {"mmioAscend", 3, 426},
          {"mmioAscend", 4, 427},       {"mmioClose", 1, 427},        {"MoveFileExA", 1, 408}},
         WaveFile(kFlipPcm, sound_), [this](const std::string& source) { return Convert(source); });
    each({{"GlobalAlloc", 3, 402}}, WaveFile(kFlipPcm, sound_),
         [this](const std::string& source) { return Convert(source, 1); });
    const auto to_pcm = [this](const std::string& source) { return ToPcm(source); };
    each({{"GetFullPathNameA", 1, 358},
          {"mmioOpenA", 1, 350},
          {"GlobalAlloc", 1, 357},
          {"GetTempPathA", 1, 358},
          {"mmioOpenA", 2, 358},
          {"mmioAscend", 1, 367},
          {"mmioCreateChunk", 1, 363},
          {"mmioCreateChunk", 2, 364},
          {"acmMetrics", 1, 405},
          {"GlobalAlloc", 2, 357},
          {"acmFormatSuggest", 1, 405},
          {"mmioWrite", 1, 366},
          {"mmioAscend", 2, 367},
          {"acmStreamOpen", 1, 406},
          {"mmioCreateChunk", 3, 365},
          {"GlobalAlloc", 3, 357},
          {"acmStreamSize", 1, 354},
          {"GlobalAlloc", 4, 357},
          {"acmStreamPrepareHeader", 1, 369},
          {"acmStreamConvert", 1, 424},
          {"mmioWrite", 2, 425},
          {"mmioAscend", 3, 426},
          {"mmioAscend", 4, 427},
          {"CopyFileA", 1, 358},
          {"MoveFileExA", 1, 358}},
         WaveFile(kFlipFormat, Flipped(sound_)), to_pcm);
    // What comes first where two things are wrong: the output, the sound, the form, the suggestion, the stream and
    // the sound's chunk, of a PCM source the other way round.
    const Bytes silent = Riff(Chunk("fmt ", FormatRecord(kFlipFormat)));
    each({{"mmioOpenA", 2, 358}, {"mmioCreateChunk", 1, 467}}, silent, to_pcm);
    each({{"mmioCreateChunk", 3, 406}}, WaveFile({8000, 1, 8, 0x99}, sound_), to_pcm);
    each({{"mmioCreateChunk", 3, 365}, {"acmStreamOpen", 9, 406}}, WaveFile({8000, 2, 8, 1}, sound_), to_pcm);
    codec_.suggests = false;
    each({{"mmioCreateChunk", 2, 364}, {"mmioWrite", 1, 405}}, WaveFile(kFlipFormat, sound_), to_pcm);
}

// Of the codec's formats the user takes the first; or none; or nobody can be asked.
TEST_F(Converting, AsksForTheFormatOfANamedTag) {
    struct Case {
        int32_t answer;
        const char* fault;
        Format source;
        uint16_t code;
        int asked;
    };
    static int answer, asked;
    PlatformSetFormatChooser(
        [](void*, const char* tag, const char* const* formats, uint32_t, uint32_t) {
            EXPECT_STREQ(tag, "Flip");
            EXPECT_STREQ(formats[0], "8000 Hz, Mono, 16 Bit");
            return ++asked, answer;
        },
        nullptr);
    for (const Case& one :
         {Case{0, "", {8000, 1, 16, 1}, TOLVANE_OK, 1}, Case{0, "", {11025, 1, 8, 1}, TOLVANE_NO_STREAM, 1},
          Case{-1, "", {11025, 1, 8, 1}, TOLVANE_OK, 1}, Case{-1, "", {8000, 1, 16, 1}, TOLVANE_NO_STREAM, 1},
          Case{0, "acmFormatChooseA", {22050, 2, 8, 1}, TOLVANE_OK, 0},
          Case{0, "GetUserObjectInformationA", {22050, 2, 8, 1}, TOLVANE_OK, 0}}) {
        SCOPED_TRACE(testing::Message() << one.answer << one.fault << " " << one.source.rate);
        answer = one.answer;
        asked = 0;
        const std::string source = Source(sound_, one.source);
        const FaultScope fault(one.fault, 1);
        EXPECT_EQ(Convert(source, 1), one.code);
        EXPECT_EQ(asked, one.asked);
        if (one.code != TOLVANE_OK) continue;
        Format format = one.source;
        format.tag = kFlipTag;
        EXPECT_EQ(ReadAll(target_), Expected(format, 40, 200001, Flipped(sound_)));
    }
    PlatformSetFormatChooser(nullptr, nullptr);
}

TEST_F(Converting, IntoWhatStandsThere) {
    namespace fs = std::filesystem;
    const Bytes file = WaveFile(kFlipPcm, sound_), fresh = Expected(kFlipFormat, 40, 200001, Flipped(sound_));
    const std::string source = Source(sound_), behind = folder_.Write("behind.wav", Pattern(9));
    fs::permissions(source, fs::perms::owner_read | fs::perms::group_read);
    for (const bool there : {false, true}) {  // to be copied, and written over again
        EXPECT_EQ(ToPcm(source), uint32_t{TOLVANE_OK}) << there;
        EXPECT_EQ(ReadAll(target_), file);
        EXPECT_NE(fs::status(target_).permissions() & fs::perms::owner_write, fs::perms::none) << there;
    }
    fs::permissions(behind, fs::perms(06640));  // of which the first two bits are no rights
    fs::remove(target_);
    fs::create_symlink("behind.wav", target_);
    ASSERT_EQ(Convert(source), TOLVANE_OK);
    EXPECT_TRUE(fs::is_symlink(target_));
    EXPECT_EQ(ReadAll(behind), fresh);
    EXPECT_EQ(fs::status(behind).permissions(), fs::perms(0640));
    fs::remove(behind);
    ASSERT_EQ(Convert(source), TOLVANE_OK);
    EXPECT_FALSE(fs::is_symlink(target_)) << "it led nowhere";
    EXPECT_EQ(ReadAll(target_), fresh);
    FaultScope fault("ReplaceFileA", 1);
    EXPECT_EQ(ToPcm(source), uint32_t{TOLVANE_OK}) << "moved where it cannot be exchanged";
    EXPECT_EQ(ReadAll(target_), file);
    for (const char* bad : {"", "/dev/null"}) {
        EXPECT_EQ(AudioConvert(0, kNoTag, source.c_str(), bad, nullptr, 0, nullptr, 1),
                  TOLVANE_TARGET_NOT_CREATED);
        EXPECT_EQ(ACMAudioConvertFormatPCM(source.c_str(), bad, &kPcmTarget), uint32_t{358});
    }
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("in.wav", "out.wav"));
}

TEST_F(Converting, TellsTheDebuggerAndTakesPcmAlone) {
    std::string heard;
    PlatformSetDebugHook([](const char* text, void* to) { *static_cast<std::string*>(to) += text; }, &heard);
    const std::string source = folder_.Write("in.wav", WaveFile(kFlipFormat, Flipped(sound_)));
    codec_.fails_at = 2;
    EXPECT_EQ(ToPcm(source), uint32_t{TOLVANE_NOT_CONVERTED});
    EXPECT_EQ(std::exchange(heard, ""), "Total File Size: 200001\n");
    EXPECT_EQ(ToPcm(source), uint32_t{TOLVANE_OK});
    EXPECT_EQ(heard, "Total File Size: 200001\n200001 bytes written in all200001 bytes read from file\n");
    PlatformSetDebugHook(nullptr, nullptr);
    const auto guarded = std::make_unique<WAVEFORMATEX>(kPcmTarget);  // nothing lies behind it
    guarded->cbSize = 65535;
    EXPECT_EQ(ToPcm(source, *guarded), uint32_t{TOLVANE_OK});
    EXPECT_EQ(Part(ReadAll(target_), 20, 38), FormatRecord(kFlipPcm) + Little(0, 2));
    guarded->wFormatTag = kFlipTag;
    EXPECT_EQ(ToPcm(source, *guarded), uint32_t{TOLVANE_NO_STREAM});
    EXPECT_EQ(ACMAudioConvertFormatPCM(source.c_str(), target_.c_str(), nullptr),
              uint32_t{TOLVANE_NO_STREAM});
}

TEST_F(Converting, IntoPcmInOneStepTwoOrNone) {
    const Bytes same = WaveFile(kFlipPcm, sound_) + Pattern(50);  // also what stands behind the form
    ASSERT_EQ(ToPcm(folder_.Write("in.wav", same)), TOLVANE_OK);
    EXPECT_EQ(ReadAll(target_), same);
    EXPECT_EQ(ACMAudioConvertFormatPCM(target_.c_str(), target_.c_str(), &kPcmTarget), uint32_t{TOLVANE_OK});
    EXPECT_EQ(ReadAll(target_), same);

    const std::string flipped = folder_.Write("in.wav", WaveFile(kFlipFormat, Flipped(sound_)));
    Bytes record = FormatRecord(kFlipPcm) + Little(0, 2);
    ASSERT_EQ(ToPcm(flipped), TOLVANE_OK);
    EXPECT_EQ(ReadAll(target_), Riff(Chunk("fmt ", record) + Chunk("data", sound_)));

    PlatformShowBuiltInCodecs(1);  // of which one changes sizes: a second step
    const WAVEFORMATEX wide{1, 1, 8000, 16000, 2, 16, 0};
    ASSERT_EQ(ToPcm(flipped, wide), TOLVANE_OK);
    const Bytes file = ReadAll(target_);
    ASSERT_EQ(file.size(), 46 + 2 * sound_.size());
    for (size_t i = 0; i < sound_.size(); i += 997)
        ASSERT_EQ(file[46 + 2 * i + 1], static_cast<uint8_t>(sound_[i] - 128)) << i;
    PlatformShowBuiltInCodecs(0);
    codec_.suggests = false;
    EXPECT_EQ(ToPcm(flipped, wide), TOLVANE_NO_PCM_SUGGESTION);
    EXPECT_EQ(ReadAll(target_), file) << "what was there before";
}

// Whatever service fails, at whatever call: the code says so or the file is whole; the file that was there before is
// there, or the new one; nothing else is.
TEST_F(Converting, SurvivesEveryFailingCall) {
    const std::string path = folder_.Path("in.wav");
    const auto sweep = [&](const char* name, const Bytes& source, const std::function<uint32_t()>& convert) {
        WriteFile(path, source);
        uint32_t result = 0;
        ASSERT_EQ(convert(), 0u);
        const Bytes old = Pattern(100), fresh = ReadAll(target_);
        const auto check = [&] {
            const Bytes now = ReadAll(target_);
            EXPECT_TRUE(now == fresh || (now == old && result != 0)) << result;
            EXPECT_EQ(ReadAll(path), source);
            EXPECT_LE(folder_.Names().size(), 2u) << testing::PrintToString(folder_.Names());
            EXPECT_EQ(PlatformOpenStreams() + PlatformOpenCodecs(), 0u);
        };
        FailEachCall(
            name, [&] { result = convert(); }, check, [&] { WriteFile(target_, old); });
    };
    sweep("convert", WaveFile(kFlipPcm, sound_), [&] { return Convert(path); });
    sweep("to PCM", WaveFile(kFlipFormat, Flipped(sound_)), [&] { return ToPcm(path); });
}

}  // namespace
}  // namespace tolvane::test
