// Input-file readers and the standard-input line reader: what they store, print and leave alone.
#include "tests/suite/input/reader_test.h"

namespace {

using standin::flash_file;
using standin::printed;
using standin::run;
using standin::transcript;
using testing::ElementsAre;
using testing::IsEmpty;

class ReadersTest : public ReaderTest {};

// --- NP ports ---

TEST_F(ReadersTest, NpPortsFillOneSixteenBitElementALine) {
    flash_file(kInput, "INTF_NAME:Gi0,NP_PORT:300,MAIN_IFH:1c0\nNP_PORT:7,INTF_NAME:Gi1,MAIN_IFH:200\n");
    read(kiv_util_read_np_ports);
    EXPECT_EQ(port.number[0], 300);
    EXPECT_EQ(port.number[1], 7);
    EXPECT_THAT(transcript(), IsEmpty());
}

TEST_F(ReadersTest, NpPortsStopAtTheFirstOfTheLine) {
    flash_file(kInput, "NP_PORT:1,NP_PORT:2,NP_PORT:3\n");
    read(kiv_util_read_np_ports);
    EXPECT_EQ(port.number[0], 1);
}

TEST_F(ReadersTest, NpPortWithoutValueDoesNotStopTheLine) {
    flash_file(kInput, "NP_PORT,NP_PORT:,NP_PORT:9\n");
    read(kiv_util_read_np_ports);
    EXPECT_EQ(port.number[0], 9);
}

TEST_F(ReadersTest, NpPortsLookAtThreeFieldsOnly) {
    port.number[0] = 5;
    flash_file(kInput, "A:1,B:2,C:3,NP_PORT:8\n");
    read(kiv_util_read_np_ports);
    EXPECT_EQ(port.number[0], 5);
}

TEST_F(ReadersTest, MissingInterfaceFileIsReportedUnderItsShortName) {
    port.number[0] = 5;
    read(kiv_util_read_np_ports);
    EXPECT_THAT(transcript(), ElementsAre("stderr \"kiv_input_file: No such file or directory\\n\""));
    EXPECT_EQ(port.number[0], 5);
}

TEST_F(ReadersTest, MissingSecondLineIsNotTheFirstAgain) {
    port.number[1] = 77;
    flash_file(kInput, "NP_PORT:4,A:1,B:2\n");
    read(kiv_util_read_np_ports);
    EXPECT_EQ(port.number[0], 4);
    EXPECT_EQ(port.number[1], 77);
}

TEST_F(ReadersTest, EmptyInterfaceFileLeavesThePortsAlone) {
    port.number[0] = 3;
    flash_file(kInput, "");
    read(kiv_util_read_np_ports);
    EXPECT_EQ(port.number[0], 3);
    EXPECT_THAT(transcript(), IsEmpty());
}

TEST_F(ReadersTest, PortsAreCutToSixteenBits) {
    flash_file(kInput, "NP_PORT:65537\nNP_PORT:99999999999999999999999\n");
    read(kiv_util_read_np_ports);
    EXPECT_EQ(port.number[0], 1);
    EXPECT_EQ(port.number[1], 0xFFFF);  // the largest unsigned long, cut
}

// --- bundle ---

TEST_F(ReadersTest, BundleReaderTakesHandleInHexAndIdInDecimal) {
    flash_file(kTcsInput, "BDL_IFH:0x800a000,LAG_ID:12\n");
    read(kiv_util_read_bdl_params);
    EXPECT_EQ(bdl_ifh, 0x800A000u);
    EXPECT_EQ(lag_id, 12);
}

TEST_F(ReadersTest, BundleHandleTextGoesToTheCreateTokenHereAndToTheParentTokenThere) {
    token_create_ifh = token_parent_ifh = nullptr;
    flash_file(kTcsInput, "LAG_ID:1,BDL_IFH:1c0\n");
    read(kiv_util_read_bdl_params);
    ASSERT_NE(token_create_ifh, nullptr);
    EXPECT_STREQ(token_create_ifh, "1c0\n");
    EXPECT_EQ(token_parent_ifh, nullptr);

    token_create_ifh = nullptr;
    read(kiv_util_read_bdl_subif_params);
    ASSERT_NE(token_parent_ifh, nullptr);
    EXPECT_EQ(token_create_ifh, nullptr);
}

TEST_F(ReadersTest, BundleIdIsCutToEightBits) {
    flash_file(kTcsInput, "LAG_ID:257,BDL_IFH:1\n");
    read(kiv_util_read_bdl_params);
    EXPECT_EQ(lag_id, 1);
}

TEST_F(ReadersTest, BundleReaderLooksAtTwoFieldsOnly) {
    flash_file(kTcsInput, "X:1,LAG_ID:3,BDL_IFH:1c0\n");
    read(kiv_util_read_bdl_params);
    EXPECT_EQ(lag_id, 3);
    EXPECT_EQ(bdl_ifh, 0u);
}

TEST_F(ReadersTest, LastOfDuplicateNamesWins) {
    flash_file(kTcsInput, "LAG_ID:3,LAG_ID:4\n");
    read(kiv_util_read_bdl_params);
    EXPECT_EQ(lag_id, 4);
}

TEST_F(ReadersTest, MissingParameterFileIsReportedUnderItsShortName) {
    read(kiv_util_read_bdl_params);
    read(kiv_util_read_bdl_subif_params);
    read_subifs(0);
    EXPECT_EQ(standin::transcript_text(),
              "stderr \"kiv_tcs_input_file: No such file or directory\\n"
              "kiv_tcs_input_file: No such file or directory\\n"
              "kiv_tcs_input_file: No such file or directory\\n\"\n");
}

// --- bundle sub-interfaces ---

TEST_F(ReadersTest, BundleSubInterfacesFillTwoElementsAndPrintTheTpidInDecimal) {
    flash_file(kTcsInput,
               "SUB_IFH:1a0,OVLAN:100,IVLAN:0,OTPID:8100,BDL_IFH:1c0,LAG_ID:1\n"
               "LAG_ID:258,BDL_IFH:1d0,OTPID:0x88a8,IVLAN:20,OVLAN:200,SUB_IFH:1b0\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_THAT(create_ifh, ElementsAre(0x1A0u, 0x1B0u, 0u, 0u));
    EXPECT_THAT(ovlan.word, ElementsAre(100u, 200u, 0u, 0u));
    EXPECT_THAT(ivlan.word, ElementsAre(0u, 20u, 0u, 0u));
    EXPECT_THAT(otpid.word, ElementsAre(0x8100u, 0x88A8u, 0u, 0u));
    EXPECT_THAT(parent_ifh, ElementsAre(0x1C0u, 0x1D0u));
    EXPECT_THAT(sub_lag_id, ElementsAre(1, 2));
    EXPECT_THAT(transcript(), ElementsAre("print \"otpid = 33024\\n\"", "print \"otpid = 34984\\n\""));
}

TEST_F(ReadersTest, TpidPrintsSigned) {
    flash_file(kTcsInput, "OTPID:ffffffff\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(printed(), "otpid = -1\n");
}

TEST_F(ReadersTest, TpidWithoutValuePrintsNothing) {
    otpid.word[0] = 7;
    flash_file(kTcsInput, "OTPID:,OVLAN:1\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_THAT(transcript(), IsEmpty());
    EXPECT_EQ(otpid.word[0], 7u);
    EXPECT_EQ(ovlan.word[0], 1u);
}

TEST_F(ReadersTest, LeadingBlankMakesAnotherName) {
    ovlan.word[0] = 5;
    flash_file(kTcsInput, "SUB_IFH:1, OVLAN:10\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(ovlan.word[0], 5u);
}

TEST_F(ReadersTest, NamesAreCaseSensitiveAndWhole) {
    flash_file(kTcsInput, "ovlan:10,OVLANS:11,OVLA:12\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(ovlan.word[0], 0u);
}

TEST_F(ReadersTest, SeparatorsCollapseAndTheFirstValueCounts) {
    flash_file(kTcsInput, ",,OVLAN::5,,,IVLAN:5:6,:LAG_ID:7\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(ovlan.word[0], 5u);
    EXPECT_EQ(ivlan.word[0], 5u);
    EXPECT_EQ(sub_lag_id[0], 7);
}

TEST_F(ReadersTest, ValueThatIsNoNumberBecomesZeroAndTrailingTextIsIgnored) {
    ovlan.word[0] = 9;
    flash_file(kTcsInput, "OVLAN:abc,IVLAN:12abc\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(ovlan.word[0], 0u);
    EXPECT_EQ(ivlan.word[0], 12u);
}

// --- sub-interfaces ---

constexpr char kFourSubInterfaces[] =
    "SUB_IFH:1a0,OVLAN:100,IVLAN:10,OTPID:8100\n"
    "OVLAN:101,SUB_IFH:1a1,IVLAN:11,OTPID:8100\n"
    "OTPID:88a8,OVLAN:102,SUB_IFH:1a2,IVLAN:12\n"
    "SUB_IFH:1a3,OVLAN:103,IVLAN:13,OTPID:9100\n";

TEST_F(ReadersTest, SubInterfaceReaderFillsFourElementsAndPrintsNothing) {
    flash_file(kTcsInput, kFourSubInterfaces);
    read_subifs(0);
    EXPECT_THAT(create_ifh, ElementsAre(0x1A0u, 0x1A1u, 0x1A2u, 0x1A3u));
    EXPECT_THAT(ovlan.word, ElementsAre(100u, 101u, 102u, 103u));
    EXPECT_THAT(ivlan.word, ElementsAre(10u, 11u, 12u, 13u));
    EXPECT_THAT(otpid.word, ElementsAre(0x8100u, 0x8100u, 0x88A8u, 0x9100u));
    EXPECT_THAT(transcript(), IsEmpty());
}

TEST_F(ReadersTest, SubInterfaceReaderWithoutTheFlagLeavesTheInterfaceFileAlone) {
    flash_file(kInput, "NP_PORT:1\n");
    flash_file(kTcsInput, kFourSubInterfaces);
    port.number[0] = 0x1234;
    read_subifs(0);
    EXPECT_EQ(port.number[0], 0x1234);
}

TEST_F(ReadersTest, InterfaceFileStoresOneByteALineAndPrintsEveryField) {
    flash_file(kInput,
               "INTF_NAME:Gi0,NP_PORT:300,MAIN_IFH:8000088\nMAIN_IFH:80000c8,NP_PORT:2,INTF_NAME:Gi1\n");
    flash_file(kTcsInput, kFourSubInterfaces);
    port.number[1] = 0xABCD;
    read_subifs(1);
    EXPECT_THAT(port.byte, ElementsAre(44, 2, 0xCD, 0xAB));  // 300 wraps; the second element stays
    EXPECT_THAT(parent_ifh, ElementsAre(0x8000088u, 0x80000C8u));
    EXPECT_EQ(printed(),
              " token = INTF_NAME, value = Gi0\n token = NP_PORT, value = 300\n token = MAIN_IFH, value = "
              "8000088\n\n"
              " token = MAIN_IFH, value = 80000c8\n token = NP_PORT, value = 2\n token = INTF_NAME, value = "
              "Gi1\n\n");
}

TEST_F(ReadersTest, MissingInterfaceFileDoesNotKeepTheParametersFromBeingRead) {
    flash_file(kTcsInput, kFourSubInterfaces);
    read_subifs(1);
    EXPECT_THAT(transcript(), ElementsAre("stderr \"kiv_input_file: No such file or directory\\n\""));
    EXPECT_EQ(create_ifh[3], 0x1A3u);
}

TEST_F(ReadersTest, FieldWithoutValuePrintsNothing) {
    flash_file(kInput, "INTF_NAME,NP_PORT:,MAIN_IFH:1\n");
    flash_file(kTcsInput, "");
    read_subifs(1);
    EXPECT_EQ(printed(), " token = MAIN_IFH, value = 1\n\n");
}

TEST_F(ReadersTest, WordsLeftThroughOneViewAreSeenThroughTheOther) {
    flash_file(kTcsInput, "OVLAN:65538,SUB_IFH:1,IVLAN:2,OTPID:3\n");
    read_subifs(0);
    EXPECT_EQ(ovlan.slot[0], 2);
    EXPECT_EQ(ovlan.slot[1], 1);
    EXPECT_EQ(sizeof ovlan, 16u);
    EXPECT_EQ(sizeof port, 4u);
}

// --- lines ---

TEST_F(ReadersTest, RestOfALongLineIsTheNextLine) {
    // 199 characters: "OVLAN:1," and filler; what follows is read as line 1.
    std::string line = "OVLAN:1,X:";
    line.append(199 - line.size(), 'x');
    flash_file(kTcsInput, line + "OVLAN:7\nOVLAN:8\n");
    read(kiv_util_read_bdl_subif_params);
    EXPECT_EQ(ovlan.word[0], 1u);
    EXPECT_EQ(ovlan.word[1], 7u);
}

TEST_F(ReadersTest, BinaryJunkStoresNothing) {
    std::string junk;
    for (int i = 0; i < 2000; ++i) junk += static_cast<char>(i * 37 % 251);
    flash_file(kTcsInput, junk);
    flash_file(kInput, junk);
    read(kiv_util_read_np_ports);
    read(kiv_util_read_bdl_params);
    read(kiv_util_read_bdl_subif_params);
    read_subifs(1);
    EXPECT_EQ(bdl_ifh, 0u);
    EXPECT_EQ(create_ifh[0], 0u);
}

TEST_F(ReadersTest, FilesAreClosed) {
    flash_file(kInput, "NP_PORT:1\n");
    flash_file(kTcsInput, kFourSubInterfaces);
    for (int i = 0; i < 3000; ++i) read_subifs(1);  // more than a process may hold open
    EXPECT_EQ(standin::standard_output(), "");
    EXPECT_EQ(create_ifh[0], 0x1A0u);
    for (const standin::Event &event : standin::log()) EXPECT_NE(event.kind, standin::Kind::err);
}

// --- standard input ---

struct Line {
    int result;
    std::vector<std::string> tokens;
    std::string printed;
};

Line read_line(const std::string &input, const char *delimiters = ",", int size = KIV_STDIN_LINE_SIZE) {
    standin::reset();
    standin::standard_input(input);
    char buffer[KIV_STDIN_LINE_SIZE];
    char *tokens[KIV_STDIN_MAX_TOKENS] = {};
    Line line;
    line.result = run([&] { return prm_kiv_util_line_input(buffer, size, tokens, delimiters); });
    for (char *text : tokens)
        if (text != nullptr) line.tokens.push_back(text);
    line.printed = printed();
    return line;
}

TEST_F(ReadersTest, LineOfThreeTokens) {
    const Line line = read_line("a,b,c\n");
    EXPECT_EQ(line.result, 1);
    EXPECT_THAT(line.tokens, ElementsAre("a", "b", "c"));
    EXPECT_EQ(line.printed, "");
}

TEST_F(ReadersTest, OtherDelimiters) {
    EXPECT_THAT(read_line("a,b;c\n", ";").tokens, ElementsAre("a,b", "c"));
}

TEST_F(ReadersTest, EndOfInputReturnsZero) {
    EXPECT_EQ(read_line("").result, 0);
}

TEST_F(ReadersTest, BlankLinesReturnMinusOne) {
    EXPECT_EQ(read_line("\n").result, -1);
    EXPECT_EQ(read_line(" \t\v\f\r\n").result, -1);
    EXPECT_THAT(read_line("   \n").tokens, IsEmpty());
}

TEST_F(ReadersTest, TrailingBlanksAreStrippedLeadingOnesStay) {
    EXPECT_THAT(read_line("  a, b \t \n").tokens, ElementsAre("  a", " b"));
}

TEST_F(ReadersTest, LineThatStartsWithATerminatorIsEmpty) {
    EXPECT_EQ(read_line(std::string("\0abc\n", 5)).result, -1);
}

TEST_F(ReadersTest, LineOfDelimitersOnlyHasNoTokens) {
    const Line line = read_line(",,,\n");
    EXPECT_EQ(line.result, 1);
    EXPECT_THAT(line.tokens, IsEmpty());
}

TEST_F(ReadersTest, NineteenTokensAreNotTooMany) {
    const Line line = read_line("1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19\n");
    EXPECT_EQ(line.tokens.size(), 19u);
    EXPECT_EQ(line.printed, "");
}

TEST_F(ReadersTest, ExactlyTwentyTokensPrintTheMessageToo) {
    const Line line = read_line("1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20\n");
    EXPECT_EQ(line.result, 1);
    EXPECT_EQ(line.tokens.size(), 20u);
    EXPECT_EQ(line.printed, "prm_kiv_util_line_input: reached max tokens\n");
}

TEST_F(ReadersTest, TwentyFiveTokensStoreTwenty) {
    const Line line = read_line("1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25\n");
    EXPECT_EQ(line.result, 1);
    EXPECT_EQ(line.tokens.size(), 20u);
    EXPECT_EQ(line.tokens.back(), "20");
    EXPECT_EQ(line.printed, "prm_kiv_util_line_input: reached max tokens\n");
}

TEST_F(ReadersTest, LongLineIsReadInPieces) {
    const std::string text(499, 'x');
    EXPECT_THAT(read_line(text + "yz\n").tokens, ElementsAre(text));
    EXPECT_THAT(read_line("abcdef\n", ",", 4).tokens, ElementsAre("abc"));
}

TEST_F(ReadersTest, EntriesPastTheLastTokenStay) {
    standin::standard_input("a\n");
    char buffer[KIV_STDIN_LINE_SIZE];
    char kept[] = "kept";
    char *tokens[KIV_STDIN_MAX_TOKENS] = {};
    tokens[1] = kept;
    EXPECT_EQ(run([&] { return prm_kiv_util_line_input(buffer, sizeof buffer, tokens, ","); }), 1);
    EXPECT_EQ(tokens[1], kept);
}

}  // namespace
