// Compressed files of real codecs at their real pace, whether the library makes a copy first or the system's wave mapper
// decodes on the way.
#include "convert/real_codecs.h"
#include "support/child.h"
#include "support/real_devices.h"

namespace tolvane::test {
namespace {

using ServerRealTimeCompressed = RealDevices;

TEST_F(ServerRealTimeCompressed, PlayToTheEndInAboutTheirLength) {
    constexpr Format kFormat{44100, 2, 16};
    constexpr struct {
        uint16_t tag;
        const char* command;
    } kMakings[] = {{kMuLaw, "sox -D in.wav -e mu-law x.wav"},
                    {kImaAdpcm, "sox -D in.wav -e ima-adpcm x.wav"},
                    {kMp3, "ffmpeg -v error -y -i in.wav -f wav -c:a libmp3lame x.wav"}};
    folder_.Write("in.wav", WaveFile(kFormat, Music(kFormat, 30001)));
    int ended = 0;
    for (const auto& [tag, command] : kMakings) {
        if (tag == kMp3 && !AreOwnCodecs()) continue;  // Wine's decoder divides by 0 on such files
        ASSERT_TRUE(RunTools(folder_.Path(), command));
        for (const bool convert : {true, false}) {
            SCOPED_TRACE(std::string(command) + (convert ? " copied" : " as it is"));
            const Stopwatch watch;
            ASSERT_EQ(AudioPlayWave(folder_.Path("x.wav").c_str(), 0, 0, 0, convert, 0), TOLVANE_OK);
            ASSERT_TRUE(window_.AwaitEnd(++ended));
            EXPECT_GT(watch.Seconds(), 0.55);
            EXPECT_LT(watch.Seconds(), 0.7 + kStartAllowance);
        }
    }
}

}  // namespace
}  // namespace tolvane::test
