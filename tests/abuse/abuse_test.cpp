// Every export, with whatever its contract allows, from several threads at once, before, while and after something is
// played and recorded: the answers are documented ones, and afterwards the library plays, records and edits exactly.
#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <set>
#include <thread>

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>

#include "abuse/abuser.h"
#include "support/edit_jobs.h"
#include "support/resources.h"
#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

constexpr uint32_t kThreads = 4;
constexpr Format kFormat{44100, 2, 16};
constexpr size_t kFrames = 20000;

// On whatever card there is; on the virtual one at its real pace, so that a recording does not fill the disk.
class Abuse : public ::testing::Test {
  protected:
    void SetUp() override {
        virtual_ = PlatformUseCard(PLATFORM_CARD_VIRTUAL);
        if (virtual_) UseVirtualCard(PLATFORM_CLOCK_REAL_TIME);
        if (GetNumberOfOutputDevices() == 0 || GetNumberOfInputDevices() == 0)
            GTEST_SKIP() << "there is no output or no input device";
        ASSERT_EQ(LoadEffectFile(Abuser::kLastSlot, TOLVANE_GAIN_EFFECT), 1);
        for (uint32_t seed = 0; seed < kThreads; ++seed)
            abusers_.push_back(std::make_unique<Abuser>(ground_, seed + 1));
    }
    void TearDown() override {
        EndAll();
        PlatformVirtualReset();
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }

    static void UseVirtualCard(PlatformClock clock) {
        EXPECT_TRUE(PlatformVirtualReset());
        PlatformVirtualSetClock(clock);
        PlatformVirtualTone(0, clock == PLATFORM_CLOCK_MOVED ? 0 : 440, 50);
    }

    // Every thread goes through the exports, in an order of its own, at least once and for so long.
    void CallEverything(const char* phase, double seconds, bool with_sound);
    std::pair<uint16_t, uint16_t> PlayAndRecord();
    void EndAll();
    void ExpectWorking();
    void ExpectPlaying();
    void ExpectRecording();
    void ExpectEditing();

    bool virtual_ = false;
    TempFolder folder_;
    const std::string sound_ =
        folder_.Write("kept-sound.wav", WaveFile(kFormat, Pattern(kFormat.Block() * 3000u)));
    Ground ground_{folder_};
    std::vector<std::unique_ptr<Abuser>> abusers_;
    Watchdog watchdog_;
};

void CallAll(Abuser& abuser, uint32_t seed, double seconds, bool with_sound) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    std::mt19937 random(seed);
    std::vector<Export> exports(AllExports().begin(), AllExports().end());
    do {
        std::shuffle(exports.begin(), exports.end(), random);
        for (const Export& each : exports) {
            if (!with_sound && StartsSound(each.name)) continue;
            abuser.now = each.name;
            each.call(abuser);
        }
    } while (std::chrono::steady_clock::now() < end);
}

// Result codes.
std::pair<uint16_t, uint16_t> Abuse::PlayAndRecord() {
    std::string record = folder_.Path("kept.wav");
    SelectOutputDevice(TOLVANE_WAVE_MAPPER), SelectInputDevice(TOLVANE_WAVE_MAPPER);
    return {AudioPlayWaveEx(sound_.c_str(), 0, 0, 0, 1, 0, 1),
            AudioStartRecord(record.data(), 44100, 16, 2, 0)};
}

void Abuse::CallEverything(const char* phase, double seconds, bool with_sound) {
    watchdog_.At(phase);
    if (with_sound) {
        EXPECT_EQ(PlayAndRecord(), (std::pair<uint16_t, uint16_t>{}));
    }
    std::atomic<uint32_t> working = kThreads;
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            CallAll(*abusers_[i], i + 1, seconds, with_sound);
            --working;
        });
    for (; with_sound && working > 0; std::this_thread::sleep_for(std::chrono::milliseconds(40)))
        PlayAndRecord();  // whenever the threads have ended it
    for (std::thread& thread : threads)
        thread.join();
}

// Whatever the threads have chosen and left open is put back.
void Abuse::EndAll() {
    AudioStop();
    AudioStopRecord();
    AudioMixEffectWithRecord("");  // the file of an effect wave stays open until another is named
    for (const auto& abuser : abusers_)
        abuser->CloseJobs();
    for (int32_t slot = 0; slot < 6; ++slot) {
        SetEffectState(slot, 0);
        SetEffectsParameters(slot, nullptr, 0);
    }
    SetVolume(1, 1, 1, 1);
    AudioMute(0);
    AudioSetVolume(100);
    SetTheSource(0);
    AudioSetRecVolume(100);
    SelectOutputDevice(TOLVANE_WAVE_MAPPER);
    SelectInputDevice(TOLVANE_WAVE_MAPPER);
    SetTempPath(std::filesystem::temp_directory_path().string().c_str());
    AudioFlushCutCopyPasteBuffer();
    AudioEditSetUndoRedo(1);
    SetCallbackWindow(nullptr);
}

// Exactly on the virtual card; elsewhere to its end.
void Abuse::ExpectPlaying() {
    HostWindow window;
    const Bytes sound = Pattern(kFrames * kFormat.Block());
    const std::string path = folder_.Write("play.wav", WaveFile(kFormat, sound));
    if (virtual_) UseVirtualCard(PLATFORM_CLOCK_MOVED);
    ASSERT_EQ(AudioPlayWave(path.c_str(), 0, TOLVANE_SAMPLES, 0, 1, 0), TOLVANE_OK);
    for (int i = 0; virtual_ && i < 10; ++i)
        PlatformVirtualAdvance(0, kFrames);
    EXPECT_TRUE(window.AwaitEnd());
    if (!virtual_) return;
    Bytes played(PlatformVirtualPlayed(0, 0, nullptr, 0));
    PlatformVirtualPlayed(0, 0, played.data(), played.size());
    EXPECT_TRUE(played == sound);
}

// Exactly on the virtual card; elsewhere a whole file with something in it.
void Abuse::ExpectRecording() {
    const Bytes sound = Pattern(kFrames * kFormat.Block(), 2);
    std::string path = folder_.Path("record.wav");
    if (virtual_) UseVirtualCard(PLATFORM_CLOCK_MOVED);
    ASSERT_EQ(AudioStartRecord(path.data(), kFormat.rate, kFormat.bits, kFormat.channels, 0), TOLVANE_OK);
    PlatformVirtualFeed(0, sound.data(), sound.size());
    PlatformVirtualAdvanceInput(0, kFrames);
    if (!virtual_) std::this_thread::sleep_for(std::chrono::milliseconds(800));
    AudioStopRecord();
    const Bytes file = ReadAll(path);
    EXPECT_EQ(file, Riff(Part(file, 12, file.size()))) << "as long as it says";
    ASSERT_GT(file.size(), 46u);
    if (virtual_) {
        EXPECT_TRUE(Part(file, 46, file.size()) == sound);
    }
}

void Abuse::ExpectEditing() {
    const Bytes sound = Pattern(kFrames * kFormat.Block(), 3), before = WaveFile(kFormat, sound);
    const std::string path = folder_.Write("edit.wav", before);
    ASSERT_EQ(AudioCut(path.c_str(), 400, 800, TOLVANE_BYTES, nullptr, 1, nullptr), TOLVANE_OK);
    EXPECT_TRUE(ReadAll(path) == WaveFile(kFormat, Part(sound, 0, 400) + Part(sound, 800, sound.size())));
    EditJob* job = nullptr;
    ASSERT_EQ(AudioPaste(path.c_str(), 0, TOLVANE_BYTES, &job, 0), TOLVANE_OK);
    EXPECT_EQ(FinishJob(job), TOLVANE_OK);
    EXPECT_TRUE(ReadAll(path) == WaveFile(kFormat, Part(sound, 400, 800) + Part(sound, 0, 400) +
                                                       Part(sound, 800, sound.size())));
    EXPECT_EQ(AudioEditUndo(), TOLVANE_OK);
    const std::string eight = folder_.Path("eight.wav");
    ASSERT_EQ(AudioChangeFormat(path.c_str(), eight.c_str(), 22050, 8, 1, nullptr, 1), TOLVANE_OK);
    AudioFileInfo info = {};
    EXPECT_EQ(AudioGetFileInfo(&info, eight.c_str(), TOLVANE_SAMPLES, 1), TOLVANE_OK);
    EXPECT_EQ(info.length, (kFrames - 100) / 2);
    const std::string converted = folder_.Path("converted.wav");
    const WAVEFORMATEX wide = {WAVE_FORMAT_PCM, 1, 8000, 16000, 2, 16, 0};
    EXPECT_EQ(ACMAudioConvertFormatPCM(folder_.Path("alaw.wav").c_str(), converted.c_str(), &wide),
              static_cast<uint32_t>(TOLVANE_OK));
    EXPECT_EQ(Part(ReadAll(converted), 46, SIZE_MAX).size(), 1800u);
}

void Abuse::ExpectWorking() {
    watchdog_.At("what works afterwards");
    EndAll();
    ExpectPlaying();
    ExpectRecording();
    ExpectEditing();
    if (virtual_) UseVirtualCard(PLATFORM_CLOCK_REAL_TIME);
}

// The list of exports is the build's own: a new one has to be abused too.
TEST(AbuseOfExports, KnowsThemAll) {
    std::ifstream list(TOLVANE_EXPORT_LIST);
    std::multiset<std::string> listed, called;
    for (std::string word; list >> word;)  // Name=Name@BYTES, one a line
        if (const size_t end = word.find('='); end != word.npos) listed.insert(word.substr(0, end));
    for (const Export& each : AllExports())
        called.insert(each.name);
    EXPECT_EQ(listed.size(), 96u);
    EXPECT_EQ(called, listed);
}

TEST_F(Abuse, LeavesEverythingWorking) {
    CallEverything("before anything is played", 0.3, false);
    CallEverything("while something is played and recorded", 1.5, true);
    EndAll();
    CallEverything("after it", 0.3, false);
    ExpectWorking();
    const Resources before = Resources::WithoutJobs();
    CallEverything("once more", 0.3, true);
    ExpectWorking();
    EXPECT_TRUE(NothingLeft(before, 1 << 20));
}

}  // namespace
}  // namespace tolvane::test
