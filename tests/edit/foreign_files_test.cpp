// Files of other programs, with their extra chunks: after an edit those programs still open them, find the right length
// and all that stood before the sound.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

#include "support/child.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

constexpr char kMakeFiles[] = R"(
ffmpeg -v error -y -f lavfi -i sine=440:duration=3:sample_rate=44100 -ac 2 -metadata title=Tide -metadata artist=Ebb \
    -metadata comment='low water' ffmpeg.wav
ffmpeg -v error -y -f lavfi -i sine=440:duration=3:sample_rate=48000 -write_bext 1 -metadata description='Buoy 7' \
    -metadata originator=Ebb -metadata time_reference=96000 ffmpeg-bext.wav
sox -n -r 22050 -c 1 -b 8 -e unsigned-integer sox.wav synth 3 sine 300
sox -n -r 48000 -c 2 -b 24 -t wavpcm sox-24.wav synth 3 sine 300
)";

// What the programs say of a file, each in a line of its own: the frames, and the metadata that ffprobe finds.
constexpr char kAsk[] = R"(
sox -D "$file" -t raw - | wc -c | tr -d ' ' > "$file.bytes"
soxi -s "$file" > "$file.frames"
ffprobe -v error -show_entries stream=duration_ts -of default=nw=1:nk=1 "$file" > "$file.probed"
ffprobe -v error -show_entries format_tags -of default=nw=1 "$file" > "$file.tags"
)";

std::string Text(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

uint32_t Number(const std::string& path) {
    uint32_t number = 0;
    std::istringstream(Text(path)) >> number;
    return number;
}

class EditingForeignFiles : public testing::Test {
  protected:
    std::string Ask(const std::string& name) const {
        EXPECT_TRUE(RunTools(folder_.Path(), "file=" + name + kAsk));
        return Text(folder_.Path(name + ".tags"));
    }
    void ExpectFrames(const std::string& name, uint32_t frames, uint16_t block) const {
        EXPECT_EQ(Number(folder_.Path(name + ".frames")), frames) << name;
        EXPECT_EQ(Number(folder_.Path(name + ".probed")), frames) << name;
        EXPECT_EQ(Number(folder_.Path(name + ".bytes")), frames * block) << name;
    }
    // Each edit changes the length by its own amount.
    void EditThree(const std::string& name, const std::string& head) const {
        const std::string path = folder_.Path(name);
        InputFileInfo format = {};
        uint32_t size = 0;
        ASSERT_EQ(GetInputFileInfo(path.c_str(), &format), TOLVANE_OK);
        ASSERT_EQ(GetDataChunkSize(path.c_str(), &size), TOLVANE_OK);
        const uint32_t frames = size / format.nBlockAlign;
        const std::string tags = Ask(name);
        ExpectFrames(name, frames, format.nBlockAlign);
        const auto edit = [&](uint16_t result, uint32_t expected) {
            ASSERT_EQ(result, TOLVANE_OK) << name;
            EXPECT_EQ(Ask(name), tags) << name;
            ExpectFrames(name, expected, format.nBlockAlign);
            EXPECT_EQ(Text(path).substr(12, head.size()), head) << name;
        };
        edit(AudioCut(path.c_str(), 1000, 20001, TOLVANE_SAMPLES, nullptr, 1, nullptr), frames - 19001);
        edit(AudioInsertSilence(path.c_str(), 5, TOLVANE_SAMPLES, nullptr, 1, 1000, nullptr),
             frames - 19001 + format.nSamplesPerSec);
        edit(AudioPaste(path.c_str(), 0, TOLVANE_SAMPLES, nullptr, 1), frames + format.nSamplesPerSec);
    }
    // What stands between the form type and the header of the sound.
    std::string HeadOf(const std::string& name) const {
        const std::string all = Text(folder_.Path(name));
        return all.substr(12, all.find("data", 12) - 12);
    }

    TempFolder folder_;
};

TEST_F(EditingForeignFiles, KeepsWhatOtherProgramsWroteAndRead) {
    ASSERT_TRUE(RunTools(folder_.Path(), kMakeFiles));
    for (const char* name : {"ffmpeg.wav", "ffmpeg-bext.wav", "sox.wav", "sox-24.wav"})
        EditThree(name, HeadOf(name));
    EXPECT_NE(Ask("ffmpeg.wav").find("title=Tide"), std::string::npos);
    EXPECT_NE(Ask("ffmpeg-bext.wav").find("Buoy 7"), std::string::npos);
}

// The broadcast wave's chunk by its published layout, with a coding history and what else such files carry.
TEST_F(EditingForeignFiles, KeepsABroadcastHeader) {
    const auto field = [](std::string_view text, size_t size) {
        Bytes bytes(text.begin(), text.end());
        bytes.resize(size);
        return bytes;
    };
    const Bytes bext = field("Harbour, evening", 256) + field("Ebb", 32) + field("EBB0001", 32) +
                       field("2026-01-02", 10) + field("18:30:00", 8) + Little(3'000'000'000u, 8) +
                       Little(1, 2) + Bytes(254) + field("A=PCM,F=48000,W=16,M=stereo,T=test\r\n", 36);
    const Format format{48000, 2, 16};
    const Bytes head = Chunk("bext", bext) + Chunk("JUNK", Bytes(27)) + Chunk("fmt ", FormatRecord(format));
    folder_.Write("bwf.wav", Riff(head + Chunk("data", Pattern(100'000 * 4)) + Chunk("LIST", Bytes(30))));
    EditThree("bwf.wav", std::string(head.begin(), head.end()));
    const std::string tags = Ask("bwf.wav");
    for (const char* text : {"Harbour, evening", "EBB0001", "3000000000", "F=48000"})
        EXPECT_NE(tags.find(text), std::string::npos) << text << " in " << tags;
}

}  // namespace
}  // namespace tolvane::test
