// Interface database steps and feature cases: requests, prints and checks, on success and on failure.
#include "prm_kiv_uidb.h"

#include <string.h>

#include "tests/standin/suite_test.h"

namespace {

using standin::on;
using standin::run;
using standin::transcript;
using testing::ElementsAre;

constexpr uint32_t kFailure = 0x1234;

class UidbTest : public SuiteTest {};

TEST_F(UidbTest, MainInterfaceMtuSendsOneClearedFeatureAndTellsSuccess) {
    EXPECT_EQ(run(tc_kiv_update_mainif_mtu), 1);
    EXPECT_THAT(
        without_line_numbers(transcript()),
        ElementsAre("print \"Call UIDB Set feature to set IP MTU\\n\"",
                    // handle, 1 record of 52 bytes; qualifier 2, feature 123, value 1000
                    "call uidb_set_feature(0x12123434, 60{0:88 3:0801 6:34 8:02 16:7b 20:e803})",
                    "check 0x0 0x0 \"CERR_SUCCESS\" prm/test/src/prm_kiv_uidb tc_kiv_update_mainif_mtu",
                    "print \"Mainif MTU set Successfully\\n\""));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(UidbTest, SubInterfaceMtuSpeaksOfTheMainInterfaceToo) {
    EXPECT_EQ(run(tc_kiv_update_subif_mtu), 1);
    EXPECT_THAT(
        without_line_numbers(transcript()),
        ElementsAre("print \"Call UIDB Set feature to set IP MTU\\n\"",
                    "call uidb_set_feature(0x12123434, 60{0:10f1 3:0801 6:34 8:02 16:7b 20:f401})",
                    "check 0x0 0x0 \"CERR_SUCCESS\" prm/test/src/prm_kiv_uidb tc_kiv_update_subif_mtu",
                    "print \"Mainif MTU set Successfully\\n\""));
}

constexpr char kFile[] = "prm/test/src/prm_kiv_uidb";

std::string check_text(uint32_t status, const std::string &function) {
    return success_check_without_line(status, kFile, function);
}

TEST_F(UidbTest, MtuCasesReportAFailedCallAndStillTellSuccess) {
    const std::pair<kiv_function_t, const char *> cases[] = {
        {tc_kiv_update_mainif_mtu, "tc_kiv_update_mainif_mtu"},
        {tc_kiv_update_subif_mtu, "tc_kiv_update_subif_mtu"}};
    for (const auto &[function, name] : cases) {
        standin::reset();
        standin::fail_call(1, kFailure);
        EXPECT_EQ(run(function), 0);
        const std::vector<std::string> lines = without_line_numbers(transcript());
        ASSERT_EQ(lines.size(), 4u);
        EXPECT_EQ(lines[2], check_text(kFailure, name));
        EXPECT_EQ(lines[3], "print \"Mainif MTU set Successfully\\n\"");
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

TEST_F(UidbTest, MtuCasesAbortWithoutMemory) {
    for (kiv_function_t function : {tc_kiv_update_mainif_mtu, tc_kiv_update_subif_mtu}) {
        standin::reset();
        standin::fail_allocation(1);
        run(function);
        EXPECT_TRUE(standin::aborted());
        EXPECT_THAT(standin::log().size(), 3u);
        EXPECT_EQ(transcript()[0], "print \"Malloc Failed for uidb_client_data \\n\"");
        const standin::Event check = standin::checks().at(0);
        EXPECT_EQ(check.condition_text, "kiv_fail()");
        EXPECT_EQ(check.text, "Memory allocation failed");
        EXPECT_FALSE(check.condition);
        EXPECT_EQ(check.flags, 0);
        EXPECT_EQ(check.file, kFile);
        EXPECT_EQ(transcript()[2], "abort");
    }
}

struct BatchCase {
    kiv_function_t function;
    const char *name;
    const char *feature;  // feature number and value in the record
};

class UidbBatchTest : public UidbTest, public testing::WithParamInterface<BatchCase> {};

TEST_P(UidbBatchTest, SendsABatchOfOneEntryOnTheMainInterface) {
    EXPECT_EQ(run(GetParam().function), 1);
    EXPECT_THAT(
        without_line_numbers(transcript()),
        ElementsAre(std::string("call uidb_set_feature_batch(0x12123434, 100{20:01 24:3c 40:88 43:08 ") +
                        GetParam().feature + "})",
                    check_text(0, GetParam().name),
                    "print \"kiv_util_uidb_set_feature_batch called rc: 0x0\\n\""));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_P(UidbBatchTest, ReportsAFailedCallAndPrintsItsStatus) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(GetParam().function), 0);
    const std::vector<std::string> lines = without_line_numbers(transcript());
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], check_text(kFailure, GetParam().name));
    EXPECT_EQ(lines[2], "print \"kiv_util_uidb_set_feature_batch called rc: 0x1234\\n\"");
}

TEST_P(UidbBatchTest, AbortsWithoutMemory) {
    standin::fail_allocation(1);
    run(GetParam().function);
    EXPECT_TRUE(standin::aborted());
    EXPECT_THAT(standin::calls(), testing::IsEmpty());
    const standin::Event check = standin::checks().at(0);
    EXPECT_EQ(check.condition_text, "kiv_fail()");
    EXPECT_EQ(check.text, "Memory allocation failed");
    EXPECT_EQ(check.function, GetParam().name);
    // No newline; the line is the check's.
    EXPECT_EQ(standin::printed(),
              std::string(GetParam().name) + " " + std::to_string(check.line) + " Memory allocation failed");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, UidbBatchTest,
    testing::Values(BatchCase{tc_kiv_uidb_ipv4_enable, "tc_kiv_uidb_ipv4_enable", "56:0401 60:01"},
                    BatchCase{tc_kiv_uidb_ipv4_disable, "tc_kiv_uidb_ipv4_disable", "56:0401"},
                    BatchCase{tc_kiv_uidb_mpls_enable, "tc_kiv_uidb_mpls_enable", "56:e4 60:01"},
                    BatchCase{tc_kiv_uidb_mpls_disable, "tc_kiv_uidb_mpls_disable", "56:e4"}),
    [](const auto &param) { return std::string(param.param.name); });

TEST_F(UidbTest, L2CasesGoThroughTheStepWithCookieZero) {
    EXPECT_EQ(run(tc_kiv_uidb_l2_enable), 1);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("print \"Call UIDB Set feature\\n\"",
                            "call uidb_set_feature(0, 60{0:88 3:0801 6:34 16:9c 20:01})",
                            check_text(0, "kiv_util_uidb_set_feature"),
                            "print \"tc_kiv_uidb_l2_enable:kiv_util_uidb_set_feature called\""));
    standin::reset();
    EXPECT_EQ(run(tc_kiv_uidb_l2_disable), 1);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("print \"Call UIDB Set feature\\n\"",
                            "call uidb_set_feature(0, 60{0:88 3:0801 6:34 16:9c})",
                            check_text(0, "kiv_util_uidb_set_feature"),
                            "print \"tc_kiv_uidb_l2_disable:kiv_util_uidb_set_feature called\""));
}

TEST_F(UidbTest, L2CaseReportsAFailedCallUnderTheStepsName) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(tc_kiv_uidb_l2_enable), 0);
    EXPECT_THAT(without_line_numbers(transcript()),
                testing::Contains(check_text(kFailure, "kiv_util_uidb_set_feature")));
}

TEST_F(UidbTest, L2CaseWithoutMemoryPrintsAndRecordsNoCheck) {
    standin::fail_allocation(1);
    EXPECT_EQ(run(tc_kiv_uidb_l2_enable), 0);
    EXPECT_THAT(transcript(),
                ElementsAre("print \"Malloc Failed for uidb_client_data \\n\"",
                            "print \"tc_kiv_uidb_l2_enable:kiv_util_uidb_set_feature called\""));
}

TEST_F(UidbTest, SetFeatureCopiesTheWholeRecordBehindTheHead) {
    uidb_feature feature;
    memset(&feature, 0x5A, sizeof feature);
    EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_uidb_set_feature(&feature, 0x11223344)); }), 0);
    standin::RecordBuilder expected(60);
    expected.u32_at(0, 0x11223344).u16_at(4, 1).u16_at(6, 52);
    for (size_t i = 8; i < 60; ++i) expected.u8_at(i, 0x5A);
    EXPECT_EQ(standin::calls().at(0).record(), expected.bytes());
}

TEST_F(UidbTest, SetFeatureReturnsTheStatusOr22WithoutMemory) {
    uidb_feature feature = {};
    on("uidb_set_feature").returns(kFailure);
    EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_uidb_set_feature(&feature, 1)); }), 0x1234);
    standin::reset();
    standin::fail_allocation(1);
    EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_uidb_set_feature(&feature, 1)); }), 22);
    EXPECT_THAT(transcript(), ElementsAre("print \"Malloc Failed for uidb_client_data \\n\""));
}

TEST_F(UidbTest, SetFeatureMessageIsNotClearedMemoryButWrittenWhole) {
    uidb_feature feature = {};
    run([&] { return static_cast<int>(kiv_util_uidb_set_feature(&feature, 0)); });
    EXPECT_EQ(standin::calls().at(0).arguments[1].shown, "60{4:01 6:34}");
}

TEST_F(UidbTest, NullBatchIsRefusedWithoutACall) {
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_uidb_set_feature_batch(0x12123434, nullptr)); }), 22);
    EXPECT_THAT(transcript(),
                ElementsAre("print \"kiv_util_uidb_set_feature_batch Invalid param passed\\n\""));
}

TEST_F(UidbTest, BatchIsHandedOverUncheckedAndItsStatusReturned) {
    uidb_feature_batch_of<1> batch = {};
    batch.head.entries_len = 60;
    on("uidb_set_feature_batch").returns(kFailure);
    EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_uidb_set_feature_batch(0x77, &batch.head)); }),
              0x1234);
    EXPECT_EQ(standin::log().size(), 1u);
    EXPECT_EQ(standin::calls()[0].arguments[0].number, 0x77u);
    EXPECT_EQ(standin::calls()[0].arguments[1].number, reinterpret_cast<uint64_t>(&batch));
}

TEST_F(UidbTest, L2StepsPrintTheirNameAndTheStatus) {
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_uidb_l2_enable(0x8000038)); }), 0);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("print \"Call UIDB Set feature\\n\"",
                            "call uidb_set_feature(0, 60{0:38 3:0801 6:34 16:9c 20:01})",
                            check_text(0, "kiv_util_uidb_set_feature"),
                            "print \"kiv_util_uidb_l2_enable:kiv_util_uidb_set_feature called rc=0x0\""));
    standin::reset();
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_uidb_l2_disable(0x8000038)); }), 0x1234);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("print \"Call UIDB Set feature\\n\"",
                            "call uidb_set_feature(0, 60{0:38 3:0801 6:34 16:9c})",
                            check_text(kFailure, "kiv_util_uidb_set_feature"),
                            "print \"kiv_util_uidb_l2_disable:kiv_util_uidb_set_feature called rc=0x1234\""));
}

TEST_F(UidbTest, L2StepWithoutMemoryReturns22) {
    standin::fail_allocation(1);
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_uidb_l2_enable(1)); }), 22);
    EXPECT_EQ(transcript().back(),
              "print \"kiv_util_uidb_l2_enable:kiv_util_uidb_set_feature called rc=0x16\"");
}

TEST_F(UidbTest, SingleInterfaceSendsAClearedMessageInABatchOfOne) {
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_create_single_interface(300, 0x8000088, 0x1A0)); }),
              0);
    EXPECT_THAT(
        transcript(),
        ElementsAre(
            "print \"channel_map = 44\\n if_handle = 0x1A0\\n iftype = 2 \\nparent_ifh = 0x8000088\\n\"",
            "print \"Calling uidb_create_single_interface\\n\"",
            "call uidb_create_interface_batch(0x12123434, 108{4:2c 8:a001 12:88 15:0802}, 1)"));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(UidbTest, SingleInterfaceReturnsTheStatusOr22WithoutMemory) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_create_single_interface(1, 2, 3)); }), 0x1234);
    EXPECT_EQ(standin::live_blocks(), 0u);
    standin::reset();
    standin::fail_allocation(1);
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_create_single_interface(1, 2, 3)); }), 22);
    EXPECT_THAT(transcript(), ElementsAre("print \"Could not allocate uidb_create_msg\\n\""));
}

TEST_F(UidbTest, StatisticsPointerIsAskedForByDirectionAndClass) {
    u32 pointer = 0;
    EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_intf_stats_alloc(PRM_STATS_EGRESS, &pointer)); }),
              0);
    EXPECT_THAT(transcript(), ElementsAre("call prm_stats_cl_alloc(async, 0x20000000, 5, 2, &1, &0)",
                                          "print \"Got Stats Ptr: 0x5001\\n\""));
    EXPECT_EQ(pointer, 0x5001u);
}

TEST_F(UidbTest, FailedStatisticsAllocationPrintsNothing) {
    u32 pointer = 7;
    on("prm_stats_cl_alloc").returns(kFailure);
    EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_intf_stats_alloc(PRM_STATS_INGRESS, &pointer)); }),
              0x1234);
    EXPECT_EQ(standin::log().size(), 1u);
    EXPECT_EQ(pointer, 7u);
}

TEST_F(UidbTest, OtherNumberOfStatisticsPointersIsToldAndStillSuccess) {
    u32 pointer = 0;
    on("prm_stats_cl_alloc").does([](standin::Call &call) { *call.pointer<u32>(4) = 3; });
    EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_intf_stats_alloc(PRM_STATS_INGRESS, &pointer)); }),
              0);
    EXPECT_EQ(standin::printed(), "Got Stats Ptr: 0x5001\nGot 3 stats, asked for 1 Stats\n");
}

}  // namespace
