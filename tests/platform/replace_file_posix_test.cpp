// Tests of replaceFile (platform/system.h) on Linux and its relatives: modes, links, devices and pipes,
// signals and ends at any moment.
#include "tests/platform/replace_file_test.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vlisp::platform {
namespace {

using namespace test;

TEST_F(ReplaceFile, ReplacesTheContentAndKeepsTheMode) {
    const fs::path file = folder_ / "a.dxf";
    put(file, "the old one, which is longer");
    ASSERT_EQ(::chmod(file.c_str(), 0751), 0);
    EXPECT_EQ(replace(file, "new"), "");
    EXPECT_EQ(contentOf(file), "new");
    struct stat now {};
    ASSERT_EQ(::stat(file.c_str(), &now), 0);
    EXPECT_EQ(now.st_mode & 07777, 0751U);
    EXPECT_EQ(names(), "a.dxf");
}

TEST_F(ReplaceFile, KeepsTheOwnerWhereItMay) {
    const fs::path file = folder_ / "a.dxf";
    put(file, "old");
    struct stat before {};
    // Only the administrator may; for others the file stays their own.
    [[maybe_unused]] const int given = ::chown(file.c_str(), 1234, 1234);
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    EXPECT_EQ(replace(file, "new"), "");
    struct stat now {};
    ASSERT_EQ(::stat(file.c_str(), &now), 0);
    EXPECT_EQ(now.st_uid, before.st_uid);
    EXPECT_EQ(now.st_gid, before.st_gid);
}

// As after an end between the backup and the replacement.
TEST_F(ReplaceFile, ReplacesTheTargetOfALink) {
    fs::create_directory(folder_ / "far");
    put(folder_ / "far/real.dxf", "old");
    fs::create_symlink("far/real.dxf", folder_ / "second");
    fs::create_symlink(folder_ / "second", folder_ / "first");
    EXPECT_EQ(replace(folder_ / "first", "new", OldFile::keep), "");
    EXPECT_TRUE(fs::is_symlink(folder_ / "first"));
    EXPECT_TRUE(fs::is_symlink(folder_ / "second"));
    EXPECT_FALSE(fs::is_symlink(folder_ / "far/real.dxf"));
    EXPECT_EQ(contentOf(folder_ / "far/real.dxf"), "new");
    EXPECT_EQ(contentOf(folder_ / "far/real.dxf.bak"), "old");
    EXPECT_EQ(names(), "far first second");
}

TEST_F(ReplaceFile, MakesTheMissingTargetOfALink) {
    fs::create_symlink("missing", folder_ / "link");
    EXPECT_EQ(replace(folder_ / "link", "new"), "");
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_EQ(contentOf(folder_ / "missing"), "new");
}

TEST_F(ReplaceFile, RefusesLinksInACircle) {
    fs::create_symlink("b", folder_ / "a");
    fs::create_symlink("a", folder_ / "b");
    EXPECT_EQ(replace(folder_ / "a", "new"),
              "cannot write " + (folder_ / "a").string() + ": Too many levels of symbolic links");
    EXPECT_EQ(names(), "a b");
}

TEST_F(ReplaceFile, NamesPathAndReasonOfAFailure) {
    const fs::path lost = folder_ / "no/such.dxf";
    EXPECT_EQ(replace(lost, "x"), "cannot write " + lost.string() + ": No such file or directory");
    EXPECT_EQ(replace(folder_, "x"), "cannot write " + folder_.string() + ": Is a directory");
    put(folder_ / "file", "old");
    const fs::path below = folder_ / "file/below";
    EXPECT_EQ(replace(below, "x"), "cannot write " + below.string() + ": Not a directory");
    EXPECT_EQ(replace("", "x"), "cannot write : No such file or directory");
    const std::string withZero = (folder_ / "file").string() + '\0' + "more";
    EXPECT_EQ(replace(withZero, "x"),
              "cannot write " + (folder_ / "file").string() + ": Invalid argument");
    EXPECT_EQ(contentOf(folder_ / "file"), "old");
    EXPECT_EQ(names(), "file");
}

TEST_F(ReplaceFile, LeavesTheOldFileWholeWhenTheBackupFails) {
    const fs::path file = folder_ / "a.dxf";
    put(file, "old");
    fs::create_directory(folder_ / "a.dxf.bak");
    EXPECT_EQ(replace(file, "new", OldFile::keep),
              "cannot write " + file.string() + ".bak: Is a directory");
    EXPECT_EQ(contentOf(file), "old");
    EXPECT_EQ(names(), "a.dxf a.dxf.bak");
}

/// While it lives, files of this process end at `bytes`, as on a full disk.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit low{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &low);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }

  private:
    rlimit before_{};
};

TEST_F(ReplaceFile, LeavesTheOldFileWholeWhenThereIsNoRoom) {
    const fs::path file = folder_ / "a.dxf";
    put(file, "old");
    std::string reason;
    {
        const FileSizeLimit limit(100'000);
        reason = replace(file, std::string(3'000'000, 'x'), OldFile::keep);
    }
    EXPECT_EQ(reason, "cannot write " + file.string() + ": File too large");
    EXPECT_EQ(contentOf(file), "old");
    EXPECT_EQ(names(), "a.dxf");
}

// The administrator may write everywhere, so a child process gives up that right first.
TEST_F(ReplaceFile, RespectsWhatMayNotBeWritten) {
    const fs::path shut = folder_ / "shut";
    fs::create_directory(shut);
    put(shut / "a.dxf", "old");
    put(folder_ / "protected", "old");
    ASSERT_EQ(::chmod((shut / "a.dxf").c_str(), 0666), 0);
    ASSERT_EQ(::chmod((folder_ / "protected").c_str(), 0444), 0);
    ASSERT_EQ(::chmod(folder_.c_str(), 0777), 0);
    ASSERT_EQ(::chmod(shut.c_str(), 0555), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (::geteuid() == 0 && ::setuid(65534) != 0) ::_exit(1);
        const std::string shutFile = (shut / "a.dxf").string();
        if (replace(shutFile, "new") != "cannot write " + shutFile + ": Permission denied")
            ::_exit(2);
        const std::string protectedFile = (folder_ / "protected").string();
        if (replace(protectedFile, "x") != "cannot write " + protectedFile + ": Permission denied")
            ::_exit(3);
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "exit code " << WEXITSTATUS(status);
    ASSERT_EQ(::chmod(shut.c_str(), 0755), 0);
    EXPECT_EQ(contentOf(shut / "a.dxf"), "old");
    EXPECT_EQ(contentOf(folder_ / "protected"), "old");
    EXPECT_EQ(names(), "protected shut");
}

TEST_F(ReplaceFile, TakesTheLongestNames) {
    std::string name;
    while (name.size() + 2 <= 255) name += "\u00e9";
    EXPECT_EQ(replace(folder_ / name, "1"), "");
    EXPECT_EQ(replace(folder_ / name, "2"), "");
    EXPECT_EQ(contentOf(folder_ / name), "2");
    EXPECT_EQ(names(), name);
}

TEST_F(ReplaceFile, WritesDevicesDirectly) {
    EXPECT_EQ(replace("/dev/null", "x", OldFile::keep), "");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_EQ(replace("/dev/full", "x"), "cannot write /dev/full: No space left on device");
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(ReplaceFile, WritesToAnOpenDescriptor) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);  // also waits where the pipe is full
    const std::string content(1'000'000, 'p');
    std::string got;
    std::thread reader([&] {
        ::fcntl(ends[0], F_SETFL, 0);
        char block[4096];
        while (const ssize_t count = ::read(ends[0], block, sizeof block)) {
            if (count < 0) break;
            got.append(block, static_cast<std::size_t>(count));
        }
    });
    EXPECT_EQ(replace("/dev/fd/" + std::to_string(ends[1]), content), "");
    ::close(ends[1]);
    reader.join();
    ::close(ends[0]);
    EXPECT_TRUE(got == content);
}

TEST_F(ReplaceFile, AppendsWhereADescriptorOfAFileStands) {
    const int file = ::open((folder_ / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(::write(file, "head ", 5), 5);
    EXPECT_EQ(replace("/proc/self/fd/" + std::to_string(file), "body"), "");
    ::close(file);
    EXPECT_EQ(contentOf(folder_ / "out"), "head body");
}

TEST_F(ReplaceFile, ReportsAClosedPipe) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    const std::string path = "/dev/fd/" + std::to_string(ends[1]);
    EXPECT_EQ(replace(path, "x"), "cannot write " + path + ": Broken pipe");
    ::close(ends[1]);
}

TEST_F(ReplaceFile, WritesANamedPipe) {
    const fs::path pipe = folder_ / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(replace(pipe, "through", OldFile::keep), "");
    char got[16] = {};
    EXPECT_EQ(::read(reader, got, sizeof got), 7);
    EXPECT_STREQ(got, "through");
    ::close(reader);
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_EQ(names(), "pipe");
}

// Signals arrive all the time, and their handler asks for no restart of system calls.
TEST_F(ReplaceFile, IsNotInterruptedBySignals) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGALRM, &action, &before), 0);
    itimerval often{{0, 200}, {0, 200}};
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const std::string content(2'000'000, 's');
    std::size_t got = 0;
    std::thread reader([&] {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
        char block[512];  // slower than the writer, which therefore waits
        while (const ssize_t count = ::read(ends[0], block, sizeof block)) {
            if (count < 0) break;
            got += static_cast<std::size_t>(count);
        }
    });
    ::setitimer(ITIMER_REAL, &often, nullptr);
    const std::string toPipe = replace("/dev/fd/" + std::to_string(ends[1]), content);
    const std::string toFile = replace(folder_ / "a", content, OldFile::keep);
    often = {};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    ::close(ends[1]);
    reader.join();
    ::close(ends[0]);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(toPipe, "");
    EXPECT_EQ(toFile, "");
    EXPECT_EQ(got, content.size());
    EXPECT_TRUE(contentOf(folder_ / "a") == content);
}

// Replaces `file` by the one and the other content until it is killed; tells when the content of
// number `telling` stands there first.
[[noreturn]] void replaceForEver(const fs::path& file, const std::string (&contents)[2],
                                 unsigned telling, int tell) {
    for (unsigned i = 0;; ++i) {
        const std::string_view whole = contents[i % 2];
        std::vector<std::string_view> pieces;
        for (std::size_t from = 0; from < whole.size(); from += 1000)
            pieces.push_back(whole.substr(from, 1000));
        std::string reason;
        if (!replaceFile(file.string(), pieces, OldFile::keep, reason)) ::_exit(1);
        if (i == telling && ::write(tell, "1", 1) != 1) ::_exit(2);
    }
}

TEST_F(ReplaceFile, ShowsOneContentWholeWhenItIsKilledAtAnyMoment) {
    const fs::path file = folder_ / "a.dxf";
    const fs::path backup = folder_ / "a.dxf.bak";
    const std::string contents[2] = {std::string(2'000'000, '0'), std::string(3'000'000, '1')};
    put(file, contents[0]);
    std::mt19937 random(1);
    int leftovers = 0;
    int seen[2] = {};
    for (int round = 0; round < 100; ++round) {
        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) replaceForEver(file, contents, round % 4 == 0 ? 0 : 1, ends[1]);
        ::close(ends[1]);
        if (round % 2 == 0) {  // in the others the kill comes before the first replacement, or soon
            char told = 0;
            ASSERT_EQ(::read(ends[0], &told, 1), 1);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8'000));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the replacement failed with " << status;
        ::close(ends[0]);

        for (const fs::path& each : {file, backup}) {
            if (each == backup && !fs::exists(backup)) continue;
            const std::string now = contentOf(each);
            ASSERT_TRUE(now == contents[0] || now == contents[1]) << each << ' ' << now.size();
            if (each == file) ++seen[now == contents[1] ? 1 : 0];
        }
        for (const auto& entry : fs::directory_iterator(folder_)) {
            if (entry.path() == file || entry.path() == backup) continue;
            EXPECT_TRUE(entry.path().filename().string().starts_with(".a.dxf.vlisp-"))
                << entry.path();
            fs::remove(entry.path());
            ++leftovers;
        }
    }
    EXPECT_TRUE(fs::exists(backup));
    EXPECT_GT(seen[0], 0);
    EXPECT_GT(seen[1], 0);
    EXPECT_GT(leftovers, 0);  // or no kill has met a replacement
}

}  // namespace
}  // namespace vlisp::platform
