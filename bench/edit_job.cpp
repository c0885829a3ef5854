// One edit as a host makes it, undo on or off, to be timed as a process; it prints the milliseconds that the call took.
// Positions are frames.
//
//   edit_job on|off clear FILE BEGIN END          edit_job on|off cut FILE BEGIN END RECEIVER
//   edit_job on|off mute FILE BEGIN END           edit_job on|off copy FILE BEGIN END RECEIVER
//   edit_job on|off paste FILE AT PASTED          edit_job on|off silence FILE AT SECONDS
//   edit_job on|off trim FILE FRAMES
#include <tolvane.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kWait = 1;
constexpr uint32_t kLeft = 1;

struct Request {
    std::vector<std::string> words;

    const char* Text(size_t i) const { return i < words.size() ? words[i].c_str() : ""; }
    uint32_t Number(size_t i) const { return static_cast<uint32_t>(strtoul(Text(i), nullptr, 10)); }
};

uint16_t Perform(const Request& request) {
    const std::string name = request.Text(0);
    const char* const file = request.Text(1);
    const uint32_t begin = request.Number(2), end = request.Number(3);
    constexpr uint16_t kUnit = TOLVANE_SAMPLES;
    if (name == "clear") return AudioClear(file, begin, end, kUnit, nullptr, kWait, nullptr);
    if (name == "cut")
        return AudioCutInFile(file, begin, end, kUnit, nullptr, kWait, request.Text(4), nullptr);
    if (name == "copy") return AudioCopyInFile(file, begin, end, kUnit, nullptr, kWait, request.Text(4));
    if (name == "mute") return AudioEditMute(file, begin, end, kUnit, nullptr, kWait, kLeft, nullptr);
    if (name == "paste") return AudioPasteEx(file, begin, kUnit, nullptr, kWait, request.Text(3), nullptr);
    if (name == "silence") return AudioInsertSilence(file, begin, kUnit, nullptr, kWait, end * 1000, nullptr);
    if (name == "trim") return AudioEditTrimSilence(file, 0, begin, kUnit, nullptr, kWait, 0, nullptr);
    return UINT16_MAX;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) return std::fputs("edit_job on|off NAME FILE ...\n", stderr), 2;
    AudioEditSetUndoRedo(strcmp(argv[1], "on") == 0);
    const auto begin = std::chrono::steady_clock::now();
    const uint16_t code = Perform({{argv + 2, argv + argc}});
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
    std::printf("%.3f\n", taken.count());
    if (code != TOLVANE_OK) std::fprintf(stderr, "%s %s: code %u\n", argv[2], argv[3], unsigned{code});
    return code == TOLVANE_OK ? 0 : 1;
}
