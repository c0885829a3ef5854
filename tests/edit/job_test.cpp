// The life of a job as a host sees it, and what is no job.
#include <gtest/gtest.h>

#include "support/edit_jobs.h"
#include "support/resources.h"
#include "support/temp_folder.h"
#include "support/watchdog.h"
#include "support/wave_files.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

class EditJobs : public ::testing::Test {
  protected:
    EditJob* Start(const std::string& target) {
        EditJob* job = nullptr;
        EXPECT_EQ(AudioChangeFormat(source_.c_str(), folder_.Path(target).c_str(), 22050, 8, 1, &job, 0), 0);
        EXPECT_NE(job, nullptr);
        return job;
    }

    TempFolder folder_;
    std::string source_ = folder_.Write("x.wav", WaveFile({}, Pattern(400'000)));
    Watchdog watchdog_;
};

// A host's view of a record: only the first fields matter, and where they lie.
struct Record {
    explicit Record(uint32_t tag) { words[0] = tag; }
    EditJob* Job() { return reinterpret_cast<EditJob*>(words); }
    uint32_t words[208] = {};  // 828 bytes and the longer pointer of 64 bits
    uint32_t &progress = words[200], &cancel = words[201], &finished = words[202], &reason = words[203];
};

TEST_F(EditJobs, OfNoJobAreOver) {
    Record other(827);
    other.progress = 50;
    other.reason = 311;
    for (EditJob* job : {static_cast<EditJob*>(nullptr), other.Job()}) {
        EXPECT_EQ(AudioEditProcessIsOver(job), 1u);
        EXPECT_EQ(AudioEditGetProcessProgress(job), 0u);
        EXPECT_EQ(AudioEditGetReasonForProcessExit(job), 0);
        EXPECT_EQ(AudioEditCancelPressed(job), 0);
    }
    EXPECT_EQ(other.cancel, 0u);
    EditJob* none = nullptr;
    EXPECT_EQ(AudioEditCloseHandle(&none), 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(AudioEditCloseHandle(nullptr), 0);
}

TEST_F(EditJobs, AnswerFromTheirRecord) {
    Record record(828);
    EXPECT_EQ(AudioEditProcessIsOver(record.Job()), 0u);
    record.progress = 250;
    EXPECT_EQ(AudioEditGetProcessProgress(record.Job()), 100u);
    EXPECT_EQ(record.progress, 100u) << "lowered in the record";
    record.progress = 42;
    EXPECT_EQ(AudioEditGetProcessProgress(record.Job()), 42u);
    EXPECT_EQ(AudioEditCancelPressed(record.Job()), 0);
    EXPECT_EQ(record.cancel, 1u);
    record.finished = 1;
    record.reason = 358;
    EXPECT_EQ(AudioEditProcessIsOver(record.Job()), 1u);
    EXPECT_EQ(AudioEditGetReasonForProcessExit(record.Job()), 358);
}

TEST_F(EditJobs, LeaveNothingBehindHoweverTheyEnd) {
    FinishJob(Start("warm.wav"));
    const Resources before = Resources::WithoutJobs();
    for (int i = 0; i < 40; ++i) {
        EditJob* job = Start(std::to_string(i) + ".wav");
        if (i % 4 == 0) AudioEditCancelPressed(job);
        if (i % 2 == 0) {
            EXPECT_EQ(AudioEditCloseHandle(&job), 0) << "closed while it runs";
            EXPECT_EQ(job, nullptr);
        } else {
            EXPECT_EQ(FinishJob(job), TOLVANE_OK);
        }
    }
    EXPECT_TRUE(NothingLeft(before));
}

}  // namespace
}  // namespace tolvane::test
