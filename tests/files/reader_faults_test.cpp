// Each service call behind the reading exports fails in turn: a documented code, nothing left behind, and the
// next call does its work.
#include <gmock/gmock.h>

#include "support/faults.h"
#include "support/reading_exports.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

using ::testing::AnyOf;

class ReaderFaults : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!FaultsAvailable()) GTEST_SKIP() << "the system's own services cannot be made to fail";
    }
    TempFolder folder_;
    const std::string file_ = folder_.Write("x.wav", WaveFile({}, Pattern(400)));
    const char* const path_ = file_.c_str();
};

TEST_F(ReaderFaults, LeaveACodeAndNothingElse) {
    struct Answers {
        InputFileInfo format;
        uint16_t format_code;
        uint32_t size;
        uint16_t size_code;
        AudioFileInfo info;
        uint16_t info_code;
        uint32_t takes_positions, takes_speed;
    };
    const auto ask = [this] {
        Answers now = {};
        now.format_code = GetInputFileInfo(path_, &now.format);
        now.size_code = GetDataChunkSize(path_, &now.size);
        now.info_code = AudioGetFileInfo(&now.info, path_, TOLVANE_SAMPLES, 1);
        now.takes_positions = CanSetPositionAndSampleRate(path_);
        now.takes_speed = AudioIsTheSampleSpeedSupported(path_, 8000);
        return now;
    };
    const auto expect_documented = [&] {
        const Answers now = ask();
        EXPECT_THAT(now.format_code, AnyOf(0, 102, 115, 116));
        EXPECT_THAT(now.size_code, AnyOf(0, 102, 107, 110));
        EXPECT_THAT(now.info_code, AnyOf(0, 102, 115, 116));
        EXPECT_THAT(+now.info.length, AnyOf(0u, 100u)) << "0: the size could not be read";
        EXPECT_LE(now.takes_positions, 1u);
        EXPECT_LE(now.takes_speed, 1u);
    };
    const auto expect_answers = [&] {
        const Answers now = ask();
        EXPECT_EQ(now.format_code + now.size_code + now.info_code, TOLVANE_OK);
        EXPECT_EQ(now.format.nSamplesPerSec, 44100u);
        EXPECT_EQ(now.size, 400u);
        EXPECT_EQ(+now.info.length, 100u);
        EXPECT_EQ(now.takes_positions, 1u);
    };
    FailEachCall("reading", expect_documented, expect_answers);
}

// The codes that only a failing service can bring about.
TEST_F(ReaderFaults, TellMissingMemoryFromMemoryNotHandedOut) {
    InputFileInfo info{};
    {
        FaultScope fault("GlobalAlloc", 1);
        EXPECT_EQ(GetInputFileInfo(path_, &info), TOLVANE_NO_MEMORY);
    }
    {
        FaultScope fault("GlobalLock", 1);
        EXPECT_EQ(GetInputFileInfo(path_, &info), TOLVANE_MEMORY_NOT_LOCKED);
    }
    EXPECT_EQ(GetInputFileInfo(path_, &info), TOLVANE_OK);
}

}  // namespace
}  // namespace tolvane::test
