// A program that edits is killed at random moments: every file is what it was before the step or what it is after it,
// byte for byte, and nothing lies about but scratch files.
#include <gtest/gtest.h>

#ifdef _WIN32
TEST(Killed, LeaveTheOldFileOrTheNewOne) {
    GTEST_SKIP() << "a process is not ended from outside at random moments";
}
#else

#include <unistd.h>

#include <iostream>

#include "edit/killed_steps.h"
#include "support/victim.h"

namespace tolvane::test {
namespace {

using Kind = EditStep::Kind;

// The files of the program in memory: only their sound, since nothing else is in them.
class Model {
  public:
    explicit Model(const Format& format) : format_(format), frame_(format.Block()) {}

    Bytes file, taken, out, undo, redo;

    uint32_t Frames() const { return static_cast<uint32_t>(file.size() / frame_); }
    void Apply(const EditStep& step);

  private:
    Format format_;
    size_t frame_;
    bool can_undo_ = false, can_redo_ = false;
};

void Model::Apply(const EditStep& step) {
    const Selection part = {step.low * frame_, step.high * frame_};
    if (step.kind == Kind::kCopy || (step.kind == Kind::kCut && EditSteps::TakesIntoFile(step)))
        taken = Part(file, part.low, part.high);
    if (step.kind == Kind::kCopy) return;
    if (step.kind == Kind::kUndo || step.kind == Kind::kRedo) {
        const bool undoes = step.kind == Kind::kUndo;
        if (!step.undo_on || !(undoes ? can_undo_ : can_redo_)) return;
        if (undoes) redo = file;
        can_redo_ = true;
        file = undoes ? undo : redo;
        return;
    }
    Bytes changed = Edited(step, format_, file, part, taken);
    can_undo_ = step.undo_on;
    can_redo_ = false;
    if (step.undo_on) undo = file;
    (step.elsewhere ? out : file) = std::move(changed);
}

std::string OtherVolume() {
    const bool in_memory = std::filesystem::temp_directory_path().string().starts_with("/dev/shm");
    return (in_memory ? "/var/tmp/tolvane-killed-" : "/dev/shm/tolvane-killed-") + std::to_string(getpid());
}

class Killed : public testing::Test {
  protected:
    Killed() { std::filesystem::create_directory(other_volume_); }
    ~Killed() override { std::filesystem::remove_all(other_volume_); }

    void Once(uint32_t seed, bool other_volume);
    void CheckFiles(const TempFolder& folder, const Format& format, const Model& old, const Model& fresh);
    void CheckLeftovers(const TempFolder& folder, const std::string& temp, bool other_volume,
                        const EditStep& last);

    const std::string other_volume_ = OtherVolume();
    std::mt19937 random_{std::random_device{}()};
    int old_ = 0, fresh_ = 0, beside_ = 0, unfinished_ = 0;
    size_t steps_ = 0;
};

void Killed::CheckFiles(const TempFolder& folder, const Format& format, const Model& old,
                        const Model& fresh) {
    const struct {
        const char* name;
        const Bytes Model::*sound;
    } files[] = {{"x.wav", &Model::file}, {"taken.wav", &Model::taken}, {"out.wav", &Model::out}};
    bool is_fresh[3] = {};
    for (int i = 0; i < 3; ++i) {
        const Bytes now = ReadAll(folder.Path(files[i].name));
        const Bytes &before = old.*files[i].sound, &after = fresh.*files[i].sound;
        is_fresh[i] = now == WaveFile(format, after);
        ASSERT_TRUE(is_fresh[i] || now == WaveFile(format, before)) << files[i].name;
        if (before == after) continue;
        (is_fresh[i] ? fresh_ : old_) += 1;
    }
    EXPECT_TRUE(is_fresh[1] || (old.file == fresh.file || !is_fresh[0])) << "cut, and in neither file";
}

// Beside the destination lies nothing but what is brought from another volume or written for a name of the caller's.
void Killed::CheckLeftovers(const TempFolder& folder, const std::string& temp, bool other_volume,
                            const EditStep& last) {
    const bool taken = last.kind == Kind::kCut || last.kind == Kind::kCopy;
    for (const std::string& name : folder.Names()) {
        if (name == "x.wav" || name == "taken.wav" || name == "out.wav" || name == "steps" || name == "temp")
            continue;
        ++beside_;
        EXPECT_TRUE(name.starts_with("VMN") && (other_volume || taken)) << name;
    }
    for (const std::string& name : NamesIn(temp)) {
        EXPECT_TRUE(name.starts_with("VM") && std::string("XEURCN").find(name[2]) != std::string::npos)
            << name;
        const std::filesystem::path path = std::filesystem::path(temp) / name;
        unfinished_ += name[2] == 'E' && std::filesystem::file_size(path) > 0;
        std::filesystem::remove(path);
    }
}

void Killed::Once(uint32_t seed, bool other_volume) {
    const TempFolder folder;
    const std::string temp = other_volume ? other_volume_ : folder.MakeFolder("temp");
    EditSteps steps(seed);
    const Format format = steps.FileFormat();
    Model model(format);
    model.file = Pattern(steps.FirstFrames() * format.Block(), seed);
    model.taken = model.out = Pattern(100 * format.Block(), seed + 1);
    folder.Write("x.wav", WaveFile(format, model.file));
    folder.Write("taken.wav", WaveFile(format, model.taken));
    folder.Write("out.wav", WaveFile(format, model.out));
    const Victim victim({TOLVANE_KILLED_PROGRAM, folder.Path(), temp, std::to_string(seed)});
    ASSERT_TRUE(victim.KillAfterAStep(folder.Path("steps"), random_));
    const size_t announced = std::filesystem::file_size(folder.Path("steps"));
    Model old = model;
    EditStep step = {};
    for (size_t i = 0; i < announced; ++i) {
        step = steps.Next(model.Frames());
        if (i + 1 == announced) old = model;
        model.Apply(step);
    }
    steps_ += announced;
    CheckFiles(folder, format, old, model);
    CheckLeftovers(folder, temp, other_volume, step);
}

TEST_F(Killed, LeaveTheOldFileOrTheNewOne) {
    const int kills = ForKills(200, [this](uint32_t seed, int i) { Once(seed, i % 4 == 3); });
    EXPECT_GT(old_, kills / 10);
    EXPECT_GT(fresh_, 0);
    EXPECT_GT(unfinished_, kills / 50);
    std::cout << kills << " kills in " << steps_ << " edits: " << old_ << " files of the edit in flight old, "
              << fresh_ << " new; " << unfinished_ << " unfinished work files, " << beside_
              << " files beside a destination\n";
}

}  // namespace
}  // namespace tolvane::test
#endif
