// A worker in place: fixtures and cases in their order, what they read and print, and what the flash holds.
#include "kiv/worker/worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>

#include "kiv.h"
#include "tests/kiv/lines.h"
#include "tests/kiv/process.h"
#include "tests/kiv/suite.h"
#include "tests/kiv/watcher.h"

namespace {

using kiv_test::Watcher;
using testing::HasSubstr;
using testing::Not;

// What a case of the tests finds.
std::string flash_file;

template <char name>
int says() {
    return kiv_printf("%c", name);
}

int passes() {
    return kiv_jyx_check_cerrno_(0, 0, "OK", "file", "passes", 1);
}

int fails() {
    return kiv_jyx_check_cerrno_(7, 0, "OK", "file", "fails", 2);
}

int reads_the_flash() {
    kiv_printf("flash %s", kiv_test::read_text(flash_file).c_str());
    return 0;
}

int reads_a_line() {
    char line[100];
    if (fgets(line, sizeof line, stdin) != nullptr) kiv_printf("read %s", line);
    return 0;
}

int reads_everything() {
    char line[100];
    while (fgets(line, sizeof line, stdin) != nullptr) kiv_printf("read %s", line);
    return 0;
}

int prints_everywhere() {
    std::cout << "cout" << std::flush;
    std::cerr << "cerr";
    std::clog << "clog" << std::flush;
    std::cout.put('c').flush();
    fputs("stderr", stderr);
    return 0;
}

int gives_stdout_a_buffer() {
    static char buffer[100];
    setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    printf("late");
    return 0;
}

int closes_its_streams() {
    fclose(stdin);
    fclose(stdout);
    fclose(stderr);
    return 0;
}

int prints_to_all_streams() {
    printf("out ");
    fprintf(stderr, "err ");
    return reads_a_line();
}

class WorkerTest : public testing::Test {
  protected:
    WorkerTest() {
        journal_.timed_ = false;
        journal_.answers_ = 1000;
    }
    void add(kiv_folder *folder, const char *name, kiv_function_t function) {
        kiv_create_test_case(folder->context, folder, name, "", function, KIV_MODE_AUTOMATIC);
    }
    // Runs every case that was added and returns what the journal was told.
    std::string run(int repeat = 1, bool asks_to_go_on = false) {
        kiv_context &context = suite_.context();
        std::vector<uint32_t> all(context.cases.size());
        for (uint32_t i = 0; i < all.size(); ++i) all[i] = i;
        const kiv::Schedule schedule(context, all, repeat, false, 0);
        const kiv::Work work{schedule, site_ ? &*site_ : nullptr, flash_, asks_to_go_on};
        kiv::Worker{.work = work, .journal = journal_, .memory = memory_}.run();
        return journal_.text_;
    }
    // Of the journal's lines only what was printed, in one.
    std::string printed(int repeat = 1) {
        std::string printed;
        std::istringstream lines(run(repeat));
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with("print ")) printed += line.substr(6) + "|";
        return printed;
    }
    void make_site() {
        site_.emplace(directory_.file("site"));
        directory_.write("flash/other", "");
        flash_ = directory_.file("flash");
        flash_file = flash_ + "/kiv_input_file";
    }

    Watcher &watcher_ = Watcher::fresh();
    kiv_test::TemporaryDirectory directory_;
    kiv_test::Suite suite_;
    kiv_test::JournalLines journal_;
    kiv::WorkerMemory memory_{};
    std::optional<kiv::Site> site_;
    std::string flash_;
};

TEST_F(WorkerTest, FixturesWrapTheirFoldersAndTearDownTheOtherWayRound) {
    kiv_folder *outer = suite_.folder("outer");
    kiv_add_fixture(outer, says<'a'>, says<'d'>);
    kiv_add_fixture(outer, says<'b'>, says<'c'>);
    kiv_folder *inner = suite_.folder("inner", outer);
    kiv_add_fixture(inner, says<'x'>, nullptr);
    add(outer, "one", says<'1'>);
    add(inner, "two", says<'2'>);
    add(suite_.folder("other"), "three", says<'3'>);
    EXPECT_EQ(run(),
              "group 0 1\nset-up 0 0\nprint a\nprint b\nfixture-end 0 0\ncase 0 0\nprint 1\ncase-end 0 0\n"
              "group-end 0 0\ngroup 1 1\nset-up 1 0\nprint x\nfixture-end 0 0\ncase 1 0\nprint 2\n"
              "case-end 0 0\ntear-down 1 0\nfixture-end 0 0\ntear-down 0 0\nprint c\nprint d\n"
              "fixture-end 0 0\ngroup-end 0 0\ngroup 2 1\ncase 2 0\nprint 3\ncase-end 0 0\n"
              "group-end 0 0\n");
    EXPECT_TRUE(journal_.done_);
}

TEST_F(WorkerTest, EachPassHasItsOwnFixtures) {
    kiv_folder *folder = suite_.folder("f");
    kiv_add_fixture(folder, says<'a'>, says<'z'>);
    add(folder, "one", says<'1'>);
    EXPECT_EQ(printed(3), "a|1|z|a|1|z|a|1|z|");
}

TEST_F(WorkerTest, ChecksAreCountedCaseByCase) {
    kiv_folder *folder = suite_.folder("f");
    kiv_add_fixture(folder, fails, fails);
    add(folder, "fails", fails);
    add(folder, "passes", passes);
    const std::string told = run();
    EXPECT_THAT(told,
                HasSubstr("case 0 0\ncode 7 0 2 OK|||file|fails\ncase-end 0 1\ncase 1 0\ncase-end 0 0\n"));
    EXPECT_THAT(told, HasSubstr("set-up 0 0\ncode 7 0 2 OK|||file|fails\nfixture-end 0 1\n"));
    EXPECT_EQ(memory_.counters.failed, 1u);  // of the tear-down, the last that ran
}

TEST_F(WorkerTest, AsksAfterEachCaseAndSetUpAndStopsWithTheTearDowns) {
    kiv_folder *folder = suite_.folder("f");
    kiv_add_fixture(folder, says<'a'>, says<'z'>);
    add(folder, "one", says<'1'>);
    add(folder, "two", says<'2'>);
    add(folder, "three", says<'3'>);
    journal_.answers_ = 3;  // after the set-up and two cases
    EXPECT_EQ(run(1, true),
              "group 0 3\nset-up 0 0\nprint a\nfixture-end 0 0\ncase 0 0\nprint 1\ncase-end 0 0\n"
              "case 1 0\nprint 2\ncase-end 0 0\ntear-down 0 0\nprint z\nfixture-end 0 0\ngroup-end 0 0\n");
}

TEST_F(WorkerTest, BadSetUpEndsARunThatAsks) {
    kiv_folder *outer = suite_.folder("outer");
    kiv_add_fixture(outer, says<'a'>, says<'z'>);
    kiv_folder *inner = suite_.folder("inner", outer);
    kiv_add_fixture(inner, says<'b'>, says<'y'>);
    add(inner, "one", says<'1'>);
    journal_.answers_ = 0;
    EXPECT_EQ(run(1, true),
              "group 0 1\nset-up 0 0\nprint a\nfixture-end 0 0\ntear-down 0 0\nprint z\n"
              "fixture-end 0 0\ngroup-end 0 0\n");
}

TEST_F(WorkerTest, NobodyIsAskedWithoutNeed) {
    add(suite_.folder("f"), "one", passes);
    journal_.answers_ = 0;
    run();
    EXPECT_EQ(journal_.questions_, 0);
}

TEST_F(WorkerTest, CaseWithoutAFunctionReportsAnError) {
    add(suite_.folder("f"), "one", nullptr);
    EXPECT_THAT(run(), HasSubstr("case 0 0\nprint ERROR: the case was registered without a function\n"));
}

TEST_F(WorkerTest, EveryCaseFindsItsOwnFiles) {
    directory_.write("site/disk0/kiv_input_file", "for all\n");
    directory_.write("site/cases/f/one/kiv_input_file", "one's\n");
    directory_.write("site/cases/f/two/kiv_input_file", "two's\n");
    directory_.write("site/cases/f/four/stdin", "");
    make_site();
    kiv_folder *folder = suite_.folder("f");
    for (const char *name : {"zero", "one", "two", "three", "four", "five"})
        add(folder, name, reads_the_flash);
    EXPECT_EQ(printed(2),
              "flash for all|flash one's|flash two's|flash for all|flash for all|flash for all|"
              "flash for all|flash one's|flash two's|flash for all|flash for all|flash for all|");
    EXPECT_EQ(memory_.staged, 1u);
}

TEST_F(WorkerTest, FlashThatCannotBeFilledIsAnErrorOfTheCase) {
    directory_.write("site/disk0/kiv_input_file", "for all\n");
    make_site();
    flash_ = directory_.file("nowhere");
    kiv_folder *folder = suite_.folder("f");
    add(folder, "one", passes);
    EXPECT_THAT(run(), HasSubstr("case 0 0\nprint ERROR: cannot stage the input files: " + flash_ +
                                 "/kiv_input_file: No such file or directory\n"));
}

TEST_F(WorkerTest, EveryCaseReadsItsOwnScriptFromTheBegin) {
    directory_.write("site/cases/f/part/stdin", "1\n2\n");
    directory_.write("site/cases/f/whole/stdin", "a\nb\n");
    make_site();
    kiv_folder *folder = suite_.folder("f");
    add(folder, "part", reads_a_line);
    add(folder, "whole", reads_everything);
    add(folder, "none", reads_everything);
    EXPECT_EQ(printed(2), "read 1|read a|read b|read 1|read a|read b|");
}

TEST_F(WorkerTest, EachCaseTellsOnceThatItReads) {
    const std::string script = directory_.write("site/cases/f/stdin", "1\n2\n3");
    make_site();
    kiv_folder *folder = suite_.folder("f");
    add(folder, "one", reads_everything);
    add(folder, "two", reads_everything);
    add(folder, "three", passes);
    const std::string told = run();
    const std::string reads = script + " 3 0\n";
    const size_t first = told.find(reads), second = told.find(reads, first + 1);
    EXPECT_LT(told.find("case 0 0\n"), first);
    EXPECT_LT(told.find("case 1 0\n"), second);
    EXPECT_EQ(told.find(reads, second + 1), std::string::npos);
}

TEST_F(WorkerTest, CaseWithoutAScriptReadsTheEndOfInput) {
    directory_.write("site/cases/f/one/stdin", "1\n");
    make_site();
    kiv_folder *folder = suite_.folder("f");
    add(folder, "one", passes);
    add(folder, "two", reads_everything);
    const std::string told = run();
    EXPECT_THAT(told, HasSubstr("the site has no stdin for it 0 0\n"));
    EXPECT_THAT(told, Not(HasSubstr("read")));
}

TEST_F(WorkerTest, StreamsOfTheLibraryArePrints) {
    add(suite_.folder("f"), "one", prints_everywhere);
    EXPECT_EQ(printed(), "cout|cerr|clog|c|stderr|");
    // And afterwards they are what they were.
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    prints_everywhere();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "coutc");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cerrclogstderr");
}

TEST_F(WorkerTest, WhatACaseBuffersIsItsOwn) {
    kiv_folder *folder = suite_.folder("f");
    add(folder, "buffers", gives_stdout_a_buffer);
    add(folder, "next", says<'n'>);
    EXPECT_EQ(printed(), "late|n|");
}

TEST_F(WorkerTest, StreamsThatACaseClosesAreNewForTheNext) {
    directory_.write("site/cases/f/stdin", "1\n");
    make_site();
    kiv_folder *folder = suite_.folder("f");
    add(folder, "closes", closes_its_streams);
    add(folder, "uses", prints_to_all_streams);
    EXPECT_EQ(printed(2), "out |err |read 1|out |err |read 1|");
}

TEST_F(WorkerTest, ObserversAreToldWhatTheyAskFor) {
    kiv_folder *folder = suite_.folder("f");
    kiv_add_fixture(folder, says<'a'>, nullptr);
    add(folder, "one", passes);
    add(folder, "one", fails);
    const std::pair<unsigned, const char *> kTold[] = {
        {0, ""},
        {Watcher::kCases, "case f/one\nend of f/one\ncase f/one#2\nend of f/one#2\n"},
        {Watcher::kChecks, "passed OK|||1\nfailed OK|||2\n"},
        {Watcher::kPrints, "print a\n"},
        {Watcher::kFixtures, "set-up f\nend of set-up f\ntear-down f\nend of tear-down f\n"}};
    for (const auto &[interests, told] : kTold) {
        watcher_.text_.clear();
        watcher_.interests_ = interests;
        run();
        EXPECT_EQ(watcher_.text_, "worker 1\n" + std::string(told) + "worker ends\n");
    }
}

TEST_F(WorkerTest, InterestsAreReadWhenTheWorkerHasBegun) {
    watcher_.on_worker_begins_ = [this](int) { watcher_.interests_ = Watcher::kChecks; };
    add(suite_.folder("f"), "one", passes);
    run();
    EXPECT_THAT(watcher_.text_, HasSubstr("passed OK"));
    // Nobody is told of a check outside of a run.
    watcher_.text_.clear();
    passes();
    EXPECT_EQ(watcher_.text_, "");
}

TEST_F(WorkerTest, NotesOfItsObserversGoToItsJournal) {
    watcher_.on_worker_begins_ = [](int worker) { kiv::add_note("of worker " + std::to_string(worker)); };
    add(suite_.folder("f"), "one", passes);
    EXPECT_THAT(run(), testing::StartsWith("note of worker 1\n"));
    const std::string told = journal_.text_;
    kiv::add_note("of nobody");
    EXPECT_EQ(journal_.text_, told);
}

}  // namespace
