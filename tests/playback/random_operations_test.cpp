// Thousands of operations in random order, against a model that knows nothing but which frames must be heard.
#include <random>
#include <sstream>

#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

constexpr uint32_t kFrames = 20000;

// As a host names it, and which frame it means.
struct Place {
    uint32_t value;
    uint16_t unit;
    uint64_t frame;
};

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
    void Start(const Place& from, const Place& to, bool again) {
        start = from.frame < kFrames ? static_cast<uint32_t>(from.frame) : 0;
        end = to.value && to.frame < kFrames ? static_cast<uint32_t>(to.frame) : kFrames;
        place = told = start;
        playing = true, paused = false, repeat = again;
        if (end <= start) Finish();
    }
    void Move(const Place& to) {
        if (!playing) return;
        place = told = static_cast<uint32_t>(std::min<uint64_t>(to.frame, end));
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
    // Anywhere, at the ends of the file, beyond them, and where a product with the size of a frame overflows.
    Place PickPlace() {
        constexpr uint32_t kExtremes[] = {0, 1, kFrames - 1, kFrames, kFrames + 1, 0x40000001, 0xFFFFFFFF};
        return At(Pick(8) ? Pick(kFrames) : kExtremes[Pick(std::size(kExtremes))],
                  static_cast<uint16_t>(Pick(4)));
    }
    // That many frames as a host may name them; what lies far beyond the end is the number itself.
    Place At(uint32_t frame, uint16_t unit) {
        const uint32_t block = format_.Block();
        if (unit == TOLVANE_SAMPLES) return {frame, unit, frame};
        if (unit == TOLVANE_BYTES) {
            const uint32_t bytes = frame > kFrames + 1 ? frame : frame * block + Pick(block);
            return {bytes, unit, bytes / block};
        }
        const uint32_t time = frame > kFrames + 1 ? frame : frame * 1000 / format_.rate;
        return {time, unit, uint64_t{time} * format_.rate / 1000};
    }

    void Start() {
        const Place from = PickPlace();
        const auto close_by = static_cast<uint32_t>(std::min<uint64_t>(from.frame, kFrames)) + Pick(4);
        const Place to = Pick(2) ? Place{} : At(Pick(3) ? Pick(kFrames) : close_by, from.unit);
        const bool repeat = Pick(4) == 0, was_playing = model_.playing;
        log_ << "start " << from.value << ' ' << to.value << " unit " << from.unit << ' ' << repeat << "; ";
        ASSERT_EQ(Play(from.value, to.value, from.unit, repeat),
                  was_playing ? TOLVANE_ALREADY_PLAYING : TOLVANE_OK);
        if (!was_playing) model_.Start(from, to, repeat);
    }
    void StartLoaded() {
        const Place from = PickPlace();
        const bool was_playing = model_.playing;
        log_ << "load, start " << from.value << " unit " << from.unit << "; ";
        ASSERT_EQ(AudioLoadFile(path_.c_str()), was_playing ? TOLVANE_ALREADY_PLAYING : TOLVANE_OK);
        ASSERT_EQ(AudioPlayCurrentFile(from.value, from.unit),
                  was_playing ? TOLVANE_ALREADY_PLAYING : TOLVANE_OK);
        if (!was_playing) model_.Start(from, {}, false);
    }
    void Move() {
        const Place to = PickPlace();
        log_ << "move " << to.value << " unit " << to.unit << "; ";
        ASSERT_EQ(AudioMoveTo(to.value, to.unit), TOLVANE_OK);
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
        ASSERT_EQ(AudioPause(), TOLVANE_OK);
        model_.paused = model_.playing;
    }
    void Resume() {
        log_ << "resume; ";
        ASSERT_EQ(AudioResume(), TOLVANE_OK);
        model_.paused = false;
    }
    void Stop() {
        log_ << "stop; ";
        ASSERT_EQ(AudioStop(), TOLVANE_OK);
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
        ASSERT_EQ(AudioGetPosition(TOLVANE_BYTES), model_.playing ? model_.told * format_.Block() : 0);
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
    // Frames of three and five samples divide no buffer.
    constexpr Format kFormats[] = {{8000, 1, 8}, {11025, 2, 16}, {8000, 3, 16}, {8000, 5, 8}};
    const PlatformVirtualDevice surround{"surround", 1, 192000, 6, 3};
    ASSERT_TRUE(PlatformVirtualSetOutputs(&surround, 1));
    PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED);
    Watchdog watchdog;
    Make(kFormats[GetParam() % std::size(kFormats)], kFrames);
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
