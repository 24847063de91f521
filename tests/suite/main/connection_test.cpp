// The connection fixture: what set-up and tear-down ask of the resource manager, whatever fails.
#include "tests/standin/suite_test.h"

namespace {

using standin::on;
using standin::run;
using standin::transcript;
using testing::ElementsAre;

constexpr char kFile[] = "prm/test/src/prm_kiv_main";

std::string success(const std::string &function, int line) {
    return check_line(0, 0, "CERR_SUCCESS", kFile, function, line);
}
std::string failure(uint32_t status, const std::string &function, int line) {
    return check_line(status, 0, "CERR_SUCCESS", kFile, function, line);
}

class ConnectionTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        zor_kiv_evm = prm_mgr_handle = prm_async_handle = nullptr;
    }
};

TEST_F(ConnectionTest, SetUpOpensRegistersAndNamesAndPrintsOneLine) {
    EXPECT_EQ(run(setup_bm_prm_conn), 1);
    EXPECT_THAT(
        transcript(),
        ElementsAre("call event_manager_create(0, 0, 0xe, 0)",
                    "call prm_mgr_open(evm, 0, \"zor_kiv_client\", handler, 7, 0, &0)",
                    "print \"Connection to PRM opened\\n\"", "call prm_srh_register(&0, 1, evm, handler)",
                    success("zor_prm_register", 65), "call prm_srh_set_name(async, \"zor_kiv_client\")",
                    success("zor_prm_register", 68), success("zor_bind_prm", 86),
                    success("setup_bm_prm_conn", 101)));
    EXPECT_EQ(zor_kiv_evm, standin::kEvm);
    EXPECT_EQ(prm_mgr_handle, standin::kMgr);
    EXPECT_EQ(prm_async_handle, standin::kAsync);
}

TEST_F(ConnectionTest, SetUpGivesTheTwoEmptyHandlers) {
    run(setup_bm_prm_conn);
    EXPECT_EQ(standin::calls("prm_mgr_open")[0].arguments[3].number,
              reinterpret_cast<uint64_t>(zor_upd_notify_handler_test));
    EXPECT_EQ(standin::calls("prm_srh_register")[0].arguments[3].number,
              reinterpret_cast<uint64_t>(zor_async_handler_test));
    const size_t events = standin::log().size();
    zor_upd_notify_handler_test();
    zor_async_handler_test();
    EXPECT_EQ(standin::log().size(), events);
}

TEST_F(ConnectionTest, FailedOpenIsReportedTwiceAndRegistersNothing) {
    on("prm_mgr_open").returns(0x99);
    EXPECT_EQ(run(setup_bm_prm_conn), 0);
    EXPECT_THAT(transcript(),
                ElementsAre("call event_manager_create(0, 0, 0xe, 0)",
                            "call prm_mgr_open(evm, 0, \"zor_kiv_client\", handler, 7, 0, &0)",
                            failure(0x99, "zor_bind_prm", 86), failure(0x99, "setup_bm_prm_conn", 101)));
    EXPECT_EQ(zor_kiv_evm, standin::kEvm);
}

TEST_F(ConnectionTest, FailedRegistrationIsOnlyReportedAndTheClientIsNamedAllTheSame) {
    on("prm_srh_register").returns(0x77);
    EXPECT_EQ(run(setup_bm_prm_conn), 1);
    EXPECT_THAT(
        transcript(),
        ElementsAre("call event_manager_create(0, 0, 0xe, 0)",
                    "call prm_mgr_open(evm, 0, \"zor_kiv_client\", handler, 7, 0, &0)",
                    "print \"Connection to PRM opened\\n\"", "call prm_srh_register(&0, 1, evm, handler)",
                    failure(0x77, "zor_prm_register", 65), "call prm_srh_set_name(0, \"zor_kiv_client\")",
                    success("zor_prm_register", 68), success("zor_bind_prm", 86),
                    success("setup_bm_prm_conn", 101)));
}

TEST_F(ConnectionTest, FailedNamingIsReportedThreeTimes) {
    on("prm_srh_set_name").returns(0x55);
    EXPECT_EQ(run(setup_bm_prm_conn), 0);
    EXPECT_THAT(standin::checks().size(), 4u);
    EXPECT_THAT(
        transcript(),
        testing::IsSupersetOf({success("zor_prm_register", 65), failure(0x55, "zor_prm_register", 68),
                               failure(0x55, "zor_bind_prm", 86), failure(0x55, "setup_bm_prm_conn", 101)}));
}

TEST_F(ConnectionTest, EventManagerThatCannotBeHadIsNotChecked) {
    on("event_manager_create").returns(1);
    EXPECT_EQ(run(setup_bm_prm_conn), 1);
    EXPECT_EQ(zor_kiv_evm, nullptr);
    EXPECT_EQ(transcript()[1], "call prm_mgr_open(0, 0, \"zor_kiv_client\", handler, 7, 0, &0)");
}

TEST_F(ConnectionTest, TearDownUnregistersClosesAndDestroys) {
    SuiteTest::SetUp();
    EXPECT_EQ(run(teardown_bm_prm_conn), 1);
    EXPECT_THAT(transcript(),
                ElementsAre("call prm_srh_unregister(\"zor_kiv_client\", 0)",
                            success("teardown_bm_prm_conn", 109), "call prm_mgr_close(mgr)",
                            success("teardown_bm_prm_conn", 111), "call event_manager_destroy(&evm)"));
    EXPECT_EQ(zor_kiv_evm, nullptr);
}

TEST_F(ConnectionTest, TearDownGoesThroughAllStepsWhenTheFirstTwoFail) {
    SuiteTest::SetUp();
    on("prm_srh_unregister").returns(3);
    on("prm_mgr_close").returns(4);
    EXPECT_EQ(run(teardown_bm_prm_conn), 0);
    EXPECT_THAT(transcript(),
                ElementsAre("call prm_srh_unregister(\"zor_kiv_client\", 0)",
                            failure(3, "teardown_bm_prm_conn", 109), "call prm_mgr_close(mgr)",
                            failure(4, "teardown_bm_prm_conn", 111), "call event_manager_destroy(&evm)"));
}

TEST_F(ConnectionTest, TearDownAfterAFailedOpenClosesWhatTheHandleHolds) {
    on("prm_mgr_open").returns(0x99);
    run(setup_bm_prm_conn);
    EXPECT_EQ(run(teardown_bm_prm_conn), 1);
    EXPECT_EQ(standin::calls("prm_mgr_close")[0].arguments[0].number, 0u);
    EXPECT_EQ(standin::calls("event_manager_destroy").size(), 1u);
}

TEST_F(ConnectionTest, EachSetUpOverwritesTheHandles) {
    zor_kiv_evm = prm_mgr_handle = prm_async_handle = reinterpret_cast<void *>(1);
    run(setup_bm_prm_conn);
    EXPECT_EQ(zor_kiv_evm, standin::kEvm);
    EXPECT_EQ(prm_mgr_handle, standin::kMgr);
    EXPECT_EQ(prm_async_handle, standin::kAsync);
}

}  // namespace
