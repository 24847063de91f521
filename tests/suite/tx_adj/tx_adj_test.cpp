// Transmit adjacencies: site values, requests, prints and the two files, on success and on failure.
#include "prm_kiv_tx_adj.h"

#include "prm_kiv_input.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::outline;
using standin::RecordBuilder;
using standin::run;
using standin::transcript;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr uint32_t kFailure = 0x1234;

const char kInput[] =
    "IFH:1a0,UIDB:17,INTF_NAME:HundredGigE0/1/0/0,NP_PORT:3\n"
    "IFH:1c0,UIDB:18,INTF_NAME:HundredGigE0/1/0/1,NP_PORT:4\n";
// What reading it prints. The newline of a line belongs to its last field's value, a number here.
const char kInputLines[] =
    "stdout \"ifhandle = 0x1A0\\nuidb = 17\\ninterface = HundredGigE0/1/0/0\\nnp_port = 3\\n"
    "ifhandle = 0x1C0\\nuidb = 18\\ninterface = HundredGigE0/1/0/1\\nnp_port = 4\\n\"";

const std::initializer_list<int> kMacBytes = {0x00, 0x00, 0xB0, 0x10, 0x10, 0x01};
const uint8_t kMac[6] = {0x00, 0x00, 0xB0, 0x10, 0x10, 0x01};

// A plain adjacency of next hop `nh`.
RecordBuilder plain(uint32_t flags0, uint32_t uidb_index, uint32_t nh) {
    return RecordBuilder(2124)
        .u32_at(20, nh)
        .u8_at(72, flags0)
        .u16_at(80, uidb_index)
        .bytes_at(88, kMacBytes);
}

RecordBuilder labelled(uint32_t uidb_index, uint32_t nh, uint32_t mpls_nh) {
    return plain(0x10, uidb_index, nh)
        .u8_at(74, 0x06)
        .u32_at(96, mpls_nh)
        .u32_at(100, 55002)
        .u32_at(104, 55003);
}

standin::Bytes deletion(uint32_t nh, uint32_t flags3 = 0) {
    return RecordBuilder(2124).u32_at(20, nh).u8_at(74, 0x82).u8_at(75, flags3).u32_at(96, nh);
}

Lines reserve_and_add(uint32_t nh) {
    const std::string n = std::to_string(nh);
    return {"call prm_srh_tx_adj_buddy_reserve",
            "print \"SUCCESS: Tx Adj Reserve SUCCESS. nh_idx = " + n + " \"",
            "print \"Nh index reserved " + n + " \"", "call prm_srh_tx_adj_add",
            "print \"SUCCESS: Tx Adj ADD completed. rc = 0x0 \""};
}

Lines deletion_lines(uint32_t nh) {
    const std::string n = std::to_string(nh);
    return {"stdout \"\\n kiv_util_tx_adj_del call nh=" + n + "\"", "call prm_srh_tx_adj_del",
            "print \"\\n kiv_util_tx_adj_del call SUCCEEDED for " + n + "\\n\""};
}

class TxAdjTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        standin::flash_file("kiv_tcs_input_file", kInput);
        for (int i = 0; i < 2; ++i) {
            ifh[i] = uidb[i] = np_port[i] = 0;
            std::memset(if_name[i], 0, sizeof if_name[i]);
        }
    }
};

// --- Site values ---

TEST_F(TxAdjTest, GlobalsHaveTheirSizes) {
    EXPECT_EQ(sizeof ifh, 8u);
    EXPECT_EQ(sizeof uidb, 8u);
    EXPECT_EQ(sizeof np_port, 8u);
    EXPECT_EQ(sizeof if_name, 60u);
}

TEST_F(TxAdjTest, TheReaderFillsTwoEntriesAndPrintsEachTokenToStandardOutput) {
    run(tc_kiv_tx_adj_add);
    EXPECT_THAT(ifh, ElementsAre(0x1A0u, 0x1C0u));
    EXPECT_THAT(uidb, ElementsAre(17u, 18u));
    EXPECT_THAT(np_port, ElementsAre(3u, 4u));
    EXPECT_STREQ(if_name[0], "HundredGigE0/1/0/0");
    EXPECT_STREQ(if_name[1], "HundredGigE0/1/0/1");
    EXPECT_EQ(transcript().at(0), kInputLines);
    EXPECT_STREQ(token_ifh, "1c0");
    EXPECT_STREQ(token_uidb, "18");
    EXPECT_STREQ(token_ifname, "HundredGigE0/1/0/1");
    EXPECT_STREQ(token_nport, "4\n");
    EXPECT_EQ(standin::flash_text("kiv_tcs_input_file"), kInput);
}

TEST_F(TxAdjTest, AnUnknownTokenIsSkipped) {
    standin::flash_file("kiv_tcs_input_file",
                        "SPEED:100,IFH:20,ifh:30, UIDB:9,UIDB:5,INTF_NAME:a,NP_PORT:7\n");
    run(tc_kiv_tx_adj_add);
    EXPECT_EQ(transcript().at(0), "stdout \"ifhandle = 0x20\\nuidb = 5\\ninterface = a\\nnp_port = 7\\n\"");
    EXPECT_THAT(uidb, ElementsAre(5u, 0u));
}

TEST_F(TxAdjTest, TheNewlineOfALineShowsInANameThatEndsIt) {
    standin::flash_file("kiv_tcs_input_file", "INTF_NAME:abc\n");
    run(tc_kiv_tx_adj_add);
    EXPECT_EQ(transcript().at(0), "stdout \"interface = abc\\n\\n\"");
    EXPECT_STREQ(if_name[0], "abc\n");
}

TEST_F(TxAdjTest, AFieldWithoutValueLeavesItsTargetAndPrintsNothing) {
    ifh[0] = 77;
    standin::flash_file("kiv_tcs_input_file", "IFH,UIDB:6,IFH:\nUIDB\n");
    run(tc_kiv_tx_adj_add);
    EXPECT_EQ(ifh[0], 0u);  // "IFH:" has the line's newline for a value
    EXPECT_THAT(uidb, ElementsAre(6u, 0u));
    EXPECT_EQ(transcript().at(0), "stdout \"uidb = 6\\nifhandle = 0x0\\n\"");
}

TEST_F(TxAdjTest, NumbersAreCutToTheirWidthAndShownSigned) {
    standin::flash_file("kiv_tcs_input_file", "UIDB:4294967295,NP_PORT:4294967297,IFH:1FFFFFFFF\n");
    run(tc_kiv_tx_adj_add);
    EXPECT_EQ(transcript().at(0), "stdout \"uidb = -1\\nnp_port = 1\\nifhandle = 0xFFFFFFFF\\n\"");
}

TEST_F(TxAdjTest, ALongNameNeverLeavesTheSlotsAndIsPrintedWhole) {
    const std::string name(120, 'x');
    standin::flash_file("kiv_tcs_input_file", "UIDB:1\nINTF_NAME:" + name + "\n");
    run(tc_kiv_tx_adj_add);
    EXPECT_STREQ(if_name[1], std::string(29, 'x').c_str());
    EXPECT_THAT(transcript().at(0), testing::HasSubstr("interface = " + name + "\\n"));
}

TEST_F(TxAdjTest, AFirstNameOfThirtyCharactersIsKeptWhole) {
    const std::string name(30, 'y');
    std::memset(if_name, 'z', sizeof if_name);
    standin::flash_file("kiv_tcs_input_file", "INTF_NAME:" + name + ",UIDB:2\nUIDB:3\n");
    run(tc_kiv_tx_adj_add);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(&if_name)), name);
    EXPECT_EQ(if_name[1][1], 'z');
    EXPECT_THAT(uidb, ElementsAre(2u, 3u));
}

TEST_F(TxAdjTest, AnInputFileThatCannotBeOpenedIsToldAndTheOldValuesStay) {
    uidb[0] = 21;
    standin::flash_unopenable("kiv_tcs_input_file");
    run(tc_kiv_tx_adj_add);
    EXPECT_EQ(transcript().at(0), "stderr \"kiv_tcs_input_file: Permission denied\\n\"");
    EXPECT_EQ(transcript().at(1), "print \": Tx Adj add . UIDB 21\"");
    EXPECT_EQ(standin::calls("prm_srh_tx_adj_add").at(0).field<uint16_t>(80), 21);
}

TEST_F(TxAdjTest, AMissingInputFileIsCreatedByItsOpeningAndNothingIsTold) {
    standin::reset();
    prm_async_handle = standin::kAsync;
    uidb[0] = 22;
    run(tc_kiv_tx_adj_add);
    EXPECT_EQ(transcript().at(0), "print \": Tx Adj add . UIDB 22\"");
    EXPECT_TRUE(standin::flash_has("kiv_tcs_input_file"));
}

// --- The add cases ---

struct AddCase {
    kiv_function_t function;
    const char *first;  // a line of the case's own before the reservation
    uint32_t flags0, uidb_index;
    const char *last;
};

const AddCase kAddCases[] = {
    {tc_kiv_tx_adj_add, "print \": Tx Adj add . UIDB 17\"", 0x10, 17, "SUCCESS: Tx Adj add . "},
    {tc_kiv_tx_adj_add_uidb_get_fail, nullptr, 0, 0xFFFF, "SUCCESS: Tx Adj add . uidb get fail NH "},
    {tc_kiv_tx_adj_add_misc, nullptr, 0, 17, "SUCCESS: Tx Adj add . misc NH "},
    {tc_kiv_tx_adj_add_punt, nullptr, 0, 17, "SUCCESS: Tx Adj add . punt NH "},
    {tc_kiv_tx_adj_add_null0, nullptr, 0, 17, "SUCCESS: Tx Adj add . null0 NH "},
    {tc_kiv_tx_adj_add_drop_nh, nullptr, 0, 17, "SUCCESS: Tx Adj add . drop NH "},
};

Lines add_case_lines(const AddCase &c) {
    Lines lines = {kInputLines};
    if (c.first != nullptr) lines.push_back(c.first);
    // The index line is put twice: by the step and by the case.
    return lines + reserve_and_add(1001) +
           Lines{"stdout \"nh_index : 1001\\n\\nnh_index : 1001\\n\\n\"",
                 std::string("print \"") + c.last + "\""};
}

TEST_F(TxAdjTest, AddCasesReserveAddPutWriteAndAppend) {
    for (const AddCase &c : kAddCases) {
        SetUp();
        EXPECT_EQ(run(c.function), 0);
        EXPECT_THAT(outline(), ElementsAreArray(add_case_lines(c)));
        const auto calls = standin::calls();
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_EQ(calls[0].arguments.at(0).number, 0u);
        EXPECT_EQ(calls[0].record(), RecordBuilder(2352).u32_at(4, 1).bytes());
        EXPECT_EQ(calls[1].arguments.at(0).number, reinterpret_cast<uint64_t>(standin::kAsync));
        EXPECT_EQ(calls[1].record(), plain(c.flags0, c.uidb_index, 1001).bytes());
        EXPECT_EQ(standin::flash_text("kiv_tcs_output_file"), "nh_index : 1001\n");
        EXPECT_EQ(standin::flash_text("kiv_tcs_cleanup_file"), "nh_index : 1001\n");
        EXPECT_EQ(standin::allocations(), 0);
        EXPECT_TRUE(standin::checks().empty());
    }
}

TEST_F(TxAdjTest, AFailedReservationGoesOnWithNextHop0) {
    for (const AddCase &c : kAddCases) {
        SetUp();
        standin::fail_call(1, kFailure);
        run(c.function);
        Lines expected = add_case_lines(c);
        for (std::string &line : expected) {
            for (size_t at; (at = line.find("nh_index : 1001")) != std::string::npos;)
                line.replace(at, 15, "nh_index : 0");
            if (line.find("SUCCESS: Tx Adj Reserve") != std::string::npos)
                line = "print \"ERROR: Tx Adj Reserve failed. rc = 0x1234 \"";
            if (line.find("Nh index reserved") != std::string::npos) line = "print \"Nh index reserved 0 \"";
        }
        EXPECT_THAT(outline(), ElementsAreArray(expected));
        EXPECT_EQ(standin::calls().at(1).record(), plain(c.flags0, c.uidb_index, 0).bytes());
        EXPECT_EQ(standin::flash_text("kiv_tcs_cleanup_file"), "nh_index : 0\n");
    }
}

TEST_F(TxAdjTest, AFailedAddIsToldAndTheNextHopIsListedAllTheSame) {
    for (const AddCase &c : kAddCases) {
        SetUp();
        standin::fail_call(2, kFailure);
        run(c.function);
        Lines expected = add_case_lines(c);
        for (std::string &line : expected)
            if (line.find("SUCCESS: Tx Adj ADD") != std::string::npos)
                line = "print \"ERROR: Tx Adj ADD failed. rc = 0x1234 \"";
        EXPECT_THAT(outline(), ElementsAreArray(expected));
        EXPECT_EQ(standin::flash_text("kiv_tcs_cleanup_file"), "nh_index : 1001\n");
    }
}

TEST_F(TxAdjTest, OutputFileIsRewrittenAndCleanupFileGrows) {
    run(tc_kiv_tx_adj_add);
    run(tc_kiv_tx_adj_add_misc);
    run(tc_kiv_tx_adj_del);
    EXPECT_EQ(standin::flash_text("kiv_tcs_output_file"), "nh_index : 1002\n");
    EXPECT_EQ(standin::flash_text("kiv_tcs_cleanup_file"),
              "nh_index : 1001\nnh_index : 1002\nnh_index : 1003\n");
}

TEST_F(TxAdjTest, UnwritableFilesAreToldAndTheCaseGoesOn) {
    standin::flash_unopenable("kiv_tcs_output_file");
    standin::flash_unopenable("kiv_tcs_cleanup_file");
    run(tc_kiv_tx_adj_add_misc);
    Lines expected = add_case_lines(kAddCases[2]);
    expected.insert(expected.end() - 1, "stderr \"kiv_tcs_output_file: Permission denied\\n\"");
    *(expected.end() - 3) = "stdout \"nh_index : 1001\\n\\n\"";
    expected.insert(expected.end() - 1, "stdout \"nh_index : 1001\\n\\n\"");
    expected.insert(expected.end() - 1, "stderr \"kiv_tcs_cleanup_file: Permission denied\\n\"");
    EXPECT_THAT(outline(), ElementsAreArray(expected));
}

TEST_F(TxAdjTest, KindsWithoutTheForwardingBitSendTheSameBytes) {
    for (uint8_t kind : {0, 2, 4, 8}) kiv_util_tx_adj_add(kind, 17, kMac, 5, 6);
    const auto calls = standin::calls();
    for (const auto &call : calls) EXPECT_EQ(call.record(), calls[0].record());
    EXPECT_EQ(calls[0].record(), plain(0, 17, 5).bytes());
}

TEST_F(TxAdjTest, OnlyBitsZeroAndFourOfAKindCount) {
    kiv_util_tx_adj_add(0xEF, 17, kMac, 5, 6);
    kiv_util_tx_adj_add(0xFF, 17, kMac, 5, 6);
    kiv_util_tx_adj_add(16, 17, kMac, 5, 6);
    EXPECT_EQ(standin::calls().at(0).record(), plain(0x10, 17, 5).bytes());
    EXPECT_EQ(standin::calls().at(1).record(), labelled(17, 5, 6).bytes());
    EXPECT_EQ(standin::calls().at(2).record(), labelled(17, 5, 6).u8_at(72, 0).bytes());
}

TEST_F(TxAdjTest, TheUidbIsCutToSixteenBits) {
    kiv_util_tx_adj_add(1, 0xFFFFFFFF, kMac, 5, 0);
    kiv_util_tx_adj_add(1, 0x12345, kMac, 5, 0);
    EXPECT_EQ(standin::calls().at(0).record(), plain(0x10, 0xFFFF, 5).bytes());
    EXPECT_EQ(standin::calls().at(1).record(), plain(0x10, 0x2345, 5).bytes());
}

TEST_F(TxAdjTest, AddAndModifySendTheSameRecord) {
    standin::on("prm_srh_tx_adj_mod").returns(kFailure);
    EXPECT_EQ(kiv_util_tx_adj_add(17, 17, kMac, 5, 6), 0u);
    EXPECT_EQ(kiv_util_tx_adj_mod(17, 17, kMac, 5, 6), kFailure);
    EXPECT_THAT(outline(), ElementsAre("call prm_srh_tx_adj_add", "call prm_srh_tx_adj_mod"));
    EXPECT_EQ(standin::calls().at(0).record(), standin::calls().at(1).record());
}

TEST_F(TxAdjTest, AddStepGivesNextHopAndStatusBack) {
    uint32_t nh = 77;
    standin::on("prm_srh_tx_adj_add").returns(kFailure);
    run([&] { return kiv_util_tx_adj_add_nh(1, 3, &nh) == kFailure ? 1 : 0; });
    EXPECT_EQ(nh, 1001u);
    standin::fail_call(3, kFailure);
    run([&] { return static_cast<int>(kiv_util_tx_adj_add_nh(1, 3, &nh)); });
    EXPECT_EQ(nh, 0u);
}

TEST_F(TxAdjTest, AFailedReservationLeavesTheCallersIndex) {
    uint32_t index = 77;
    standin::on("prm_srh_tx_adj_buddy_reserve").returns(kFailure);
    EXPECT_EQ(kiv_util_tx_adj_buddy_reserve(3, &index), kFailure);
    EXPECT_EQ(index, 77u);
    EXPECT_EQ(standin::calls().at(0).record(), RecordBuilder(2352).u32_at(4, 3).bytes());
}

TEST_F(TxAdjTest, MplsVariantAddsALabelAdjacencyOnTheFirstNextHop) {
    uint32_t nh = 0, mpls_nh = 0;
    run([&] { return static_cast<int>(kiv_util_tx_adj_add_mpls_nh(9, &nh, &mpls_nh)); });
    EXPECT_EQ(nh, 1001u);
    EXPECT_EQ(mpls_nh, 1002u);
    EXPECT_THAT(outline(),
                ElementsAreArray(reserve_and_add(1001) +
                                 Lines{"call prm_srh_tx_adj_buddy_reserve",
                                       "print \"SUCCESS: Tx Adj Reserve SUCCESS. nh_idx = 1002 \"",
                                       "print \"Mpls Nh reserved 1002 \"", "call prm_srh_tx_adj_add",
                                       "print \"SUCCESS: MPLS  Tx Adj ADD completed. rc = 0x0 \""}));
    EXPECT_EQ(standin::calls().at(3).record(), labelled(9, 1001, 1002).bytes());
    EXPECT_EQ(standin::flash_text("kiv_tcs_output_file"), "nh_index_mpls : 1002\n");
}

TEST_F(TxAdjTest, AFailedMplsAddKeepsTheFirstNextHopInTheOutputFile) {
    uint32_t nh = 0, mpls_nh = 0;
    standin::fail_call(4, kFailure);
    run([&] { return static_cast<int>(kiv_util_tx_adj_add_mpls_nh(9, &nh, &mpls_nh)); });
    EXPECT_EQ(transcript().back(), "print \"ERROR: MPLS Tx Adj ADD failed. rc = 0x1234 \"");
    EXPECT_EQ(standin::flash_text("kiv_tcs_output_file"), "nh_index : 1001\n");
}

// --- Delete and modify ---

TEST_F(TxAdjTest, DeleteCaseListsItsNextHopAndDeletesIt) {
    EXPECT_EQ(run(tc_kiv_tx_adj_del), 0);
    EXPECT_THAT(outline(),
                ElementsAreArray(Lines{kInputLines} + reserve_and_add(1001) + deletion_lines(1001)));
    EXPECT_EQ(standin::calls("prm_srh_tx_adj_add").at(0).record(), plain(0x10, 17, 1001).bytes());
    EXPECT_EQ(standin::calls("prm_srh_tx_adj_del").at(0).record(), deletion(1001));
    EXPECT_EQ(standin::flash_text("kiv_tcs_cleanup_file"), "nh_index : 1001\n");
    EXPECT_FALSE(standin::flash_has("kiv_tcs_output_file"));
}

TEST_F(TxAdjTest, AFailedDeleteStillSaysSucceeded) {
    standin::fail_call(3, kFailure);
    run(tc_kiv_tx_adj_del);
    Lines expected = Lines{kInputLines} + reserve_and_add(1001) + deletion_lines(1001);
    expected.insert(expected.end() - 1, "print \"\\n kiv_util_tx_adj_del call 1 failed with rc=0x1234\\n\"");
    EXPECT_THAT(outline(), ElementsAreArray(expected));
}

TEST_F(TxAdjTest, EarlierFailuresOfTheDeleteCaseAreTold) {
    standin::fail_call(1, kFailure);
    run(tc_kiv_tx_adj_del);
    EXPECT_THAT(outline(), ElementsAreArray(Lines{kInputLines, "call prm_srh_tx_adj_buddy_reserve",
                                                  "print \"ERROR: Tx Adj Reserve failed. rc = 0x1234 \"",
                                                  "print \"Nh index reserved 0 \"", "call prm_srh_tx_adj_add",
                                                  "print \"SUCCESS: Tx Adj ADD completed. rc = 0x0 \""} +
                                            deletion_lines(0)));
    SetUp();
    standin::fail_call(2, kFailure);
    run(tc_kiv_tx_adj_del);
    Lines expected = Lines{kInputLines} + reserve_and_add(1001) + deletion_lines(1001);
    expected.at(5) = "print \"ERROR: Tx Adj ADD failed. rc = 0x1234 \"";
    EXPECT_THAT(outline(), ElementsAreArray(expected));
}

TEST_F(TxAdjTest, DeleteOptionsAreBitsOneAndZero) {
    const uint32_t nh = 9;
    run([&] { return static_cast<int>(kiv_util_tx_adj_del(&nh, 1, 0)); });
    run([&] { return static_cast<int>(kiv_util_tx_adj_del(&nh, 0, 1)); });
    run([&] { return static_cast<int>(kiv_util_tx_adj_del(&nh, 1, 1)); });
    EXPECT_EQ(standin::calls().at(0).record(), deletion(9, 2));
    EXPECT_EQ(standin::calls().at(1).record(), deletion(9, 1));
    EXPECT_EQ(standin::calls().at(2).record(), deletion(9, 3));
}

Lines modify_lines() {
    return Lines{kInputLines} + reserve_and_add(1001) +
           Lines{"call prm_srh_tx_adj_mod", "print \"SUCCESS: Tx Adj ADD completed. rc = 0x0 \""};
}

TEST_F(TxAdjTest, ModifyCaseTurnsAPuntAdjacencyIntoANormalOne) {
    EXPECT_EQ(run(tc_kiv_tx_adj_modify), 0);
    EXPECT_THAT(outline(), ElementsAreArray(modify_lines()));
    EXPECT_EQ(standin::calls("prm_srh_tx_adj_add").at(0).record(), plain(0, 17, 1001).bytes());
    EXPECT_EQ(standin::calls("prm_srh_tx_adj_mod").at(0).record(), plain(0x10, 17, 1001).bytes());
    EXPECT_EQ(standin::flash_text("kiv_tcs_output_file"), "nh_index : 1001");
    EXPECT_FALSE(standin::flash_has("kiv_tcs_cleanup_file"));
}

TEST_F(TxAdjTest, EachFailingCallOfTheModifyCaseIsTold) {
    const struct {
        int nth;
        size_t line;
        const char *text;
    } failures[] = {{2, 5, "print \"ERROR: Tx Adj ADD failed. rc = 0x1234 \""},
                    {3, 7, "print \"ERROR: Tx Adj ADD failed. rc = 0x1234 \""}};
    for (const auto &failure : failures) {
        SetUp();
        standin::fail_call(failure.nth, kFailure);
        run(tc_kiv_tx_adj_modify);
        Lines expected = modify_lines();
        expected.at(failure.line) = failure.text;
        EXPECT_THAT(outline(), ElementsAreArray(expected));
    }
    SetUp();
    standin::fail_call(1, kFailure);
    run(tc_kiv_tx_adj_modify);
    EXPECT_EQ(standin::calls("prm_srh_tx_adj_mod").at(0).record(), plain(0x10, 17, 0).bytes());
    EXPECT_EQ(standin::flash_text("kiv_tcs_output_file"), "nh_index : 0");
}

// --- Delete all ---

// The lines of five passes over the given next hops.
Lines delete_all_lines(const std::vector<uint32_t> &next_hops) {
    Lines lines;
    for (size_t pass = 0; pass < next_hops.size(); ++pass)
        lines = lines + deletion_lines(next_hops[pass]) +
                Lines{"print \"SUCCESS: Tx del SUCCESS. nh_idx" + std::to_string(pass) + " = " +
                      std::to_string(static_cast<int32_t>(next_hops[pass])) + " \""};
    return lines;
}

TEST_F(TxAdjTest, DeleteAllTakesTheFirstFiveListedNextHops) {
    const std::string text =
        "nh_index : 101\nnh_index : 102\nnh_index : 103\nnh_index : 104\nnh_index : 105\nnh_index : 106\n";
    standin::flash_file("kiv_tcs_cleanup_file", text);
    EXPECT_EQ(run(tc_kiv_tx_adj_del_all), 0);
    EXPECT_THAT(outline(), ElementsAreArray(delete_all_lines({101, 102, 103, 104, 105})));
    EXPECT_EQ(standin::calls().at(4).record(), deletion(105));
    EXPECT_EQ(standin::flash_text("kiv_tcs_cleanup_file"), text);
}

TEST_F(TxAdjTest, DeleteAllReadsWhatTheAddCasesListed) {
    run(tc_kiv_tx_adj_add);
    run(tc_kiv_tx_adj_del);
    for (const AddCase &c : kAddCases)
        if (c.function != tc_kiv_tx_adj_add) run(c.function);
    const size_t before = outline().size();
    run(tc_kiv_tx_adj_del_all);
    Lines lines = outline();
    lines.erase(lines.begin(), lines.begin() + static_cast<long>(before));
    EXPECT_THAT(lines, ElementsAreArray(delete_all_lines({1001, 1002, 1003, 1004, 1005})));
}

TEST_F(TxAdjTest, EachFailingDeleteOfDeleteAllIsToldAndStillSucceeds) {
    for (int nth = 1; nth <= 5; ++nth) {
        standin::reset();
        standin::flash_file("kiv_tcs_cleanup_file",
                            "nh_index : 1\nnh_index : 2\nnh_index : 3\nnh_index : 4\nnh_index : 5\n");
        standin::fail_call(nth, kFailure);
        run(tc_kiv_tx_adj_del_all);
        Lines expected = delete_all_lines({1, 2, 3, 4, 5});
        expected.insert(expected.begin() + (nth - 1) * 4 + 2,
                        "print \"\\n kiv_util_tx_adj_del call 1 failed with rc=0x1234\\n\"");
        EXPECT_THAT(outline(), ElementsAreArray(expected));
    }
}

TEST_F(TxAdjTest, AShortCleanupFileDeletesItsLastNextHopAgain) {
    standin::flash_file("kiv_tcs_cleanup_file", "nh_index : 101\nnh_index : 102\n");
    run(tc_kiv_tx_adj_del_all);
    EXPECT_THAT(outline(), ElementsAreArray(delete_all_lines({101, 102, 102, 102, 102})));
}

TEST_F(TxAdjTest, AnEmptyCleanupFileDeletesNextHop0) {
    standin::flash_file("kiv_tcs_cleanup_file", "");
    run(tc_kiv_tx_adj_del_all);
    EXPECT_THAT(outline(), ElementsAreArray(delete_all_lines({0, 0, 0, 0, 0})));
}

TEST_F(TxAdjTest, CleanupLinesWithoutSecondFieldKeepTheLastNextHop) {
    standin::flash_file("kiv_tcs_cleanup_file", "nonsense\nnh_index : 7\n:\nnh_index\nnh_index:8:9,10\n");
    run(tc_kiv_tx_adj_del_all);
    EXPECT_THAT(outline(), ElementsAreArray(delete_all_lines({0, 7, 7, 7, 8})));
}

TEST_F(TxAdjTest, CleanupNumbersAreCutTo32Bits) {
    standin::flash_file("kiv_tcs_cleanup_file",
                        "a:4294967297\na:99999999999999999999999\na:abc\na: 12 34\na:0x10\n");
    run(tc_kiv_tx_adj_del_all);
    std::vector<uint32_t> sent;
    for (const auto &call : standin::calls()) sent.push_back(call.field<uint32_t>(20));
    EXPECT_THAT(sent, ElementsAre(1u, 0xFFFFFFFFu, 0u, 12u, 0u));
    EXPECT_THAT(standin::printed(), testing::HasSubstr("nh_idx1 = -1 "));
}

TEST_F(TxAdjTest, ALongCleanupLineGoesOnAsTheNextLine) {
    standin::flash_file("kiv_tcs_cleanup_file", "nh_index : 5" + std::string(187, ' ') + "a:6\nb:7\n");
    run(tc_kiv_tx_adj_del_all);
    EXPECT_THAT(outline(), ElementsAreArray(delete_all_lines({5, 6, 7, 7, 7})));
}

TEST_F(TxAdjTest, AMissingCleanupFileEndsDeleteAllWithoutALineAndStaysMissing) {
    EXPECT_EQ(run(tc_kiv_tx_adj_del_all), 0);
    EXPECT_TRUE(standin::log().empty());
    EXPECT_FALSE(standin::flash_has("kiv_tcs_cleanup_file"));
    standin::flash_unopenable("kiv_tcs_cleanup_file");
    run(tc_kiv_tx_adj_del_all);
    EXPECT_TRUE(standin::log().empty());
}

// --- Reservation ---

std::string reserve_check(uint32_t status) {
    const std::string line =
        check_line(status, 0, "EOK", "prm/test/src/prm_kiv_tx_adj", "tc_kiv_tx_adj_buddy_reserve", 0);
    return line.substr(0, line.rfind(' '));
}

TEST_F(TxAdjTest, TheSecondReservationIsExpectedToFail) {
    standin::on("prm_srh_tx_adj_buddy_reserve").returns_on(2, kFailure);
    EXPECT_EQ(run(tc_kiv_tx_adj_buddy_reserve), 1);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("call prm_srh_tx_adj_buddy_reserve(0, 2352{4:01})", reserve_check(0),
                            "print \"SUCCESS: Buddy Reserve Index: 0x3e9\"",
                            "call prm_srh_tx_adj_buddy_reserve(0, 2352{4:02})",
                            "print \"SUCCESS: Buddy Reserve failed. rc = 0x1234 \""));
}

TEST_F(TxAdjTest, TheSecondReservationThatSucceedsIsAnError) {
    EXPECT_EQ(run(tc_kiv_tx_adj_buddy_reserve), 1);
    EXPECT_EQ(transcript().back(), "print \"ERROR: Buddy Reserve Index: 0x3ea\"");
}

TEST_F(TxAdjTest, AFailedFirstReservationIsCheckedAndTold) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(tc_kiv_tx_adj_buddy_reserve), 0);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("call prm_srh_tx_adj_buddy_reserve(0, 2352{4:01})", reserve_check(kFailure),
                            "print \"ERROR: Buddy Reserve failed. rc = 0x1234 \"",
                            "call prm_srh_tx_adj_buddy_reserve(0, 2352{4:02})",
                            "print \"ERROR: Buddy Reserve Index: 0x3e9\""));
}

}  // namespace
