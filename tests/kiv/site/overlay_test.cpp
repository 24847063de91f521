// The overlay rule by itself: of each kind the most specific file, and what lies in the tree.
#include "kiv/site/overlay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/kiv/process.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class OverlayTest : public testing::Test {
  protected:
    std::string place(const std::string &name) const { return directory_.file(name); }

    kiv_test::TemporaryDirectory directory_;
};

TEST_F(OverlayTest, FoldersAboveAndTheCardGiveWhatAFolderLacks) {
    directory_.write("disk0/kiv_input_file", "");
    directory_.write("disk0/kiv_tcs_input_file", "");
    directory_.write("disk0/stdin", "");
    directory_.write("cases/a/kiv_tcs_input_file", "");
    directory_.write("cases/a/b/stdin", "");
    const kiv::Overlay overlay(directory_.path());
    const kiv::CaseFiles a = overlay.folder_files("a"), c = overlay.folder_files("a/b/c");
    EXPECT_THAT(a.inputs, ElementsAre(place("disk0/kiv_input_file"), place("cases/a/kiv_tcs_input_file")));
    EXPECT_EQ(a.standard_input, "") << "the card has none";
    EXPECT_EQ(c.inputs, a.inputs);
    EXPECT_EQ(c.standard_input, place("cases/a/b/stdin"));
    EXPECT_THAT(overlay.folder_files("b").inputs,
                ElementsAre(place("disk0/kiv_input_file"), place("disk0/kiv_tcs_input_file")));
}

TEST_F(OverlayTest, ACasesOwnFilesGoOverItsFoldersThoseOfItsNumberOverThose) {
    directory_.write("cases/a/x/kiv_input_file", "");
    directory_.write("cases/a/x/stdin", "");
    directory_.write("cases/a/x#2/stdin", "");
    const kiv::Overlay overlay(directory_.path());
    kiv::CaseFiles first{{"folder's", "folder's"}, ""}, second = first, other = first;
    EXPECT_TRUE(overlay.add_case_files("a", "x", 1, &first));
    EXPECT_THAT(first.inputs, ElementsAre(place("cases/a/x/kiv_input_file"), "folder's"));
    EXPECT_EQ(first.standard_input, place("cases/a/x/stdin"));
    EXPECT_TRUE(overlay.add_case_files("a", "x", 2, &second));
    EXPECT_EQ(second.inputs, first.inputs);
    EXPECT_EQ(second.standard_input, place("cases/a/x#2/stdin"));
    EXPECT_FALSE(overlay.add_case_files("a", "y", 1, &other));
    EXPECT_THAT(other.inputs, ElementsAre("folder's", "folder's"));
}

TEST_F(OverlayTest, ANumberedCaseMayHaveADirectoryAlone) {
    directory_.write("cases/a/x#2/stdin", "");
    const kiv::Overlay overlay(directory_.path());
    kiv::CaseFiles files;
    EXPECT_FALSE(overlay.add_case_files("a", "x", 1, &files));
    EXPECT_TRUE(overlay.add_case_files("a", "x", 2, &files));
    EXPECT_EQ(files.standard_input, place("cases/a/x#2/stdin"));
}

TEST_F(OverlayTest, CasesHaveDirectoriesWhereTheirFolderHasSomeBelow) {
    directory_.write("cases/a/kiv_input_file", "");
    directory_.write("cases/ab/x/stdin", "");
    const kiv::Overlay overlay(directory_.path());
    EXPECT_FALSE(overlay.has_case_directories("a")) << "those of \"ab\" are not its own";
    EXPECT_TRUE(overlay.has_case_directories("ab"));
    EXPECT_FALSE(overlay.has_case_directories("b")) << "behind the last";
}

TEST_F(OverlayTest, TheTreeIsToldAsItIs) {
    directory_.write("cases/a/x/stdin", "");
    directory_.write("cases/a/x/stdin~", "");
    directory_.write("cases/README", "");
    const kiv::Overlay overlay(directory_.path());
    EXPECT_EQ(overlay.directory(), directory_.path());
    EXPECT_THAT(overlay.directories(), ElementsAre("a", "a/x"));
    EXPECT_THAT(overlay.files(), ElementsAre("a/x/stdin"));
    EXPECT_THAT(overlay.others(), ElementsAre("README", "a/x/stdin~"));
}

TEST_F(OverlayTest, ASymbolicLinkToADirectoryIsADirectoryAndALoopOfThemEnds) {
    directory_.write("elsewhere/stdin", "");
    directory_.write("cases/a/stdin", "");
    std::error_code error;
    std::filesystem::create_directory_symlink(directory_.file("elsewhere"), place("cases/a/x"), error);
    std::filesystem::create_directory_symlink(directory_.file("cases/a"), place("cases/a/loop"), error);
    const kiv::Overlay overlay(directory_.path());
    EXPECT_TRUE(overlay.directories().contains("a/x"));
    EXPECT_TRUE(overlay.files().contains("a/x/stdin"));
    EXPECT_TRUE(overlay.directories().contains("a/loop/loop"));
}

TEST_F(OverlayTest, NoSiteHasNoFiles) {
    const kiv::Overlay overlay("/nowhere");
    EXPECT_THAT(overlay.directories(), IsEmpty());
    EXPECT_EQ(overlay.folder_files("a"), kiv::CaseFiles());
}

}  // namespace
