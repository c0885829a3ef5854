// What was heard is compared byte for byte; a failure tells which places of the file it came from instead.
#include "support/virtual_card.h"

#include <algorithm>
#include <sstream>

namespace tolvane::test {

void VirtualCard::SetUp() {
    AudioStop();
    if (!PlatformUseCard(PLATFORM_CARD_VIRTUAL))
        GTEST_SKIP() << "cards cannot be chosen here: no virtual card";
    ASSERT_TRUE(PlatformVirtualReset());
    SelectOutputDevice(TOLVANE_WAVE_MAPPER);
    SelectInputDevice(TOLVANE_WAVE_MAPPER);
}

void VirtualCard::TearDown() {
    AudioStop();
    SelectOutputDevice(TOLVANE_WAVE_MAPPER);
    PlatformVirtualReset();
    PlatformUseCard(PLATFORM_CARD_DEFAULT);
}

void Playing::SetUp() {
    VirtualCard::SetUp();
    if (!IsSkipped()) PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED);
}

const std::string& Playing::Make(const Format& format, size_t frames) {
    format_ = format;
    sound_ = Pattern(frames * format.Block());
    path_ = folder_.Write("sound.wav", WaveFile(format, sound_));
    return path_;
}

uint16_t Playing::Play(uint32_t start, uint32_t end, uint16_t unit, bool repeat, uint32_t rate) {
    return AudioPlayWaveEx(path_.c_str(), start, unit, rate, 1, end, repeat);
}

void Playing::PlayOut() {
    const int before = window_.Ended();
    for (int seconds = 0; seconds < 1000 && State().open; ++seconds)
        Advance(State().rate);
    PlatformVirtualSettle();
    EXPECT_TRUE(Closed());
    EXPECT_EQ(window_.Ended(), before + 1);
}

PlatformVirtualState Playing::State() const {
    PlatformVirtualState state{};
    PlatformVirtualGetState(0, &state);
    return state;
}

Bytes Playing::PlayedBytes() const {
    Bytes bytes(PlatformVirtualPlayed(0, 0, nullptr, 0));
    PlatformVirtualPlayed(0, 0, bytes.data(), bytes.size());
    return bytes;
}

// The spans of `sound` that `heard` is put together from, in frames.
static std::string Places(const Bytes& heard, const Bytes& sound, size_t block) {
    std::ostringstream text;
    for (size_t at = 0, pieces = 0; at < heard.size() && pieces < 20; ++pieces) {
        const auto key = heard.begin() + static_cast<ptrdiff_t>(at);
        const auto key_end = key + static_cast<ptrdiff_t>(std::min<size_t>(8, heard.size() - at));
        const auto found =
            static_cast<size_t>(std::search(sound.begin(), sound.end(), key, key_end) - sound.begin());
        if (found == sound.size()) return text.str() + "? at byte " + std::to_string(at);
        size_t size = 0;
        while (at + size < heard.size() && found + size < sound.size() &&
               heard[at + size] == sound[found + size])
            ++size;
        text << '[' << found / block << ", " << (found + size) / block << ") ";
        at += size;
    }
    return text.str();
}

::testing::AssertionResult Playing::HeardBytes(const Bytes& expected) const {
    const Bytes heard = PlayedBytes();
    if (heard == expected) return ::testing::AssertionSuccess();
    const auto differs = std::mismatch(heard.begin(), heard.end(), expected.begin(), expected.end());
    return ::testing::AssertionFailure() << heard.size() << " bytes heard, " << expected.size()
                                         << " expected; different from byte " << differs.first - heard.begin()
                                         << "; heard the frames " << Places(heard, sound_, format_.Block());
}

::testing::AssertionResult Playing::Heard(const std::vector<Span>& spans) const {
    Bytes expected;
    for (const auto& span : spans)
        expected = std::move(expected) + Part(sound_, span.from * format_.Block(), span.to * format_.Block());
    return HeardBytes(expected);
}

}  // namespace tolvane::test
