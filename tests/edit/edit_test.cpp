// What single edits do that random sequences do not reach: every code, files named by the caller, headers, rights, links,
// other volumes, a changed temp folder, the file that is being played, and what is left when a service fails.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include <gmock/gmock.h>

#include "edit/edit_steps.h"
#include "support/edit_jobs.h"
#include "support/faults.h"
#include "support/virtual_card.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

constexpr Format kStereo{44100, 2, 16};
constexpr Format kMono{8000, 1, 8};

class Editing : public testing::Test {
  protected:
    void SetUp() override {
        AudioEditSetUndoRedo(1);
        AudioFlushCutCopyPasteBuffer();
    }
    void TearDown() override { SetTempPath(testing::TempDir().c_str()); }

    const char* File(const Bytes& bytes) { return (path_ = folder_.Write("x.wav", bytes)).c_str(); }
    const char* Mono(const Bytes& sound) { return File(WaveFile(kMono, sound)); }
    static uint16_t Clear(const char* path, uint32_t from, uint32_t to, const char* destination = nullptr) {
        return AudioClear(path, from, to, TOLVANE_BYTES, nullptr, 1, destination);
    }

    TempFolder folder_;
    std::string path_;
    const Bytes sound_ = Pattern(1000);
};

TEST_F(Editing, RefusesNames) {
    EditJob* job = reinterpret_cast<EditJob*>(this);
    const std::string too_long(300, 'x'), relative(250, 'x');  // too long with the current folder before it
    AudioPlayWave("", 0, 0, 0, 0, 0);
    for (const uint32_t wait : {0u, 1u}) {
        for (const std::string& path : {folder_.Path("none.wav"), too_long, folder_.Path()})
            EXPECT_EQ(AudioClear(path.c_str(), 0, 9, 2, &job, wait, nullptr), TOLVANE_CANNOT_OPEN);
        EXPECT_EQ(AudioClear(Mono(sound_), 0, 9, 2, &job, wait, too_long.c_str()), TOLVANE_NOT_PUT_IN_PLACE);
        for (const char* path : {static_cast<const char*>(nullptr), "", too_long.c_str(), relative.c_str()}) {
            EXPECT_EQ(AudioCutInFile(Mono(sound_), 0, 9, 2, &job, wait, path, nullptr),
                      TOLVANE_EDIT_NOT_WRITTEN);
            EXPECT_EQ(AudioCopyInFile(Mono(sound_), 0, 9, 2, &job, wait, path), TOLVANE_EDIT_NOT_WRITTEN);
        }
        EXPECT_EQ(job, reinterpret_cast<EditJob*>(this));
    }
}

TEST_F(Editing, RefusesWhatItCannotKeepWhole) {
    const Bytes format = Chunk("fmt ", FormatRecord(kMono)), data = Chunk("data", sound_);
    const struct {
        const char* what;
        Bytes file;
        uint16_t code;
    } cases[] = {
        {"empty", {}, TOLVANE_CANNOT_OPEN},
        {"no wave file", Pattern(500), TOLVANE_EDIT_NOT_PCM},
        {"compressed", WaveFile({8000, 1, 8, 7}, sound_), TOLVANE_EDIT_NOT_PCM},
        {"sound that breaks off", Riff(format + Chunk("data", sound_, 2000)), TOLVANE_EDIT_NOT_WRITTEN},
        {"format behind the sound", Riff(data + format), TOLVANE_EDIT_NOT_WRITTEN},
        {"no sound chunk", Riff(format), TOLVANE_NO_DATA},
        {"no channels", WaveFile({8000, 0, 8}, sound_), TOLVANE_CANNOT_OPEN}};
    for (const auto& one : cases) {
        EXPECT_EQ(Clear(File(one.file), 0, 10), one.code) << one.what;
        EXPECT_EQ(ReadAll(path_), one.file) << one.what;
        EXPECT_EQ(AudioEditUndo(), TOLVANE_NOTHING_TO_UNDO) << one.what;
    }
    EXPECT_EQ(AudioInsertSilence(Mono(sound_), 0, 0, nullptr, 1, 0xFFFFFFFF, nullptr),
              TOLVANE_EDIT_NOT_WRITTEN)
        << "fifty days of silence";
    EXPECT_EQ(ReadAll(path_), WaveFile(kMono, sound_));
}

TEST_F(Editing, KeepsTheChunksBeforeTheSoundWhateverTheirSize) {
    for (const size_t size : {0, 1, 65519, 65520, 65521, 300001}) {
        const Bytes head =
            Chunk("bext", Pattern(size)) + Chunk("fmt ", FormatRecord(kMono)) + Chunk("fact", Bytes(4));
        ASSERT_EQ(Clear(File(Riff(head + Chunk("data", sound_) + Chunk("LIST", Bytes(20)))), 0, 10),
                  TOLVANE_OK);
        EXPECT_EQ(ReadAll(path_), Riff(head + Chunk("data", Part(sound_, 10, 1000)))) << size;
    }
}

TEST_F(Editing, PastesAtBlockBordersOnce) {
    const Bytes sound = Pattern(3 * 65520), clip = Pattern(70000, 5);
    const std::string paste = folder_.Write("clip.wav", WaveFile(kMono, clip));
    for (const uint32_t at : {0u, 1u, 65519u, 65520u, 65521u, 131040u, 3 * 65520u}) {
        ASSERT_EQ(AudioPasteEx(Mono(sound), at, 2, nullptr, 1, paste.c_str(), nullptr), TOLVANE_OK);
        EXPECT_EQ(ReadAll(path_), WaveFile(kMono, Part(sound, 0, at) + clip + Part(sound, at, sound.size())))
            << at;
    }
    EXPECT_EQ(AudioPasteEx(Mono(sound), 3 * 65520 + 1, 2, nullptr, 1, paste.c_str(), nullptr),
              TOLVANE_BEYOND_END);
    const struct {
        const char* what;
        Bytes file;
        uint16_t code;
    } cases[] = {{"another rate", WaveFile({11025, 1, 8}, clip), TOLVANE_PASTE_NOT_FITTING},
                 {"another size", WaveFile({8000, 1, 16}, clip), TOLVANE_PASTE_NOT_FITTING},
                 {"more channels", WaveFile({8000, 2, 8}, clip), TOLVANE_PASTE_NOT_FITTING},
                 {"no sound", WaveFile(kMono, {}), TOLVANE_PASTE_NOT_FITTING},
                 {"compressed", WaveFile({8000, 1, 8, 7}, clip), TOLVANE_PASTE_NOT_FITTING},
                 {"no wave file", Pattern(50), TOLVANE_PASTE_NOT_FITTING},
                 {"breaks off", Riff(Chunk("fmt ", FormatRecord(kMono)) + Chunk("data", clip, 80000)),
                  TOLVANE_EDIT_NOT_WRITTEN},
                 {"empty", {}, TOLVANE_NOTHING_TO_PASTE}};
    for (const auto& one : cases) {
        folder_.Write("clip.wav", one.file);
        EXPECT_EQ(AudioPasteEx(Mono(sound), 0, 2, nullptr, 1, paste.c_str(), nullptr), one.code) << one.what;
        EXPECT_EQ(ReadAll(path_), WaveFile(kMono, sound)) << one.what;
    }
    Mono(sound);
    EXPECT_EQ(AudioPasteEx(path_.c_str(), 65520, 2, nullptr, 1, path_.c_str(), nullptr), TOLVANE_OK)
        << "into itself";
    EXPECT_EQ(ReadAll(path_),
              WaveFile(kMono, Part(sound, 0, 65520) + sound + Part(sound, 65520, sound.size())));
}

TEST_F(Editing, WritesToFilesOfTheCaller) {
    const std::string cut = folder_.Path("cut.wav"), result = folder_.Path("result.wav");
    const Bytes whole = WaveFile(kMono, sound_);
    ASSERT_EQ(AudioCutInFile(Mono(sound_), 100, 300, 2, nullptr, 1, cut.c_str(), result.c_str()), TOLVANE_OK);
    EXPECT_EQ(ReadAll(path_), whole);
    EXPECT_EQ(ReadAll(cut), WaveFile(kMono, Part(sound_, 100, 300)));
    EXPECT_EQ(ReadAll(result), WaveFile(kMono, Part(sound_, 0, 100) + Part(sound_, 300, 1000)));
    EXPECT_EQ(AudioEditCanPaste(), 0u);
    ASSERT_EQ(AudioEditUndo(), TOLVANE_OK);
    EXPECT_EQ(ReadAll(path_), whole) << "undo acts on the file, not on the destination";
    EXPECT_EQ(ReadAll(result).size(), whole.size() - 200);
    ASSERT_EQ(AudioCopyInFile(path_.c_str(), 7, 0, 2, nullptr, 1, cut.c_str()), TOLVANE_OK);
    EXPECT_EQ(ReadAll(cut), WaveFile(kMono, Part(sound_, 0, 7)));

    const char* path = path_.c_str();
    EXPECT_EQ(AudioCutInFile(path, 0, 9, 2, nullptr, 1, path, nullptr), TOLVANE_EDIT_NOT_WRITTEN);
    EXPECT_EQ(AudioCopyInFile(path, 0, 9, 2, nullptr, 1, path), TOLVANE_EDIT_NOT_WRITTEN);
    EXPECT_EQ(AudioCutInFile(path, 0, 9, 2, nullptr, 1, cut.c_str(), cut.c_str()), TOLVANE_EDIT_NOT_WRITTEN);
    EXPECT_EQ(AudioCopyInFile(path, 0, 9, 2, nullptr, 1, folder_.Path("no/x.wav").c_str()),
              TOLVANE_EDIT_NOT_WRITTEN);
    EXPECT_EQ(Clear(path, 0, 9, folder_.Path("no/x.wav").c_str()), TOLVANE_NOT_PUT_IN_PLACE);
    EXPECT_EQ(Clear(path, 0, 9, folder_.Path().c_str()), TOLVANE_NOT_PUT_IN_PLACE);
    EXPECT_EQ(ReadAll(path_), whole);
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("cut.wav", "result.wav", "x.wav"));
}

TEST_F(Editing, MeansTheFileThatTheNameMeantAtFirst) {
    const auto here = std::filesystem::current_path();
    const Bytes sound = Pattern(2000000);
    Mono(sound);
    const std::string other = folder_.MakeFolder("other");
    std::filesystem::current_path(folder_.Path());
    EditJob* job = nullptr;
    EXPECT_EQ(AudioClear("x.wav", 0, 1000000, 2, &job, 0, "result.wav"), TOLVANE_OK);
    std::filesystem::current_path(other);
    EXPECT_EQ(AwaitEdit(job), TOLVANE_OK);
    EXPECT_EQ(ReadAll(folder_.Path("result.wav")).size(), 44u + 1000000);
    std::filesystem::current_path(folder_.Path());
    EXPECT_EQ(Clear("x.wav", 0, 1000000), TOLVANE_OK);
    std::filesystem::current_path(here);
    EXPECT_EQ(AudioEditUndo(), TOLVANE_OK);
    EXPECT_EQ(ReadAll(path_).size(), 44u + 2000000);
}

TEST_F(Editing, UndoKnowsWhatBelongsToTheLastEdit) {
    const std::string other = folder_.Write("other.wav", WaveFile(kMono, Pattern(500, 3)));
    ASSERT_EQ(Clear(Mono(sound_), 0, 10), TOLVANE_OK);
    AudioEditSetUndoRedo(0);
    ASSERT_EQ(Clear(other.c_str(), 0, 10), TOLVANE_OK);
    AudioEditSetUndoRedo(1);
    EXPECT_EQ(AudioEditCanUndo(), 0u) << "that copy was another file's";
    EXPECT_EQ(AudioEditUndo(), TOLVANE_NOTHING_TO_UNDO);
    EXPECT_EQ(ReadAll(other).size(), 44u + 490);
    ASSERT_EQ(Clear(other.c_str(), 0, 10), TOLVANE_OK);
    std::filesystem::remove(other);
    EXPECT_EQ(AudioEditUndo(), TOLVANE_NO_REDO_COPY);
}

TEST_F(Editing, SilencesWhatTheMaskNames) {
    for (const Format& format : {Format{8000, 1, 8}, Format{8000, 2, 8}, Format{8000, 2, 16},
                                 Format{8000, 6, 16}, Format{8000, 2, 24}}) {
        for (const uint32_t mask : {0u, 1u, 2u, 3u, 0x20u, 0xFFFFFFFFu}) {
            const size_t frame = format.Block();
            const Bytes sound = Pattern(40000 * frame);
            Bytes expected = sound;
            for (size_t at = 3 * frame; format.bits != 24 && at < 39000 * frame; ++at)
                if (mask >> at % frame / (format.bits / 8) & 1) expected[at] = format.bits == 8 ? 128 : 0;
            const char* path = File(WaveFile(format, sound));
            ASSERT_EQ(AudioEditMute(path, 39000, 3, 1, nullptr, 1, mask, nullptr), TOLVANE_OK);
            EXPECT_TRUE(ReadAll(path) == WaveFile(format, expected)) << format.channels << " " << mask;
        }
    }
}

#ifndef _WIN32
TEST_F(Editing, KeepsRightsAndLinksOnAnyVolume) {
    const bool in_memory = folder_.Path().starts_with("/dev/shm");
    const std::string other_volume =
        (in_memory ? "/var/tmp/tolvane-" : "/dev/shm/tolvane-") + std::to_string(getpid());
    std::filesystem::create_directory(other_volume);
    for (const std::string& temp : {folder_.Path(), other_volume}) {
        ASSERT_EQ(SetTempPath(temp.c_str()), 0u);
        const std::string link = folder_.Path("link.wav");
        chmod(Mono(sound_), 0640);
        std::filesystem::remove(link);
        std::filesystem::create_symlink(path_, link);
        ASSERT_EQ(Clear(link.c_str(), 0, 10), TOLVANE_OK);
        EXPECT_TRUE(std::filesystem::is_symlink(link));
        EXPECT_EQ(ReadAll(path_), WaveFile(kMono, Part(sound_, 10, 1000)));
        struct stat status;
        for (const std::string& name : NamesIn(temp)) {
            if (!name.starts_with("VM")) continue;
            ASSERT_EQ(stat((temp + "/" + name).c_str(), &status), 0);
            EXPECT_EQ(status.st_mode & 0077, 0u)
                << name << ": what was kept for undo is nobody else's to read";
        }
        ASSERT_EQ(AudioEditUndo(), TOLVANE_OK);
        EXPECT_TRUE(std::filesystem::is_symlink(link));
        ASSERT_EQ(stat(path_.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0640u);
        const std::string fresh = folder_.Path("fresh.wav");
        std::filesystem::remove(fresh);
        ASSERT_EQ(Clear(path_.c_str(), 0, 10, fresh.c_str()), TOLVANE_OK);
        const mode_t mask = umask(0);
        umask(mask);
        ASSERT_EQ(stat(fresh.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0666u & ~mask);
    }
    SetTempPath(testing::TempDir().c_str());
    std::filesystem::remove_all(other_volume);
}

// Under a second name a file may be written by who knows nothing of the edit.
TEST_F(Editing, UndoIsNoOtherNamesFile) {
    const std::string other = folder_.Path("other.wav");
    std::filesystem::create_hard_link(Mono(sound_), other);
    const Bytes old = ReadAll(path_);
    ASSERT_EQ(Clear(path_.c_str(), 0, 10), TOLVANE_OK);
    EXPECT_EQ(ReadAll(other), old);
    WriteFile(other, Bytes(5));
    ASSERT_EQ(AudioEditUndo(), TOLVANE_OK);
    EXPECT_EQ(ReadAll(path_), old);
}
#endif

TEST_F(Editing, SurvivesAChangedTempFolder) {
    const std::string old_folder = folder_.MakeFolder("old"), new_folder = folder_.MakeFolder("new");
    const Bytes sound = Pattern(4000000);
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(SetTempPath(old_folder.c_str()), 0u);
        EditJob* job = nullptr;
        ASSERT_EQ(AudioCut(Mono(sound), 0, 2000000, 2, &job, 0, nullptr), TOLVANE_OK);
        std::this_thread::sleep_for(std::chrono::microseconds(i * 300));
        ASSERT_EQ(SetTempPath(new_folder.c_str()), 0u);
        const uint16_t reason = AwaitEdit(job);
        const Bytes expected =
            WaveFile(kMono, reason == TOLVANE_OK ? Part(sound, 2000000, sound.size()) : sound);
        ASSERT_TRUE(ReadAll(path_) == expected) << reason;
        EXPECT_EQ(NamesIn(old_folder).size(), 0u) << i;
        EXPECT_GE(NamesIn(new_folder).size(), 4u)
            << "all but the work file of an edit that began after the change";
    }
}

// What the playback has to say about a file that is edited.
using EditingWhatPlays = Playing;

TEST_F(EditingWhatPlays, RefusesTheFileThatPlaysAndEditsALoadedOne) {
    const auto clear = [](const char* path) {
        return AudioClear(path, 10000, 50000, 1, nullptr, 1, nullptr);
    };
    Make(kStereo, 50000);
    AudioEditSetUndoRedo(1);
    ASSERT_EQ(Play(), TOLVANE_OK);
    EXPECT_EQ(clear(path_.c_str()), TOLVANE_FILE_IS_PLAYING);
    EXPECT_EQ(clear(""), TOLVANE_FILE_IS_PLAYING);
    AudioStop();
    PlatformVirtualClearPlayed(0);
    ASSERT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_OK);
    ASSERT_EQ(clear(""), TOLVANE_OK);
    ASSERT_EQ(AudioPlayCurrentFile(0, 1), TOLVANE_OK);
    PlayOut();
    EXPECT_TRUE(Heard({{0, 10000}}));
    ASSERT_EQ(AudioLoadFile(path_.c_str()), TOLVANE_OK);
    ASSERT_EQ(AudioEditUndo(), TOLVANE_OK);
    {
        const FaultScope unreadable("mmioOpenA", 1);
        EXPECT_EQ(AudioPlayCurrentFile(40000, 1), TOLVANE_CANNOT_OPEN);
    }
    ASSERT_EQ(AudioPlayCurrentFile(40000, 1), TOLVANE_OK) << "the call can be repeated";
    PlayOut();
    EXPECT_TRUE(Heard({{0, 10000}, {40000, 50000}}));
    EXPECT_EQ(AudioPlayCurrentFile(0, 1), TOLVANE_CANNOT_OPEN) << "it is loaded no more";
}

TEST_F(EditingWhatPlays, WorksOnTheCopyOfACompressedFile) {
    AudioEditSetUndoRedo(1);
    const Bytes compressed = WaveFile({8000, 1, 8, 7}, Bytes(20000, 0x12));
    const std::string path = folder_.Write("mulaw.wav", compressed);
    const std::string other = folder_.Write("other.wav", WaveFile({8000, 1, 8, 7}, Bytes(3000, 0x12)));
    const auto clear = [&] { return AudioClear(path.c_str(), 0, 10000, 1, nullptr, 1, nullptr); };
    const auto heard = [this](const std::string& file) {
        PlatformVirtualClearPlayed(0);
        EXPECT_EQ(AudioPlayWave(file.c_str(), 0, 0, 0, 1, 0), TOLVANE_OK);
        PlayOut();
        return PlayedBytes().size();
    };
    EXPECT_EQ(clear(), TOLVANE_EDIT_NOT_PCM);
    const size_t whole = heard(path);
    ASSERT_EQ(clear(), TOLVANE_OK);
    EXPECT_EQ(ReadAll(path), compressed);
    EXPECT_EQ(heard(path), whole / 2);
    ASSERT_EQ(AudioEditUndo(), TOLVANE_OK);
    EXPECT_EQ(AudioFlushCutCopyPasteBuffer(), 0);
    EXPECT_EQ(heard(path), whole) << "the flush keeps the copy";
    ASSERT_EQ(clear(), TOLVANE_OK);
    heard(other);
    EXPECT_EQ(AudioEditUndo(), TOLVANE_NOTHING_TO_UNDO) << "the copy is the other file's";
}

// Whatever service fails, at whatever call, once or from then on: the file is the old one or the new one, the code says
// which, nothing leaks, and the next edit works.
class EditFaults : public Editing {
  protected:
    void SetUp() override {
        if (!FaultsAvailable()) GTEST_SKIP() << "services cannot be made to fail here";
        Editing::SetUp();
        folder_.Write("clip.wav", WaveFile(kMono, clip_));
        Mono(sound_);
    }
    void Sweep(
        const char* name, const std::function<uint16_t()>& edit, const Bytes& edited,
        const Step& prepare = [] {}) {
        const Bytes old = WaveFile(kMono, sound_), fresh = WaveFile(kMono, edited);
        uint16_t result = 0;
        const auto check = [&] {
            const Bytes now = ReadAll(path_);
            EXPECT_TRUE(now == (result == TOLVANE_OK ? fresh : old)) << name << " " << result;
            EXPECT_LE(folder_.Names().size(), 3u);
            Mono(sound_);
            AudioEditSetUndoRedo(1);
            ASSERT_EQ(Clear(path_.c_str(), 0, 10), TOLVANE_OK) << name << " " << result;
            ASSERT_EQ(AudioEditUndo(), TOLVANE_OK);
            EXPECT_TRUE(ReadAll(path_) == old);
        };
        FailEachCall(
            name, [&] { result = edit(); }, check,
            [&] {
                Mono(sound_);
                prepare();
            },
            32768);
    }
    // One of the edits, on 500 of the 1000 frames.
    void Sweep(const char* name, EditStep::Kind kind, uint32_t amount = 0, const char* taken = nullptr) {
        EditStep step;
        step.kind = kind;
        step.low = 100;
        step.high = 600;
        step.amount = amount;
        const bool inserts = kind == EditStep::Kind::kPaste || kind == EditStep::Kind::kSilence;
        const Bytes edited = Edited(step, kMono, sound_, {100, inserts ? 100u : 600u}, clip_);
        Sweep(
            name,
            [&] {
                return CallEdit(step, {path_.c_str(), taken, nullptr});
            },
            edited);
    }

    const Bytes clip_ = Pattern(300, 9);
};

TEST_F(EditFaults, LeaveTheOldFileOrTheNewOne) {
    using Kind = EditStep::Kind;
    const std::string clip = folder_.Path("clip.wav"), cut = folder_.Path("cut.wav");
    Sweep("clear", Kind::kClear);
    Sweep(
        "clear elsewhere", [&] { return Clear(path_.c_str(), 100, 600, cut.c_str()); }, sound_);
    Sweep("crop", Kind::kCrop);
    Sweep("cut", Kind::kCut, 0, cut.c_str());
    Sweep("cut to the clipboard", Kind::kCut);
    Sweep("copy", Kind::kCopy, 0, cut.c_str());
    Sweep("paste", Kind::kPaste, 0, clip.c_str());
    Sweep("mute", Kind::kMute, 1);
    Sweep("insert silence", Kind::kSilence, 10);
    Sweep("trim", Kind::kTrim, 9000);
    const auto clear_what_is_put_before = [this] {
        ASSERT_EQ(Clear(Mono(clip_ + sound_), 0, 300), TOLVANE_OK);
    };
    Sweep("undo", AudioEditUndo, clip_ + sound_, clear_what_is_put_before);
    Sweep("redo", AudioEditRedo, Part(sound_, 600, 1000), [&] {
        ASSERT_EQ(Clear(Mono(sound_), 0, 600), TOLVANE_OK);
        ASSERT_EQ(AudioEditUndo(), TOLVANE_OK);
    });
}

}  // namespace
}  // namespace tolvane::test
