// Each service call behind the reading exports fails in turn: a documented code, nothing left behind, and the
// next call does its work.
#include <iostream>

#include <gmock/gmock.h>

#include "support/faults.h"
#include "support/reading_exports.h"
#include "support/resources.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

using ::testing::AnyOf;

class ReaderFaults : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!FaultsAvailable()) GTEST_SKIP() << "the system's own services cannot be made to fail";
        path_ = folder_.Write("x.wav", WaveFile({}, Pattern(400)));
    }
    // Fails every call behind `ask` (which checks its own answer) and then looks whether `works`.
    template <class Ask, class Works>
    void Sweep(const char* name, Ask ask, Works works) {
        const auto sweep = [&] {
            return FailEachCall([&] { ask(path_.c_str()); }, [&] { EXPECT_TRUE(works(path_.c_str())); });
        };
        sweep();
        const Resources before = Resources::Now();
        const uint32_t points = sweep();
        EXPECT_PRED2([](auto& a, auto& b) { return NothingLeaked(a, b); }, before, Resources::Now()) << name;
        EXPECT_GT(points, 0u) << name;
        std::cout << name << ": " << points << " service calls failed in turn\n";
    }

    TempFolder folder_;
    std::string path_;
};

TEST_F(ReaderFaults, LeaveACodeAndNothingElse) {
    Sweep(
        "GetInputFileInfo",
        [](const char* path) {
            InputFileInfo info{};
            EXPECT_THAT(GetInputFileInfo(path, &info), AnyOf(0, 102, 115, 116));
        },
        [](const char* path) {
            InputFileInfo info{};
            return GetInputFileInfo(path, &info) == TOLVANE_OK && info.nSamplesPerSec == 44100;
        });
    Sweep(
        "GetDataChunkSize",
        [](const char* path) {
            uint32_t size = 0;
            EXPECT_THAT(GetDataChunkSize(path, &size), AnyOf(0, 102, 107, 110));
        },
        [](const char* path) {
            uint32_t size = 0;
            return GetDataChunkSize(path, &size) == TOLVANE_OK && size == 400;
        });
    Sweep(
        "AudioGetFileInfo",
        [](const char* path) {
            AudioFileInfo info{};
            const uint16_t code = AudioGetFileInfo(&info, path, TOLVANE_SAMPLES, 1);
            EXPECT_THAT(code, AnyOf(0, 102, 115, 116));
            EXPECT_THAT(info.length, AnyOf(0u, 100u)) << "0: the size could not be read";
        },
        [](const char* path) {
            AudioFileInfo info{};
            return AudioGetFileInfo(&info, path, TOLVANE_SAMPLES, 1) == TOLVANE_OK && info.length == 100;
        });
    Sweep(
        "CanSetPositionAndSampleRate",
        [](const char* path) { EXPECT_LE(CanSetPositionAndSampleRate(path), 1u); },
        [](const char* path) { return CanSetPositionAndSampleRate(path) == 1; });
    Sweep(
        "AudioIsTheSampleSpeedSupported",
        [](const char* path) { EXPECT_LE(AudioIsTheSampleSpeedSupported(path, 8000), 1u); },
        [](const char* path) { return AudioIsTheSampleSpeedSupported(path, 8000) <= 1; });
}

// The codes that only a failing service can bring about.
TEST_F(ReaderFaults, TellMissingMemoryFromMemoryNotHandedOut) {
    InputFileInfo info{};
    {
        FaultScope fault("GlobalAlloc", 1);
        EXPECT_EQ(GetInputFileInfo(path_.c_str(), &info), TOLVANE_NO_MEMORY);
    }
    {
        FaultScope fault("GlobalLock", 1);
        EXPECT_EQ(GetInputFileInfo(path_.c_str(), &info), TOLVANE_MEMORY_NOT_LOCKED);
    }
    EXPECT_EQ(GetInputFileInfo(path_.c_str(), &info), TOLVANE_OK);
}

}  // namespace
}  // namespace tolvane::test
