// Outcome lines: which prints report a failure.
#include "kiv/supervise/outcome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using kiv::Outcome;
using kiv::OutcomeScanner;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Outcome, MarkersAreReadAtTheBegin) {
    EXPECT_EQ(kiv::outcome_of("ERROR: Tx Adj ADD failed. rc = 0x16 "), Outcome::failure);
    EXPECT_EQ(kiv::outcome_of("FAIL:add failed uidb_index1=1"), Outcome::failure);
    EXPECT_EQ(kiv::outcome_of("Failure in  tc_kiv_acl_tcam_create. rc = 0x1"), Outcome::failure);
    EXPECT_EQ(kiv::outcome_of("tc_kiv_tcam_verify: Failure in getting info from h/w"), Outcome::failure);
    EXPECT_EQ(kiv::outcome_of("SUCCESS: Tx Adj add . "), Outcome::success);
    EXPECT_EQ(kiv::outcome_of("Success in ACL Create \n"), Outcome::success);
    EXPECT_EQ(kiv::outcome_of("Success while sending invalid opcode"), Outcome::success);
    for (const char *text : {"", "no ERROR: here", "ERROR", "Failed 1 of 2", "Success", "FAILURE in",
                             " ERROR: x", "two words: Failure in it"})
        EXPECT_EQ(kiv::outcome_of(text), Outcome::none) << text;
}

TEST(Outcome, StepsTellThatTheyFailedInOtherWordsToo) {
    for (const char *text :
         {"prm_srh_bd_add failed", "vplag buddy reserve failed ", "xid_handler for AC Delete failed",
          "prm_srh_xid_add failed for AC bind", " kiv_util_tx_adj_del call 1 failed with rc=0x16",
          "Can't enable l2transport on interface", "Failed to read BVI_UIDB",
          "Mismatch in TTL value In 1/2 Out 3/4", "kiv_tcs_input_file: No such file or directory",
          "name:ERROR:x", "Got 2 stats, asked for 1 Stats"})
        EXPECT_EQ(kiv::outcome_of(text), Outcome::failure) << text;
    for (const char *text : {"3 passed, 1 failed", "failed", "what failed, and how", "failed for nothing",
                             " token = A, value = it failed", " prm_srh_xid_del call 1 failed with rc=0x16",
                             "Got Stats Ptr: 0x1", "kiv_util_uidb_set_feature returned error is 0x0",
                             "Strict Priority (level: 1) is configured properly"})
        EXPECT_NE(kiv::outcome_of(text), Outcome::failure) << text;
}

TEST(Outcome, EndOfALineThatWasCutIsUnknown) {
    EXPECT_EQ(kiv::outcome_of("prm_srh_bd_add failed", true), Outcome::none);
    EXPECT_EQ(kiv::outcome_of("ERROR: prm_srh_bd_add failed", true), Outcome::failure);
}

TEST(Outcome, FailuresThatWereToldStayTold) {
    OutcomeScanner scanner;
    scanner.print("ERROR: Failed to read programmed LPTS entry, error :16\n");
    scanner.print("SUCCESS: Reading invalid entry failed. Error 22\n");
    EXPECT_EQ(scanner.failures(), 0u);
    EXPECT_EQ(scanner.told_failures(), 2u);
    scanner.print("SUCCESS: Tx Adj add . ");
    EXPECT_EQ(scanner.told_failures(), 2u);
}

// The codes are those of the simulated card: no such entry, in use, any other.
TEST(Outcome, RemovingAnAdjacencyThatIsGoneOrInUseIsNoFailure) {
    const std::string all = " kiv_util_tx_adj_del call 1 failed with rc=",
                      pseudowire = " prm_srh_xid_del call 1 failed with rc=";
    EXPECT_EQ(kiv::outcome_of(all + "0x5ca01000"), Outcome::none);
    EXPECT_EQ(kiv::outcome_of(all + "0x5ca01200"), Outcome::failure);
    EXPECT_EQ(kiv::outcome_of(pseudowire + "0x5ca01000"), Outcome::none);
    EXPECT_EQ(kiv::outcome_of(pseudowire + "0x5ca01200"), Outcome::none);
    EXPECT_EQ(kiv::outcome_of(pseudowire + "0x5ca01400"), Outcome::failure);
    EXPECT_EQ(kiv::outcome_of(pseudowire + "0x16"), Outcome::none) << "on a card";
}

TEST(Outcome, NameOfANextHopTakesNoFailureBack) {
    OutcomeScanner scanner;
    scanner.print("ERROR: Tx Adj ADD failed. rc = 0x16 ");
    scanner.print("SUCCESS: Tx Adj add . uidb get fail NH ");
    EXPECT_EQ(scanner.failures(), 1u);
}

TEST(Outcome, SeveralPrintsMayShareALine) {
    OutcomeScanner scanner;
    scanner.print("SUCCESS: Tx Adj add . ");
    scanner.print("ERROR: Buddy Reserve failed. rc = 0x16 ");
    scanner.print("UIDB 5\n");
    EXPECT_EQ(scanner.successes(), 1u);
    EXPECT_EQ(scanner.failures(), 1u);
    EXPECT_THAT(scanner.failing_lines(), ElementsAre("ERROR: Buddy Reserve failed. rc = 0x16 UIDB 5"));
}

TEST(Outcome, EveryLineOfAPrintCounts) {
    OutcomeScanner scanner;
    scanner.print("\nFailure in creating. rc = 0x1\nSuccess in deleting\nERROR: and this\n\n");
    EXPECT_EQ(scanner.failures(), 2u);
    EXPECT_EQ(scanner.successes(), 1u);
    EXPECT_THAT(scanner.failing_lines(), ElementsAre("Failure in creating. rc = 0x1", "ERROR: and this"));
}

TEST(Outcome, MiddleOfALineDoesNotCount) {
    OutcomeScanner scanner;
    scanner.print("rc of ERROR: was fine\n");
    scanner.print("expected Failure in this\n");
    EXPECT_EQ(scanner.failures(), 0u);
    EXPECT_THAT(scanner.failing_lines(), IsEmpty());
}

TEST(Outcome, PiecesOfAPipeAreJoinedToLines) {
    const std::string text = "fine\nERROR: from a child\nand ERROR: not here\nFAIL:too\n";
    for (size_t size = 1; size <= text.size(); ++size) {
        OutcomeScanner scanner;
        for (size_t at = 0; at < text.size(); at += size) scanner.piece(text.substr(at, size));
        scanner.finish();
        EXPECT_EQ(scanner.failures(), 2u) << "in pieces of " << size;
    }
}

TEST(Outcome, LastPieceIsJudgedAtTheEnd) {
    OutcomeScanner scanner;
    scanner.piece("FAIL:");
    scanner.finish();
    EXPECT_EQ(scanner.failures(), 1u);
}

TEST(Outcome, KeptLinesAreBoundedCountsAreNot) {
    OutcomeScanner scanner;
    for (int i = 0; i < 1000; ++i) scanner.print("ERROR: " + std::string(1000, 'x') + "\n");
    EXPECT_EQ(scanner.failures(), 1000u);
    EXPECT_EQ(scanner.failing_lines().size(), OutcomeScanner::kKeptLines);
    EXPECT_LE(scanner.failing_lines()[0].size(), OutcomeScanner::kKeptLength);
}

TEST(Outcome, RestartForgets) {
    OutcomeScanner scanner;
    scanner.print("ERROR: x");
    scanner.restart();
    scanner.print("and on");
    EXPECT_EQ(scanner.failures(), 0u);
    EXPECT_THAT(scanner.failing_lines(), IsEmpty());
}

TEST(Outcome, FailureThatTheCaseWantedToSeeIsTakenBack) {
    OutcomeScanner scanner;
    scanner.print("ERROR: Failed to read programmed LPTS entry, error :16\n");
    scanner.print("SUCCESS: Reading invalid entry failed. Error 22\n");
    EXPECT_EQ(scanner.failures(), 0u);
    EXPECT_EQ(scanner.successes(), 1u);
    EXPECT_THAT(scanner.failing_lines(), IsEmpty());
}

TEST(Outcome, OtherSuccessLinesTakeNothingBack) {
    OutcomeScanner scanner;
    scanner.print("ERROR: Buddy Reserve failed. rc = 0x16 ");
    scanner.print("SUCCESS: Tx Adj ADD completed. rc = 0x0 ");
    EXPECT_EQ(scanner.failures(), 1u);
    scanner.print("\nSUCCESS: Buddy Reserve failed. rc = 0x16 ");  // its failure did not come right before
    EXPECT_EQ(scanner.failures(), 1u);
}

TEST(Outcome, OnlyTheFailureRightBeforeIsTakenBack) {
    OutcomeScanner scanner;
    scanner.print("ERROR: one\n");
    scanner.print("ERROR: two\n");
    scanner.print("SUCCESS: two returns error 5\n");
    EXPECT_EQ(scanner.failures(), 1u);
    EXPECT_EQ(scanner.failing_lines(), std::vector<std::string>{"ERROR: one"});
}

TEST(Outcome, LinesThatTellNothingMayStandBetween) {
    OutcomeScanner scanner;
    scanner.print("ERROR: entry not found\nrc = 22\n");
    scanner.print("SUCCESS: Reading invalid entry failed\n");
    EXPECT_EQ(scanner.failures(), 0u);
}

TEST(Outcome, FailureOfAnEarlierCaseIsNotTakenBack) {
    OutcomeScanner scanner;
    scanner.print("ERROR: entry not found\n");
    scanner.restart();
    scanner.print("SUCCESS: Reading invalid entry failed\n");
    EXPECT_EQ(scanner.failures(), 0u);
    EXPECT_EQ(scanner.successes(), 1u);
}

TEST(Outcome, FailureTakenBackBeyondTheKeptLinesLeavesThemAlone) {
    OutcomeScanner scanner;
    for (size_t i = 0; i <= OutcomeScanner::kKeptLines; ++i) scanner.print("ERROR: x\n");
    scanner.print("SUCCESS: it failed\n");
    EXPECT_EQ(scanner.failures(), OutcomeScanner::kKeptLines);
    EXPECT_EQ(scanner.failing_lines().size(), OutcomeScanner::kKeptLines);
    scanner.print("ERROR: x\n");
    scanner.print("ERROR: not kept");
    scanner.print(" and not continued\n");
    EXPECT_EQ(scanner.failing_lines().back(), "ERROR: x");
}

TEST(Outcome, PieceBehindAPrintGoesOnWithItsLine) {
    OutcomeScanner scanner;
    scanner.print("not the begin: ");
    scanner.piece("ERROR: of a line\nERROR: this is\n");
    EXPECT_EQ(scanner.failures(), 1u);
    scanner.print("whole\n");
    scanner.piece("ERROR: this too\n");
    EXPECT_EQ(scanner.failures(), 2u);
}

TEST(Outcome, FunctionMaySayItsNameBeforeTheMarker) {
    EXPECT_EQ(kiv::outcome_of("tc_kiv_tcam_verify: Failure in getting info from h/w"), kiv::Outcome::failure);
    EXPECT_EQ(kiv::outcome_of("tc_kiv_xconnect_add_l2p_x_pw:ERROR:kiv_util_uidb_l2_enable failed."),
              kiv::Outcome::failure);
    EXPECT_EQ(kiv::outcome_of("two words: Failure in"), kiv::Outcome::none);
}

}  // namespace
