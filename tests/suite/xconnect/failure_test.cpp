// Cross-connects of several calls: which of them a case still makes once one has failed, for each.
#include "prm_kiv_xconnect.h"
#include "tests/standin/suite_test.h"
#include "tests/suite/xconnect/rewrite_matrix.h"

namespace {

using standin::outline;
using standin::run;
using testing::ElementsAre;

constexpr uint32_t kFailure = 0x1234;

class XconnectFailureTest : public SuiteTest {
  protected:
    static std::vector<std::string> calls_with(int failing_call, kiv_function_t function, int *result) {
        standin::reset();
        prm_async_handle = standin::kAsync;
        standin::flash_file("kiv_tcs_input_file", "IFH:1,UIDB:2\nIFH:3,UIDB:4\n");
        standin::fail_call(failing_call, kFailure);
        *result = run(function);
        std::vector<std::string> names;
        for (const standin::Event &call : standin::calls()) names.push_back(call.name);
        return names;
    }
};

TEST_F(XconnectFailureTest, AMatrixCaseEndsAtItsFirstFailureAndChecksIt) {
    for (const MatrixCase &row : {kRewriteMatrix[0], kRewriteMatrix[43]}) {  // all are made alike
        SCOPED_TRACE(row.name);
        int result = 0;
        EXPECT_THAT(calls_with(0, row.function, &result),
                    ElementsAre("uidb_set_feature", "uidb_set_feature", "prm_srh_xid_add"));
        EXPECT_EQ(result, 1);
        EXPECT_THAT(calls_with(1, row.function, &result), ElementsAre("uidb_set_feature"));
        EXPECT_EQ(result, 0);
        EXPECT_THAT(calls_with(2, row.function, &result),
                    ElementsAre("uidb_set_feature", "uidb_set_feature"));
        EXPECT_EQ(result, 0);
        EXPECT_THAT(calls_with(3, row.function, &result),
                    ElementsAre("uidb_set_feature", "uidb_set_feature", "prm_srh_xid_add"));
        EXPECT_EQ(result, 0);
        EXPECT_EQ(outline().back(), check_line(kFailure, 0, "CERR_SUCCESS", "prm/test/src/prm_kiv_xconnect",
                                               row.name, row.line));
    }
}

TEST_F(XconnectFailureTest, APseudowireCaseGoesOnAfterItsAdjacencyAndTellsTheCrossConnect) {
    int result = 0;
    const auto adding = calls_with(0, tc_kiv_xconnect_add_l2p_x_pw, &result);
    EXPECT_EQ(result, 1);
    ASSERT_EQ(adding.back(), "prm_srh_xid_add");
    for (int n = 2; n <= static_cast<int>(adding.size()); ++n) {
        EXPECT_EQ(calls_with(n, tc_kiv_xconnect_add_l2p_x_pw, &result), adding) << n;
        const bool last = n == static_cast<int>(adding.size());
        EXPECT_EQ(result, last ? 0 : 1);
        EXPECT_EQ(outline().back(),
                  last ? "print \"FAIL:tc_kiv_xconnect_add_l2p_x_pw failed uidb_index1=6, pw_xid=0x8000\\n\""
                       : "print \"SUCCESS:tc_kiv_xconnect_add_l2p_x_pw completed\\n uidb_index1=6, "
                         "pw_xid=0x8000\"");
    }
    const auto removing = calls_with(0, tc_kiv_xconnect_remove_l2p_x_pw, &result);
    EXPECT_EQ(result, 1);
    for (int n = 1; n <= static_cast<int>(removing.size()); ++n) {
        EXPECT_EQ(calls_with(n, tc_kiv_xconnect_remove_l2p_x_pw, &result), removing) << n;
        EXPECT_EQ(result, n == static_cast<int>(removing.size()) ? 0 : 1);
    }
}

}  // namespace
