// Conversions in the background: watching them, stopping them at any moment, closing their handles.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <thread>

#include "convert/converting.h"
#include "support/faults.h"
#include "support/resources.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

class ConversionJobs : public Converting {
  protected:
    ConvertJob* Start(const std::string& source, uint32_t tag = kNoTag, uint16_t codec = 0) {
        ConvertJob* job = nullptr;
        EXPECT_EQ(AudioConvert(codec, tag, source.c_str(), target_.c_str(), &kPcmTarget, 0, &job, 0),
                  TOLVANE_OK);
        return job;
    }
    // Its reason.
    static uint16_t Await(ConvertJob*& job) {
        while (!AudioConvertProcessIsOver(job))
            std::this_thread::yield();
        const uint16_t reason = AudioConvertGetReasonForProcessExit(job);
        EXPECT_EQ(AudioConvertCloseHandle(&job), TOLVANE_OK);
        EXPECT_EQ(job, nullptr);
        return reason;
    }
    static uint32_t Await(PcmConversion* conversion) {
        uint32_t progress = 0, status = 0;
        while ((status = GetACMStatus(conversion, &progress)) == 0)
            std::this_thread::yield();
        EXPECT_LE(progress, 100u);
        return status;
    }

    Watchdog watchdog_;
};

TEST_F(ConversionJobs, ConvertReportAndEnd) {
    const std::string source = Source(sound_);
    ConvertJob* job = Start(source);
    ASSERT_NE(job, nullptr);
    while (!AudioConvertProcessIsOver(job))
        EXPECT_LE(AudioConvertGetProcessProgress(job), 100u);
    EXPECT_EQ(AudioConvertGetProcessProgress(job), 100u);
    EXPECT_EQ(Await(job), TOLVANE_OK);
    EXPECT_EQ(ReadAll(target_), Expected(kFlipFormat, 40, 200001, Flipped(sound_)));
    PcmConversion* conversion =
        ACMBeginConvertPCMEx(target_.c_str(), folder_.Path("pcm.wav").c_str(), &kPcmTarget);
    ASSERT_NE(conversion, nullptr);
    EXPECT_EQ(Await(conversion), uint32_t{TOLVANE_CONVERSION_DONE});
    EXPECT_EQ(AbortACMConversion(conversion), 0u);
    EXPECT_EQ(Part(ReadAll(folder_.Path("pcm.wav")), 46, 46 + sound_.size()), sound_);
}

TEST_F(ConversionJobs, MayBeLeftAlone) {
    const std::string source = Source(sound_);
    ConvertJob* job = Start(source);
    AudioConvertCloseHandle(&job);  // stops it, if it was not done
    EXPECT_EQ(job, nullptr);
    const std::string other = folder_.Path("other.wav");
    EXPECT_EQ(AudioConvert(0, kNoTag, source.c_str(), other.c_str(), nullptr, 0, nullptr, 0), TOLVANE_OK);
    while (ReadAll(other).empty() || PlatformOpenCodecs())
        std::this_thread::yield();
    EXPECT_EQ(ReadAll(other), Expected(kFlipFormat, 40, 200001, Flipped(sound_)));
    for (int i = 0; i < 500; ++i)  // over before their starter has looked around
        EXPECT_EQ(AudioConvert(5, kNoTag, "x", "y", nullptr, 0, nullptr, 0), TOLVANE_OK);
}

// Relative names are those of the moment of the call, however far the job has come when the folder changes.
TEST_F(ConversionJobs, KeepTheirFolder) {
    namespace fs = std::filesystem;
    const fs::path before = fs::current_path();
    Source(sound_);
    const std::string deep = folder_.MakeFolder(std::string(150, 'd'));
    fs::current_path(folder_.Path());
    codec_.at_work = [&] { fs::current_path(deep); };
    ConvertJob* job = nullptr;
    EXPECT_EQ(AudioConvert(0, kNoTag, "in.wav", "flip.wav", nullptr, 0, &job, 0), TOLVANE_OK);
    EXPECT_EQ(Await(job), TOLVANE_OK);
    EXPECT_EQ(ReadAll(folder_.Path("flip.wav")), Expected(kFlipFormat, 40, 200001, Flipped(sound_)));
    codec_.at_work = [&] { fs::current_path("/"); };
    PcmConversion* conversion = ACMBeginConvertPCMEx("../flip.wav", ".././out.wav", &kPcmTarget);
    EXPECT_EQ(Await(conversion), uint32_t{TOLVANE_CONVERSION_DONE});
    AbortACMConversion(conversion);
    EXPECT_EQ(Part(ReadAll(target_), 46, 46 + sound_.size()), sound_);
    fs::current_path(deep);
    const std::string name(150, 'n');  // itself short enough, not so with its folder
    EXPECT_EQ(AudioConvert(0, kNoTag, name.c_str(), "x", nullptr, 0, &job, 0), TOLVANE_SOURCE_NOT_OPENED);
    EXPECT_EQ(AudioConvert(0, kNoTag, "x", name.c_str(), nullptr, 0, &job, 0), TOLVANE_TARGET_NOT_CREATED);
    EXPECT_EQ(ACMBeginConvertPCMEx("x", name.c_str(), &kPcmTarget), nullptr);
    fs::current_path(before);
}

TEST_F(ConversionJobs, EndWithTheirCode) {
    const std::string source = Source(sound_);
    ConvertJob* job = Start(source, kNoTag, 5);
    while (!AudioConvertProcessIsOver(job))
        std::this_thread::yield();
    EXPECT_EQ(AudioConvertGetProcessProgress(job), 0u);
    EXPECT_EQ(Await(job), TOLVANE_NO_CODEC);
    codec_.fails_at = 2;
    job = Start(source);
    EXPECT_EQ(Await(job), TOLVANE_NOT_CONVERTED);
    PcmConversion* conversion = ACMBeginConvertPCMEx("nowhere.wav", target_.c_str(), &kPcmTarget);
    EXPECT_EQ(Await(conversion), uint32_t{TOLVANE_CONVERSION_FAILED});
    AbortACMConversion(conversion);
    ExpectNothingLeft();
}

TEST_F(ConversionJobs, HandlesThatAreNone) {
    std::vector<uint32_t> other(200, 588 + 1);
    for (ConvertJob* job : {static_cast<ConvertJob*>(nullptr), reinterpret_cast<ConvertJob*>(other.data())}) {
        EXPECT_EQ(AudioConvertCancelPressed(job), 0);
        EXPECT_EQ(AudioConvertProcessIsOver(job), 1u);
        EXPECT_EQ(AudioConvertGetProcessProgress(job), 0u);
        EXPECT_EQ(AudioConvertGetReasonForProcessExit(job), 0);
    }
    EXPECT_EQ(other, std::vector<uint32_t>(200, 589));
    std::vector<uint32_t> record(588 / 4, 250);
    record[0] = 588;
    EXPECT_EQ(AudioConvertGetProcessProgress(reinterpret_cast<ConvertJob*>(record.data())), 100u);
    EXPECT_EQ(std::count(record.begin(), record.end(), 100u), 1) << "lowered in the record";
    ConvertJob* none = nullptr;
    EXPECT_EQ(AudioConvertCloseHandle(&none), 0);
    EXPECT_EQ(AudioConvertCloseHandle(nullptr), 0);
    auto* untouched = reinterpret_cast<ConvertJob*>(other.data());
    EXPECT_EQ(AudioConvert(0, kNoTag, "", "x", nullptr, 0, &untouched, 0), TOLVANE_SOURCE_NOT_OPENED);
    EXPECT_EQ(AudioConvert(0, kNoTag, Source(sound_).c_str(), target_.c_str(), nullptr, 0, &untouched, 1), 0);
    EXPECT_EQ(untouched, reinterpret_cast<ConvertJob*>(other.data()));
    EXPECT_EQ(ACMBeginConvertPCMEx(nullptr, "x", &kPcmTarget), nullptr);
    EXPECT_EQ(ACMBeginConvertPCMEx("x", nullptr, &kPcmTarget), nullptr);
    EXPECT_EQ(ACMBeginConvertPCMEx(std::string(300, 'x').c_str(), "x", &kPcmTarget), nullptr);
    EXPECT_EQ(GetACMStatus(nullptr, nullptr), uint32_t{TOLVANE_CONVERSION_FAILED});
    EXPECT_EQ(AbortACMConversion(nullptr), 0u);
    for (const char* service : {"GetModuleHandleExA", "_beginthreadex"}) {
        const FaultScope fault(service, 1, true);
        untouched = reinterpret_cast<ConvertJob*>(other.data());
        EXPECT_EQ(AudioConvert(0, kNoTag, "x", "y", nullptr, 0, &untouched, 0), TOLVANE_OK);
        EXPECT_EQ(untouched, nullptr) << "no worker that could lose its code";
    }
    const FaultScope fault("_beginthreadex", 1, true);
    EXPECT_EQ(ACMBeginConvertPCMEx("x", "y", &kPcmTarget), nullptr);
}

// Each round stops a conversion after a random time, or lets it be. Rounds: TOLVANE_CANCELS, else few.
TEST_F(ConversionJobs, StopAtAnyMoment) {
    const char* wish = getenv("TOLVANE_CANCELS");
    const int rounds = wish ? atoi(wish) : 300;
    const Bytes sound = Pattern(500000), old = Pattern(100);
    const std::string plain = Source(sound),
                      flipped = folder_.Write("flip.wav", WaveFile(kFlipFormat, sound));
    const Bytes whole = Expected(kFlipFormat, 40, 500000, Flipped(sound));
    std::mt19937 random(1);
    int cancelled = 0, short_ones = 0;
    const auto pause = [&] { std::this_thread::sleep_for(std::chrono::microseconds(random() % 1500)); };
    // An aborted worker may go on for longer than it is waited for; the next round begins when it has gone.
    const size_t threads = Resources::Now().threads;
    const auto wait_for_workers = [&] {
        while (Resources::Now().threads > threads)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    Resources before;
    for (int i = 0; i < rounds; ++i) {
        wait_for_workers();
        if (i == 50) before = Resources::Now();
        watchdog_.At(std::to_string(i));
        WriteFile(target_, old);
        ConvertJob* job = Start(plain);
        pause();
        AudioConvertCancelPressed(job);
        ASSERT_EQ(Await(job), TOLVANE_OK);
        const Bytes now = ReadAll(target_);
        ASSERT_TRUE(now == whole || now == old);
        cancelled += now == old;

        PcmConversion* conversion = ACMBeginConvertPCMEx(flipped.c_str(), target_.c_str(), &kPcmTarget);
        pause();
        ASSERT_EQ(AbortACMConversion(conversion), 0u);
        wait_for_workers();
        const Bytes pcm = ReadAll(target_);
        ASSERT_GE(pcm.size(), 46u);
        const Bytes heard = Part(pcm, 46, pcm.size());
        ASSERT_EQ(Flipped(heard), Part(sound, 0, heard.size()));
        ASSERT_EQ(Part(pcm, 42, 46), Little(heard.size(), 4));
        short_ones += heard.size() < sound.size();
    }
    EXPECT_GT(cancelled, 0);
    EXPECT_GT(short_ones, 0);
    EXPECT_TRUE(NothingLeft(before, 65536));
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("flip.wav", "in.wav", "out.wav"));
    std::cout << rounds << " rounds: " << cancelled << " cancelled, " << short_ones << " cut short\n";
}

}  // namespace
}  // namespace tolvane::test
