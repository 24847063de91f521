// Input files: what a reader would misread is named with file, line and field.
#include "tests/kivctl/site/site_test.h"

namespace kivctl::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using InputFilesTest = SiteTest;

constexpr const char *kSubif = "cases/prm-kiv-subif/kiv_tcs_input_file";

// Four good lines, the second replaced.
std::string subif_lines(const std::string &second) {
    return "SUB_IFH:1,OVLAN:1,IVLAN:1,OTPID:8100\n" + second +
           "\nSUB_IFH:3,OVLAN:1,IVLAN:1,OTPID:8100\nSUB_IFH:4,OVLAN:1,IVLAN:1,OTPID:8100\n";
}

TEST_F(InputFilesTest, NamesThatNoReaderKnows) {
    put(kSubif, subif_lines("SUB_IFH:2,VLAN:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(
        problems(),
        ElementsAre(
            std::string(kSubif) + ":2: \"VLAN\": no reader of prm-kiv-subif knows this name: SUB_IFH, "
                                  "OVLAN, IVLAN, OTPID",
            std::string(kSubif) + ":2: OVLAN: missing: the sub-interface reader wants it (4 of 4 fields "
                                  "are there)"));
}

TEST_F(InputFilesTest, ABlankBeforeAName) {
    put(kSubif, subif_lines("SUB_IFH:2, OVLAN:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) +
                                     ":2: \" OVLAN\": the blank before the name makes it another name"));
}

TEST_F(InputFilesTest, ANameInSmallLetters) {
    put(kSubif, subif_lines("SUB_IFH:2,ovlan:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) + ":2: \"ovlan\": the name is OVLAN"));
}

TEST_F(InputFilesTest, TooFewAndTooManyFields) {
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1"));
    EXPECT_THAT(problems(),
                ElementsAre(std::string(kSubif) + ":2: OTPID: missing: the sub-interface reader wants it (3 "
                                                  "of 4 fields are there)"));
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100,OVLAN:3"));
    EXPECT_THAT(problems(),
                ElementsAre(std::string(kSubif) + ":2: OVLAN: field 5 of a line of which 4 are read"));
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100,A:1,B:2"));
    EXPECT_THAT(problems(), ElementsAre(std::string(kSubif) + ":2: A: field 5 of a line of which 4 are read"))
        << "said once a line";
}

TEST_F(InputFilesTest, BlanksInAName) {
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN :1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) + ":2: \"OVLAN \": blanks make it another name"));
    put(kSubif, subif_lines("SUB_IFH:2,\tovlan:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) + ":2: \"\\x09ovlan\": the name is OVLAN"));
}

TEST_F(InputFilesTest, AFieldThatIsThereTwice) {
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,OVLAN:2,OTPID:8100"));
    EXPECT_THAT(problems(), ElementsAre(std::string(kSubif) + ":2: OVLAN: is there twice in the line",
                                        std::string(kSubif) +
                                            ":2: IVLAN: missing: the sub-interface reader wants it (4 of 4 "
                                            "fields are there)"));
}

TEST_F(InputFilesTest, AFieldWithoutAName) {
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100").replace(0, 1, ": ,S"));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) + ":1: \" \": no reader of prm-kiv-subif knows this "
                                                           "name: SUB_IFH, OVLAN, IVLAN, OTPID"));
}

TEST_F(InputFilesTest, FieldsThatMayBeLeftOut) {
    put("cases/prm-kiv-l2-vpls/kiv_tcs_input_file", "UIDB:20,BD-ID:500\n");
    EXPECT_THAT(problems(), IsEmpty());
    put("cases/prm-kiv-l2-vpls/kiv_tcs_input_file", "UIDB:20\n");
    EXPECT_THAT(problems(), ElementsAre("cases/prm-kiv-l2-vpls/kiv_tcs_input_file:1: BD-ID: missing: the "
                                        "bridge-domain reader wants it (1 of 8 fields are there)"));
    put("cases/prm-kiv-l2-vpls/kiv_tcs_input_file", "UIDB:20,BD-ID:500,ING-DIS:2\n");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv-l2-vpls/kiv_tcs_input_file:1: ING-DIS: 2 does not fit 1 "
                            "bit: it is cut to 0"));
}

TEST_F(InputFilesTest, FieldsOfAnotherReaderOfTheFile) {
    put("disk0/kiv_input_file",
        "NP_PORT:1,MAIN_IFH:8000088,INTF_NAME:a,\nMAIN_IFH:80000c8,NP_PORT:2,INTF_NAME:b\n");
    EXPECT_THAT(
        problems(),
        ElementsAre("disk0/kiv_input_file:1: a comma at the end of the line: the readers take its end as "
                    "one more field",
                    "disk0/kiv_input_file:1: INTF_NAME: the newline becomes part of the name: "
                    "put another field behind it",
                    "disk0/kiv_input_file:2: INTF_NAME: the newline becomes part of the name: "
                    "put another field behind it"))
        << "the NP-port reader has no use for the names, and knows them";
}

TEST_F(InputFilesTest, AFieldBeyondWhatOneReaderOfTheFolderTakes) {
    // The rewrite reader takes eight fields; the cross-connect reader only the first two.
    put("cases/prm-kiv-l2/kiv_tcs_input_file",
        "IFH:800f210,OVLAN:310,IVLAN:0,OTPID:8100,UIDB:20,ROVLAN:1,RIVLAN:1,ROTPID:88a8\n"
        "IFH:800f220,UIDB:21,OVLAN:320,IVLAN:0,OTPID:8100,ROVLAN:1,RIVLAN:1,ROTPID:88a8\n");
    EXPECT_THAT(
        problems(),
        ElementsAre("cases/prm-kiv-l2/kiv_tcs_input_file:1: UIDB: the cross-connect reader reads only "
                    "the first 2 fields of the line"));
}

TEST_F(InputFilesTest, TooFewAndTooManyLines) {
    put(kSubif, "SUB_IFH:1,OVLAN:1,IVLAN:1,OTPID:8100\n");
    EXPECT_THAT(problems(),
                Contains(std::string(kSubif) + ":4: missing: the sub-interface reader reads 4 lines"));
    put(kSubif,
        subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100") + "SUB_IFH:5,OVLAN:1,IVLAN:1,OTPID:8100\n");
    EXPECT_THAT(problems(), ElementsAre(std::string(kSubif) + ":5: no reader gets here: 4 lines are read"));
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100") + "x\nx\n");
    EXPECT_THAT(problems(), SizeIs(1)) << "said once a file";
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:800f210,UIDB:1\nx\n");
    EXPECT_THAT(problems(),
                Contains("cases/prm-kiv-bvi/kiv_tcs_input_file:2: no reader gets here: 1 line is read"));
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "");
    EXPECT_THAT(problems(), Contains("cases/prm-kiv-bvi/kiv_tcs_input_file: the file is empty"));
}

TEST_F(InputFilesTest, MissingLinesAreNamedOneByOne) {
    put(kSubif, "SUB_IFH:1,OVLAN:1,IVLAN:1,OTPID:8100\nSUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100\n");
    EXPECT_THAT(problems(),
                ElementsAre(std::string(kSubif) + ":3: missing: the sub-interface reader reads 4 lines",
                            std::string(kSubif) + ":4: missing: the sub-interface reader reads 4 lines"));
}

TEST_F(InputFilesTest, ALineLongerThanTheBuffer) {
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
    put(kSubif, subif_lines(line(199) + "\nx:1"));
    EXPECT_THAT(problems(), Not(Contains(HasSubstr("missing")))) << "what follows is shifted";
    const std::string bvi = "IFH:" + std::string(180, '0') + "800f210,UIDB:2";
    ASSERT_EQ(bvi.size(), 198u);
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", bvi + "0");
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(), IsEmpty()) << "199 without a newline fill it too";
}

TEST_F(InputFilesTest, AZeroByte) {
    put(kSubif, subif_lines(std::string("SUB_IFH:2,OVLAN:1,IVLAN:1,OTPID:8100\0", 37)));
    EXPECT_THAT(problems(), Contains(std::string(kSubif) + ":2: a zero byte ends the line for every reader"));
}

TEST_F(InputFilesTest, TextBehindASecondColon) {
    put(kSubif, subif_lines("SUB_IFH:2:3,OVLAN:1,IVLAN:1,OTPID:8100"));
    EXPECT_THAT(problems(),
                ElementsAre(std::string(kSubif) + ":2: SUB_IFH: what follows the second \":\" is not read"));
}

TEST_F(InputFilesTest, ValuesThatAreMissingOrNoNumbers) {
    put(kSubif, subif_lines("SUB_IFH:2,OVLAN,IVLAN:x1,OTPID:8100h"));
    EXPECT_THAT(
        problems(),
        ElementsAre(std::string(kSubif) + ":2: OVLAN: has no value: what an earlier line or case left stays",
                    std::string(kSubif) + ":2: IVLAN: \"x1\" is not a decimal number and is read as 0",
                    std::string(kSubif) +
                        ":2: OTPID: \"8100h\" is not a hexadecimal number: it is read up to "
                        "the first other character"));
}

TEST_F(InputFilesTest, ValuesThatWouldBeCut) {
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

TEST_F(InputFilesTest, ThePortIsOneByteForTheSubInterfaceCases) {
    put("cases/prm-kiv-subif/kiv_input_file",
        "INTF_NAME:a,NP_PORT:300,MAIN_IFH:8000088\nINTF_NAME:b,NP_PORT:70,MAIN_IFH:80000c8\n");
    EXPECT_THAT(
        problems(),
        ElementsAre(
            "cases/prm-kiv-subif/kiv_input_file:1: NP_PORT: 300 does not fit 8 bits: it is cut to 44",
            "cases/prm-kiv-subif/kiv_input_file:2: NP_PORT: 70 is no port of the card: it has 0 to 63"));
}

TEST_F(InputFilesTest, HandlesThatAreNotInTheInventory) {
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:dead,UIDB:1\n");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv-bvi/kiv_tcs_input_file:1: IFH: 0xdead is neither in the inventory "
                            "(card.toml) nor made by a case"));
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:0x800c110,UIDB:1\n");
    EXPECT_THAT(problems(), IsEmpty()) << "a sub-interface that another case makes";
    put("cases/prm-kiv-l3-bdl/tc_kiv_add_bdl_subif_port/kiv_tcs_input_file",
        "SUB_IFH:beef,OVLAN:1,IVLAN:1,OTPID:8100,BDL_IFH:1,LAG_ID:1\n"
        "SUB_IFH:bee1,OVLAN:1,IVLAN:1,OTPID:8100,BDL_IFH:1,LAG_ID:1\n");
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:beef,UIDB:1\n");
    EXPECT_THAT(problems(), IsEmpty()) << "one that a case makes from a file of its own";
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "IFH:8100,UIDB:1\n");
    EXPECT_THAT(problems(), SizeIs(1)) << "a number, but no handle";
}

TEST_F(InputFilesTest, CommentsAreNotComments) {
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "# the circuit\nIFH:800f210,UIDB:1\n");
    EXPECT_THAT(problems(),
                Contains("cases/prm-kiv-bvi/kiv_tcs_input_file:1: input files have no comments: the readers "
                         "take this as fields"));
    put("cases/prm-kiv-bvi/kiv_tcs_input_file", "// the circuit\n");
    EXPECT_THAT(problems(), Contains(HasSubstr("input files have no comments")));
}

TEST_F(InputFilesTest, ANameThatWouldTakeTheNewline) {
    put("cases/prm-kiv/kiv_tcs_input_file",
        "IFH:800f210,UIDB:20,NP_PORT:1,INTF_NAME:Gi1\nIFH:800f220,UIDB:21,INTF_NAME:" + std::string(30, 'x') +
            ",NP_PORT:2\n");
    EXPECT_THAT(problems(),
                ElementsAre("cases/prm-kiv/kiv_tcs_input_file:1: INTF_NAME: the newline becomes part of the "
                            "name: put another field behind it",
                            "cases/prm-kiv/kiv_tcs_input_file:2: INTF_NAME: 30 characters: the adjacency "
                            "reader holds 29"));
    const auto last = [](size_t length) {
        return "IFH:800f210,UIDB:20,NP_PORT:1,INTF_NAME:a,\nIFH:800f220,UIDB:21,NP_PORT:2,INTF_NAME:" +
               std::string(length, 'x') + "\n";
    };
    put("cases/prm-kiv/kiv_tcs_input_file", last(29));
    EXPECT_THAT(problems(),
                Contains("cases/prm-kiv/kiv_tcs_input_file:2: INTF_NAME: 29 characters and the newline: "
                         "the adjacency reader holds 29"));
    put("cases/prm-kiv/kiv_tcs_input_file", last(28));
    EXPECT_THAT(problems(),
                Contains("cases/prm-kiv/kiv_tcs_input_file:2: INTF_NAME: the newline becomes part of the "
                         "name: put another field behind it"));
    put("cases/prm-kiv/kiv_tcs_input_file",
        "INTF_NAME:" + std::string(29, 'x') +
            ",IFH:800f210,UIDB:20,NP_PORT:1\nINTF_NAME:b,IFH:800f220,UIDB:21,NP_PORT:2\n");
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(InputFilesTest, AFileForOneCaseIsReadAsThatCaseReadsIt) {
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

}  // namespace
}  // namespace kivctl::test
