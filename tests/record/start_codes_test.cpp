// Every result code of a start, and what becomes of a file that had the name before.
#include <gmock/gmock.h>

#include "record/recorder.h"
#include "support/resources.h"

namespace tolvane::test {
namespace {

constexpr Format kBytes{8000, 1, 8};
const Bytes kOld = {'o', 'l', 'd'};

// Formats that no device could mean, of which some would divide by zero; needs no device.
TEST(RecordFormats, AreRefusedWhereTheyAreAbsurd) {
    const TempFolder folder;
    const std::string path = folder.Write("x.wav", kOld);
    const Format absurd[] = {
        {0, 2, 16},         {44100, 0, 16},      {44100, 2, 0},         {44100, 2, 7},
        {44100, 65535, 16}, {0xFFFFFFFF, 2, 16}, {44100, 65535, 65535}, {0x40000000, 4, 8}};
    for (const Format& format : absurd) {
        std::string name = path;
        SCOPED_TRACE(::testing::Message() << format.rate << ' ' << format.channels << ' ' << format.bits);
        EXPECT_EQ(AudioStartRecord(name.data(), format.rate, format.bits, format.channels, 0),
                  TOLVANE_FORMAT_NOT_RECORDED);
        EXPECT_EQ(AudioStartRecordLevelTest(format.rate, format.bits, format.channels),
                  TOLVANE_FORMAT_NOT_RECORDED);
        AudioGetRecordPosition(TOLVANE_MILLISECONDS);
        AudioGetRecordPosition(TOLVANE_SAMPLES);
    }
    EXPECT_EQ(ReadAll(path), kOld);
    EXPECT_EQ(AudioStopRecord(), TOLVANE_OK) << "nothing runs";
}

TEST(RecordNames, AreTrimmedAndBounded) {
    const TempFolder folder;
    char blanks[] = " \t\r\n\v\f ";
    EXPECT_EQ(AudioStartRecord(blanks, 44100, 16, 2, 0), TOLVANE_NO_RECORD_PATH);
    EXPECT_STREQ(blanks, "");
    EXPECT_EQ(AudioStartRecord(nullptr, 44100, 16, 2, 0), TOLVANE_NO_RECORD_PATH);
    for (const size_t length : {260u, 261u, 5000u}) {
        std::string name = "  " + folder.Path("x") + std::string(length, '/') + " ";
        name = name.substr(0, length + 2) + "\n";
        EXPECT_EQ(AudioStartRecord(name.data(), 44100, 16, 2, 0), TOLVANE_RECORD_NOT_CREATED) << length;
        EXPECT_EQ(std::string(name.c_str()).size(), length);
    }
    EXPECT_THAT(folder.Names(), ::testing::IsEmpty());
}

class RecordStart : public Recorder {
  protected:
    uint16_t StartOverOld(const Format& format = kBytes) {
        folder_.Write("record.wav", kOld);
        return Start(format);
    }
};

TEST_F(RecordStart, RecordsIntoAnyNameThatFits) {
    for (const char* around : {"  ", "\t"}) {
        EXPECT_EQ(StartAs(around + path_ + around, kBytes), TOLVANE_OK);
        AudioStopRecord();
        EXPECT_EQ(File(), RecordedFile(kBytes, {}));
    }
    std::string path = folder_.Path();
    while (path.size() < 257)
        path += "/.";
    path += path.size() == 257 ? "/x" : "x";
    path.resize(259, 'x');
    EXPECT_EQ(StartAs(path, kBytes), TOLVANE_OK);
    AudioStopRecord();
    EXPECT_EQ(ReadAll(path), RecordedFile(kBytes, {}));
}

TEST_F(RecordStart, LeavesTheOldFileWhereItCreatesNone) {
    EXPECT_EQ(StartOverOld({8000, 3, 8}), TOLVANE_FORMAT_NOT_RECORDED);
    EXPECT_EQ(File(), kOld);
    PlatformVirtualSetInputs(nullptr, 0);
    EXPECT_EQ(StartOverOld(), TOLVANE_FORMAT_NOT_RECORDED);
    EXPECT_EQ(File(), kOld);
    ResetCard();
    EXPECT_EQ(StartAs(folder_.Path("missing/x.wav"), kBytes), TOLVANE_RECORD_NOT_CREATED);
    EXPECT_EQ(StartAs(folder_.Path(), kBytes), TOLVANE_RECORD_NOT_CREATED);
    std::filesystem::permissions(path_, std::filesystem::perms::owner_read);
    EXPECT_EQ(Start(kBytes), TOLVANE_RECORD_NOT_CREATED);
    EXPECT_EQ(File(), kOld) << "a file that may not be written is not deleted either";
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
    EXPECT_EQ(StartAs("/dev/full", kBytes), TOLVANE_RECORD_NOT_CREATED);
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
    EXPECT_THAT(folder_.Names(), ::testing::ElementsAre("record.wav"));
    ExpectToRecord();
}

TEST_F(RecordStart, DeletesTheFileThatItCreated) {
    const struct {
        const char* service;
        uint32_t nth;
        uint16_t code;
        bool creates;
    } cases[] = {{"GlobalAlloc", 1, TOLVANE_NO_RECORD_BUFFERS, false},
                 {"GlobalAlloc", 4, TOLVANE_NO_RECORD_BUFFERS, false},  // of two a buffer
                 {"mmioWrite", 1, TOLVANE_RECORD_NOT_CREATED, true},
                 {"mmioFlush", 1, TOLVANE_RECORD_NOT_CREATED, true},
                 {"waveInOpen", 2, TOLVANE_RECORDER_NOT_OPENED, true},
                 {"waveInAddBuffer", 1, TOLVANE_RECORD_NOT_STARTED, true},
                 {"waveInPrepareHeader", 1, TOLVANE_RECORD_NOT_STARTED, true},
                 {"waveInStart", 1, TOLVANE_RECORD_NOT_STARTED, true}};
    ExpectToRecord();
    for (const auto& [service, nth, code, creates] : cases) {
        const Resources before = Resources::Now();
        {
            FaultScope fault(service, nth, true);
            EXPECT_EQ(StartOverOld(), code) << service;
        }
        EXPECT_TRUE(NothingLeft(before, 8192));
        EXPECT_EQ(File(), creates ? Bytes() : kOld) << service;
        EXPECT_FALSE(State().open) << service;
        EXPECT_FALSE(Runs()) << service;
        ExpectToRecord();
    }
    FaultScope memory("GlobalAlloc", 5, true);
    EXPECT_EQ(Start(kBytes), TOLVANE_OK) << "two buffers are enough";
    EXPECT_EQ(PlatformVirtualInputQueued(0, nullptr, 0), 2u);
    const Bytes sound = HearBuffers(7);
    AudioStopRecord();
    EXPECT_EQ(File(), RecordedFile(kBytes, sound));
}

}  // namespace
}  // namespace tolvane::test
