// Random sequences of all edits, undo and redo, in every unit, here and as jobs, cancelled at random moments, beside a
// model that holds the files in memory: the bytes of every file and every answer are the same.
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "edit/edit_steps.h"
#include "support/resources.h"
#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

using Kind = EditStep::Kind;

// A wave file in memory: the chunks before the sound, the sound, and what follows it.
struct Sound {
    Format format;
    Bytes head, data, tail;

    Bytes File() const { return Riff(head + Chunk("data", data) + tail); }
    size_t Frame() const { return format.Block(); }
};

struct Model {
    std::vector<Sound> files;
    std::optional<Sound> clipboard;
    bool undo_on = true;
    int last_edited = -1;
    std::optional<Sound> undo, redo;
    bool undo_fits = false, redo_fits = false;
};

class RandomEdits : public testing::Test {
  protected:
    void SetUp() override {
        AudioEditSetUndoRedo(1);
        AudioFlushCutCopyPasteBuffer();
        for (const Format& format : kFormats) {
            Sound sound{
                format, Chunk("fmt ", FormatRecord(format)), Pattern(format.Block() * 400u, format.rate), {}};
            if (Chance(2))
                sound.head = Chunk("LIST", Pattern(Any(300))) + sound.head + Chunk("fact", Bytes(4, 9));
            sound.tail = Chunk("cue ", Pattern(7));
            paths_.push_back(folder_.Write(std::to_string(paths_.size()) + ".wav", sound.File()));
            model_.files.push_back(sound);
        }
    }

    size_t Any(size_t below) { return below ? random_() % below : 0; }
    bool Chance(int one_in) { return Any(static_cast<size_t>(one_in)) == 0; }

    // A place in the sound or a little behind it, as a host names it, and as it is in bytes.
    struct Place {
        uint32_t position;
        size_t bytes;
    };
    Place AnyPlace(const Sound& sound, uint16_t unit) {
        const size_t frames = sound.data.size() / sound.Frame();
        const size_t target = Chance(10) ? 0 : Chance(10) ? frames : Any(frames + 2 + frames / 20);
        if (unit == TOLVANE_SAMPLES) return {static_cast<uint32_t>(target), target * sound.Frame()};
        if (unit == TOLVANE_BYTES) {
            const size_t odd = Any(sound.Frame());
            return {static_cast<uint32_t>(target * sound.Frame() + odd), target * sound.Frame()};
        }
        const size_t milliseconds = target * 1000 / sound.format.rate;
        return {static_cast<uint32_t>(milliseconds), milliseconds * sound.format.rate / 1000 * sound.Frame()};
    }

    // Here or as a job, which is sometimes cancelled.
    uint16_t Do(const EditStep& step, const EditFiles& files) {
        if (!Chance(4)) return CallEdit(step, files);
        const uint16_t reason = EditAsJob(step, files, [this](EditJob* job) {
            if (Chance(2)) return;
            const auto pause = std::chrono::microseconds(Any(200));
            if (Chance(2)) std::this_thread::sleep_for(pause);
            AudioEditCancelPressed(job);
        });
        cancelled_ += reason == TOLVANE_CANCELLED;
        return reason;
    }

    void Step();
    void Edit();
    EditStep::Kind AnyKind(size_t size);
    uint16_t Refusal(EditStep::Kind kind, const Sound& sound, Selection part) const;
    void Modify(size_t index, const EditStep& step, Selection part);
    void UndoOrRedo();
    void Check(size_t index) { ASSERT_TRUE(ReadAll(paths_[index]) == model_.files[index].File()); }

    static constexpr Format kFormats[] = {
        {8000, 1, 8}, {48000, 2, 16}, {16000, 3, 16}, {16000, 1, 16}, {48000, 2, 16}};
    std::mt19937 random_{7};
    TempFolder folder_;
    std::vector<std::string> paths_;
    Model model_;
    int cancelled_ = 0, done_ = 0, refused_ = 0;
    Watchdog watchdog_;
};

// Not every crop, and no more than a file of some size.
EditStep::Kind RandomEdits::AnyKind(size_t size) {
    const auto kind = static_cast<Kind>(Any(static_cast<size_t>(Kind::kSilence) + 1));
    return size > 150000 || (kind == Kind::kCrop && !Chance(4)) ? Kind::kClear : kind;
}

// The code with which a step is refused, or 0.
uint16_t RandomEdits::Refusal(Kind kind, const Sound& sound, Selection part) const {
    if (kind != Kind::kPaste && kind != Kind::kSilence && part.low == part.high)
        return kind == Kind::kCut    ? TOLVANE_NOTHING_TO_CUT
               : kind == Kind::kCopy ? TOLVANE_NOTHING_TO_COPY
               : kind == Kind::kCrop ? TOLVANE_NOTHING_TO_CROP
                                     : TOLVANE_NOTHING_SELECTED;
    if (part.high > sound.data.size()) return TOLVANE_BEYOND_END;
    if (kind != Kind::kPaste) return TOLVANE_OK;
    const auto& clip = model_.clipboard;
    if (!clip) return TOLVANE_NOTHING_TO_PASTE;
    const bool fits = !clip->data.empty() && clip->format.rate == sound.format.rate &&
                      clip->format.channels == sound.format.channels && clip->Frame() == sound.Frame();
    return fits ? TOLVANE_OK : TOLVANE_PASTE_NOT_FITTING;
}

void RandomEdits::Modify(size_t index, const EditStep& step, Selection part) {
    Sound& sound = model_.files[index];
    model_.undo.reset();
    if (model_.undo_on) model_.undo = sound;
    model_.undo_fits = model_.undo_on;
    model_.redo.reset();
    model_.redo_fits = false;
    model_.last_edited = static_cast<int>(index);
    sound.data =
        Edited(step, sound.format, sound.data, part, model_.clipboard ? model_.clipboard->data : Bytes());
    sound.tail.clear();
}

void RandomEdits::Edit() {
    const size_t index = Any(paths_.size());
    const Sound& sound = model_.files[index];
    EditStep step;
    step.kind = AnyKind(sound.data.size());
    step.unit = static_cast<uint16_t>(Any(3));
    const Place a = AnyPlace(sound, step.unit), b = AnyPlace(sound, step.unit);
    step.low = a.position;
    step.high = b.position;
    const bool inserts = step.kind == Kind::kPaste || step.kind == Kind::kSilence;
    const bool takes = step.kind == Kind::kCut || step.kind == Kind::kCopy,
               modifies = step.kind != Kind::kCopy;
    const Selection part = inserts ? Selection{a.bytes, a.bytes}
                                   : Selection{std::min(a.bytes, b.bytes), std::max(a.bytes, b.bytes)};
    step.amount = static_cast<uint32_t>(step.kind == Kind::kMute      ? Any(8)
                                        : step.kind == Kind::kSilence ? Any(Chance(5) ? 3000 : 20)
                                        : Chance(3)                   ? 0
                                                                      : Any(10001));
    SCOPED_TRACE("operation " + std::to_string(static_cast<int>(step.kind)) + " file " +
                 std::to_string(index) + " bytes " + std::to_string(a.bytes) + " " + std::to_string(b.bytes) +
                 " of " + std::to_string(sound.data.size()));
    const uint16_t refusal = Refusal(step.kind, sound, part);
    const uint16_t result = Do(step, {paths_[index].c_str(), nullptr, Chance(2) ? "" : nullptr});
    if (modifies) model_.last_edited = -1;
    if (refusal != TOLVANE_OK) {
        ASSERT_EQ(result, refusal);
        ++refused_;
    } else if (result == TOLVANE_CANCELLED) {
        if (takes) model_.clipboard.reset();
        if (modifies && model_.undo_on) model_.undo.reset();
    } else {
        ASSERT_EQ(result, TOLVANE_OK);
        ++done_;
        if (takes) model_.clipboard = sound;
        if (takes) model_.clipboard->data = Part(sound.data, part.low, part.high);
        if (modifies) Modify(index, step, part);
    }
    Check(index);
}

void RandomEdits::UndoOrRedo() {
    const bool undo = Chance(2);
    const std::optional<Sound> copy = undo ? model_.undo : model_.redo;
    const bool possible = model_.last_edited >= 0 && (undo ? model_.undo_fits : model_.redo_fits) && copy;
    const uint16_t result = undo ? AudioEditUndo() : AudioEditRedo();
    ASSERT_EQ(result, !model_.undo_on ? TOLVANE_UNDO_OFF : possible ? TOLVANE_OK : TOLVANE_NOTHING_TO_UNDO);
    if (result != TOLVANE_OK) return;
    const auto index = static_cast<size_t>(model_.last_edited);
    if (undo) {
        model_.redo = model_.files[index];
        model_.redo_fits = true;
    }
    model_.files[index] = *copy;
    ++done_;
    Check(index);
}

void RandomEdits::Step() {
    switch (Any(12)) {
        case 1:
        case 2:
        case 3:
            return UndoOrRedo();
        case 4:
            ASSERT_EQ(AudioEditCanUndo(), model_.undo_on && model_.undo);
            ASSERT_EQ(AudioEditCanRedo(), model_.undo_on && model_.redo);
            ASSERT_EQ(AudioEditCanPaste(), model_.clipboard.has_value());
            if (!Chance(3)) return;
            model_.undo_on = !Chance(4);
            AudioEditSetUndoRedo(model_.undo_on);
            return;
        case 5:
            if (!Chance(20)) return;
            AudioFlushCutCopyPasteBuffer();
            model_.clipboard.reset();
            model_.undo.reset();
            model_.redo.reset();
            model_.undo_fits = model_.redo_fits = false;
            return;
        default:
            return Edit();
    }
}

// Where files lie in memory, as natively, a step takes a thirtieth of the time.
#ifdef _WIN32
constexpr int kStepsByDefault = 2000;
#else
constexpr int kStepsByDefault = 100000;
#endif

// How many: TOLVANE_EDITS.
TEST_F(RandomEdits, EqualTheModel) {
    const char* wish = getenv("TOLVANE_EDITS");
    const int steps = wish ? atoi(wish) : kStepsByDefault;
    Resources before;
    for (int i = 0; i < steps && !HasFatalFailure(); ++i) {
        if (i == 1000) before = Resources::Now();
        if (i % 1000 == 0) watchdog_.At(std::to_string(i));
        SCOPED_TRACE(i);
        Step();
    }
    EXPECT_GT(cancelled_, steps / 200);
    EXPECT_GT(refused_, steps / 50);
    EXPECT_EQ(Resources::Now().files, before.files);
    EXPECT_EQ(folder_.Names().size(), paths_.size());
    std::cout << steps << " steps: " << done_ << " edits done, " << refused_ << " refused, " << cancelled_
              << " cancelled\n";
    AudioEditSetUndoRedo(1);
}

}  // namespace
}  // namespace tolvane::test
