// Files that break off anywhere or lie about anything: an answer, never a crash, a hang or a division by
// zero.
#include "support/reading_exports.h"
#include "support/virtual_card.h"
#include "support/watchdog.h"

namespace tolvane::test {
namespace {

// Plays on the virtual card where there is one; the reading exports are tried everywhere.
class HostileFiles : public ::testing::Test {
  protected:
    void SetUp() override {
        AudioStop();
        play_ = PlatformUseCard(PLATFORM_CARD_VIRTUAL) && PlatformVirtualReset() &&
                PlatformVirtualSetClock(PLATFORM_CLOCK_MOVED);
    }
    void TearDown() override {
        AudioStop();
        PlatformVirtualReset();
        PlatformUseCard(PLATFORM_CARD_DEFAULT);
    }
    void Try(const Bytes& file, const std::string& what) {
        SCOPED_TRACE(what);
        watchdog_.At(what);
        ReadEverything(folder_.Write("x.wav", file), play_);
        if (HasFailure()) folder_.Write("failed.wav", file);
    }

    bool play_ = false;
    TempFolder folder_;
    Watchdog watchdog_;
};

Bytes EverythingIn(const Format& format) {
    return Riff(Chunk("LIST", Pattern(5)) + Chunk("fmt ", FormatRecord(format, Pattern(2))) +
                Chunk("fact", Pattern(4)) + Chunk("data", Pattern(60)) + Chunk("LIST", Pattern(6)));
}

TEST_F(HostileFiles, MayBreakOffAtAnyByte) {
    for (const Format& format : {Format{44100, 2, 16}, Format{8000, 1, 8, 0x11}}) {
        const Bytes whole = EverythingIn(format);
        for (size_t size = 0; size <= whole.size(); ++size)
            Try(Part(whole, 0, size), "the first " + std::to_string(size) + " bytes");
    }
}

// Every field of the format record and every size at its extremes, one by one and all together.
TEST_F(HostileFiles, MayClaimExtremeSizesAndFormats) {
    const Bytes whole = WaveFile({44100, 2, 16}, Pattern(64));
    struct Field {
        size_t at, size;
    };
    constexpr Field kFields[] = {{4, 4},  {16, 4}, {20, 2}, {22, 2}, {24, 4},
                                 {28, 4}, {32, 2}, {34, 2}, {40, 4}};
    constexpr uint32_t kValues[] = {0,       1,          7,          0x7FFF,     0x8000,    0xFFFF,
                                    0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    const auto put = [](Bytes& file, Field field, uint32_t value) {
        const Bytes bytes = Little(value, field.size);
        std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<ptrdiff_t>(field.at));
    };
    for (const uint32_t value : kValues) {
        Bytes all = whole;
        for (const Field field : kFields) {
            Bytes one = whole;
            put(one, field, value);
            put(all, field, value);
            Try(one, "the field at " + std::to_string(field.at) + " is " + std::to_string(value));
        }
        Try(all, "all fields are " + std::to_string(value));
    }
}

TEST_F(HostileFiles, MayNestTheirChunksDeeply) {
    Bytes nested = Chunk("data", Pattern(8));
    for (int depth = 0; depth < 2000; ++depth)
        nested = Chunk("LIST", Bytes{'W', 'A', 'V', 'E'} + nested);
    Try(Riff(nested), "lists in lists");
    Bytes many;
    for (int i = 0; i < 20000; ++i)
        many = std::move(many) + Chunk("junk", {});
    Try(Riff(many + Chunk("fmt ", FormatRecord({}))), "many empty chunks");
    Try(Riff(Chunk("fmt ", FormatRecord({})) + Chunk("data", {}, 0x80000000) + Chunk("data", Pattern(8))),
        "two sounds");
}

}  // namespace
}  // namespace tolvane::test
