// The command line of `tolvane`, with anything said: it ends with one of its exit codes. It runs in a folder of its own
// with a few sounds, on the virtual card as fast as that goes; names reach no other folder, and files stay small.
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "platform.h"
#include "support/temp_folder.h"
#include "support/wave_files.h"
#include "tolvane.h"

using namespace tolvane::test;

int HostMain(int argc, char** argv);

namespace {

namespace fs = std::filesystem;

constexpr rlim_t kLargestFile = 8 << 20;

class Sandbox {
  public:
    Sandbox() {
        const rlimit limit = {kLargestFile, kLargestFile};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        std::signal(SIGXFSZ, SIG_IGN);
        setenv("TMPDIR", scratch_.Path().c_str(), 1);
        setenv("HOME", scratch_.Path().c_str(), 1);
        EXPECT_EQ(chdir(folder_.Path().c_str()), 0);
        EXPECT_TRUE(PlatformUseCard(PLATFORM_CARD_VIRTUAL) && PlatformVirtualReset());
        PlatformVirtualSetClock(PLATFORM_CLOCK_FREE_RUNNING);
    }

    void Fill(const std::string& script) const {
        for (const std::string& name : folder_.Names())
            fs::remove_all(folder_.Path(name));
        for (const std::string& name : scratch_.Names())
            if (name.starts_with("tolvane-heard")) fs::remove(scratch_.Path(name));
        folder_.Write("x.wav", WaveFile({44100, 2, 16}, Pattern(4 * 1200)));
        folder_.Write("y.wav", WaveFile({44100, 2, 16}, Pattern(4 * 100)));
        folder_.Write("a.wav", WaveFile({8000, 1, 8, 6}, Pattern(900)));
        folder_.Write("x.mp3", Bytes{0xFF, 0xFB, 0x10, 0xC0} + Bytes(900));
        folder_.Write("script", Bytes(script.begin(), script.end()));
        EXPECT_NE(std::freopen("script", "r", stdin), nullptr);
        std::cin.clear();
    }

  private:
    const TempFolder folder_, scratch_;
};

// What would leave the folder, or play and record for ever, is left out.
std::vector<std::string> Arguments(std::string_view text) {
    std::vector<std::string> words{"tolvane"};
    bool records = false, skipped = false;
    for (size_t at = 0; at < text.size() && words.size() < 40;) {
        const size_t end = std::min(text.find('\n', at), text.size());
        const std::string word(text.substr(at, end - at));
        at = end + 1;
        const bool skip = std::exchange(skipped, word == "--stop-at");
        if (skip || skipped || word.starts_with("--stop-at") || word.starts_with("--repeat")) continue;
        records |= word == "record";
        words.push_back(word.substr(0, word.find('\0')));
    }
    if (records) words.insert(words.end(), {"--stop-at", "10ms"});
    return words;
}

}  // namespace

// Arguments, one a line; behind an empty line what is typed.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Sandbox sandbox;
    std::string text(data, data + size);
    std::replace(text.begin(), text.end(), '/', '_');
    const size_t end = std::min(text.find("\n\n"), text.size());
    sandbox.Fill(end < text.size() ? text.substr(end + 2) : "");
    std::vector<std::string> words = Arguments(std::string_view(text).substr(0, end));
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    EXPECT_THAT(HostMain(static_cast<int>(words.size()), pointers.data()), ::testing::AnyOf(0, 1, 2, 130));
    AudioStop();
    AudioStopRecord();
    PlatformUseCard(PLATFORM_CARD_VIRTUAL);
    return 0;
}
