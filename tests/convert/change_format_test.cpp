// The change of format against a model of a few lines: what is written to the byte, with and without a job; its
// codes; what it leaves when it fails or is cancelled.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include <gmock/gmock.h>

#include "support/virtual_card.h"
#include "support/edit_jobs.h"
#include "support/faults.h"
#include "support/samples.h"
#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

using ::testing::AnyOf;

void Append(Bytes* data, int sample, uint16_t bits) {
    if (bits == 8) sample += 128;
    data->push_back(static_cast<uint8_t>(sample));
    if (bits == 16) data->push_back(static_cast<uint8_t>(sample >> 8));
}

// Three passes, each over the whole sound. Frames are dropped by their number within a block of 8,192 bytes.
Bytes RateModel(const Bytes& data, const Format& from, uint32_t rate) {
    Bytes out;
    const size_t frame = from.Block();
    for (size_t i = 0; (i + 1) * frame <= data.size(); ++i) {
        const bool kept = rate > from.rate || i % (8192 / frame) % (from.rate / rate) == 0;
        const uint32_t times = rate > from.rate ? rate / from.rate : kept;
        for (uint32_t j = 0; j < times; ++j)
            out.insert(out.end(), &data[i * frame], &data[i * frame] + frame);
    }
    return out;
}

Bytes ChannelModel(const Bytes& data, const Format& from) {
    Bytes out;
    for (size_t i = 0; (i + 1) * from.Block() <= data.size(); ++i)
        if (from.channels == 1) {
            Append(&out, SampleAt(data, i, from.bits), from.bits);
            Append(&out, SampleAt(data, i, from.bits), from.bits);
        } else {
            Append(&out, (SampleAt(data, 2 * i, from.bits) + SampleAt(data, 2 * i + 1, from.bits)) / 2,
                   from.bits);
        }
    return out;
}

Bytes SizeModel(const Bytes& data, const Format& from) {
    Bytes out;
    const size_t sample = from.bits / 8;
    for (size_t i = 0; (i + 1) * sample <= data.size(); ++i)
        from.bits == 8 ? Append(&out, SampleAt(data, i, 8) * 256, 16)
                       : Append(&out, SampleAt(data, i, 16) / 256, 8);
    return out;
}

Bytes Model(Bytes data, Format from, const Format& to) {
    if (to.rate != from.rate) data = RateModel(data, from, to.rate);
    from.rate = to.rate;
    if (to.channels != from.channels) data = ChannelModel(data, from);
    from.channels = to.channels;
    return to.bits != from.bits ? SizeModel(data, from) : data;
}

// As every writer of PCM lays it out.
Bytes WrittenWave(const Format& format, const Bytes& data) {
    return Riff(Chunk("fmt ", FormatRecord(format) + Little(0, 2)) + Chunk("data", data));
}

uint16_t Change(const std::string& file, const std::string& target, const Format& to, bool as_job = false) {
    EditJob* job = nullptr;
    const uint16_t result =
        AudioChangeFormat(file.c_str(), target.c_str(), to.rate, to.bits, to.channels, &job, !as_job);
    EXPECT_EQ(job != nullptr, as_job && result == TOLVANE_OK);
    return job ? FinishJob(job) : result;
}

// With a temp folder of its own, in which nothing but the library's own scratch files may stay.
class ChangeOfFormat : public ::testing::Test {
  protected:
    ChangeOfFormat() {
        EXPECT_EQ(SetTempPath(temp_.Path().c_str()), 0u);
        scratch_ = temp_.Names();
    }
    ~ChangeOfFormat() override {
        EXPECT_EQ(temp_.Names(), scratch_);
        SetTempPath(std::filesystem::temp_directory_path().string().c_str());
    }

    TempFolder folder_, temp_;
    std::string target_ = folder_.Path("out.wav");
    std::vector<std::string> scratch_;
    Watchdog watchdog_;
};

constexpr Format kCd{}, kHalf{22050};

TEST_F(ChangeOfFormat, EqualsItsModel) {
    std::mt19937 random(7);
    const auto pick = [&](uint32_t most) { return static_cast<uint32_t>(random() % most); };
    for (int i = 0; i < 120; ++i) {
        const uint32_t base = 1 + pick(48000), factor = 1 + pick(pick(8) ? 6 : 200);
        const bool up = pick(2);
        const auto channels = [&] { return static_cast<uint16_t>(1 + pick(2)); };
        const auto bits = [&] { return static_cast<uint16_t>(8 + 8 * pick(2)); };
        const Format from{up ? base : base * factor, channels(), bits()};
        const Format to{up ? base * factor : base, channels(), bits()};
        const Bytes data = Pattern(1 + pick(40000) / (up ? factor : 1), pick(1000));
        const Bytes list = pick(2) ? Chunk("LIST", Pattern(pick(99))) : Bytes();
        const Bytes record = FormatRecord(from) + Bytes(pick(2) ? 2 : 0);
        const std::string in =
            folder_.Write("in.wav", Riff(list + Chunk("fmt ", record) + list + Chunk("data", data) + list));
        SCOPED_TRACE(::testing::Message() << "case " << i << ": " << from.rate << "/" << from.channels << "/"
                                          << from.bits << " to " << to.rate << "/" << to.channels << "/"
                                          << to.bits << ", " << data.size() << " bytes");
        const Bytes source = ReadAll(in), expected = Model(data, from, to);
        const uint16_t result = Change(in, target_, to, pick(2));
        ASSERT_EQ(ReadAll(in), source);
        if (from.rate == to.rate && from.channels == to.channels && from.bits == to.bits) {
            ASSERT_EQ(result, TOLVANE_SAME_FORMAT);
        } else if (expected.empty()) {
            ASSERT_THAT(result, AnyOf(TOLVANE_OK, TOLVANE_INPUT_EMPTY)) << "not one whole frame";
        } else {
            ASSERT_EQ(result, TOLVANE_OK);
            ASSERT_EQ(ReadAll(target_), WrittenWave(to, expected));
        }
    }
}

// Of 8 bits every pair of samples, of 16 every sample beside some that are hard to halve or to add.
TEST_F(ChangeOfFormat, EqualsItsModelForEverySample) {
    Bytes pairs8, pairs16;
    for (int i = 0; i < 65536; ++i) {
        Append(&pairs8, i / 256 - 128, 8);
        Append(&pairs8, i % 256 - 128, 8);
        const int sample = i - 32768;
        const int beside[] = {-32768, -1001, -1, 0, 1, 32767, -sample - 1};
        Append(&pairs16, sample, 16);
        Append(&pairs16, beside[i % std::size(beside)], 16);
    }
    for (const uint16_t bits : {uint16_t{8}, uint16_t{16}}) {
        const Format from{8000, 2, bits}, both{8000, 2, static_cast<uint16_t>(24 - bits)},
            mono{8000, 1, bits};
        const Bytes& data = bits == 8 ? pairs8 : pairs16;
        const std::string in = folder_.Write("in.wav", WaveFile(from, data));
        for (const Format& to : {both, mono}) {
            ASSERT_EQ(Change(in, target_, to), TOLVANE_OK);
            EXPECT_TRUE(ReadAll(target_) == WrittenWave(to, Model(data, from, to))) << bits << to.bits;
        }
    }
}

TEST_F(ChangeOfFormat, RefusesWithACodeAndWritesNothing) {
    AudioPlayWave(folder_.Path("none.wav").c_str(), 0, 0, 0, 1, 0);  // forgets the current file
    const auto wave = [&](const char* name, const Bytes& chunks) {
        return folder_.Write(name, Riff(chunks));
    };
    const Bytes fmt = Chunk("fmt ", FormatRecord(kCd)), data = Chunk("data", Pattern(64));
    const std::string good = wave("good.wav", fmt + data), overlong(300, 'x');
    const std::string three = folder_.Write("3.wav", WaveFile({44100, 3, 16}, Pattern(60)));
    const std::string deep = folder_.Write("24.wav", WaveFile({44100, 2, 24}, Pattern(60)));
    const std::string fast = folder_.Write("fast.wav", WaveFile({3'000'000'000, 1, 8}, Pattern(60)));
    const std::string slow = folder_.Write("slow.wav", WaveFile({1, 1, 8}, Pattern(60'000)));
    const struct {
        const char* what;
        std::string file, target;
        Format to;
        uint16_t code;
    } cases[] = {
        {"no file named, none current", "", target_, kHalf, TOLVANE_NO_PATH},
        {"missing", folder_.Path("none"), target_, kHalf, TOLVANE_CANNOT_OPEN},
        {"overlong", overlong, target_, kHalf, TOLVANE_CANNOT_OPEN},
        {"a folder", folder_.Path(), target_, kHalf, TOLVANE_CANNOT_OPEN},
        {"empty", folder_.Write("0", {}), target_, kHalf, TOLVANE_CANNOT_OPEN},
        {"compressed", folder_.Write("c", WaveFile({8000, 1, 8, 7}, Pattern(9))), target_, kHalf,
         TOLVANE_EDIT_NOT_PCM},
        {"no wave file", folder_.Write("text", Pattern(99)), target_, kHalf, TOLVANE_EDIT_NOT_PCM},
        {"no data chunk", wave("nodata", fmt), target_, kHalf, TOLVANE_INPUT_NO_DATA},
        {"no sound", wave("silent", fmt + Chunk("data", {})), target_, kHalf, TOLVANE_INPUT_EMPTY},
        {"48,000 from 44,100", good, target_, {48000}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"48,000 and mono", good, target_, {48000, 1}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"no rate", good, target_, {0}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"no channel", good, target_, {22050, 0}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"3 channels", good, target_, {22050, 3}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"24 bits", good, target_, {22050, 2, 24}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"20 bits", good, target_, {44100, 2, 20}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"from 3 channels", three, target_, kHalf, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"from 24 bits", deep, target_, kHalf, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"bytes a second beyond 32 bits", fast, target_, {3'000'000'000, 2, 8}, TOLVANE_CHANGE_NOT_POSSIBLE},
        {"a result beyond 2 GiB", slow, target_, {192'000, 1, 8}, TOLVANE_OUTPUT_NOT_WRITTEN},
        {"its own format", good, target_, kCd, TOLVANE_SAME_FORMAT},
        {"onto itself", good, good, kHalf, TOLVANE_OUTPUT_NOT_WRITTEN},
        {"onto itself by another name",
         good,
         folder_.Path("./good.wav"),
         {44100, 1},
         TOLVANE_OUTPUT_NOT_WRITTEN},
        {"no target", good, "", kHalf, TOLVANE_OUTPUT_NOT_WRITTEN},
        {"overlong target", good, overlong, kHalf, TOLVANE_OUTPUT_NOT_WRITTEN},
        {"a target in no folder", good, folder_.Path("none/out.wav"), kHalf, TOLVANE_OUTPUT_NOT_WRITTEN},
#ifndef _WIN32
        {"a full disk", good, "/dev/full", kHalf, TOLVANE_OUTPUT_NOT_WRITTEN},
#endif
        {"a folder as target", good, temp_.Path(), {44100, 1}, TOLVANE_OUTPUT_NOT_WRITTEN},
    };
    const Bytes source = ReadAll(good);
    for (const auto& c : cases) {
        for (bool as_job : {false, true})
            EXPECT_EQ(Change(c.file, c.target, c.to, as_job), c.code) << c.what << (as_job ? ", job" : "");
        EXPECT_EQ(ReadAll(good), source) << c.what;
        EXPECT_FALSE(std::filesystem::exists(target_)) << c.what;
    }
    EXPECT_EQ(AudioChangeFormat(nullptr, nullptr, 22050, 16, 2, nullptr, 1), TOLVANE_NO_PATH);
    EXPECT_EQ(AudioChangeFormat(good.c_str(), nullptr, 22050, 16, 2, nullptr, 1), TOLVANE_OUTPUT_NOT_WRITTEN);
}

// The header claims more than the file holds, so that the sizes can be large.
TEST_F(ChangeOfFormat, OfLongSoundsAsksOnlyWhetherTheResultFits) {
    const auto claiming = [&](const char* name, const Format& format, uint32_t size) {
        return folder_.Write(
            name, Riff(Chunk("fmt ", FormatRecord(format)) + Chunk("data", Pattern(40'000), size)));
    };
    const std::string bytes = claiming("8.wav", {8000, 1, 8}, 1'200'000'000);
    const std::string words = claiming("16.wav", {8000, 2, 16}, 1'200'000'000);
    std::ofstream(target_) << "old";
    EXPECT_EQ(Change(bytes, target_, {8000, 1, 16}, false), TOLVANE_OUTPUT_NOT_WRITTEN);
    EXPECT_EQ(Change(bytes, target_, {4000, 2, 16}, false), TOLVANE_OUTPUT_NOT_WRITTEN) << "in the last step";
    EXPECT_EQ(ReadAll(target_), Bytes({'o', 'l', 'd'}));
    EXPECT_EQ(Change(words, target_, {8000, 1, 8}, false), TOLVANE_OUTPUT_NOT_WRITTEN)
        << "the sound ends early";
    EXPECT_GE(ReadAll(target_).size(), 40'000u) << "the change was begun";
}

TEST_F(ChangeOfFormat, SparesItsSourceBehindLinks) {
    const std::string in = folder_.Write("in.wav", WaveFile(kCd, Pattern(400))),
                      link = folder_.Path("link.wav");
    const Bytes source = ReadAll(in);
    using Links = void (*)(const std::filesystem::path&, const std::filesystem::path&, std::error_code&);
    for (const Links make :
         {Links(std::filesystem::create_hard_link), Links(std::filesystem::create_symlink)}) {
        std::error_code refused;
        std::filesystem::remove(link);
        make(in, link, refused);
        EXPECT_TRUE(refused || Change(in, link, kHalf) == TOLVANE_OUTPUT_NOT_WRITTEN);
        EXPECT_EQ(ReadAll(in), source);
    }
}

// The source is the current file, which may only be read; the target a longer file; and nobody waits for the job.
TEST_F(ChangeOfFormat, ReplacesWhatStoodThereAndReadsWhatMayOnlyBeRead) {
    const Format to{44100, 1, 8};
    const Bytes data = Pattern(30'000), expected = WrittenWave(to, Model(data, kCd, to));
    const std::string in = folder_.Write("in.wav", WaveFile(kCd, data));
    folder_.Write("out.wav", Pattern(500'000));
    using std::filesystem::perms;
    constexpr auto kWrite = perms::owner_write | perms::group_write | perms::others_write;
    std::filesystem::permissions(in, kWrite, std::filesystem::perm_options::remove);
    AudioLoadFile(in.c_str());
    ASSERT_EQ(AudioChangeFormat("", target_.c_str(), to.rate, to.bits, to.channels, nullptr, 0), TOLVANE_OK);
    while (ReadAll(target_) != expected || temp_.Names() != scratch_)
        std::this_thread::yield();
    EXPECT_NE(std::filesystem::status(target_).permissions() & kWrite, perms::none);
    std::filesystem::permissions(in, perms::owner_write, std::filesystem::perm_options::add);
    AudioPlayWave(folder_.Path("none.wav").c_str(), 0, 0, 0, 1, 0);  // forgets the current file
}

TEST_F(ChangeOfFormat, EndsWhereTheSoundBreaksOff) {
    const Bytes data = Pattern(20'000);
    const Bytes whole = Riff(Chunk("fmt ", FormatRecord(kCd)) + Chunk("data", data, 4'000'000'000u));
    const std::string in = folder_.Write("in.wav", whole);
    for (bool as_job : {false, true}) {
        EXPECT_EQ(Change(in, target_, kHalf, as_job), TOLVANE_OUTPUT_NOT_WRITTEN);
        EXPECT_EQ(ReadAll(target_), WrittenWave(kHalf, RateModel(data, kCd, 22050))) << "what there was";
    }
    EXPECT_EQ(
        Change(folder_.Write("in.wav", Riff(Chunk("fmt ", FormatRecord(kCd)) + Chunk("data", data, 30'000))),
               target_, {44100, 2, 8}),
        TOLVANE_OUTPUT_NOT_WRITTEN);
    EXPECT_EQ(ReadAll(target_), ReadAll(in)) << "a copy of the file";
}

TEST_F(ChangeOfFormat, ShowsItsProgressInEqualParts) {
    const std::string in = folder_.Write("in.wav", WaveFile(kCd, Pattern(100'000)));
    const struct {
        Format to;
        uint32_t end;
    } cases[] = {{kHalf, 100}, {{22050, 1}, 100}, {{22050, 1, 8}, 99}};
    for (const auto& c : cases) {
        EditJob* job = nullptr;
        ASSERT_EQ(
            AudioChangeFormat(in.c_str(), target_.c_str(), c.to.rate, c.to.bits, c.to.channels, &job, 0), 0);
        while (!AudioEditProcessIsOver(job))
            std::this_thread::yield();
        EXPECT_EQ(AudioEditGetProcessProgress(job), c.end);
        EXPECT_EQ(FinishJob(job), TOLVANE_OK);
    }
}

// Wherever the cancel comes: the target is a wave file whose sound is the beginning of the whole one.
TEST_F(ChangeOfFormat, LeavesAWaveFileWhenCancelled) {
    const Bytes data = Pattern(2'000'000);
    const std::string in = folder_.Write("in.wav", WaveFile(kCd, data));
    const Bytes whole = RateModel(data, kCd, 22050);
    std::mt19937 random(3);
    int cancelled = 0;
    for (int i = 0; i < 60; ++i) {
        EditJob* job = nullptr;
        ASSERT_EQ(AudioChangeFormat(in.c_str(), target_.c_str(), 22050, 16, 2, &job, 0), TOLVANE_OK);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        AudioEditCancelPressed(job);
        const uint16_t reason = FinishJob(job);
        ASSERT_THAT(reason, AnyOf(TOLVANE_OK, TOLVANE_CANCELLED));
        cancelled += reason == TOLVANE_CANCELLED;
        const Bytes left = ReadAll(target_);
        ASSERT_GE(left.size(), 46u);
        ASSERT_EQ(left, WrittenWave(kHalf, Part(whole, 0, left.size() - 46)));
        ASSERT_TRUE(reason == TOLVANE_CANCELLED || left.size() == whole.size() + 46);
    }
    EXPECT_GT(cancelled, 0);
}

using ChangeWhilePlaying = Playing;

TEST_F(ChangeWhilePlaying, RefusesThePlayedFileByItsName) {
    const std::string played = Make(kCd, 5000), target = folder_.Path("out.wav");
    ASSERT_EQ(Play(), TOLVANE_OK);
    for (bool as_job : {false, true})
        EXPECT_EQ(Change(played, target, kHalf, as_job), TOLVANE_FILE_IS_PLAYING);
    EXPECT_EQ(Change(folder_.Path("./sound.wav"), target, kHalf), TOLVANE_OK)
        << "names are compared, not files";
    AudioStop();
    EXPECT_EQ(Change(played, target, kHalf), TOLVANE_OK);
}

// Each service call of all three passes fails in turn. A scratch file can only stay where its deletion failed, and
// that is no failure of the change.
TEST_F(ChangeOfFormat, SurvivesEachFailingCall) {
    if (!FaultsAvailable()) GTEST_SKIP() << "the system's own services cannot be made to fail";
    const Format to{22050, 1, 8};
    const Bytes data = Pattern(9'000), expected = WrittenWave(to, Model(data, kCd, to));
    const std::string in = folder_.Write("in.wav", WaveFile(kCd, data));
    const Bytes source = ReadAll(in);
    for (bool as_job : {false, true}) {
        uint16_t result = 0;
        const auto check = [&] {
            EXPECT_THAT(result, AnyOf(0, 102, 318, 350, 351, 352, 353, 355, 357, 358));
            EXPECT_EQ(ReadAll(in), source);
            EXPECT_TRUE(result != TOLVANE_OK || ReadAll(target_) == expected);
            for (const std::string& name : temp_.Names())
                if (std::find(scratch_.begin(), scratch_.end(), name) == scratch_.end()) {
                    EXPECT_EQ(result, TOLVANE_OK) << name;
                    std::filesystem::remove(temp_.Path(name));
                }
        };
        // Blocks that could not be given back stay: each of the six once.
        FailEachCall(
            "change of format", [&] { result = Change(in, target_, to, as_job); }, check, [] {}, 64 * 1024);
    }
}

TEST_F(ChangeOfFormat, TellsMissingMemoryAndThreads) {
    if (!FaultsAvailable()) GTEST_SKIP() << "the system's own services cannot be made to fail";
    const std::string in = folder_.Write("in.wav", WaveFile(kCd, Pattern(9'000)));
    const struct {
        const char* service;
        uint32_t nth;
        bool as_job;
    } cases[] = {{"_beginthreadex", 1, true}, {"GlobalAlloc", 2, false}, {"GlobalLock", 3, false}};
    for (const auto& c : cases) {
        FaultScope fault(c.service, c.nth);
        EXPECT_EQ(Change(in, target_, kHalf, c.as_job), TOLVANE_NO_CHANGE_MEMORY) << c.service;
    }
}

}  // namespace
}  // namespace tolvane::test
