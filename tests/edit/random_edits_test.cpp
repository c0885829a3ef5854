// Random sequences of all edits, undo and redo, in every unit, here and as jobs, cancelled at random moments, beside a
// model that holds the files in memory: the bytes of every file and every answer are the same.
#include <chrono>
#include <cstdlib>
#include <functional>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "edit/edit_rules.h"
#include "support/resources.h"
#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

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
    Bytes undo, redo;  // whole files; empty: there is none
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

    using Call = std::function<uint16_t(EditJob** job, uint32_t wait)>;
    // Here or as a job, which is sometimes cancelled.
    uint16_t Do(const Call& call) {
        if (!Chance(4)) return call(nullptr, 1);
        EditJob* job = nullptr;
        const uint16_t refused = call(&job, 0);
        if (refused) return refused;
        if (Chance(2)) {
            const auto pause = std::chrono::microseconds(Any(200));
            if (Chance(2)) std::this_thread::sleep_for(pause);
            AudioEditCancelPressed(job);
        }
        while (!AudioEditProcessIsOver(job))
            std::this_thread::yield();
        const uint16_t reason = AudioEditGetReasonForProcessExit(job);
        cancelled_ += reason == TOLVANE_CANCELLED;
        AudioEditCloseHandle(&job);
        return reason;
    }

    void Step();
    void Edit();
    void CopySelection();
    void UndoOrRedo();
    void Finish(size_t index, uint16_t expected, uint16_t result, const std::function<void(Sound&)>& apply,
                bool taken = false);
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

// What an edit that modifies leaves, in the file or, when it was refused or cancelled, elsewhere.
void RandomEdits::Finish(size_t index, uint16_t expected, uint16_t result,
                         const std::function<void(Sound&)>& apply, bool taken) {
    model_.last_edited = -1;
    if (expected != TOLVANE_OK) {
        ASSERT_EQ(result, expected);
        ++refused_;
    } else if (result == TOLVANE_CANCELLED) {
        if (model_.undo_on) model_.undo.clear();
        if (taken) model_.clipboard.reset();
    } else {
        ASSERT_EQ(result, TOLVANE_OK);
        ++done_;
        model_.undo = model_.undo_on ? model_.files[index].File() : Bytes();
        model_.undo_fits = model_.undo_on;
        model_.redo.clear();
        model_.redo_fits = false;
        model_.last_edited = static_cast<int>(index);
        apply(model_.files[index]);
        model_.files[index].tail.clear();
    }
    Check(index);
}

void RandomEdits::Edit() {
    const size_t index = Any(paths_.size());
    const Sound& sound = model_.files[index];
    const char* path = paths_[index].c_str();
    const auto unit = static_cast<uint16_t>(Any(3));
    const Place a = AnyPlace(sound, unit), b = AnyPlace(sound, unit);
    const Selection part{std::min(a.bytes, b.bytes), std::max(a.bytes, b.bytes)};
    const size_t size = sound.data.size();
    const auto begin = [](Bytes& bytes, size_t at) { return bytes.begin() + static_cast<ptrdiff_t>(at); };
    const auto erase = [=](Sound& s) { s.data.erase(begin(s.data, part.low), begin(s.data, part.high)); };
    const auto refused = [&](uint16_t nothing) {
        return part.low == part.high ? nothing
               : part.high > size    ? uint16_t{TOLVANE_BEYOND_END}
                                     : uint16_t{0};
    };
    const uint16_t position_refused = a.bytes > size ? TOLVANE_BEYOND_END : TOLVANE_OK;
    const size_t operation = size > 150000 ? 1 : Any(7);
    SCOPED_TRACE("operation " + std::to_string(operation) + " file " + std::to_string(index) + " bytes " +
                 std::to_string(a.bytes) + " " + std::to_string(b.bytes) + " of " + std::to_string(size));
    switch (operation) {
        case 0: {
            const Sound before = sound;
            const uint16_t result = Do([&](EditJob** job, uint32_t wait) {
                return AudioCut(path, a.position, b.position, unit, job, wait, nullptr);
            });
            Finish(index, refused(TOLVANE_NOTHING_TO_CUT), result, erase, true);
            if (result == TOLVANE_OK) {
                model_.clipboard = before;
                model_.clipboard->data = Part(before.data, part.low, part.high);
            }
            break;
        }
        case 1:
            Finish(index, refused(TOLVANE_NOTHING_SELECTED), Do([&](EditJob** job, uint32_t wait) {
                       return AudioClear(path, a.position, b.position, unit, job, wait, nullptr);
                   }),
                   erase);
            break;
        case 2:
            if (!Chance(4)) break;
            Finish(index, refused(TOLVANE_NOTHING_TO_CROP), Do([&](EditJob** job, uint32_t wait) {
                       return AudioCrop(path, a.position, b.position, unit, job, wait, "");
                   }),
                   [=](Sound& s) { s.data = Part(s.data, part.low, part.high); });
            break;
        case 3: {
            const auto mask = static_cast<uint32_t>(Any(8));
            Finish(index, refused(TOLVANE_NOTHING_SELECTED), Do([&](EditJob** job, uint32_t wait) {
                       return AudioEditMute(path, a.position, b.position, unit, job, wait, mask, nullptr);
                   }),
                   [=](Sound& s) { MuteFrames(s.format, s.data, part, mask); });
            break;
        }
        case 4: {
            const auto level = static_cast<uint16_t>(Chance(3) ? 0 : Any(10001));
            Finish(index, refused(TOLVANE_NOTHING_SELECTED), Do([&](EditJob** job, uint32_t wait) {
                       return AudioEditTrimSilence(path, a.position, b.position, unit, job, wait, level,
                                                   nullptr);
                   }),
                   [=](Sound& s) { TrimSilence(s.format, s.data, part, level); });
            break;
        }
        case 5: {
            const size_t milliseconds = Chance(5) ? Any(3000) : Any(20);
            const size_t frames = milliseconds * sound.format.rate / 1000;
            Finish(index, position_refused, Do([&](EditJob** job, uint32_t wait) {
                       return AudioInsertSilence(path, a.position, unit, job, wait,
                                                 static_cast<uint32_t>(milliseconds), nullptr);
                   }),
                   [=](Sound& s) {
                       s.data.insert(begin(s.data, a.bytes), frames * s.Frame(),
                                     static_cast<uint8_t>(s.format.bits == 8 ? 128 : 0));
                   });
            break;
        }
        default: {
            const auto& clip = model_.clipboard;
            const bool fits = clip && !clip->data.empty() && clip->format.rate == sound.format.rate &&
                              clip->format.channels == sound.format.channels &&
                              clip->Frame() == sound.Frame();
            const uint16_t paste_refused = position_refused ? position_refused
                                           : !clip          ? uint16_t{TOLVANE_NOTHING_TO_PASTE}
                                           : fits           ? uint16_t{TOLVANE_OK}
                                                            : uint16_t{TOLVANE_PASTE_NOT_FITTING};
            Finish(index, paste_refused, Do([&](EditJob** job, uint32_t wait) {
                       return Chance(2) ? AudioPaste(path, a.position, unit, job, wait)
                                        : AudioPasteEx(path, a.position, unit, job, wait, nullptr, nullptr);
                   }),
                   [&](Sound& s) {
                       s.data.insert(begin(s.data, a.bytes), clip->data.begin(), clip->data.end());
                   });
        }
    }
}

void RandomEdits::CopySelection() {
    const size_t index = Any(paths_.size());
    const Sound& sound = model_.files[index];
    const auto unit = static_cast<uint16_t>(Any(3));
    const Place a = AnyPlace(sound, unit), b = AnyPlace(sound, unit);
    const Selection part{std::min(a.bytes, b.bytes), std::max(a.bytes, b.bytes)};
    const uint16_t result = Do([&](EditJob** job, uint32_t wait) {
        return AudioCopy(paths_[index].c_str(), a.position, b.position, unit, job, wait);
    });
    if (part.low == part.high) {
        ASSERT_EQ(result, TOLVANE_NOTHING_TO_COPY);
    } else if (part.high > sound.data.size()) {
        ASSERT_EQ(result, TOLVANE_BEYOND_END);
    } else if (result == TOLVANE_CANCELLED) {
        model_.clipboard.reset();
    } else {
        ASSERT_EQ(result, TOLVANE_OK);
        model_.clipboard = sound;
        model_.clipboard->data = Part(sound.data, part.low, part.high);
    }
    Check(index);
}

void RandomEdits::UndoOrRedo() {
    const bool undo = Chance(2);
    const Bytes& copy = undo ? model_.undo : model_.redo;
    const bool possible =
        model_.last_edited >= 0 && (undo ? model_.undo_fits : model_.redo_fits) && !copy.empty();
    const uint16_t result = undo ? AudioEditUndo() : AudioEditRedo();
    ASSERT_EQ(result, !model_.undo_on ? TOLVANE_UNDO_OFF : possible ? TOLVANE_OK : TOLVANE_NOTHING_TO_UNDO);
    if (result != TOLVANE_OK) return;
    const auto index = static_cast<size_t>(model_.last_edited);
    const Bytes before = ReadAll(paths_[index]);
    EXPECT_EQ(before, copy);
    Sound& sound = model_.files[index];
    const Bytes old = sound.File();
    // What stands in the file is known as bytes; the model wants its parts again.
    const auto found = std::search(before.begin(), before.end(), std::begin("data"), std::end("data") - 1);
    const auto data = static_cast<size_t>(found - before.begin()) + 8;
    uint32_t size = 0;
    memcpy(&size, before.data() + data - 4, 4);
    sound.data = Part(before, data, data + size);
    sound.tail = Part(before, data + size + size % 2, before.size());
    if (undo) {
        model_.redo = old;
        model_.redo_fits = true;
    }
    ++done_;
    Check(index);
}

void RandomEdits::Step() {
    switch (Any(12)) {
        case 0:
            return CopySelection();
        case 1:
        case 2:
        case 3:
            return UndoOrRedo();
        case 4:
            ASSERT_EQ(AudioEditCanUndo(), model_.undo_on && !model_.undo.empty());
            ASSERT_EQ(AudioEditCanRedo(), model_.undo_on && !model_.redo.empty());
            ASSERT_EQ(AudioEditCanPaste(), model_.clipboard.has_value());
            if (!Chance(3)) return;
            model_.undo_on = !Chance(4);
            AudioEditSetUndoRedo(model_.undo_on);
            return;
        case 5:
            if (!Chance(20)) return;
            AudioFlushCutCopyPasteBuffer();
            model_.clipboard.reset();
            model_.undo.clear();
            model_.redo.clear();
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
