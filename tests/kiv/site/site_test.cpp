// Sites: which files a case gets, and how they come into the flash; the flash's paths.
#include "kiv/site/site.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "kiv/site/flash.h"
#include "tests/kiv/process.h"
#include "tests/kiv/suite.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class SiteTest : public testing::Test {
  protected:
    SiteTest() {
        kiv_folder *span = suite_.folder("span");
        kiv_folder *port = suite_.folder("port", span);
        suite_.test(span, "plain");
        suite_.test(port, "add");
        suite_.test(port, "add");
        suite_.context();
    }
    std::string input(kiv::Site &site, uint32_t index, size_t file = 0) {
        const std::string path = site.case_files(suite_.context().cases[index]).inputs[file];
        return path.empty() ? path : path.substr(directory_.path().size() + 1);
    }
    std::string standard_input(kiv::Site &site, uint32_t index) {
        const std::string path = site.case_files(suite_.context().cases[index]).standard_input;
        return path.empty() ? path : path.substr(directory_.path().size() + 1);
    }

    kiv_test::TemporaryDirectory directory_;
    kiv_test::Suite suite_;
};

TEST_F(SiteTest, MostSpecificFileOfEachKindCounts) {
    directory_.write("disk0/kiv_input_file", "all");
    directory_.write("disk0/kiv_tcs_input_file", "all");
    directory_.write("cases/span/kiv_input_file", "span");
    directory_.write("cases/span/port/kiv_input_file", "port");
    directory_.write("cases/span/port/add/kiv_tcs_input_file", "add");
    kiv::Site site(directory_.path());
    EXPECT_EQ(input(site, 0), "cases/span/kiv_input_file");
    EXPECT_EQ(input(site, 0, 1), "disk0/kiv_tcs_input_file");
    EXPECT_EQ(input(site, 1), "cases/span/port/kiv_input_file");
    EXPECT_EQ(input(site, 1, 1), "cases/span/port/add/kiv_tcs_input_file");
}

TEST_F(SiteTest, RepeatedCaseHasItsOwnDirectoryOrThatOfItsName) {
    directory_.write("cases/span/port/add/stdin", "1\n");
    directory_.write("cases/span/port/add/kiv_input_file", "x");
    directory_.write("cases/span/port/add#2/stdin", "2\n");
    kiv::Site site(directory_.path());
    EXPECT_EQ(standard_input(site, 1), "cases/span/port/add/stdin");
    EXPECT_EQ(standard_input(site, 2), "cases/span/port/add#2/stdin");
    EXPECT_EQ(input(site, 2), "cases/span/port/add/kiv_input_file");
    EXPECT_EQ(standard_input(site, 0), "");
}

TEST_F(SiteTest, SiteWithoutFilesHasNone) {
    kiv::Site site(directory_.path());
    EXPECT_EQ(input(site, 1), "");
    EXPECT_EQ(site.plan(), "");
}

TEST_F(SiteTest, DirectoriesOfNoCaseAreStrangers) {
    directory_.write("cases/span/prot/stdin", "");
    directory_.write("cases/span/port/add/stdin", "");
    EXPECT_THAT(kiv::Site(directory_.path()).strangers(suite_.context()), ElementsAre("span/prot"));
}

TEST_F(SiteTest, NeighboursOfAFolderAreNotItsOwn) {
    directory_.write("cases/spanner/kiv_input_file", "no folder of the suite");
    directory_.write("cases/span.old/kiv_input_file", "no folder either");
    kiv::Site site(directory_.path());
    EXPECT_EQ(input(site, 0), "");
    const kiv::CaseFiles &files = site.folder_files(suite_.context().cases[0].folder);
    EXPECT_EQ(&site.case_files(suite_.context().cases[0]), &files) << "the case has files of its own";
}

TEST_F(SiteTest, LinkThatLeadsBackIsNotFollowedForEver) {
    directory_.write("cases/span/stdin", "");
    ASSERT_EQ(symlink("..", directory_.file("cases/span/up").c_str()), 0);
    kiv::Site site(directory_.path());
    EXPECT_LT(site.strangers(suite_.context()).size(), 30u);
    EXPECT_EQ(standard_input(site, 0), "cases/span/stdin");
}

class StagerTest : public testing::Test {
  protected:
    kiv::CaseFiles files(const std::string &input) {
        kiv::CaseFiles files;
        if (!input.empty()) files.inputs[0] = directory_.write("site/" + input, input);
        return files;
    }
    std::string staged() { return kiv_test::read_text(directory_.file("flash/kiv_input_file")); }

    kiv_test::TemporaryDirectory directory_;
    uint32_t mask_ = 0;
    std::string error_;
};

TEST_F(StagerTest, FileIsCopiedWhenItDiffersAndRemovedWhenThereIsNone) {
    directory_.write("flash/other", "");
    kiv::Stager stager(directory_.file("flash"), &mask_);
    ASSERT_TRUE(stager.stage(files("one"), &error_)) << error_;
    EXPECT_EQ(staged(), "one");
    struct stat before, after;
    stat(directory_.file("flash/kiv_input_file").c_str(), &before);
    ASSERT_TRUE(stager.stage(files("one"), &error_));
    stat(directory_.file("flash/kiv_input_file").c_str(), &after);
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
    ASSERT_TRUE(stager.stage(files("two"), &error_));
    EXPECT_EQ(staged(), "two");
    ASSERT_TRUE(stager.stage(files(""), &error_));
    EXPECT_EQ(staged(), "");
    EXPECT_NE(stat(directory_.file("flash/kiv_input_file").c_str(), &after), 0);
}

TEST_F(StagerTest, FileOfTheUsersOwnStays) {
    directory_.write("flash/kiv_input_file", "mine");
    kiv::Stager stager(directory_.file("flash"), &mask_);
    ASSERT_TRUE(stager.stage(files(""), &error_));
    EXPECT_EQ(staged(), "mine");
}

TEST_F(StagerTest, NothingIsWrittenThroughALinkThatWasPlanted) {
    const std::string target = directory_.file("flash/kiv_input_file");
    directory_.write("flash/other", "");
    for (const char *content : {"elsewhere", "one"}) {
        const std::string elsewhere = directory_.write("elsewhere", content);
        unlink(target.c_str());
        ASSERT_EQ(symlink(elsewhere.c_str(), target.c_str()), 0);
        kiv::Stager stager(directory_.file("flash"), &mask_);
        ASSERT_TRUE(stager.stage(files("one"), &error_)) << error_;
        EXPECT_EQ(kiv_test::read_text(elsewhere), content);
        EXPECT_EQ(staged(), "one");
        EXPECT_FALSE(std::filesystem::is_symlink(target));
    }
    unlink(target.c_str());
    ASSERT_EQ(mkfifo(target.c_str(), 0600), 0);
    ASSERT_TRUE(kiv::Stager(directory_.file("flash"), &mask_).stage(files("one"), &error_)) << error_;
    EXPECT_EQ(staged(), "one");
}

TEST_F(StagerTest, NextWorkerKnowsWhatTheLastOneStaged) {
    directory_.write("flash/other", "");
    ASSERT_TRUE(kiv::Stager(directory_.file("flash"), &mask_).stage(files("one"), &error_));
    ASSERT_TRUE(kiv::Stager(directory_.file("flash"), &mask_).stage(files(""), &error_));
    EXPECT_EQ(staged(), "");
}

TEST_F(StagerTest, FlashThatCannotBeWrittenIsNamedEachTime) {
    kiv::Stager stager("/nowhere/flash", &mask_);
    for (int i = 0; i < 2; ++i) {
        error_.clear();
        EXPECT_FALSE(stager.stage(files("one"), &error_));
        EXPECT_EQ(error_, "/nowhere/flash/kiv_input_file: No such file or directory");
    }
}

TEST_F(StagerTest, FileThatACaseLeftThereIsReplacedWhenTheSourceChanges) {
    directory_.write("flash/kiv_input_file", "of a case");
    kiv::Stager stager(directory_.file("flash"), &mask_);
    ASSERT_TRUE(stager.stage(files("one"), &error_)) << error_;
    EXPECT_EQ(staged(), "one");
    EXPECT_EQ(mask_, 1u);
    ASSERT_TRUE(stager.stage(files(""), &error_));
    EXPECT_EQ(mask_, 0u);
    // What is there afterwards was not staged by the run: it stays.
    directory_.write("flash/kiv_input_file", "of the user");
    ASSERT_TRUE(kiv::Stager(directory_.file("flash"), &mask_).stage(files(""), &error_));
    EXPECT_EQ(staged(), "of the user");
}

TEST_F(StagerTest, EachInputFileHasItsOwnPlace) {
    directory_.write("flash/other", "");
    kiv::CaseFiles both = files("one");
    both.inputs[1] = directory_.write("site/two", "two");
    kiv::Stager stager(directory_.file("flash"), &mask_);
    ASSERT_TRUE(stager.stage(both, &error_)) << error_;
    EXPECT_EQ(mask_, 3u);
    EXPECT_EQ(kiv_test::read_text(directory_.file("flash/kiv_tcs_input_file")), "two");
    both.inputs[0].clear();
    ASSERT_TRUE(stager.stage(both, &error_)) << error_;
    EXPECT_EQ(mask_, 2u);
    EXPECT_EQ(staged(), "");
    EXPECT_EQ(kiv_test::read_text(directory_.file("flash/kiv_tcs_input_file")), "two");
}

TEST(FindSite, OptionBeatsVariableAndMustExist) {
    kiv_test::TemporaryDirectory directory;
    std::string site, error;
    setenv("KIV_SITE", "/nowhere", 1);
    EXPECT_TRUE(kiv::find_site(directory.path(), false, &site, &error));
    EXPECT_EQ(site, directory.path());
    EXPECT_FALSE(kiv::find_site("", false, &site, &error));
    EXPECT_EQ(error, "KIV_SITE: /nowhere is not a directory");
    EXPECT_FALSE(kiv::find_site("/nowhere/else", false, &site, &error));
    EXPECT_EQ(error, "--site: /nowhere/else is not a directory");
    EXPECT_TRUE(kiv::find_site("/nowhere/else", true, &site, &error));
    EXPECT_EQ(site, "");
    setenv("KIV_SITE", "", 1);
    EXPECT_TRUE(kiv::find_site("", false, &site, &error));
    EXPECT_EQ(site, "");
    unsetenv("KIV_SITE");
}

TEST(FindSite, DefaultIsTheFirstThatExistsAndNoneOnACard) {
    const kiv_test::TemporaryDirectory directory, card;
    std::string site, error;
    unsetenv("KIV_SITE");
    kiv::set_default_sites({"/nowhere", directory.path(), card.path()});
    EXPECT_TRUE(kiv::find_site("", false, &site, &error, "/nowhere"));
    EXPECT_EQ(site, directory.path());
    EXPECT_TRUE(kiv::find_site("", false, &site, &error, card.path()));
    EXPECT_EQ(site, "");
    EXPECT_TRUE(kiv::find_site(directory.path(), false, &site, &error, card.path()));
    EXPECT_EQ(site, directory.path());
    EXPECT_TRUE(kiv::find_site("", true, &site, &error, "/nowhere"));
    EXPECT_EQ(site, "");
    kiv::set_default_sites({});
    EXPECT_TRUE(kiv::find_site("", false, &site, &error, "/nowhere"));
    EXPECT_EQ(site, "");
}

TEST(FindSite, OptionIsStrongerThanAVariableThatIsWrong) {
    const kiv_test::TemporaryDirectory directory;
    std::string site, error;
    setenv("KIV_SITE", "", 1);  // none
    EXPECT_TRUE(kiv::find_site(directory.path(), false, &site, &error));
    EXPECT_EQ(site, directory.path());
    unsetenv("KIV_SITE");
}

TEST(Flash, PathsBelowTheFlashAreMappedAndStayThere) {
    bool good;
    EXPECT_EQ(kiv::flash_path("/disk0:/a", &good), "/disk0:/a");
    kiv::map_flash("/tmp/flash");
    EXPECT_EQ(kiv::flash_path("/disk0:/kiv_input_file", &good), "/tmp/flash/kiv_input_file");
    EXPECT_TRUE(good);
    EXPECT_EQ(kiv::flash_path("/disk0:/a/../b", &good), "/tmp/flash/a/../b");
    EXPECT_TRUE(good);
    for (const char *path : {"/disk0:/..", "/disk0:/../x", "/disk0:/a/../../x", "/disk0:/a/./../../a"}) {
        kiv::flash_path(path, &good);
        EXPECT_FALSE(good) << path;
    }
    for (const char *path : {"/disk0:/./a", "/disk0:/a/./..", "/disk0:/a//../b", "/disk0:/"}) {
        kiv::flash_path(path, &good);
        EXPECT_TRUE(good) << path;
    }
    kiv::flash_path("/disk0:/./..", &good);
    EXPECT_FALSE(good);
    EXPECT_EQ(kiv::flash_path("/disk1:/a", &good), "/disk1:/a");
    EXPECT_EQ(kiv::flash_path("relative", &good), "relative");
    kiv::map_flash("");
}

TEST(Flash, FopenGoesThroughTheMapping) {
    kiv_test::TemporaryDirectory directory;
    directory.write("data", "here\n");
    kiv::map_flash(directory.path());
    FILE *file = fopen("/disk0:/data", "r");
    ASSERT_NE(file, nullptr);
    char line[16];
    EXPECT_STREQ(fgets(line, sizeof line, file), "here\n");
    fclose(file);
    EXPECT_EQ(fopen("/disk0:/../data", "r"), nullptr);
    EXPECT_EQ(errno, EACCES);
    kiv::map_flash("");
}

TEST(FlashTest, NoWriterIsLedOutByALink) {
    const kiv_test::TemporaryDirectory directory;
    directory.write("flash/below/file", "in the flash");
    const std::string elsewhere = directory.write("elsewhere/file", "elsewhere");
    ASSERT_EQ(symlink(elsewhere.c_str(), directory.file("flash/link").c_str()), 0);
    ASSERT_EQ(symlink(directory.file("elsewhere").c_str(), directory.file("flash/down").c_str()), 0);
    kiv::map_flash(directory.file("flash"));
    for (const char *path : {"/disk0:/link", "/disk0:/down/file", "/disk0:/down/new"}) {
        for (const char *mode : {"w", "a", "r+"}) {
            errno = 0;
            EXPECT_EQ(fopen(path, mode), nullptr) << path << " " << mode;
            EXPECT_EQ(errno, ELOOP);
        }
    }
    for (const char *path : {"/disk0:/below/file", "/disk0:/below/new"}) {
        FILE *file = fopen(path, "w");
        ASSERT_NE(file, nullptr) << path;
        fclose(file);
    }
    FILE *file = fopen("/disk0:/link", "r");
    ASSERT_NE(file, nullptr);
    fclose(file);
    kiv::map_flash("");
    EXPECT_EQ(kiv_test::read_text(elsewhere), "elsewhere");
    EXPECT_FALSE(std::filesystem::exists(directory.file("elsewhere/new")));
}

}  // namespace
