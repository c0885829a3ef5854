// Thousands of operations in random order, against a model that knows nothing but which frames must be heard.
#include <random>
#include <sstream>

#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

constexpr uint32_t kFrames = 20000;

// A playback as the host is promised it.
struct Model {
    bool playing = false, paused = false, repeat = false;
    uint32_t start = 0, end = 0, place = 0;
    uint32_t told = 0;  // the position: grows on through repeats
    int ended = 0;
    std::vector<std::pair<size_t, size_t>> heard;

    void Finish() {
        ended += playing;
        playing = paused = false;
    }
    void Start(uint32_t from, uint32_t to, bool again) {
        start = from < kFrames ? from : 0;
        end = to && to < kFrames ? to : kFrames;
        place = told = start;
        playing = true, paused = false, repeat = again;
        if (end <= start) Finish();
    }
    void Move(uint32_t to) {
        if (!playing) return;
        place = told = std::min(to, end);
        if (place == end && !repeat) Finish();
    }
    void Advance(uint32_t frames) {
        while (frames > 0 && playing && !paused) {
            if (place == end) place = start;
            const uint32_t step = std::min(frames, end - place);
            heard.emplace_back(place, place + step);
            place += step, told += step, frames -= step;
            if (place == end && !repeat) Finish();
        }
    }
};

class RandomOperations : public Playing, public ::testing::WithParamInterface<uint32_t> {
  protected:
    uint32_t Pick(uint32_t count) { return static_cast<uint32_t>(random_() % count); }
    uint32_t PickFrame() { return Pick(10) ? Pick(kFrames) : kFrames - 2 + Pick(5); }

    void Start() {
        const uint32_t from = PickFrame(), to = Pick(2) ? 0 : PickFrame();
        const bool repeat = Pick(4) == 0;
        const bool was_playing = model_.playing;
        log_ << "start " << from << ' ' << to << ' ' << repeat << "; ";
        ASSERT_EQ(Play(from, to, TOLVANE_SAMPLES, repeat),
                  was_playing ? TOLVANE_ALREADY_PLAYING : TOLVANE_OK);
        if (!was_playing) model_.Start(from, to, repeat);
    }
    void StartLoaded() {
        const uint32_t from = PickFrame();
        const bool was_playing = model_.playing;
        log_ << "load, start " << from << "; ";
        ASSERT_EQ(AudioLoadFile(path_.c_str()), was_playing ? TOLVANE_ALREADY_PLAYING : TOLVANE_OK);
        ASSERT_EQ(AudioPlayCurrentFile(from * format_.Block(), TOLVANE_BYTES),
                  was_playing ? TOLVANE_ALREADY_PLAYING : TOLVANE_OK);
        if (!was_playing) model_.Start(from, 0, false);
    }
    void Move() {
        const uint32_t to = PickFrame(), inside = Pick(format_.Block());
        log_ << "move " << to << "; ";
        AudioMoveTo(to * format_.Block() + inside, TOLVANE_BYTES);
        model_.Move(to);
    }
    void Run() {
        const uint32_t frames = Pick(3) ? Pick(2000) : Pick(2) ? Pick(3) : Pick(15000);
        log_ << "advance " << frames << "; ";
        Advance(frames);
        model_.Advance(frames);
    }
    void Pause() {
        log_ << "pause; ";
        AudioPause();
        model_.paused = model_.playing;
    }
    void Resume() {
        log_ << "resume; ";
        AudioResume();
        model_.paused = false;
    }
    void Stop() {
        log_ << "stop; ";
        AudioStop();
        model_.Finish();
    }
    void Step() {
        static constexpr void (RandomOperations::*kSteps[])() = {
            &RandomOperations::Start,  &RandomOperations::StartLoaded, &RandomOperations::Move,
            &RandomOperations::Move,   &RandomOperations::Run,         &RandomOperations::Run,
            &RandomOperations::Run,    &RandomOperations::Pause,       &RandomOperations::Resume,
            &RandomOperations::Resume, &RandomOperations::Stop};
        (this->*kSteps[model_.playing || Pick(3) ? Pick(std::size(kSteps)) : Pick(2)])();
        PlatformVirtualSettle();
    }
    void Check() {
        ASSERT_TRUE(window_.AwaitEnd(model_.ended));
        ASSERT_EQ(window_.Ended(), model_.ended);
        ASSERT_EQ(Closed(), !model_.playing);
        ASSERT_EQ(AudioGetPosition(TOLVANE_SAMPLES), model_.playing ? model_.told : 0);
        ASSERT_EQ(State().paused, model_.paused ? 1u : 0u);
        Bytes expected;
        for (const auto& [from, to] : model_.heard)
            expected = std::move(expected) + Part(sound_, from * format_.Block(), to * format_.Block());
        ASSERT_TRUE(HeardBytes(expected));
        PlatformVirtualClearPlayed(0);
        model_.heard.clear();
    }

    std::mt19937 random_{GetParam()};
    Model model_;
    std::ostringstream log_;
};

TEST_P(RandomOperations, AreHeardAsPromised) {
    Watchdog watchdog;
    Make(GetParam() % 2 ? Format{8000, 1, 8} : Format{11025, 2, 16}, kFrames);
    for (int step = 0; step < 400 && !HasFatalFailure(); ++step) {
        watchdog.At(log_.str());
        Step();
        Check();
    }
    if (HasFatalFailure()) ADD_FAILURE() << log_.str();
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOperations, ::testing::Range(1u, 21u));

}  // namespace
}  // namespace tolvane::test
