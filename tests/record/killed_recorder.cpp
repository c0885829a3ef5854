// Records until it is killed: killed_recorder FOLDER SEED. For every tenth of a second of it one byte more is in
// FOLDER/steps.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform.h"
#include "record/killed_sound.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

// Only what does not do as it should ends it, with a code of its own.
int Record(const std::string& folder, uint32_t seed) {
    const Format format = KilledFormat(seed);
    const size_t step = format.rate / 10;
    std::FILE* announced = std::fopen((folder + "/steps").c_str(), "ab");
    if (!announced) return 90;
    std::setvbuf(announced, nullptr, _IONBF, 0);
    if (SetTempPath(folder.c_str())) return 95;
    if (!PlatformUseCard(PLATFORM_CARD_VIRTUAL) || !PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED)) return 91;
    std::string file = folder + "/record.wav";
    if (AudioStartRecord(file.data(), format.rate, format.bits, format.channels, 0)) return 92;
    for (uint32_t i = 0;; ++i) {
        const Bytes sound = Pattern(step * format.Block(), seed + i);
        PlatformVirtualFeed(0, sound.data(), sound.size());
        if (PlatformVirtualAdvanceInput(0, static_cast<uint32_t>(step)) != step) return 93;
        if (std::fwrite(".", 1, 1, announced) != 1) return 94;
    }
}

}  // namespace
}  // namespace tolvane::test

int main(int count, char** arguments) {
    if (count != 3) return 99;
    return tolvane::test::Record(arguments[1], static_cast<uint32_t>(std::atol(arguments[2])));
}
