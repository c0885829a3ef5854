// A real sound server as the mixer: what the library sets, the server's own tool shows, and the other way round.
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

#include "support/private_server.h"

namespace tolvane::test {
namespace {

class ServerMixer : public PrivateServer {
  protected:
    // What pactl says, in one line.
    std::string Pactl(const std::string& words) {
        EXPECT_TRUE(RunTools(folder_.Path(""), "LC_ALL=C pactl " + words + " | tr -s '\\n\\t ' ' ' > said"))
            << words;
        std::stringstream said;
        said << std::ifstream(folder_.Path("said")).rdbuf();
        return said.str();
    }
    static int IndexOf(const std::string& name) {
        for (uint32_t i = 0; i < GetNumberOfRecordSources(); i++) {
            char text[TOLVANE_SOURCE_NAME_SIZE];
            GetRecordSourceName(i, text);
            if (text == name) return static_cast<int>(i);
        }
        return -1;
    }
};

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST_F(ServerMixer, PlaybackIsTheVolumeOfTheDefaultSink) {
    if (IsParent()) return;
    for (uint16_t percent = 0; percent <= 100; percent++) {
        AudioSetVolume(percent);
        EXPECT_EQ(AudioGetVolume(), percent);
    }
    AudioSetVolume(50);
    EXPECT_THAT(Pactl("get-sink-volume speakers"), HasSubstr("front-left: 32768 / 50% "));
    EXPECT_THAT(Pactl("get-sink-volume speakers"), HasSubstr("front-right: 32768 / 50% "));
    AudioMute(1);
    EXPECT_THAT(Pactl("get-sink-volume speakers"), HasSubstr("front-left: 0 / 0%"));
    EXPECT_EQ(AudioGetVolume(), 0);
    AudioSetVolume(30);
    EXPECT_THAT(Pactl("get-sink-volume speakers"), HasSubstr("front-left: 0 / 0%"));
    AudioMute(0);
    EXPECT_THAT(Pactl("get-sink-volume speakers"), HasSubstr(" / 30% "));
    for (const int percent : {1, 7, 33, 50, 66, 99, 100, 150}) {
        Pactl("set-sink-volume speakers " + std::to_string(percent) + "%");
        EXPECT_EQ(AudioGetVolume(), std::min(percent, 100));
    }
    EXPECT_THAT(Pactl("get-sink-mute speakers"), StartsWith("Mute: no")) << "the switch is the user's";
    Pactl("set-default-sink second");
    AudioSetVolume(44);
    EXPECT_THAT(Pactl("get-sink-volume second"), HasSubstr(" / 44% "));
    EXPECT_THAT(Pactl("get-sink-volume speakers"), HasSubstr(" / 150% "));
}

TEST_F(ServerMixer, RecordSourcesAreTheServersSources) {
    if (IsParent()) return;
    EXPECT_EQ(GetNumberOfRecordSources(), 2u) << "no monitors";
    const int mic = IndexOf("Microphone"), line = IndexOf("Line In");
    ASSERT_TRUE(mic >= 0 && line >= 0 && mic != line);
    uint32_t found = 9;
    EXPECT_EQ(GetRecordSourceMic(&found), TOLVANE_OK);
    EXPECT_EQ(found, static_cast<uint32_t>(mic));
    EXPECT_EQ(GetRecordSourceLine(&found), TOLVANE_OK);
    EXPECT_EQ(found, static_cast<uint32_t>(line));

    EXPECT_EQ(SetTheSource(static_cast<uint16_t>(line)), TOLVANE_OK);
    EXPECT_THAT(Pactl("get-default-source"), StartsWith("linein"));
    AudioSetRecVolume(25);
    EXPECT_EQ(AudioGetRecVolume(), 25);
    EXPECT_THAT(Pactl("get-source-volume linein"), HasSubstr(" / 25% "));
    EXPECT_THAT(Pactl("get-source-volume mic"), HasSubstr(" / 100% "));
    EXPECT_EQ(SetTheSource(2), TOLVANE_NO_SUCH_SOURCE);
    EXPECT_THAT(Pactl("get-default-source"), StartsWith("linein"));
    EXPECT_EQ(SetTheSource(static_cast<uint16_t>(mic)), TOLVANE_OK);
    EXPECT_THAT(Pactl("get-default-source"), StartsWith("mic"));
    EXPECT_EQ(AudioGetRecVolume(), 100);

    Pactl("set-default-source speakers.monitor");
    EXPECT_EQ(SetTheSource(static_cast<uint16_t>(line)), TOLVANE_OK)
        << "also where none of them was selected";
    EXPECT_THAT(Pactl("get-default-source"), StartsWith("linein"));
    Pactl("load-module module-null-source source_name=late description=Late");
    EXPECT_EQ(GetNumberOfRecordSources(), 3u);
    EXPECT_GE(IndexOf("Late"), 0);
}

TEST_F(ServerMixer, GoesAndComesWithTheServer) {
    if (IsParent()) return;
    AudioSetVolume(60);
    StopSoundServer(server_);
    EXPECT_EQ(AudioGetVolume(), 0);
    EXPECT_EQ(AudioSetVolume(10), TOLVANE_OK);
    EXPECT_EQ(GetNumberOfRecordSources(), 0u);
    EXPECT_EQ(SetTheSource(0), TOLVANE_NO_SOURCE_CONTROL);
    ASSERT_TRUE(StartSoundServer(server_));
    EXPECT_EQ(GetNumberOfRecordSources(), 2u);
    AudioSetVolume(35);
    EXPECT_EQ(AudioGetVolume(), 35);
}

}  // namespace
}  // namespace tolvane::test
