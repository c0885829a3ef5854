// Edits, one after the other, on files that may be anything: whatever an edit answers, a file is the old one or a whole
// new one, undo brings back every byte, and nothing is left beside them.
#include <algorithm>
#include <cstring>
#include <iterator>

#include <gmock/gmock.h>

#include "edit/edit_steps.h"
#include "fuzz/input.h"
#include "support/temp_folder.h"
#include "tolvane.h"

using namespace tolvane::test;
using ::testing::AnyOf;

namespace {

constexpr uint32_t kLongestSilence = 1 << 20;  // bytes
constexpr int kStepBytes = 17;                 // what a step reads of its input at most

struct Sound {
    InputFileInfo format = {};
    uint32_t size = 0;
    bool exists = false;

    explicit Sound(const std::string& path) {
        exists = GetInputFileInfo(path.c_str(), &format) == TOLVANE_OK &&
                 GetDataChunkSize(path.c_str(), &size) == TOLVANE_OK;
    }
    uint32_t Down(uint32_t bytes) const {
        return format.nBlockAlign ? bytes - bytes % format.nBlockAlign : bytes;
    }
};

class Edits {
  public:
    explicit Edits(const TempFolder& folder) : folder_(folder) {}

    void Run(Input input) {
        const int steps = input.Byte() % 4 + 1;
        const bool undo = input.Byte() % 4 != 0;
        Bytes program(static_cast<size_t>(steps) * kStepBytes);
        std::generate(program.rbegin(), program.rend(), [&] { return input.Byte(); });
        folder_.Write("x.wav", input.Rest());
        AudioEditSetUndoRedo(undo);
        Input rest(program.data(), program.size());
        for (int i = 0; i < steps; ++i)
            Step(rest, undo);
        AudioFlushCutCopyPasteBuffer();
        for (const std::string& name : folder_.Names())
            std::filesystem::remove(folder_.Path(name));
    }

  private:
    void Step(Input& input, bool undo);
    EditStep Choose(Input& input, const Sound& sound);
    void CheckUndo(const Bytes& before, const Bytes& after) const;
    void CheckResult(const Sound& before) const;

    const TempFolder& folder_;
    const std::string path_ = folder_.Path("x.wav"), other_ = folder_.Path("y.wav"),
                      taken_ = folder_.Path("taken.wav");
    const char* taken_now_ = nullptr;  // of the step
    bool elsewhere_ = false;
    int64_t expected_ = -1;  // bytes of sound of a success, where they are known
};

uint32_t ShortSilence(const Sound& sound, uint32_t value) {
    const uint64_t bytes_a_second = uint64_t{sound.format.nSamplesPerSec} * sound.format.nBlockAlign;
    const uint64_t longest = 1000ull * kLongestSilence / std::max<uint64_t>(bytes_a_second, 1) + 1;
    return static_cast<uint32_t>(value % std::min<uint64_t>(longest, UINT32_MAX));
}

// The expected size is known where the positions are bytes.
EditStep Edits::Choose(Input& input, const Sound& sound) {
    using Kind = EditStep::Kind;
    constexpr struct {
        Kind kind;
        bool clipboard;
    } kKinds[] = {{Kind::kCut, true},   {Kind::kCut, false},   {Kind::kCopy, true},   {Kind::kCopy, false},
                  {Kind::kPaste, true}, {Kind::kPaste, false}, {Kind::kClear, true},  {Kind::kCrop, true},
                  {Kind::kMute, true},  {Kind::kTrim, true},   {Kind::kSilence, true}};
    EditStep step;
    step.unit = static_cast<uint16_t>(input.Byte() % 4);
    step.low = input.Near(sound.size);
    step.high = input.Near(sound.size);
    step.amount = input.Long();
    const auto [kind, clipboard] = kKinds[input.Byte() % std::size(kKinds)];
    step.kind = kind;
    taken_now_ = clipboard                                      ? nullptr
                 : kind == Kind::kPaste && step.amount % 2 == 0 ? path_.c_str()
                                                                : taken_.c_str();
    if (kind == Kind::kPaste && clipboard) elsewhere_ = false;
    const int64_t size = sound.size, selected = int64_t{sound.Down(std::max(step.low, step.high))} -
                                                sound.Down(std::min(step.low, step.high));
    expected_ = kind == Kind::kCut || kind == Kind::kClear ? size - selected
                : kind == Kind::kCrop                      ? selected
                : kind == Kind::kMute                      ? size
                                                           : -1;
    if (step.unit != TOLVANE_BYTES) expected_ = -1;
    if (kind != Kind::kSilence) return step;
    step.amount = ShortSilence(sound, step.amount);
    const uint64_t frames = uint64_t{sound.format.nSamplesPerSec} * step.amount / 1000;
    expected_ = size + static_cast<int64_t>(frames * sound.format.nBlockAlign);
    return step;
}

void Edits::CheckUndo(const Bytes& before, const Bytes& after) const {
    EXPECT_EQ(AudioEditCanUndo(), 1u);
    EXPECT_EQ(AudioEditUndo(), TOLVANE_OK);
    EXPECT_TRUE(ReadAll(path_) == before);
    EXPECT_EQ(AudioEditRedo(), TOLVANE_OK);
    EXPECT_TRUE(ReadAll(path_) == after);
}

void Edits::CheckResult(const Sound& before) const {
    const Sound after(elsewhere_ ? other_ : path_);
    EXPECT_TRUE(after.exists);
    EXPECT_EQ(memcmp(&after.format, &before.format, sizeof after.format), 0);
    if (expected_ >= 0) {
        EXPECT_EQ(after.size, expected_);
    }
}

void Edits::Step(Input& input, bool undo) {
    const uint8_t ways = input.Byte();
    elsewhere_ = ways % 4 == 1;
    const Sound sound(path_);
    const Bytes before = ReadAll(path_), other_before = ReadAll(other_);
    const EditStep step = Choose(input, sound);
    const EditFiles files = {path_.c_str(), taken_now_, elsewhere_ ? other_.c_str() : nullptr};
    const uint16_t result =
        ways / 4 % 4 == 1 ? EditAsJob(step, files, [](EditJob*) {}) : CallEdit(step, files);
    EXPECT_THAT(result, AnyOf(0, 102, 107, 110, 301, 302, 306, 307, 308, 312, 313, 318, 320, 321));
    const bool changes = result == TOLVANE_OK && step.kind != EditStep::Kind::kCopy;
    if (!changes || elsewhere_) {
        EXPECT_TRUE(ReadAll(path_) == before) << result;
    }
    if (!changes || !elsewhere_) {
        EXPECT_TRUE(ReadAll(other_) == other_before) << result;
    }
    if (!changes) return;
    CheckResult(sound);
    if (!undo) {
        EXPECT_EQ(AudioEditUndo(), TOLVANE_UNDO_OFF);
    } else if (!elsewhere_) {
        CheckUndo(before, ReadAll(path_));
    }
    EXPECT_THAT(folder_.Names(), ::testing::Each(AnyOf("x.wav", "y.wav", "taken.wav")));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempFolder folder;
    Edits(folder).Run(Input(data, size));
    return 0;
}
