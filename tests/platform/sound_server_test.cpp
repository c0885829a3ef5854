// The sound server's card, on a private server whose sinks can be listened to.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <mmddk.h>

#include "platform/wave_player.h"
#include "platform/workspace.h"

namespace tolvane::test {
namespace {

namespace fs = std::filesystem;

// In the shell's own place: a sound server lives as long as the program that started it.
int Execute(const std::string& command) {
    return std::system(("exec " + command).c_str());
}

using tolvane::testing::Contents;
using tolvane::testing::Eventually;

// Tests set out from a machine that has a sound server (PULSE_SERVER says so), and each starts one of its
// own, so that it may listen, load sinks and end it.
class SoundServer : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* const outer = std::getenv("PULSE_SERVER");
        if (!outer) GTEST_SKIP() << "no sound server: PULSE_SERVER is not set (tools/sound-server run ...)";
        outer_ = outer;
        folder_ = fs::temp_directory_path() / ("sound-server-test-" + std::to_string(getpid()));
        setenv("PULSE_SERVER", ("unix:" + (folder_ / "native").string()).c_str(), 1);
        ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_SERVER));
        Start();
    }
    void TearDown() override {
        if (outer_.empty()) return;
        Stop();
        EXPECT_TRUE(Eventually([] { return waveOutGetNumDevs() == 0; }));
        EXPECT_TRUE(PlatformUseCard(PLATFORM_CARD_DEFAULT)) << "a device was left open";
        setenv("PULSE_SERVER", outer_.c_str(), 1);
    }

    void Start() {
        ASSERT_EQ(Execute(Tool() + " start " + folder_.string()), 0);
        ASSERT_EQ(PlatformCardInUse(), PLATFORM_CARD_SERVER);
    }
    void Stop() { EXPECT_EQ(Execute(Tool() + " stop " + folder_.string()), 0); }
    static std::string Tool() { return fs::path(__FILE__).parent_path() / "../../tools/sound-server"; }

    fs::path folder_;
    std::string outer_;
};

Bytes WithoutSilenceAround(const Bytes& all, uint8_t silence) {
    const auto sounds = [=](uint8_t byte) { return byte != silence; };
    const auto from = std::find_if(all.begin(), all.end(), sounds);
    const auto to = std::find_if(all.rbegin(), std::make_reverse_iterator(from), sounds).base();
    return Bytes(from, to);
}

// Hears what a sink plays from its making on, silence at both ends left out.
class Listener {
  public:
    explicit Listener(const fs::path& file) : file_(file) {
        fs::remove(file_);
        const std::string words =
            "parec -d speakers.monitor --raw --format=s16le --rate=44100 --channels=2 "
            "--latency-msec=20 " +
            file_.string();
        pid_ = fork();
        if (pid_ == 0) _exit(execl("/bin/sh", "sh", "-c", ("exec " + words).c_str(), nullptr));
        EXPECT_TRUE(Eventually([&] { return fs::exists(file_) && fs::file_size(file_) > 0; }));
    }
    ~Listener() { Stop(); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    Bytes Heard() {
        std::this_thread::sleep_for(milliseconds(250));
        Stop();
        const std::string all = Contents(file_);
        return WithoutSilenceAround(Bytes(all.begin(), all.end()), 0);
    }

  private:
    void Stop() {
        if (pid_ <= 0) return;
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

    const fs::path file_;
    pid_t pid_;
};

Bytes NoiseOf(uint32_t buffers, size_t bytes) {
    Bytes all;
    for (uint32_t i = 0; i < buffers; i++)
        all = all + Noise(bytes, i);
    return all;
}

// Plays `total` buffers through a ring, each refilled when it comes back, started all at once as a library
// does; calls `at_done` with the number of buffers that came back.
template <typename AtDone>
void PlayRing(WavePlayer& player, uint32_t ring, uint32_t total, size_t bytes, AtDone at_done) {
    waveOutPause(player.handle);
    uint32_t written = 0;
    while (written < ring)
        player.Written(Noise(bytes, written++));
    waveOutRestart(player.handle);
    for (uint32_t done = 1; done <= total; done++) {
        WAVEHDR* const header = player.NextDone();
        ASSERT_TRUE(header) << done << " of " << total;
        if (written < total) {
            const Bytes sound = Noise(bytes, written++);
            std::memcpy(header->lpData, sound.data(), bytes);
            ASSERT_EQ(player.Queue(header), MMSYSERR_NOERROR);
        }
        at_done(done);
    }
}

DWORD Preferred(bool output) {
    DWORD device = 99, flags = 0;
    const auto first = reinterpret_cast<DWORD_PTR>(&device), second = reinterpret_cast<DWORD_PTR>(&flags);
    const auto mapper = uintptr_t{WAVE_MAPPER};
    if (output) waveOutMessage(reinterpret_cast<HWAVEOUT>(mapper), DRVM_MAPPER_PREFERRED_GET, first, second);
    if (!output) waveInMessage(reinterpret_cast<HWAVEIN>(mapper), DRVM_MAPPER_PREFERRED_GET, first, second);
    return device;
}

TEST_F(SoundServer, ListsTheDevicesThereAreNow) {
    EXPECT_EQ(waveOutGetNumDevs(), 2u);
    EXPECT_EQ(waveInGetNumDevs(), 2u) << "monitors are no inputs";
    EXPECT_EQ(Preferred(true), 0u);
    ASSERT_EQ(Execute("pactl set-default-sink second"), 0);
    ASSERT_EQ(Execute("pactl set-default-source linein"), 0);
    EXPECT_EQ(Preferred(true), 1u);
    EXPECT_EQ(Preferred(false), 1u);
    ASSERT_EQ(Execute("pactl unload-module module-null-sink"), 0);
    EXPECT_EQ(waveOutGetNumDevs(), 0u);
    WavePlayer player;
    EXPECT_EQ(player.Open(Pcm(44100, 2, 16)), UINT{MMSYSERR_BADDEVICEID});
}

TEST_F(SoundServer, TellsWhereItIs) {
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    constexpr double kBytesAMillisecond = 176.4;
    constexpr size_t kBuffer = 10584;  // 60 ms
    std::atomic<bool> over = false;
    double furthest_ahead = -1e9, furthest_behind = 1e9;
    std::thread watcher([&] {
        // Where the position would be zero, by the first time it moved and by all later ones.
        std::optional<double> zero;
        for (DWORD before = 0; !over; std::this_thread::sleep_for(milliseconds(1))) {
            const double now = Milliseconds(steady_clock::now().time_since_epoch());
            const DWORD position = player.Position();
            EXPECT_GE(position, before);
            before = position;
            if (position == 0 || position == 20 * kBuffer) continue;
            if (!zero) zero = now - position / kBytesAMillisecond;
            const double ahead = position / kBytesAMillisecond - (now - *zero);
            furthest_ahead = std::max(furthest_ahead, ahead);
            furthest_behind = std::min(furthest_behind, ahead);
        }
    });
    std::vector<double> late;
    PlayRing(player, 8, 20, kBuffer, [&](uint32_t done) {
        EXPECT_GE(player.Position(), done * kBuffer) << "done, and not yet there";
        late.push_back(Milliseconds(steady_clock::now().time_since_epoch()) - 60.0 * done);
    });
    over = true;
    watcher.join();
    std::sort(late.begin(), late.end());
    // A busy machine lets a thread wait now and then, but not most of the time.
    const double usually = late[late.size() / 2] - late.front();
    constexpr double kBusy = 20;
    EXPECT_GT(furthest_behind, -5 - kBusy);
    EXPECT_LT(furthest_ahead, 5 + kBusy);
    EXPECT_LT(usually, 12);
}

TEST_F(SoundServer, PauseHoldsTheSoundAndLosesNone) {
    Listener listener(folder_ / "heard");
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    WAVEHDR* const header = player.Written(Noise(88200, 7));
    ASSERT_TRUE(Eventually([&] { return player.Position() > 17640; }));
    EXPECT_EQ(waveOutPause(player.handle), MMSYSERR_NOERROR);
    const DWORD held = player.Position();
    std::this_thread::sleep_for(milliseconds(150));
    EXPECT_EQ(player.Position(), held);
    EXPECT_EQ(waveOutRestart(player.handle), MMSYSERR_NOERROR);
    EXPECT_EQ(player.NextDone(), header);
    // While it was held, silence was heard: the sound is there in two pieces.
    Bytes heard = listener.Heard();
    const Bytes sound = Noise(88200, 7);
    const auto hole = std::search_n(heard.begin(), heard.end(), 1000, uint8_t{0});
    ASSERT_NE(hole, heard.end());
    heard.erase(hole, std::find_if(hole, heard.end(), [](uint8_t byte) { return byte != 0; }));
    EXPECT_TRUE(heard == sound);
}

TEST_F(SoundServer, ResetHandsBackAtOnceAndPlaysAnew) {
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    std::vector<WAVEHDR*> headers;
    for (uint32_t i = 0; i < 4; i++)
        headers.push_back(player.Written(Noise(88200, i)));
    ASSERT_TRUE(Eventually([&] { return player.Position() > 17640; }));
    player.Messages();
    const auto from = steady_clock::now();
    EXPECT_EQ(waveOutReset(player.handle), MMSYSERR_NOERROR);
    for (WAVEHDR* const header : headers)
        EXPECT_EQ(player.NextDone(), header);
    EXPECT_LT(Milliseconds(steady_clock::now() - from), 100) << "some 5 ms where nothing else runs";
    EXPECT_EQ(player.Position(), 0u);
    std::this_thread::sleep_for(milliseconds(100));  // what the sink had taken sounds on for that long
    Listener listener(folder_ / "heard");
    player.Written(Noise(44100, 9));
    EXPECT_TRUE(player.NextDone());
    EXPECT_EQ(player.Position(), 44100u);
    EXPECT_TRUE(listener.Heard() == Noise(44100, 9));
}

// Records through a ring of buffers, and keeps what came.
class Recording {
  public:
    Recording(const WAVEFORMATEX& format, UINT device, uint32_t ring, size_t bytes) {
        EXPECT_EQ(recorder_.Open(format, device), MMSYSERR_NOERROR);
        for (uint32_t i = 0; i < ring; i++)
            recorder_.Added(bytes);
    }
    void Start() { EXPECT_EQ(recorder_.Start(), MMSYSERR_NOERROR); }
    void RunFor(milliseconds time) {
        const auto until = steady_clock::now() + time;
        while (steady_clock::now() < until)
            if (WAVEHDR* const header = recorder_.NextDone(milliseconds(10))) Took(header);
    }
    // What came since the start, the partly filled buffer included.
    Bytes Stop() {
        EXPECT_EQ(recorder_.Reset(), MMSYSERR_NOERROR);
        while (WAVEHDR* const header = recorder_.NextDone(milliseconds(0)))
            Took(header);
        return std::exchange(recorded_, {});
    }

  private:
    void Took(WAVEHDR* header) {
        recorded_ = std::move(recorded_) + WaveRecorder::In(header);
        header->dwFlags = WHDR_PREPARED;
        EXPECT_EQ(recorder_.Queue(header), MMSYSERR_NOERROR);
    }

    WaveRecorder recorder_;
    Bytes recorded_;
};

// "mic" hears what plays on "second".
constexpr UINT kMic = 0, kSecond = 1;

TEST_F(SoundServer, RecordsEverySampleOnce) {
    for (const uint16_t bits : {uint16_t{16}, uint16_t{8}}) {
        const WAVEFORMATEX format = Pcm(48000, 2, bits);
        Recording recording(format, bits == 8 ? kMic : WAVE_MAPPER, 4, 9000u * bits / 8);  // 4 times 94 ms
        recording.Start();
        recording.RunFor(milliseconds(100));
        WavePlayer player;
        ASSERT_EQ(player.Open(format, kSecond), MMSYSERR_NOERROR);
        for (uint32_t i = 0; i < 8; i++)
            player.Written(Noise(format.nAvgBytesPerSec / 5, i));
        recording.RunFor(milliseconds(300));
        std::this_thread::sleep_for(milliseconds(700));  // longer than the buffers last
        recording.RunFor(milliseconds(900));
        const Bytes recorded = WithoutSilenceAround(recording.Stop(), bits == 8 ? 0x80 : 0);
        EXPECT_TRUE(recorded == NoiseOf(8, format.nAvgBytesPerSec / 5)) << bits << " bits";
    }
}

TEST_F(SoundServer, AnEndTakesWhatWasHeardUntilThen) {
    WavePlayer player;
    const WAVEFORMATEX format = Pcm(48000, 2, 16);
    ASSERT_EQ(player.Open(format, kSecond), MMSYSERR_NOERROR);
    const Bytes sound = Noise(192000 * 3, 1);
    player.Written(sound);
    Recording recording(format, kMic, 3, 36000);
    recording.RunFor(milliseconds(200));
    auto from = sound.begin();
    constexpr int kRounds = 7;
    double longer = 0;
    for (int round = 0; round < kRounds; round++) {
        std::this_thread::sleep_for(milliseconds(19 * round % 50));
        const auto start = steady_clock::now();
        recording.Start();
        recording.RunFor(milliseconds(64 + 37 * round));
        const double ran = Milliseconds(steady_clock::now() - start);
        const Bytes recorded = recording.Stop();
        EXPECT_LT(Milliseconds(steady_clock::now() - start) - ran, 200)
            << "some 50 ms where nothing else runs";
        longer += (double(recorded.size()) / 192 - ran) / kRounds;
        from = std::search(from, sound.end(), recorded.begin(), recorded.end());
        ASSERT_NE(from, sound.end()) << "something is lost, or recorded twice";
        from += static_cast<ptrdiff_t>(recorded.size());
    }
    EXPECT_LT(std::abs(longer), 5);
}

// How often the thread that speaks with the server has gone to sleep, so far; -1 when there is none.
long WakesOfTheServersThread() {
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
        std::string name, line;
        std::getline(std::ifstream(task.path() / "comm"), name);
        if (name != "sound server") continue;
        const std::string wanted = "voluntary_ctxt_switches:";
        for (std::ifstream status(task.path() / "status"); std::getline(status, line);)
            if (line.starts_with(wanted)) return std::stol(line.substr(wanted.size()));
    }
    return -1;
}

TEST_F(SoundServer, WakesForNothingWhileItHasNothingToDo) {
    WavePlayer player;
    ASSERT_EQ(player.Open(Pcm(44100, 2, 16)), MMSYSERR_NOERROR);
    waveOutPause(player.handle);
    for (uint32_t i = 0; i < 8; i++)
        player.Written(Noise(21504, i));
    Recording recording(Pcm(48000, 2, 16), kMic, 8, 36000);
    recording.Start();
    recording.Stop();
    std::this_thread::sleep_for(milliseconds(100));
    long before = WakesOfTheServersThread();
    std::this_thread::sleep_for(milliseconds(700));
    EXPECT_EQ(WakesOfTheServersThread(), before);
    EXPECT_GE(before, 0);

    recording.Start();
    before = WakesOfTheServersThread();
    std::this_thread::sleep_for(milliseconds(500));
    EXPECT_LE(WakesOfTheServersThread() - before, 30) << "10 pieces came";
}

TEST_F(SoundServer, AVanishedSourceGivesWayToAnotherUntilNoneIsLeft) {
    WaveRecorder recorder;
    ASSERT_EQ(recorder.Open(Pcm(48000, 2, 16), kMic), MMSYSERR_NOERROR);
    WAVEHDR* const headers[] = {recorder.Added(19200), recorder.Added(19200), recorder.Added(192000)};
    recorder.Start();
    ASSERT_EQ(Execute("pactl unload-module module-remap-source"), 0);
    EXPECT_EQ(recorder.NextDone(), headers[0]);
    EXPECT_EQ(recorder.NextDone(), headers[1]);
    for (const char* const module : {"module-null-source", "module-null-sink"})
        ASSERT_EQ(Execute(std::string("pactl unload-module ") + module), 0);
    ASSERT_EQ(recorder.NextDone(), headers[2]);
    EXPECT_EQ(recorder.Queue(headers[2]), UINT{MMSYSERR_NODRIVER});
    EXPECT_EQ(recorder.Unprepare(headers[2]), MMSYSERR_NOERROR);
    EXPECT_LT(headers[2]->dwBytesRecorded, 192000u);
    EXPECT_EQ(waveInGetNumDevs(), 0u);
}

// Without a server, and with one that takes the connection and then says nothing.
TEST(SoundServerMissing, MeansNoDevices) {
    const char* const outer = std::getenv("PULSE_SERVER");
    const std::string before = outer ? outer : "";
    ASSERT_TRUE(PlatformUseCard(PLATFORM_CARD_SERVER));
    const fs::path path = fs::temp_directory_path() / ("silent-server-" + std::to_string(getpid()));
    setenv("PULSE_SERVER", ("unix:" + path.string()).c_str(), 1);
    auto from = steady_clock::now();
    EXPECT_EQ(waveOutGetNumDevs(), 0u);
    EXPECT_EQ(PlatformCardInUse(), PLATFORM_CARD_NONE);
    EXPECT_LT(Milliseconds(steady_clock::now() - from), 500);

    const int silent = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(silent, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(silent, 4), 0);
    from = steady_clock::now();
    EXPECT_EQ(waveOutGetNumDevs(), 0u);
    EXPECT_LT(Milliseconds(steady_clock::now() - from), 4000);
    close(silent);
    fs::remove(path);
    outer ? setenv("PULSE_SERVER", before.c_str(), 1) : unsetenv("PULSE_SERVER");
    EXPECT_TRUE(PlatformUseCard(PLATFORM_CARD_DEFAULT));
}

}  // namespace
}  // namespace tolvane::test
