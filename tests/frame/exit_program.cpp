// Leaves the process with the library still loaded, idle or in the middle of a playback or recording; exit_test.py
// watches.
#include <cstdio>
#include <cstring>

#include "frame/loaded_library.h"
#include "frame/process_state.h"
#include "platform.h"
#include "support/temp_folder.h"
#include "support/wave_files.h"

using namespace tolvane::test;

static bool StartPlayback(const LoadedLibrary& library, const std::string& sound) {
    const uint16_t code = library.play(sound.c_str(), 0, TOLVANE_MILLISECONDS, 0, 0, 0);
    if (code != TOLVANE_OK) std::printf("play: %u\n", code);
    return code == TOLVANE_OK;
}

static bool StartRecording(const LoadedLibrary& library, std::string path) {
    const uint16_t code = library.record(path.data(), 8000, 16, 1, 0);
    if (code != TOLVANE_OK) std::printf("record: %u\n", code);
    return code == TOLVANE_OK;
}

// Arguments: idle|playing|stopped|recording, server|virtual, the folder for scratch files, a folder for the sound.
int main(int count, char** arguments) try {
    if (count != 5) return 2;
    const std::string use = arguments[1], temp = arguments[3],
                      sound = arguments[4] + std::string("/sound.wav");
    if (std::strcmp(arguments[2], "virtual") == 0 && !PlatformUseCard(PLATFORM_CARD_VIRTUAL)) return 2;
    UseTempFolder(temp);
    WriteFile(sound, WaveFile({8000, 1, 8}, Bytes(80000, 128)));
    LoadedLibrary library(TOLVANE_LIBRARY);
    if (NamesIn(temp).size() != 5 || library.number_of_codecs() == 0) return 3;
    if (use != "idle" && use != "recording" && !StartPlayback(library, sound)) return 4;
    if (use == "recording" && !StartRecording(library, sound)) return 4;
    if (use == "stopped") library.stop();
    library.KeepForEver();
    return 0;
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 5;
}
