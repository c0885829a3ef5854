// The five scratch files: where they lie, when they come and go, which folders are taken.
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include <gmock/gmock.h>

#include "support/child.h"
#include "support/faults.h"
#include "support/temp_folder.h"
#include "tolvane.h"

namespace tolvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// First three letters of the files in a folder, sorted; marks those that are not empty.
std::vector<std::string> Prefixes(const std::string& folder) {
    std::vector<std::string> prefixes;
    for (const auto& name : NamesIn(folder)) {
        std::string prefix = name.substr(0, 3);
        for (char& c : prefix)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        prefixes.push_back(prefix + (std::filesystem::is_empty(folder + "/" + name) ? "" : " with content"));
    }
    std::sort(prefixes.begin(), prefixes.end());
    return prefixes;
}

MATCHER(HoldsTheFive, "") {
    return ExplainMatchResult(ElementsAre("VMC", "VME", "VMR", "VMU", "VMX"), Prefixes(arg), result_listener);
}

constexpr const char* kFolderOfChild = "TOLVANE_TEST_FOLDER";

// The test once more, in a process that finds this as the system's temp folder before it loads the library.
void PassInAChildWithTempFolder(const std::string& folder) {
    const Variable child(kFolderOfChild, folder), tmpdir("TMPDIR", folder), tmp("TMP", folder),
        temp("TEMP", folder);
    EXPECT_TRUE(PassesInAChild());
}

TEST(ScratchFiles, LieInTheSystemsFolderWhileTheLibraryIsLoaded) {
    if (const char* folder = std::getenv(kFolderOfChild)) {
        EXPECT_THAT(std::string(folder), HoldsTheFive());
        return;
    }
    const TempFolder folder;
    PassInAChildWithTempFolder(folder.Path());
    EXPECT_THAT(folder.Names(), IsEmpty()) << "they are gone with the process";
}

// A folder that cannot hold files must not keep the library from loading.
TEST(ScratchFiles, MayBeImpossibleToMake) {
    InputFileInfo info;
    EXPECT_EQ(GetInputFileInfo("missing", &info), TOLVANE_CANNOT_OPEN);
    if (!std::getenv(kFolderOfChild)) PassInAChildWithTempFolder(TempFolder().Path("missing"));
}

class TempPath : public ::testing::Test {
  protected:
    void TearDown() override {
        char system[MAX_PATH + 1];
        ASSERT_GT(GetTempPathA(sizeof system, system), 0u);
        EXPECT_EQ(SetTempPath(system), TOLVANE_OK);
        EXPECT_THAT(folder_.Names(), IsEmpty());
    }
    TempFolder parent_, folder_;
};

TEST_F(TempPath, TakesTheFilesAlong) {
    ASSERT_EQ(SetTempPath(folder_.Path().c_str()), TOLVANE_OK);
    EXPECT_THAT(folder_.Path(), HoldsTheFive());
    const std::string other = parent_.MakeFolder("other");
    ASSERT_EQ(SetTempPath((other + "/").c_str()), TOLVANE_OK) << "with a separator at its end";
    EXPECT_THAT(other, HoldsTheFive());
    EXPECT_THAT(folder_.Names(), IsEmpty());
    const auto before = NamesIn(other);
    ASSERT_EQ(SetTempPath(other.c_str()), TOLVANE_OK) << "the same folder once more";
    EXPECT_THAT(other, HoldsTheFive());
}

TEST_F(TempPath, RefusesWhatIsNoFolder) {
    ASSERT_EQ(SetTempPath(folder_.Path().c_str()), TOLVANE_OK);
    const auto before = folder_.Names();
    const std::string file = parent_.Write("file", {1, 2, 3});
    for (const std::string& path : {parent_.Path("missing"), file, std::string(), std::string(100000, 'x')})
        EXPECT_EQ(SetTempPath(path.c_str()), TOLVANE_NOT_A_FOLDER) << path.substr(0, 300);
    EXPECT_EQ(SetTempPath(nullptr), TOLVANE_NOT_A_FOLDER);
    EXPECT_EQ(folder_.Names(), before);
}

TEST_F(TempPath, IsTheSameFolderWhereverTheHostGoes) {
    std::filesystem::current_path(folder_.Path());
    EXPECT_EQ(SetTempPath("."), TOLVANE_OK);
    std::filesystem::current_path(parent_.Path());
    EXPECT_THAT(folder_.Path(), HoldsTheFive());
    EXPECT_EQ(SetTempPath(parent_.MakeFolder("other").c_str()), TOLVANE_OK);
    EXPECT_THAT(folder_.Names(), IsEmpty());
    std::filesystem::current_path("/");
}

TEST_F(TempPath, LosesACopyThatWasPlayingTheNextTime) {
    if (!FaultsAvailable()) GTEST_SKIP() << "services cannot be made to fail here";
    ASSERT_EQ(SetTempPath(folder_.Path().c_str()), TOLVANE_OK);
    {
        const FaultScope open_elsewhere("DeleteFileA", 5);
        ASSERT_EQ(SetTempPath(parent_.MakeFolder("other").c_str()), TOLVANE_OK);
    }
    EXPECT_THAT(Prefixes(folder_.Path()), ElementsAre("VMC"));
    ASSERT_EQ(SetTempPath(parent_.MakeFolder("third").c_str()), TOLVANE_OK);
    EXPECT_THAT(folder_.Names(), IsEmpty());
}

// A file name must still fit behind the folder.
TEST_F(TempPath, TakesFoldersThatLeaveRoomForNames) {
    EXPECT_EQ(SetTempPath(folder_.LongPath(240).c_str()), TOLVANE_OK);
    EXPECT_THAT(folder_.Path(), HoldsTheFive());
    const auto before = folder_.Names();
    for (const size_t length : {250u, 259u, 260u, 261u, 5000u}) {
        EXPECT_EQ(SetTempPath(folder_.LongPath(length).c_str()), TOLVANE_NOT_A_FOLDER) << length;
        EXPECT_EQ(folder_.Names(), before);
    }
}

}  // namespace
}  // namespace tolvane::test
