// A program that records is killed at random moments: its file is whole, holds what was heard byte for byte, and lacks no
// more than the last second.
#include <gtest/gtest.h>

#ifdef _WIN32
TEST(KilledRecording, LacksTheLastSecondAtMost) {
    GTEST_SKIP() << "a process is not ended from outside at random moments";
}
#else

#include <iostream>

#include "record/killed_sound.h"
#include "support/child.h"
#include "support/victim.h"

namespace tolvane::test {
namespace {

constexpr size_t kHeader = 46;

class KilledRecording : public testing::Test {
  protected:
    void Once(uint32_t seed, bool ask_others);
    void CheckFile(uint32_t seed, const Format& format, size_t tenths);

    TempFolder folder_;
    std::mt19937 random_{std::random_device{}()};
    double seconds_ = 0, most_lacking_ = 0;
};

void KilledRecording::CheckFile(uint32_t seed, const Format& format, size_t tenths) {
    const Bytes file = ReadAll(folder_.Path("record.wav"));
    ASSERT_GE(file.size(), kHeader);
    const size_t size = Number(file, 42, 4);
    ASSERT_LE(kHeader + size, file.size());
    EXPECT_EQ(Number(file, 4, 4), kHeader - 8 + size);
    EXPECT_EQ(Part(file, 12, 38), Chunk("fmt ", FormatRecord(format) + Little(0, 2)));
    EXPECT_EQ(size % format.Block(), 0u);
    Bytes heard;
    for (uint32_t i = 0; heard.size() < size; ++i)
        heard = std::move(heard) + Pattern(format.rate / 10 * format.Block(), seed + i);
    EXPECT_TRUE(Part(file, kHeader, kHeader + size) == Part(heard, 0, size));
    const double recorded = static_cast<double>(tenths) / 10;
    const double lacking = recorded - static_cast<double>(size) / format.BytesPerSecond();
    EXPECT_LT(lacking, 1);
    seconds_ += recorded;
    most_lacking_ = std::max(most_lacking_, lacking);
}

void KilledRecording::Once(uint32_t seed, bool ask_others) {
    std::filesystem::remove(folder_.Path("steps"));
    std::filesystem::remove(folder_.Path("record.wav"));
    const Victim victim({TOLVANE_KILLED_RECORDER, folder_.Path(), std::to_string(seed)});
    ASSERT_TRUE(victim.KillAfterAStep(folder_.Path("steps"), random_));
    CheckFile(seed, KilledFormat(seed), std::filesystem::file_size(folder_.Path("steps")));
    const bool has_sound = Number(ReadAll(folder_.Path("record.wav")), 42, 4) > 0;
    if (!ask_others || !has_sound) return;
    EXPECT_TRUE(RunTools(folder_.Path(),
                         "sox record.wav -n stat 2> said && ! grep -qi warn said\n"
                         "ffmpeg -v error -xerror -i record.wav -f null - > said 2>&1 && ! grep . said"));
}

// One in twenty is also opened by other programs.
TEST_F(KilledRecording, LacksTheLastSecondAtMost) {
    const bool others = RunTools(folder_.Path(), "sox --version > said; ffmpeg -version > said");
    const int kills = ForKills(60, [=, this](uint32_t seed, int i) { Once(seed, others && i % 20 == 0); });
    EXPECT_GT(seconds_, kills / 10);
    std::cout << kills << " kills in " << seconds_ << " recorded seconds; at most " << most_lacking_
              << " s lacking\n";
}

}  // namespace
}  // namespace tolvane::test
#endif
