// What the library tells of two channels.
#pragma once

#include <cstdint>
#include <ostream>

#include "tolvane.h"

namespace tolvane::test {

struct Level {
    uint32_t left = 777, right = 888;  // until something is told
    bool operator==(const Level&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Level& level) {
    return out << level.left << '|' << level.right;
}

inline Level PlaybackLevel() {
    Level level;
    AudioGetPlaybackLevel(&level.left, &level.right);
    return level;
}

inline Level RecordLevel() {
    Level level;
    AudioGetRecordLevel(&level.left, &level.right);
    return level;
}

}  // namespace tolvane::test
