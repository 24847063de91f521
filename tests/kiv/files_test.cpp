// Helpers on files: what they do with what is not there or not as it should be.
#include "kiv/files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/kiv/process.h"

namespace {

class FilesTest : public testing::Test {
  protected:
    kiv_test::TemporaryDirectory directory_;
    std::string text_, error_;
};

TEST_F(FilesTest, WholeFileIsReadAndReplaced) {
    const std::string path = directory_.file("file"), text(50'000, 'x');
    ASSERT_TRUE(kiv::write_file(path, text, &error_));
    ASSERT_TRUE(kiv::read_file(path, &text_, &error_));
    EXPECT_EQ(text_, text);
    ASSERT_TRUE(kiv::write_file(path, "short", &error_));
    ASSERT_TRUE(kiv::read_file(path, &text_, &error_));
    EXPECT_EQ(text_, "short");
}

TEST_F(FilesTest, WhatCannotBeReadOrWrittenIsNamed) {
    EXPECT_FALSE(kiv::read_file(directory_.path(), &text_, &error_));
    EXPECT_EQ(error_, directory_.path() + ": Is a directory");
    EXPECT_FALSE(kiv::write_file(directory_.path(), "x", &error_));
    EXPECT_EQ(error_, directory_.path() + ": Is a directory");
    EXPECT_FALSE(kiv::write_file("/dev/full", "x", &error_));
    EXPECT_EQ(error_, "/dev/full: No space left on device");
}

TEST_F(FilesTest, DirectoriesAreMadeWithTheirParents) {
    const std::string path = directory_.file("one/two/three");
    ASSERT_TRUE(kiv::make_directories(path, &error_)) << error_;
    EXPECT_TRUE(kiv::is_directory(path));
    EXPECT_TRUE(kiv::make_directories(path, &error_));
    EXPECT_TRUE(kiv::make_directories(directory_.file("four/"), &error_));
    EXPECT_TRUE(kiv::is_directory(directory_.file("four")));
    EXPECT_FALSE(kiv::is_file(path));
}

TEST_F(FilesTest, FileInTheWayOfADirectoryIsNamed) {
    const std::string file = directory_.write("file", "");
    EXPECT_FALSE(kiv::make_directories(file + "/below", &error_));
    EXPECT_EQ(error_, file + ": Not a directory");
    EXPECT_FALSE(kiv::make_directories("/proc/none/below", &error_));
    EXPECT_EQ(error_, "/proc/none: No such file or directory");
}

TEST_F(FilesTest, DirectoryThatMayNotBeMadeIsToldWithThatReason) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else for a while";
    std::filesystem::permissions(directory_.path(), std::filesystem::perms::owner_all);
    ASSERT_EQ(seteuid(65534), 0);
    const bool made = kiv::make_directories(directory_.file("below"), &error_);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_FALSE(made);
    EXPECT_EQ(error_, directory_.file("below") + ": Permission denied");
}

TEST_F(FilesTest, WhatHasNoEndIsReadUpToABound) {
    EXPECT_FALSE(kiv::read_file("/dev/zero", &text_, &error_, 100'000));
    EXPECT_EQ(error_, "/dev/zero: File too large");
    const std::string path = directory_.write("file", std::string(100'000, 'x'));
    EXPECT_TRUE(kiv::read_file(path, &text_, &error_, 100'000));
    EXPECT_FALSE(kiv::read_file(path, &text_, &error_, 99'999));
}

TEST_F(FilesTest, AbsolutePathStartsAtTheWorkingDirectory) {
    char before[4096];
    ASSERT_NE(getcwd(before, sizeof before), nullptr);
    ASSERT_EQ(chdir(directory_.path().c_str()), 0);
    EXPECT_EQ(kiv::absolute_path("a/b"), directory_.path() + "/a/b");
    EXPECT_EQ(kiv::absolute_path("."), directory_.path());
    EXPECT_EQ(kiv::absolute_path("/a/b"), "/a/b");
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(kiv::absolute_path("a"), "/a");
    ASSERT_EQ(chdir(before), 0);
}

TEST_F(FilesTest, EverythingIsWrittenThroughAFullPipeThatDoesNotWait) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    const std::string text(1 << 20, 'x');
    const pid_t writer = fork();
    if (writer == 0) _exit(kiv::write_all(ends[1], text) ? 0 : 1);
    close(ends[1]);
    std::string got;
    char buffer[65536];
    for (ssize_t size; (size = read(ends[0], buffer, sizeof buffer)) != 0;)
        if (size > 0) got.append(buffer, static_cast<size_t>(size));
    int status = -1;
    waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(got, text);
    close(ends[0]);
}

TEST_F(FilesTest, DescriptorIsClosedWithItsOwner) {
    int number;
    {
        const kiv::Descriptor copy = kiv::Descriptor::copy_of(STDOUT_FILENO);
        number = copy.number();
        EXPECT_GE(number, 3);
        EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

}  // namespace
