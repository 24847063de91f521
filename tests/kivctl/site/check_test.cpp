// The check of a whole site: what is missing, what nobody reads, the inventory, and the command from outside.
#include "card/sim/inventory.h"
#include "kivctl/site/formats.h"
#include "tests/kiv/reports/report_test.h"
#include "tests/kivctl/site/site_test.h"

namespace kivctl::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using CheckTest = SiteTest;

TEST_F(CheckTest, ANewOneHasNoProblems) {
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(CheckTest, TellsHowMuchItLookedAt) {
    size_t files = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(path()))
        files += entry.is_regular_file();
    EXPECT_EQ(check().files, files - 2) << "all but the plan and the README";
    EXPECT_EQ(check().cases, case_formats().size());
}

TEST_F(CheckTest, ProblemsStandByFileAndLine) {
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:800f210,UIDB:x\nx\n");
    put("cases/prm-kiv-l2-bdl/kiv_tcs_input_file", "BDL_IFH:1,LAG_ID:x\n");
    put("cases/foo/x", "");
    EXPECT_THAT(problems(), ElementsAre("cases/foo: no folder of the suite has this name",
                                        HasSubstr("cases/foo/x: nothing reads"),
                                        HasSubstr("cases/prm-kiv-bvi/kiv_tcs_input_file:1: "),
                                        HasSubstr("cases/prm-kiv-bvi/kiv_tcs_input_file:2: "),
                                        HasSubstr("cases/prm-kiv-l2-bdl/kiv_tcs_input_file:1: ")));
}

TEST_F(CheckTest, ABaselineIsReadAndBelongsToAFolder) {
    put("baseline/acl.txt", "set-up\n  a(1) = 0\n\ncase x: passed, 1 check\n  b({c 1}) = 0\n");
    put("baseline/span/session.txt", "case x: passed, 1 check\n");
    EXPECT_THAT(problems(), IsEmpty());
    put("baseline/qos.txt", "case x: passed, 1 check\n  a(1\n");
    put("baseline/other.txt", "");
    put("baseline/span/session", "");
    const std::string called = "a baseline is called FOLDER.txt after a folder of the suite";
    EXPECT_THAT(problems(),
                ElementsAre("baseline/other.txt: " + called,
                            "baseline/qos.txt:2: not a call: OPERATION(ARGUMENTS) = RESULT is wanted",
                            "baseline/span/session: " + called));
}

TEST_F(CheckTest, FilesThatAreMissing) {
    std::filesystem::remove(directory_.path("site/cases/prm-kiv-l2-vpls/kiv_tcs_input_file"));
    std::filesystem::remove(
        directory_.path("site/cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session/stdin"));
    const auto found = problems();
    EXPECT_THAT(
        found,
        Contains("cases/prm-kiv-l2-vpls/kiv_tcs_input_file: missing: tc_kiv_vpls_create_bd_with_ac and 4 "
                 "more cases read it"));
    EXPECT_THAT(
        found,
        Contains("cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session/stdin: missing: the "
                 "case reads standard input, which an operator would type"));
}

TEST_F(CheckTest, ReadersOfAMissingFileAreCounted) {
    remove("cases/prm-kiv-l2/kiv_tcs_input_file");
    put("cases/prm-kiv-l2/tc_kiv_xconnect_add_locsw/kiv_tcs_input_file",
        "IFH:800f210,UIDB:20\nIFH:800f220,UIDB:21\n");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("cases/prm-kiv-l2/kiv_tcs_input_file: missing: ")));
    remove("cases/prm-kiv-l3-bdl/kiv_tcs_input_file");
    const std::string subs = "SUB_IFH:1,OVLAN:1,IVLAN:1,OTPID:8100,BDL_IFH:1,LAG_ID:1\n";
    for (const CaseFormat &format : case_formats())
        if (format.folder == "prm-kiv-l3-bdl" && format.name != "tc_kiv_add_bdl_members")
            put("cases/prm-kiv-l3-bdl/" + std::string(format.name) + "/kiv_tcs_input_file",
                format.readers.back()->lines == 2 ? subs + subs : "BDL_IFH:1,LAG_ID:1\n");
    EXPECT_THAT(
        problems(),
        Contains("cases/prm-kiv-l3-bdl/kiv_tcs_input_file: missing: tc_kiv_add_bdl_members reads it"));
}

TEST_F(CheckTest, AFileThatCannotBeRead) {
    remove("cases/prm-kiv-bvi/kiv_tcs_input_file");
    std::filesystem::create_directories(path("cases/prm-kiv-bvi/kiv_tcs_input_file"));
    EXPECT_THAT(problems(), ElementsAre("cases/prm-kiv-bvi/kiv_tcs_input_file: cannot be read"));
}

TEST_F(CheckTest, DirectoriesBelowOneThatIsUnknownAreNotNamed) {
    put("cases/prm-kiv-l4/tc_a/kiv_tcs_input_file", "");
    put("cases/prm-kiv-l2/tc_b/tc_c/kiv_tcs_input_file", "");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv-l2/tc_b: no case of prm-kiv-l2 that reads anything has this name",
                            "cases/prm-kiv-l4: no folder of the suite has this name"));
}

TEST_F(CheckTest, ADirectoryForTheSecondOfANameThatIsRegisteredOnce) {
    put("cases/prm-kiv-l2/tc_kiv_xconnect_add_locsw#2/kiv_tcs_input_file", "");
    put("cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session#2/stdin", "");
    EXPECT_THAT(
        problems(),
        ElementsAre("cases/prm-kiv-l2/tc_kiv_xconnect_add_locsw#2: no case of prm-kiv-l2 that reads anything "
                    "has this name",
                    "cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session#2: no case of "
                    "span/misc that reads anything has this name",
                    "cases/span/misc/prm_kiv_span_port_add_valid_but_nonexistent_session#2/stdin: no case "
                    "reads this as its standard input"));
}

TEST_F(CheckTest, StandardInputOfNoFolder) {
    put("cases/stdin", "");
    EXPECT_THAT(problems(), ElementsAre("cases/stdin: no case reads this as its standard input"));
}

TEST_F(CheckTest, NamesOfFoldersCasesAndFilesThatNothingReads) {
    put("cases/prm-kiv-l4/kiv_tcs_input_file", "");
    put("cases/prm-kiv-l2/tc_kiv_uidb_l2_enable/kiv_tcs_input_file", "");
    put("cases/prm-kiv-l2/kiv_tcs_input", "");
    put("cases/prm-kiv-l2/tc_kiv_xconnect_add_locsw/stdin", "");
    const auto found = problems();
    EXPECT_THAT(found, Contains("cases/prm-kiv-l4: no folder of the suite has this name"));
    EXPECT_THAT(
        found,
        Contains("cases/prm-kiv-l2/tc_kiv_uidb_l2_enable: no case of prm-kiv-l2 that reads anything has "
                 "this name"));
    EXPECT_THAT(found,
                Contains("cases/prm-kiv-l2/kiv_tcs_input: nothing reads a file of this name: kiv_input_file, "
                         "kiv_tcs_input_file, stdin"));
    EXPECT_THAT(
        found,
        Contains("cases/prm-kiv-l2/tc_kiv_xconnect_add_locsw/stdin: no case reads this as its standard "
                 "input"));
}

TEST_F(CheckTest, TheInventoryIsReadAsTheCardReadsIt) {
    std::string text = kiv_test::read_text(path("card.toml"));
    text.replace(text.find("bundle = 256"), 12, "bundels = 3");
    put("card.toml", text + "np_prot = 3\n\n[extra]\n");
    std::string error;
    sim::Inventory inventory;
    EXPECT_FALSE(sim::load_inventory(path("card.toml"), &inventory, &error));
    const std::vector<std::string> found = problems();
    EXPECT_THAT(found, SizeIs(3));
    EXPECT_THAT(found, Contains(EndsWith(": interface[11].np_prot: unknown field")));
    EXPECT_THAT(found, Contains(EndsWith(": extra: unknown section")));
    EXPECT_THAT(found, Contains(EndsWith(": limits.bundels: unknown resource")));
    EXPECT_TRUE(error.ends_with(": extra: unknown section")) << error;
}

TEST_F(CheckTest, WhatCanBeReadOfABadInventoryCounts) {
    put("card.toml", "[[interface]]\nkind = \"main\"\nnp_port = 1\n");
    EXPECT_THAT(problems(), Contains("card.toml:1: interface[0].handle: missing"));
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:0,UIDB:1\n");
    EXPECT_THAT(problems(), Contains(HasSubstr("IFH: 0x0 is neither in the inventory")))
        << "a handle that could not be read is none";
}

TEST_F(CheckTest, AnInventoryThatIsNoTomlSaysNothingOfHandlesAndPorts) {
    put("card.toml", "[card]\nports = = 3\n");
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:dead,UIDB:1\n");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("card.toml:2: ")));
    remove("card.toml");
    EXPECT_THAT(problems(), IsEmpty()) << "a site of a real card";
}

TEST_F(CheckTest, AnInventoryThatCannotBeRead) {
    remove("card.toml");
    std::filesystem::create_directories(path("card.toml"));
    EXPECT_THAT(problems(), Contains("card.toml: cannot be read"));
    remove("card.toml");
    std::filesystem::create_symlink("nowhere", path("card.toml"));
    EXPECT_THAT(problems(), Contains("card.toml: cannot be read"));
}

TEST_F(CheckTest, ADirectoryThatIsNoSite) {
    SiteCheck check;
    std::string error;
    EXPECT_FALSE(check_site("/nowhere", &check, &error));
    EXPECT_EQ(error, "/nowhere: No such file or directory");
    EXPECT_FALSE(check_site(directory_.path(), &check, &error));
    EXPECT_EQ(error, directory_.path() + ": not a site: none of card.toml, disk0 and cases is there");
    EXPECT_FALSE(check_site(path("plan"), &check, &error));
    EXPECT_EQ(error, path("plan") + ": not a site: none of card.toml, disk0 and cases is there");
    for (const char *const name : {"a/card.toml", "b/disk0/x", "c/cases/x"}) {
        directory_.write(name, "");
        EXPECT_TRUE(check_site(directory_.path(std::string(name, 1)), &check, &error)) << name;
    }
}

TEST_F(CheckTest, FromOutside) {
    EXPECT_EQ(kivctl("site check " + directory_.path("site")).status, 0);
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:dead,UIDB:1\n");
    const Ran bad = kivctl("site check " + directory_.path("site"));
    EXPECT_EQ(bad.status, 1);
    EXPECT_THAT(bad.out, HasSubstr("site/cases/prm-kiv-bvi/kiv_tcs_input_file:1: IFH: 0xdead"));
    EXPECT_THAT(bad.out, HasSubstr("1 problem\n"));
    put("cases/foo/x", "");
    EXPECT_THAT(
        kivctl("site check " + directory_.path("site")).out,
        testing::EndsWith(" files for " + std::to_string(case_formats().size()) + " cases, 3 problems\n"));
    const Ran none = kivctl("site check " + directory_.path("none"));
    EXPECT_EQ(none.status, 2);
    EXPECT_EQ(none.err, "kivctl: " + directory_.path("none") + ": No such file or directory\n");
    EXPECT_EQ(kivctl("site check " + directory_.path("")).status, 2) << "a directory, but no site";
    EXPECT_EQ(kivctl("site new " + directory_.path("site")).status, 2) << "never over what is there";
    EXPECT_EQ(kivctl("site new " + directory_.path("other")).status, 0);
    EXPECT_EQ(kivctl("site check " + directory_.path("other")).status, 0);
}

}  // namespace
}  // namespace kivctl::test
