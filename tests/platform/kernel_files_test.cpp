// Files, names, temporary files, space, against real files.
#include <mmiscapi.h>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/platform/workspace.h"

using namespace tolvane::testing;

namespace {

HANDLE Open(const std::string& name, DWORD access, DWORD disposition) {
    return CreateFileA(name.c_str(), access, FILE_SHARE_READ, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

struct FailsWith {
    DWORD code;
    testing::AssertionResult operator()(bool succeeded) const {
        const DWORD error = GetLastError();
        if (succeeded) return testing::AssertionFailure() << "succeeded";
        if (error != code) return testing::AssertionFailure() << "last error " << error << ", not " << code;
        return testing::AssertionSuccess();
    }
};

struct LimitedFileSize {
    explicit LimitedFileSize(rlim_t size) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limited{size, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~LimitedFileSize() { setrlimit(RLIMIT_FSIZE, &before); }
    rlimit before;
};

}  // namespace

TEST(Files, MoveToAPositionAndEndThere) {
    Workspace space;
    Put(space.Name("a"), "0123456789");
    const HANDLE file = Open(space.Name("a"), GENERIC_WRITE, OPEN_EXISTING);
    EXPECT_EQ(SetFilePointer(file, -4, nullptr, FILE_END), 6u);
    EXPECT_TRUE(FailsWith{ERROR_NEGATIVE_SEEK}(SetFilePointer(file, -1, nullptr, FILE_BEGIN) !=
                                               INVALID_SET_FILE_POINTER));
    EXPECT_EQ(SetFilePointer(file, -3, nullptr, FILE_CURRENT), 3u);
    ASSERT_TRUE(SetEndOfFile(file));
    LONG high = 1;
    EXPECT_EQ(SetFilePointer(file, 5, &high, FILE_BEGIN), 5u);
    EXPECT_TRUE(FailsWith{ERROR_INVALID_PARAMETER}(SetFilePointer(file, 1, nullptr, FILE_CURRENT) !=
                                                   INVALID_SET_FILE_POINTER))
        << "a position beyond 4 GiB needs room for its upper half";
    ASSERT_TRUE(CloseHandle(file));
    EXPECT_TRUE(FailsWith{ERROR_INVALID_HANDLE}(SetEndOfFile(file)));
    EXPECT_EQ(Contents(space.Name("a")), "012");
}

TEST(Files, WhatIsNoFileIsRefusedAtOnce) {
    Workspace space;
    ASSERT_EQ(mkfifo(space.Name("pipe").c_str(), 0600), 0);
    Put(space.Name("locked"), "x");
    ASSERT_TRUE(SetFileAttributesA(space.Name("locked").c_str(), FILE_ATTRIBUTE_READONLY));
    const struct {
        std::string name;
        DWORD access, disposition, error;
    } cases[] = {{space.Name("pipe"), GENERIC_READ, OPEN_ALWAYS, ERROR_ACCESS_DENIED},
                 {space.Name("pipe"), GENERIC_WRITE, OPEN_ALWAYS, ERROR_ACCESS_DENIED},
                 {space.folder(), GENERIC_READ, OPEN_ALWAYS, ERROR_ACCESS_DENIED},
                 {space.folder(), GENERIC_WRITE, OPEN_ALWAYS, ERROR_ACCESS_DENIED},
                 {space.Name("locked"), GENERIC_WRITE, OPEN_ALWAYS, ERROR_ACCESS_DENIED},
                 {"", GENERIC_READ, OPEN_ALWAYS, ERROR_PATH_NOT_FOUND},
                 {std::string(260, 'n'), GENERIC_READ, OPEN_ALWAYS, ERROR_FILENAME_EXCED_RANGE},
                 {space.Name("none"), GENERIC_WRITE, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
                 {space.Name("no/ne"), GENERIC_WRITE, OPEN_EXISTING, ERROR_PATH_NOT_FOUND}};
    for (const auto& c : cases)
        EXPECT_TRUE(FailsWith{c.error}(Open(c.name, c.access, c.disposition) != INVALID_HANDLE_VALUE))
            << c.name;
    EXPECT_TRUE(FailsWith{ERROR_ACCESS_DENIED}(DeleteFileA(space.Name("locked").c_str())));
    EXPECT_TRUE(FailsWith{ERROR_ACCESS_DENIED}(DeleteFileA(space.folder().c_str())));
    EXPECT_EQ(Contents(space.Name("locked")), "x");
}

TEST(FileNames, MovingNeverLosesAFile) {
    Workspace space;
    const std::string a = space.Name("a"), b = space.Name("b");
    Put(a, "aaa");
    Put(b, "bb");
    EXPECT_TRUE(FailsWith{ERROR_ALREADY_EXISTS}(MoveFileA(a.c_str(), b.c_str())));
    SetFileAttributesA(b.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(FailsWith{ERROR_ACCESS_DENIED}(MoveFileExA(a.c_str(), b.c_str(), MOVEFILE_REPLACE_EXISTING)));
    EXPECT_EQ(Contents(a) + Contents(b), "aaabb");
    SetFileAttributesA(b.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_TRUE(MoveFileExA(a.c_str(), b.c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(Contents(b), "aaa");
    EXPECT_TRUE(FailsWith{ERROR_FILE_NOT_FOUND}(MoveFileA(a.c_str(), b.c_str())));
    EXPECT_TRUE(FailsWith{ERROR_ACCESS_DENIED}(
        MoveFileExA(b.c_str(), space.folder().c_str(), MOVEFILE_REPLACE_EXISTING)));
    EXPECT_TRUE(MoveFileA(b.c_str(), a.c_str()));
    EXPECT_EQ(Contents(a), "aaa");
    EXPECT_EQ(space.Files(), 1u);
}

TEST(FileNames, ReplacingKeepsRightsAndTheOldFileAsBackup) {
    Workspace space;
    const std::string old = space.Name("old"), fresh = space.Name("fresh"), backup = space.Name("backup");
    Put(old, "old");
    Put(fresh, "new");
    Put(backup, "of before");
    ASSERT_EQ(chmod(old.c_str(), 0644) | chmod(backup.c_str(), 0600), 0);
    EXPECT_TRUE(FailsWith{ERROR_FILE_NOT_FOUND}(
        ReplaceFileA(space.Name("none").c_str(), fresh.c_str(), backup.c_str(), 0, nullptr, nullptr)));
    EXPECT_FALSE(ReplaceFileA(old.c_str(), fresh.c_str(), space.folder().c_str(), 0, nullptr, nullptr));
    EXPECT_EQ(Contents(old) + Contents(fresh), "oldnew") << "a backup that cannot be made changes nothing";
    ASSERT_TRUE(ReplaceFileA(old.c_str(), fresh.c_str(), backup.c_str(), 0, nullptr, nullptr));
    EXPECT_EQ(Contents(old) + Contents(backup), "newold");
    struct stat a, b;
    ASSERT_EQ(stat(old.c_str(), &a) | stat(backup.c_str(), &b), 0);
    EXPECT_EQ(a.st_mode & 0777, 0644u);
    EXPECT_EQ(b.st_mode & 0777, 0600u);
    EXPECT_EQ(space.Files(), 2u);
}

TEST(FileNames, CopiesAreWholeOrNotThere) {
    Workspace space;
    const std::string a = space.Name("a"), b = space.Name("b");
    std::string bytes(700'001, 0);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 251);
    Put(a, bytes);
    Put(b, "before");
    EXPECT_TRUE(FailsWith{ERROR_FILE_EXISTS}(CopyFileA(a.c_str(), b.c_str(), TRUE)));
    EXPECT_EQ(Contents(b), "before");
    EXPECT_TRUE(
        FailsWith{ERROR_SHARING_VIOLATION}(CopyFileA(a.c_str(), (space.folder() + "/./a").c_str(), FALSE)));
    EXPECT_EQ(Contents(a), bytes) << "a copy onto itself must not empty the file";
    ASSERT_TRUE(CopyFileA(a.c_str(), b.c_str(), FALSE));
    EXPECT_EQ(Contents(b), bytes);
    Put(b, bytes + "what was longer before");
    ASSERT_TRUE(CopyFileA(a.c_str(), b.c_str(), FALSE));
    EXPECT_EQ(Contents(b), bytes);
    EXPECT_TRUE(FailsWith{ERROR_FILE_NOT_FOUND}(CopyFileA(space.Name("no").c_str(), b.c_str(), FALSE)));
    EXPECT_TRUE(FailsWith{ERROR_ACCESS_DENIED}(CopyFileA(a.c_str(), "/dev/full", FALSE)));
    EXPECT_EQ(access("/dev/full", F_OK), 0);
    {
        LimitedFileSize limit(400'000);
        EXPECT_TRUE(FailsWith{ERROR_FILE_TOO_LARGE}(CopyFileA(a.c_str(), space.Name("c").c_str(), FALSE)));
    }
    EXPECT_EQ(space.Files(), 2u) << "the half copy is gone";
}

TEST(FileNames, FullNamesMeanWhatTheyMeant) {
    Workspace space;
    char full[MAX_PATH];
    char* last = nullptr;
    EXPECT_EQ(GetFullPathNameA("/a//b/./c/../d", MAX_PATH, full, &last), 6u);
    EXPECT_STREQ(full, "/a/b/d");
    EXPECT_STREQ(last, "d");
    const std::string link = space.Name("link");
    std::filesystem::create_symlink("/usr/lib", link);
    for (const std::string& name : {link + "/../x", link + "/.././../x"}) {
        ASSERT_GT(GetFullPathNameA(name.c_str(), MAX_PATH, full, nullptr), 0u);
        EXPECT_EQ(std::filesystem::weakly_canonical(full), std::filesystem::weakly_canonical(name));
    }
    EXPECT_EQ(GetFullPathNameA("/abc", 4, full, nullptr), 5u) << "room needed, with the zero";
    EXPECT_EQ(GetFullPathNameA("x", MAX_PATH, full, nullptr),
              std::filesystem::current_path().string().size() + 2);
}

namespace {

bool Fill(std::string name, size_t bytes) {
    const std::string block(bytes, 'x');
    const HMMIO file = mmioOpenA(name.data(), nullptr, MMIO_CREATE | MMIO_WRITE);
    const LONG written = mmioWrite(file, block.data(), static_cast<LONG>(bytes));
    return mmioClose(file, 0) == 0 && written == static_cast<LONG>(bytes);
}

// Runs in a child: on a small volume of its own one file replaces another that leaves no room for a third.
int ReplaceOnAFullVolume(const std::string& folder) {
    constexpr size_t kMebibyte = 1 << 20;
    if (unshare(CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", folder.c_str(), "tmpfs", 0, "size=80m") != 0)
        return 2;
    const std::string old_file = folder + "/old", new_file = folder + "/new", third = folder + "/third";
    for (int i = 0; i < 2; ++i) {
        if (!Fill(old_file, 60 * kMebibyte) || !Fill(new_file, 5 * kMebibyte)) return 3;
        if (!ReplaceFileA(old_file.c_str(), new_file.c_str(), nullptr, 0, nullptr, nullptr)) return 4;
        if (!Fill(third, 72 * kMebibyte)) return 6;
        if (!DeleteFileA(third.c_str())) return 7;
    }
    return 0;
}

}  // namespace

TEST(Files, TheRoomOfAFileThatWasReplacedServesAtOnce) {
    Workspace space;
    const pid_t child = fork();
    if (child == 0) _exit(ReplaceOnAFullVolume(space.folder()));
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "no volume of its own may be mounted here";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "the step that failed";
}

TEST(TempFiles, NamesAreNewAndMade) {
    Workspace space;
    char name[MAX_PATH], other[MAX_PATH];
    for (const char* end : {"", "/", "//", "\\"}) {
        const UINT number = GetTempFileNameA((space.folder() + end).c_str(), "kora", 0, name);
        ASSERT_NE(number, 0u);
        char expected[MAX_PATH];
        std::snprintf(expected, sizeof expected, "%s/kor%X.TMP", space.folder().c_str(), number);
        EXPECT_STREQ(name, expected);
        struct stat status;
        ASSERT_EQ(stat(name, &status), 0);
        EXPECT_EQ(status.st_size, 0);
        EXPECT_EQ(status.st_mode & 0077, 0u) << "nobody else reads it";
    }
    EXPECT_EQ(space.Files(), 4u);
    EXPECT_EQ(GetTempFileNameA(space.folder().c_str(), "VMX", 0x1ABCD, other), 0x1ABCDu);
    EXPECT_EQ(other, space.Name("VMXABCD.TMP"));
    EXPECT_EQ(space.Files(), 4u) << "a number of the caller's makes no file";
}
