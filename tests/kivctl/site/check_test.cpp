// Sites: every problem is named with file, line and field, and a new site has none.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "kivctl/site/check.h"
#include "kivctl/site/formats.h"
#include "kivctl/site/new.h"
#include "tests/kiv/reports/report_test.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Site : public testing::Test {
  protected:
    void SetUp() override {
        std::vector<std::string> written;
        std::string error;
        ASSERT_TRUE(new_site(directory_.path("site"), &written, &error)) << error;
    }

    void put(const std::string &name, const std::string &text) { directory_.write("site/" + name, text); }

    std::vector<std::string> problems() {
        SiteCheck check;
        std::string error;
        EXPECT_TRUE(check_site(directory_.path("site"), &check, &error)) << error;
        std::vector<std::string> messages;
        for (const Problem &problem : check.problems) messages.push_back(problem.message());
        return messages;
    }

    TemporaryDirectory directory_;
};

constexpr const char *kSubif = "cases/prm-kiv-subif/kiv_tcs_input_file";

// Four good lines, the second replaced.
std::string subif_lines(const std::string &second) {
    return "SUB_IFH:1,OVLAN:1,IVLAN:1,OTPID:8100\n" + second +
           "\nSUB_IFH:3,OVLAN:1,IVLAN:1,OTPID:8100\nSUB_IFH:4,OVLAN:1,IVLAN:1,OTPID:8100\n";
}

TEST_F(Site, ANewOneHasNoProblems) {
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(Site, TheDefaultOneHasNoProblems) {
    SiteCheck check;
    std::string error;
    ASSERT_TRUE(check_site(SOURCES "/site/sim", &check, &error)) << error;
    for (const Problem &problem : check.problems) ADD_FAILURE() << problem.message();
}

TEST_F(Site, NamesThatNoReaderKnows) {
    put(kSubif, subif_lines("SUB_IFH:2,VLAN:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(
        problems(),
        ElementsAre(
            std::string(kSubif) + ":2: \"VLAN\": no reader of prm-kiv-subif knows this name: SUB_IFH, "
                                  "OVLAN, IVLAN, OTPID",
            std::string(kSubif) + ":2: OVLAN: missing: the sub-interface reader wants it (4 of 4 fields "
                                  "are there)"));
}

TEST_F(Site, ABlankBeforeAName) {
    put(kSubif, subif_lines("SUB_IFH:2, OVLAN:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) +
                                     ":2: \" OVLAN\": the blank before the name makes it another name"));
}

TEST_F(Site, ANameInSmallLetters) {
    put(kSubif, subif_lines("SUB_IFH:2,ovlan:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) + ":2: \"ovlan\": the name is OVLAN"));
}

TEST_F(Site, TooFewAndTooManyFields) {
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1"));
    EXPECT_THAT(problems(),
                ElementsAre(std::string(kSubif) + ":2: OTPID: missing: the sub-interface reader wants it (3 "
                                                  "of 4 fields are there)"));
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100,OVLAN:3"));
    EXPECT_THAT(problems(),
                Contains(std::string(kSubif) + ":2: OVLAN: field 5 of a line of which 4 are read"));
}

TEST_F(Site, AFieldBeyondWhatOneReaderOfTheFolderTakes) {
    // The rewrite reader takes eight fields; the cross-connect reader only the first two.
    put("cases/prm-kiv-l2/kiv_tcs_input_file",
        "IFH:800f210,OVLAN:310,IVLAN:0,OTPID:8100,UIDB:20,ROVLAN:1,RIVLAN:1,ROTPID:88a8\n"
        "IFH:800f220,UIDB:21,OVLAN:320,IVLAN:0,OTPID:8100,ROVLAN:1,RIVLAN:1,ROTPID:88a8\n");
    EXPECT_THAT(
        problems(),
        ElementsAre("cases/prm-kiv-l2/kiv_tcs_input_file:1: UIDB: the cross-connect reader reads only "
                    "the first 2 fields of the line"));
}

TEST_F(Site, TooFewAndTooManyLines) {
    put(kSubif, "SUB_IFH:1,OVLAN:1,IVLAN:1,OTPID:8100\n");
    EXPECT_THAT(problems(),
                Contains(std::string(kSubif) + ":4: missing: the sub-interface reader reads 4 lines"));
    put(kSubif,
        subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100") + "SUB_IFH:5,OVLAN:1,IVLAN:1,OTPID:8100\n");
    EXPECT_THAT(problems(), ElementsAre(std::string(kSubif) + ":5: no reader gets here: 4 lines are read"));
}

TEST_F(Site, ALineLongerThanTheBuffer) {
    const std::string start = "SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:";
    const auto line = [&](size_t length) {
        return start + std::string(length - start.size() - 4, '0') + "8100";
    };
    put(kSubif, subif_lines(line(198)));
    EXPECT_THAT(problems(), IsEmpty()) << "198 and the newline fill the buffer";
    put(kSubif, subif_lines(line(199)));
    EXPECT_THAT(problems(), ElementsAre(std::string(kSubif) +
                                        ":2: 200 characters with the newline: a reader takes 199 at "
                                        "most, the rest becomes the next line"));
}

TEST_F(Site, ValuesThatAreMissingOrNoNumbers) {
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN,IVLAN:x1,OTPID:8100h"));
    EXPECT_THAT(
        problems(),
        ElementsAre(std::string(kSubif) + ":2: OVLAN: has no value: what an earlier line or case left stays",
                    std::string(kSubif) + ":2: IVLAN: \"x1\" is not a decimal number and is read as 0",
                    std::string(kSubif) +
                        ":2: OTPID: \"8100h\" is not a hexadecimal number: it is read up to "
                        "the first other character"));
}

TEST_F(Site, ValuesThatWouldBeCut) {
    put("cases/prm-kiv-l2-bdl/kiv_tcs_input_file", "BDL_IFH:800c000,LAG_ID:300\n");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv-l2-bdl/kiv_tcs_input_file:1: LAG_ID: 300 does not fit 8 bits: it "
                            "is cut to 44"));
    put("cases/prm-kiv-l2-bdl/kiv_tcs_input_file", "BDL_IFH:1800c000,LAG_ID:1\n");
    EXPECT_THAT(problems(), IsEmpty());
    put("cases/prm-kiv-l2-bdl/kiv_tcs_input_file", "BDL_IFH:11800c000,LAG_ID:1\n");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv-l2-bdl/kiv_tcs_input_file:1: BDL_IFH: 11800c000 does not fit 32 "
                            "bits: it is cut to 1800c000"));
}

TEST_F(Site, ThePortIsOneByteForTheSubInterfaceCases) {
    put("cases/prm-kiv-subif/kiv_input_file",
        "INTF_NAME:a,NP_PORT:300,MAIN_IFH:8000088\nINTF_NAME:b,NP_PORT:70,MAIN_IFH:80000c8\n");
    EXPECT_THAT(
        problems(),
        ElementsAre(
            "cases/prm-kiv-subif/kiv_input_file:1: NP_PORT: 300 does not fit 8 bits: it is cut to 44",
            "cases/prm-kiv-subif/kiv_input_file:2: NP_PORT: 70 is no port of the card: it has 0 to 63"));
}

TEST_F(Site, HandlesThatAreNotInTheInventory) {
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:dead,UIDB:1\n");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv-bvi/kiv_tcs_input_file:1: IFH: 0xdead is neither in the inventory "
                            "(card.toml) nor made by a case"));
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:0x800c110,UIDB:1\n");
    EXPECT_THAT(problems(), IsEmpty()) << "a sub-interface that another case makes";
}

TEST_F(Site, CommentsAreNotComments) {
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "# the circuit\nIFH:800f210,UIDB:1\n");
    EXPECT_THAT(problems(),
                Contains("cases/prm-kiv-bvi/kiv_tcs_input_file:1: input files have no comments: the readers "
                         "take this as fields"));
}

TEST_F(Site, ANameThatWouldTakeTheNewline) {
    put("cases/prm-kiv/kiv_tcs_input_file",
        "IFH:800f210,UIDB:20,NP_PORT:1,INTF_NAME:Gi1\nIFH:800f220,UIDB:21,INTF_NAME:" + std::string(30, 'x') +
            ",NP_PORT:2\n");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv/kiv_tcs_input_file:1: INTF_NAME: the newline becomes part of the "
                            "name: put another field behind it",
                            "cases/prm-kiv/kiv_tcs_input_file:2: INTF_NAME: 30 characters: the adjacency "
                            "reader holds 29"));
}

TEST_F(Site, FilesThatAreMissing) {
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

TEST_F(Site, AFileForOneCaseIsReadAsThatCaseReadsIt) {
    put("cases/prm-kiv-l2/tc_kiv_xconnect_rw_st_norw_st_pop1/kiv_tcs_input_file", "IFH:800f210,UIDB:20\n");
    const auto found = problems();
    EXPECT_THAT(found,
                Contains("cases/prm-kiv-l2/tc_kiv_xconnect_rw_st_norw_st_pop1/kiv_tcs_input_file:1: OVLAN: "
                         "missing: the rewrite reader wants it (2 of 8 fields are there)"));
    EXPECT_THAT(
        found,
        Contains("cases/prm-kiv-l2/tc_kiv_xconnect_rw_st_norw_st_pop1/kiv_tcs_input_file:2: missing: the "
                 "rewrite reader reads 2 lines"));
}

TEST_F(Site, NamesOfFoldersCasesAndFilesThatNothingReads) {
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

TEST_F(Site, RecordsOfStandardInput) {
    const std::string file = "cases/prm-kiv-vxlan/tc_kiv_vxlan_ac_bind/stdin";
    put(file, "500,20\n\n501\n502,70000\n503,1,2\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":3: uidb index: missing: 1 of 2 fields are there",
                            file + ":4: uidb index: 70000 does not fit 16 bits: it is cut to 4464",
                            file + ":5: 3 fields where 2 are read"));
    put(file, "\n");
    EXPECT_THAT(problems(), ElementsAre(file + ": no line: the case would do nothing"));
}

TEST_F(Site, ListsOfVirtualPortLags) {
    const std::string file = "cases/prm-kiv-vxlan/tc_kiv_vxlan_vplag_add/stdin";
    put(file, "c0a80101;1;2;100500;c0a80202,c0a80303\nc0a80101;1;17;1;1\nc0a80101;1;0\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":1: next hops: 1 where the number of paths is 2: the case aborts",
                            file + ":2: number of paths: 17 is more than 16: the case aborts"));
}

TEST_F(Site, MacAddresses) {
    const std::string file = "cases/prm-kiv-vxlan/tc_kiv_evpn_mac_install/stdin";
    put(file, "00:1b:2c:3d:4e,500,0,1f\n00:1b:2c:3d:4e:1ff,500,1,1f\n");
    EXPECT_THAT(problems(),
                ElementsAre(file + ":1: MAC address: 5 bytes where 6 belong",
                            file + ":1: FEC: \"1f\" is not a decimal number: it is read up to the first "
                                   "other character",
                            file + ":2: MAC address: 1ff does not fit 8 bits: it is cut to ff"));
}

TEST_F(Site, SpanInput) {
    const std::string add = "cases/span/manual/prm_kiv_span_port_add/stdin";
    put(add, "2\n8000088\n0\n1\n80000c8\n7\n");
    EXPECT_THAT(problems(), ElementsAre(add + ":6: direction: 7 is not 0, 1 or 2",
                                        add + ":7: session: missing: the input ends before it"));
    put(add, "401\n");
    EXPECT_THAT(problems(), ElementsAre(add + ":1: count: 401 is not between 1 and 400: the case aborts"));
    put(add, "1\ndead\n0\n1\nx\n");
    EXPECT_THAT(problems(),
                ElementsAre(add + ":2: handle: 0xdead is neither in the inventory (card.toml) nor made by a "
                                  "case",
                            add + ":5: no reader gets here: 4 lines are read"));
}

TEST_F(Site, AnInventoryThatCannotBeRead) {
    put("card.toml", "[card]\nports = = 3\n");
    EXPECT_THAT(problems(), Contains(HasSubstr("card.toml:2: ")));
    put("card.toml", "[[interface]]\nkind = \"main\"\n");
    EXPECT_THAT(problems(), Contains("card.toml:1: interface[0].handle: missing"));
}

TEST_F(Site, FromOutside) {
    EXPECT_EQ(kivctl("site check " + directory_.path("site")).status, 0);
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:dead,UIDB:1\n");
    const Ran bad = kivctl("site check " + directory_.path("site"));
    EXPECT_EQ(bad.status, 1);
    EXPECT_THAT(bad.out, HasSubstr("site/cases/prm-kiv-bvi/kiv_tcs_input_file:1: IFH: 0xdead"));
    EXPECT_THAT(bad.out, HasSubstr("1 problem\n"));
    EXPECT_EQ(kivctl("site check " + directory_.path("none")).status, 2);
    EXPECT_EQ(kivctl("site check " + directory_.path("")).status, 2) << "a directory, but no site";
    EXPECT_EQ(kivctl("site new " + directory_.path("site")).status, 2) << "never over what is there";
    EXPECT_EQ(kivctl("site new " + directory_.path("other")).status, 0);
    EXPECT_EQ(kivctl("site check " + directory_.path("other")).status, 0);
}

// Folders and cases are those that the suite registers.
TEST(SiteFormats, NameFoldersAndCasesOfTheSuite) {
    std::ifstream file(SOURCES "/tests/suite/registry/registration.golden");
    ASSERT_TRUE(file) << "the suite's registration";
    std::string text((std::istreambuf_iterator<char>(file)), {});
    for (const CaseFormat &format : case_formats())
        EXPECT_THAT(text,
                    HasSubstr("case " + std::string(format.folder) + "/" + std::string(format.name) + " "));
    for (const std::string_view folder : suite_folders())
        EXPECT_THAT(text, HasSubstr("folder " + std::string(folder) + " \""));
    EXPECT_EQ(case_formats().size(), 116u);
}

}  // namespace
}  // namespace kivctl::test
