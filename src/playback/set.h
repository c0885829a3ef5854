// Playback sets: files of the host's in an order, played and steered as one timeline.
#pragma once

#include <cstdint>

#include "tolvane.h"

namespace tolvane {

inline constexpr int kUnits = 3;

// One value in each unit: milliseconds, samples, bytes.
struct Extent {
    uint32_t in[kUnits] = {};

    // 0 in a unit that sets do not know.
    uint32_t In(uint16_t unit) const { return unit < kUnits ? in[unit] : 0; }
    void Add(const Extent& other);
};

struct PlaybackSet {
    PlaybackSetEntry* entries = nullptr;  // the host's
    uint32_t count = 0;
    uint32_t current = 0;  // the entry that plays
    bool mp3 = false;
    Extent total;
    Extent run_start;  // where in the set the device began to count

    bool IsActive() const { return entries != nullptr; }
    // Null where no file of the set plays, or none ever did.
    const PlaybackSetEntry* Current() const { return current < count ? entries + current : nullptr; }
};

// A place in a set: an entry, and how far into it.
struct SetPlace {
    uint32_t index;
    uint32_t offset;  // in the unit in which it was looked for
    Extent before;    // of the entries before it
};

// The entry of a path; the number of entries where there is none.
uint32_t FindEntry(const PlaybackSet& set, const char* path);

// Where the entry that plays begins.
Extent StartOfCurrent(const PlaybackSet& set);

// False behind the end.
bool FindInSet(const PlaybackSet& set, uint32_t position, uint16_t unit, SetPlace* place);

uint16_t PlayWaveSet(PlaybackSetEntry* entries, uint32_t count, uint32_t start, uint16_t unit,
                     uint32_t sample_rate, bool convert, uint32_t end);
uint16_t PlayMp3Set(PlaybackSetEntry* entries, uint32_t count, uint32_t start, uint16_t unit, uint32_t end);
void MoveIntoSet(uint32_t position, uint16_t unit);
void GetSetInfo(PlaybackSetInfo* info, uint16_t unit);
void ForgetSet();

// Whether a set plays this file now.
bool IsPlayingInSet(const char* path);

}  // namespace tolvane
