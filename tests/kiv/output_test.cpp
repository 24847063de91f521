// What is kept of a case's output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "kiv/supervise/output_keeper.h"
#include "tests/kiv/process.h"

namespace {

using testing::HasSubstr;

class OutputKeeperTest : public testing::Test {
  protected:
    void finish() { keeper_.finish(&text_, &size_, &file_); }
    kiv_test::TemporaryDirectory directory_;
    kiv::OutputKeeper keeper_{directory_.file("output"), 1000};
    std::string text_, file_;
    uint64_t size_ = 0;
};

TEST_F(OutputKeeperTest, ShortOutputStaysInMemory) {
    keeper_.restart("f", "c");
    keeper_.add("one ");
    keeper_.add(std::string("t\0o", 3));
    finish();
    EXPECT_EQ(text_, std::string("one t\0o", 7));
    EXPECT_EQ(size_, 7u);
    EXPECT_EQ(file_, "");
    EXPECT_NE(access(directory_.file("output").c_str(), F_OK), 0);
}

TEST_F(OutputKeeperTest, LongOutputIsWholeInAFileAndItsEndsInMemory) {
    std::string whole;
    keeper_.restart("span/port", "add#2");
    for (int i = 0; i < 10000; ++i) {
        const std::string line = "line " + std::to_string(i) + "\n";
        whole += line;
        keeper_.add(line);
    }
    finish();
    EXPECT_EQ(file_, directory_.file("output/span.port.add#2.txt"));
    EXPECT_EQ(kiv_test::read_text(file_), whole);
    EXPECT_EQ(size_, whole.size());
    EXPECT_THAT(text_, testing::StartsWith("line 0\n"));
    EXPECT_THAT(text_, testing::EndsWith("line 9999\n"));
    EXPECT_THAT(text_, HasSubstr(" bytes are left out here; the whole output is in " + file_));
    EXPECT_LT(text_.size(), 20000u);
}

TEST_F(OutputKeeperTest, OutputOfJustTheLimitNeedsNoFile) {
    keeper_.restart("f", "c");
    keeper_.add(std::string(400, 'a'));
    keeper_.add(std::string(600, 'b'));
    finish();
    EXPECT_EQ(text_, std::string(400, 'a') + std::string(600, 'b'));
    EXPECT_EQ(file_, "");
}

TEST_F(OutputKeeperTest, ShortOutputAfterALongOneIsItsOwn) {
    keeper_.restart("f", "c");
    keeper_.add(std::string(50'000, 'a'));
    finish();
    keeper_.restart("f", "d");
    keeper_.add("short");
    finish();
    EXPECT_EQ(text_, "short");
    EXPECT_EQ(size_, 5u);
    EXPECT_EQ(file_, "");
}

TEST_F(OutputKeeperTest, FileOfALongNameIsStillAFile) {
    const std::string folder(300, 'f');
    keeper_.restart(folder, "a case with blanks");
    keeper_.add(std::string(2000, 'a'));
    finish();
    EXPECT_EQ(file_, directory_.file("output/" + std::string(200, 'f') + ".txt"));
    keeper_.restart("f", "a case");
    keeper_.add(std::string(2000, 'a'));
    finish();
    EXPECT_EQ(file_, directory_.file("output/f.a.case.txt"));
}

TEST_F(OutputKeeperTest, OutputJustOverTheLimitIsKeptWhole) {
    keeper_.restart("f", "c");
    std::string whole(1002, 'a');
    whole.replace(999, 3, "bcd");
    keeper_.add(whole.substr(0, 999));
    keeper_.add(whole.substr(999));
    finish();
    EXPECT_EQ(text_, whole);
    EXPECT_EQ(kiv_test::read_text(file_), text_);
}

TEST_F(OutputKeeperTest, SecondLongOutputOfANameGetsItsOwnFile) {
    for (int i = 0; i < 2; ++i) {
        keeper_.restart("f", "c");
        keeper_.add(std::string(2000, static_cast<char>('a' + i)));
        finish();
    }
    EXPECT_EQ(file_, directory_.file("output/f.c.2.txt"));
    EXPECT_EQ(kiv_test::read_text(directory_.file("output/f.c.txt")), std::string(2000, 'a'));
}

TEST_F(OutputKeeperTest, UnwritableDirectoryIsSaid) {
    directory_.write("output", "a file");
    keeper_.restart("f", "c");
    keeper_.add(std::string(1000, 'a'));
    keeper_.add(std::string(50000, 'b'));
    finish();
    EXPECT_EQ(file_, "");
    EXPECT_THAT(text_, HasSubstr("the whole output could not be kept: "));
}

TEST_F(OutputKeeperTest, NumbersOfFilesHaveNoEnd) {
    const std::string text(1100, 'a');
    for (int i = 0; i < 2100; ++i) {
        keeper_.restart("f", "c");
        keeper_.add(text);
        finish();
        const std::string number = i == 0 ? "" : "." + std::to_string(i + 1);
        ASSERT_EQ(file_, directory_.file("output/f.c" + number + ".txt"));
    }
}

}  // namespace
