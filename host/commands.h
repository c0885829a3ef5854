// The commands of `tolvane`, one function each: what was asked comes in, the exit code of the program goes
// out.
#ifndef TOLVANE_HOST_COMMANDS_H
#define TOLVANE_HOST_COMMANDS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "edit_step.h"
#include "play_volume.h"
#include "effect_parameters.h"
#include "sound_format.h"
#include "time_text.h"

namespace tolvane::host {

constexpr int kExitDone = 0;
constexpr int kExitBadArguments = 1;
constexpr int kExitFailed = 2;
constexpr int kExitInterrupted = 130;

// `--card`: which sound card the wave devices stand for. Empty: the program's own choice, a sound server's.
struct CardRequest {
    std::string name;
};

// `percent`: nothing to show the volume only. The recording's is that of a source, the first where none is named.
struct VolumeRequest {
    std::optional<unsigned> percent;
    bool record = false, mute = false, unmute = false;
    std::string source;  // number or name
    CardRequest card;
};

// Lists the sources, or uses the one that is named.
struct SourcesRequest {
    std::string source;
    CardRequest card;
};

struct PlayRequest {
    std::vector<std::string> files;
    std::optional<Moment> from, to;
    unsigned rate = 0;
    bool repeat = false;
    bool quiet = false;
    std::string mix;       // laid over the file
    bool average = false;  // instead of being added
    Loudness volume, mix_volume;
    std::string device;  // number or name, empty: the one the system prefers
    CardRequest card;
    std::string into;
};

// The peaks of a part of a file.
struct LevelRequest {
    std::vector<std::string> files;
    Place from = kBeginning, to = kEnd;
};

// Times count in the sound of the file.
struct RecordRequest {
    std::string file;
    PcmShape shape{44100, 16, 2};
    std::string device, source;  // number or name, empty: the one the system prefers, the one that is chosen
    std::optional<Moment> lead_in, punch_in, stop_at, min_length;
    std::vector<Effect> effects;
    std::string insert;  // a wave file that takes the place of what the input hears
    CardRequest card;
    std::string hear;  // a wave file that the virtual card hears
    bool yes = false, quiet = false;
};

// `yes`: an existing target is replaced, and nothing is asked.
struct ConversionFiles {
    std::string source, target;
    bool yes = false, quiet = false;
    std::string_view cannot = "cannot convert";  // how a failure begins
};

struct ConvertRequest {
    ConversionFiles files;
    std::string codec;            // a name, empty: PCM
    std::optional<PcmShape> pcm;  // nothing: rate and channels of the source, 16 bits
    std::string format;  // number or text of one that the codec offers, empty: ask or take the nearest
};

// What is 0 stays as it is in the source.
struct ReformatRequest {
    ConversionFiles files;
    uint32_t rate = 0;
    uint16_t bits = 0, channels = 0;
};

// One edit; what the kind has no use for is ignored.
struct EditRequest {
    EditKind kind = EditKind::kCut;
    std::string file;
    Place start = kBeginning, end = kEnd;  // where something is inserted, `start` alone
    std::string other;                     // receives what is cut or copied, is pasted
    std::string target;                    // empty: the file itself
    uint32_t channels = kAllChannels;
    uint16_t level = kUsualLevel;
    Moment length;
    bool yes = false, quiet = false;
};

struct DrawRequest {
    std::string file;
    std::string picture;  // empty: in the terminal
    Place from = kBeginning, to = kEnd;
    uint32_t width = 0;  // 0: the terminal's, or the usual one of a picture
    bool yes = false;
};

// Edits command by command; `target`: on a copy of the file.
struct SessionRequest {
    std::string file, target;
    std::string device;
    CardRequest card;
    std::string into;
    bool yes = false;
};

int RunInfo(const std::vector<std::string>& files);
int RunDevices(const CardRequest& card);
int RunCodecs();
int RunVolume(const VolumeRequest& request);
int RunSources(const SourcesRequest& request);
int RunPlay(const PlayRequest& request);
int RunLevel(const LevelRequest& request);
int RunRecord(const RecordRequest& request);
int RunConvert(const ConvertRequest& request);
int RunReformat(const ReformatRequest& request);
int RunEdit(const EditRequest& request);
int RunDraw(const DrawRequest& request);
int RunSession(const SessionRequest& request);

}  // namespace tolvane::host

#endif
