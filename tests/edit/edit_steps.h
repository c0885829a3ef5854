// Edits as data: called on files, and applied to a sound in memory for the models of the tests.
#pragma once

#include <algorithm>
#include <cstdlib>

#include "support/edit_jobs.h"
#include "support/samples.h"
#include "tolvane.h"

namespace tolvane::test {

struct EditStep {
    enum class Kind { kCut, kCopy, kPaste, kClear, kCrop, kMute, kTrim, kSilence, kUndo, kRedo };

    Kind kind = Kind::kClear;
    uint32_t low = 0, high = 0;  // positions; where something is put in, the first
    uint16_t unit = TOLVANE_SAMPLES;
    uint32_t amount = 0;     // channels, level or milliseconds
    bool elsewhere = false;  // the result goes to a file of its own
    bool undo_on = true;
};

struct EditFiles {
    const char* file;
    const char* taken;  // where a cut or copy goes and a paste comes from; null: the clipboard
    const char* out;    // null or empty: the file itself
};

inline uint16_t CallEdit(const EditStep& step, const EditFiles& files, EditJob** job = nullptr,
                         uint32_t wait = 1) {
    using Kind = EditStep::Kind;
    const auto [file, taken, out] = files;
    const auto [kind, low, high, unit, amount, elsewhere, undo_on] = step;
    switch (kind) {
        case Kind::kCut:
            return taken ? AudioCutInFile(file, low, high, unit, job, wait, taken, out)
                         : AudioCut(file, low, high, unit, job, wait, out);
        case Kind::kCopy:
            return taken ? AudioCopyInFile(file, low, high, unit, job, wait, taken)
                         : AudioCopy(file, low, high, unit, job, wait);
        case Kind::kPaste:
            return taken || out ? AudioPasteEx(file, low, unit, job, wait, taken, out)
                                : AudioPaste(file, low, unit, job, wait);
        case Kind::kClear:
            return AudioClear(file, low, high, unit, job, wait, out);
        case Kind::kCrop:
            return AudioCrop(file, low, high, unit, job, wait, out);
        case Kind::kMute:
            return AudioEditMute(file, low, high, unit, job, wait, amount, out);
        case Kind::kTrim:
            return AudioEditTrimSilence(file, low, high, unit, job, wait, static_cast<uint16_t>(amount), out);
        case Kind::kSilence:
            return AudioInsertSilence(file, low, unit, job, wait, amount, out);
        case Kind::kUndo:
            return AudioEditUndo();
        default:
            return AudioEditRedo();
    }
}

// As a job, with something done to it while it runs.
template <class Meanwhile>
uint16_t EditAsJob(const EditStep& step, const EditFiles& files, Meanwhile meanwhile) {
    EditJob* job = nullptr;
    if (const uint16_t refused = CallEdit(step, files, &job, 0)) return refused;
    meanwhile(job);
    return AwaitEdit(job);
}

// Bytes from a frame's first to behind another's last.
struct Selection {
    size_t low, high;
};

inline bool IsLoud(const Format& format, const Bytes& data, size_t frame, uint32_t level) {
    const auto threshold = static_cast<int>(level * (format.bits == 16 ? 32767u : 127u) / 10000);
    for (size_t i = frame * format.channels; i < (frame + 1) * format.channels; ++i)
        if (std::abs(SampleAt(data, i, format.bits)) > threshold) return true;
    return false;
}

// From the first loud frame to the last; where none is, the first frame.
inline Selection LoudPart(const Format& format, const Bytes& data, Selection all, uint32_t level) {
    const size_t frame = format.Block();
    Selection loud{all.high, all.low};
    for (size_t at = all.low; at < all.high; at += frame) {
        if (!IsLoud(format, data, at / frame, level)) continue;
        loud.low = std::min(loud.low, at);
        loud.high = at + frame;
    }
    return loud.low < loud.high ? loud : Selection{all.low, all.low + frame};
}

// What becomes of `sound`; `part` is what the step says of it, `taken` what is pasted.
inline Bytes Edited(const EditStep& step, const Format& format, Bytes sound, Selection part,
                    const Bytes& taken) {
    using Kind = EditStep::Kind;
    const uint8_t silence = format.bits == 8 ? 128 : 0;
    const Bytes head = Part(sound, 0, part.low), tail = Part(sound, part.high, sound.size());
    const auto with = [&](const Bytes& inserted) {
        return head + inserted + Part(sound, part.low, sound.size());
    };
    switch (step.kind) {
        case Kind::kCut:
        case Kind::kClear:
            return head + tail;
        case Kind::kPaste:
            return with(taken);
        case Kind::kCrop:
            return Part(sound, part.low, part.high);
        case Kind::kMute:
            for (size_t at = part.low; at < part.high; ++at)
                if (step.amount >> (at - part.low) % format.Block() / (format.bits / 8) & 1)
                    sound[at] = silence;
            return sound;
        case Kind::kTrim: {
            const Selection loud = LoudPart(format, sound, part, step.amount);
            return head + Part(sound, loud.low, loud.high) + tail;
        }
        case Kind::kSilence:
            return with(Bytes(
                static_cast<size_t>(uint64_t{step.amount} * format.rate / 1000 * format.Block()), silence));
        default:
            return sound;
    }
}

}  // namespace tolvane::test
