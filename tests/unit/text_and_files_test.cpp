// Small helpers on texts and files: blanks, temp names, free space, lengths, identity.
#include <windows.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "files/inspect.h"
#include "files/replacement.h"
#include "frame/disk_space.h"
#include "frame/scratch_files.h"
#include "frame/text.h"
#include "support/faults.h"
#include "support/temp_folder.h"

namespace tolvane {
namespace {

using test::Bytes;
using test::TempFolder;
namespace fs = std::filesystem;

std::string Trimmed(std::string text) {
    text.push_back(0);
    TrimSpaces(text.data());
    return text.c_str();
}

TEST(TrimSpaces, TakesWhiteSpaceOffBothEnds) {
    EXPECT_EQ(Trimmed("  a \t"), "a");
    EXPECT_EQ(Trimmed("\t\n\v\f\r x y \r\f\v\n\t"), "x y");
    EXPECT_EQ(Trimmed("  \t "), "");
    EXPECT_EQ(Trimmed(""), "");
    EXPECT_EQ(Trimmed("\xA0\x85 \xFF"), "\xA0\x85 \xFF") << "characters beyond ASCII are none";
}

TEST(CopiedText, IsCutAndEnds) {
    char cut[4] = {'#', '#', '#', '#'};
    CopyText(cut, 3, "long");
    EXPECT_EQ(std::string(cut, 4), std::string("lo\0#", 4));
}

TEST(TempFile, IsAnotherEmptyFileEachTimeAndGoes) {
    std::string gone;
    {
        const TempFile first = TempFile::InSystemFolder(), second = TempFile::InSystemFolder();
        ASSERT_TRUE(first && second);
        EXPECT_STRNE(first.Path(), second.Path());
        for (const char* name : {first.Path(), second.Path()}) {
            EXPECT_EQ(fs::file_size(name), 0u);
            EXPECT_TRUE(fs::exists(fs::temp_directory_path() / fs::path(name).filename()));
            EXPECT_THAT(fs::path(name).filename().string().substr(0, 3), ::testing::AnyOf("kor", "KOR"));
        }
        gone = first.Path();
    }
    EXPECT_FALSE(fs::exists(gone));
    if (!test::FaultsAvailable()) return;
    for (const char* service : {"GetTempPathA", "GetTempFileNameA"}) {
        test::FaultScope fault(service, 1);
        EXPECT_STREQ(TempFile::InSystemFolder().Path(), "") << service;
    }
}

class FreeDiskSpace : public ::testing::Test {
  protected:
    void TearDown() override { DeleteScratchFiles(); }
    TempFolder folder_;
};

// Others write meanwhile, so the figures agree only roughly.
void ExpectSpaceOf(const std::string& folder) {
    std::error_code none;
    const auto expected = static_cast<double>(fs::space(folder, none).available);
    if (none || !fs::path(folder).is_absolute() || SetTempPath(folder.c_str()) != TOLVANE_OK) return;
    EXPECT_NEAR(static_cast<double>(GetFreeDiskSpace()), expected, 512e6) << folder;
}

TEST_F(FreeDiskSpace, IsThatOfTheTempFoldersVolume) {
    ASSERT_EQ(SetTempPath(folder_.Path().c_str()), TOLVANE_OK);
    EXPECT_GT(GetFreeDiskSpace(), 0u);
    ExpectSpaceOf(folder_.Path());
    ExpectSpaceOf("/dev/shm");  // without a drive letter: often a volume of its own
    EXPECT_EQ(HasExtendedDiskQuery(), 1);
}

TEST_F(FreeDiskSpace, IsNoneWhereItCannotBeAsked) {
    if (!test::FaultsAvailable()) GTEST_SKIP() << "the system's own services cannot be made to fail";
    ASSERT_EQ(SetTempPath(folder_.Path().c_str()), TOLVANE_OK);
    for (const char* service : {"LoadLibraryExA", "GetProcAddress", "GetDiskFreeSpaceExA"}) {
        test::FaultScope fault(service, 1);
        EXPECT_EQ(GetFreeDiskSpace(), 0u) << service;
    }
    const auto expected = static_cast<double>(GetFreeDiskSpace());
    test::FaultScope old_system("GetVersionExA", 1);
    EXPECT_NEAR(static_cast<double>(GetFreeDiskSpace()), expected, 512e6) << "counted in clusters";
}

TEST(FileLength, IsNoneForWhatIsNoFile) {
    const TempFolder folder;
    EXPECT_EQ(GetFileLength(folder.Write("file", Bytes(12345, 26)).c_str()), 12345u);
    EXPECT_EQ(GetFileLength(folder.Write("empty", {}).c_str()), 0u);
    EXPECT_EQ(GetFileLength(folder.Path("missing").c_str()), 0u);
    EXPECT_EQ(GetFileLength(folder.Path().c_str()), 0u);
    EXPECT_EQ(GetFileLength(nullptr), 0u);
}

TEST(FileIdentity, IsThatOfTheCallBefore) {
    const TempFolder folder;
    const std::string a = folder.Write("a", Bytes(10)), b = folder.Write("b", Bytes(10));
    const auto same = [](const std::string& path) { return IsSameFileAsLast(path.c_str()); };
    EXPECT_EQ(same(a), 0);
    EXPECT_EQ(same(a), 1);
    EXPECT_EQ(same(b), 0);
    EXPECT_EQ(same(a), 0);
    EXPECT_EQ(same(folder.Path("missing")), 0);
    EXPECT_EQ(same(a), 1) << "a file that could not be opened is no call";
    if (test::FaultsAvailable()) {  // elsewhere the system may count a reading
        std::ifstream in(a, std::ios::binary);
        EXPECT_EQ(std::distance(std::istreambuf_iterator<char>(in), {}), 10);
        EXPECT_EQ(same(a), 1) << "reading does not change a file";
    }
    folder.Write("a", Bytes(11));
    EXPECT_EQ(same(a), 0) << "written anew";
    EXPECT_EQ(same(a), 1);
    fs::last_write_time(a, fs::last_write_time(a) - std::chrono::hours(1));
    EXPECT_EQ(same(a), 0) << "another time of writing";
    fs::remove(a);
    fs::copy_file(b, a);
    EXPECT_EQ(same(a), 0) << "another file of the same name";
}

// What is private must not be open to all while its successor is written beside it.
TEST(Replacement, IsNobodyElsesBeforeItHasTheOldFilesRights) {
    const TempFolder folder;
    const std::string path = folder.Write("x", Bytes(10));
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    Replacement replacement;
    ASSERT_TRUE(replacement.Begin(path.c_str()));
    std::ofstream(replacement.Path()) << "new";
#ifndef _WIN32
    EXPECT_EQ(fs::status(replacement.Path()).permissions() & (fs::perms::group_all | fs::perms::others_all),
              fs::perms::none);
#endif
    ASSERT_TRUE(replacement.Commit());
    EXPECT_EQ(test::ReadAll(path), Bytes({'n', 'e', 'w'}));
    EXPECT_EQ(folder.Names().size(), 1u);
}

}  // namespace
}  // namespace tolvane
