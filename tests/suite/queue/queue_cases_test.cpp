// Egress traffic manager: the cases of the strict-priority queues, of the engine's other operations and of
// the configurations that must be refused.
#include "tests/suite/queue/queue_lines.h"

namespace {

using namespace queue_test;

struct SpCase {
    kiv_function_t function;
    const char *name;
    int mode;
    const char *of;       // what the texts name behind "Queue"
    const char *deleted;  // the deletion text
};

const SpCase kSpCases[] = {
    {tc_kiv_qos_sp_queue_lls_port, "tc_kiv_qos_sp_queue_lls_port", 0, " on LLS port",
     "Success in Deleting Strict Pri Queue on LLS port\\n"},
    {tc_kiv_qos_sp_queue_random_pri, "tc_kiv_qos_sp_queue_random_pri", 1, "",
     "Success in Deleting Strict Priority Queue\\n"},
    {tc_kiv_qos_sp_queue_multi_p1_pri, "tc_kiv_qos_sp_queue_multi_p1_pri", 2, "",
     "Success in Deleting Strict Priority Queue\\n"},
};
const SpCase kHspCase = {tc_kiv_qos_sp_queue_hsp_port, "tc_kiv_qos_sp_queue_hsp_port", 0, " on HSP port",
                         "Success in Deleting Strict Pri Queue on HSP port\\n"};

Lines created_text(const SpCase &c, bool success = true) {
    return line(std::string(success ? "Success" : "Failure") + " in Creating Strict Priority Queue" + c.of +
                "\\n");
}
Lines verified_text(const SpCase &c, bool success = true) {
    return line(std::string(success ? "Success" : "Failure") + " in validating SP Queue" + c.of + "\\n");
}

Lines sp_case(const SpCase &c) {
    return chain(c.mode) + created_text(c) + verification(c.mode) + verified_text(c) +
           Lines{none(0, c.name), none(0, c.name)} + deletion() + line(c.deleted) + Lines{none(0, c.name)};
}

TEST_F(QueueTest, StrictPriorityCasesCreateVerifyAndDelete) {
    for (const SpCase &c : kSpCases) {
        SCOPED_TRACE(c.name);
        fresh();
        EXPECT_EQ(run(c.function), 1);
        EXPECT_THAT(outline_without_lines(), ElementsAreArray(sp_case(c)));
        EXPECT_EQ(standin::calls().at(2).field<uint32_t>(100), 1u);
        EXPECT_EQ(standin::live_blocks(), 0u);
        EXPECT_EQ(g_tm_config_request, nullptr);
        EXPECT_EQ(g_tm_config_response, nullptr);
    }
}

TEST_F(QueueTest, AFailedCreateIsCheckedThreeTimes) {
    const SpCase &c = kSpCases[0];
    for (int nth = 1; nth <= 35; ++nth) {
        SCOPED_TRACE(nth);
        fresh();
        standin::fail_call(nth, kFailure);
        EXPECT_EQ(run(c.function), 0);
        EXPECT_THAT(outline_without_lines(),
                    ElementsAreArray(failed_chain(nth) + created_text(c, false) +
                                     Lines{none(kFailure, c.name), none(0, c.name), none(kFailure, c.name)}));
        EXPECT_EQ(standin::live_blocks(), 0u);
        EXPECT_EQ(g_tm_config_request, nullptr);
    }
}

TEST_F(QueueTest, AFailedVerificationStillDeletes) {
    for (const SpCase &c : kSpCases) {
        fresh();
        standin::fail_call(36, kFailure);
        EXPECT_EQ(run(c.function), 1);
        EXPECT_THAT(
            outline_without_lines(),
            ElementsAreArray(chain(c.mode) + created_text(c) + failed_verification(c.mode) +
                             verified_text(c, false) + Lines{none(0, c.name), none(kFailure, c.name)} +
                             deletion() + line(c.deleted) + Lines{none(0, c.name)}));
    }
}

TEST_F(QueueTest, AFailedDeletionIsCheckedTwice) {
    for (const SpCase &c : kSpCases) {
        fresh();
        standin::fail_call(37, kFailure);
        EXPECT_EQ(run(c.function), 0);
        EXPECT_THAT(outline_without_lines(),
                    ElementsAreArray(chain(c.mode) + created_text(c) + verification(c.mode) +
                                     verified_text(c) + Lines{none(0, c.name), none(0, c.name)} +
                                     deletion(kFailure) + Lines{none(kFailure, c.name)}));
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

TEST_F(QueueTest, CasesWithoutMemoryReleaseWhatTheyHave) {
    for (int nth = 1; nth <= 20; ++nth) {
        fresh();
        standin::fail_allocation(nth);
        EXPECT_EQ(run(tc_kiv_qos_sp_queue_lls_port), 0);
        EXPECT_EQ(standin::live_blocks(), 0u) << nth;
        EXPECT_EQ(g_tm_config_request, nullptr);
        EXPECT_EQ(g_tm_config_response, nullptr);
    }
}

TEST_F(QueueTest, AnExchangeLeftByAnEarlierCaseIsReleasedWhenTheChainEndsEarly) {
    code([&] { return kiv_queue_config_tm_req(0, 1); });
    standin::on("wyk_hal_wrapper_engine_op").returns(kFailure);
    run(tc_kiv_qos_sp_queue_lls_port);
    EXPECT_EQ(standin::live_blocks(), 0u);
    EXPECT_EQ(g_tm_config_request, nullptr);
}

TEST_F(QueueTest, TheHspPortDependsOnTheCard) {
    struct {
        uint32_t card, port;
    } const rows[] = {{0x1E1001, 81}, {0x1E1002, 41}};
    for (const auto &row : rows) {
        fresh();
        standin::on("platform_get_my_card_type").returns(row.card);
        EXPECT_EQ(run(kHspCase.function), 1);
        EXPECT_THAT(outline_without_lines(),
                    ElementsAreArray(Lines{"call platform_get_my_card_type"} + sp_case(kHspCase)));
        EXPECT_EQ(standin::transcript().at(0), "call platform_get_my_card_type(0)");
        EXPECT_EQ(standin::calls("wyk_hal_wrapper_engine_op").at(0).field<uint32_t>(0), row.port - 1);
        EXPECT_EQ(standin::calls("wyk_hal_wrapper_config_policy_in_tm").at(0).field<uint32_t>(100), row.port);
    }
    fresh();
    standin::on("platform_get_my_card_type").returns(0x1E1001);
    standin::on("wyk_hal_wrapper_engine_op").returns(kFailure);
    run(kHspCase.function);
    EXPECT_THAT(outline_without_lines(), testing::Contains(created_text(kHspCase, false).at(0)));
    fresh();
    standin::on("platform_get_my_card_type").returns(0x1E1001);
    standin::on("wyk_hal_wrapper_get_config").returns(kFailure);
    run(kHspCase.function);
    EXPECT_THAT(outline_without_lines(), testing::Contains(verified_text(kHspCase, false).at(0)));
}

TEST_F(QueueTest, AnyOtherCardHasNoHspPort) {
    for (uint32_t card : {0u, 0x1E1000u, 0x1E1003u}) {
        fresh();
        standin::on("platform_get_my_card_type").returns(card);
        run(kHspCase.function);
        EXPECT_THAT(standin::outline(),
                    ElementsAre("call platform_get_my_card_type",
                                print_text("This tc is not required in Quennick or other box")));
    }
}

// --- Scale

const char kScale[] = "tc_kiv_qos_egr_scale_sp_queue";

Lines on_port(const char *text, uint32_t port) {
    return line(text + std::string(" on ") + std::to_string(port) + " port\\n");
}

// One port up to its checks.
Lines scale_up(uint32_t port) {
    return chain(0) + on_port("Success in Creating Strict Priority Queue", port) + verification(0) +
           on_port("Success in validating SP Queue", port) + Lines{none(0, kScale), none(0, kScale)};
}
Lines scale_down(uint32_t port) {
    return deletion() + on_port("Success in Deleting Strict Pri Queue", port) + Lines{none(0, kScale)};
}

const Lines kPorts = {"call wyk_np_info_num_local_ports"};

class ScaleTest : public QueueTest {
  protected:
    void on_ports(uint32_t ports) {
        fresh();
        standin::on("wyk_np_info_num_local_ports").returns(ports);
    }
};

TEST_F(ScaleTest, EveryPortButTheFirstOfTheCountIsUsed) {
    on_ports(4);
    EXPECT_EQ(run(tc_kiv_qos_egr_scale_sp_queue), 1);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(kPorts + scale_up(1) + scale_up(2) + scale_up(3) +
                                                          scale_down(1) + scale_down(2) + scale_down(3)));
    EXPECT_EQ(standin::transcript().at(0), "call wyk_np_info_num_local_ports(0)");
    const std::vector<standin::Event> configured_ports =
        standin::calls("wyk_hal_wrapper_config_policy_in_tm");
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(configured_ports.at(i).field<uint32_t>(100), i + 1);
    const std::vector<standin::Event> released = standin::calls("wyk_hal_wrapper_deallocate_nodes");
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(released.at(i).field<uint32_t>(100), i + 1);
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(ScaleTest, FewerThanTwoPortsDoNothing) {
    for (uint32_t ports : {0u, 1u}) {
        on_ports(ports);
        run(tc_kiv_qos_egr_scale_sp_queue);
        EXPECT_THAT(standin::outline(), ElementsAreArray(kPorts));
    }
}

TEST_F(ScaleTest, AllPortsOfTheWidestCount) {
    on_ports(255);
    run(tc_kiv_qos_egr_scale_sp_queue);
    EXPECT_EQ(standin::calls("wyk_hal_wrapper_deallocate_nodes").size(), 254u);
}

TEST_F(ScaleTest, APortWithoutQueuesIsNotVerifiedAndNotDeleted) {
    on_ports(3);
    standin::fail_call(2, kFailure);  // port 1's default queue
    EXPECT_EQ(run(tc_kiv_qos_egr_scale_sp_queue), 1);
    EXPECT_THAT(
        outline_without_lines(),
        ElementsAreArray(kPorts + failed_chain(1) + on_port("Failure in Creating Strict Priority Queue", 1) +
                         Lines{none(kFailure, kScale), none(0, kScale)} + scale_up(2) + scale_down(2)));
}

TEST_F(ScaleTest, AFailedVerificationAndAFailedDeletionAreChecked) {
    on_ports(2);
    standin::fail_call(37, kFailure);
    EXPECT_EQ(run(tc_kiv_qos_egr_scale_sp_queue), 1);
    EXPECT_THAT(outline_without_lines(),
                ElementsAreArray(kPorts + chain(0) + on_port("Success in Creating Strict Priority Queue", 1) +
                                 failed_verification(0) + on_port("Failure in validating SP Queue", 1) +
                                 Lines{none(0, kScale), none(kFailure, kScale)} + scale_down(1)));
    on_ports(2);
    standin::fail_call(38, kFailure);
    EXPECT_EQ(run(tc_kiv_qos_egr_scale_sp_queue), 0);
    EXPECT_THAT(outline_without_lines(),
                ElementsAreArray(kPorts + scale_up(1) + deletion(kFailure) + Lines{none(kFailure, kScale)}));
}

// --- One call, one check

struct EngineCase {
    kiv_function_t function;
    const char *name;
    uint32_t type;
    size_t request_size, response_size;  // 0: none
    Bytes request;
    uint32_t expected;
    const char *expected_name;
    const char *success, *failure;
};

const std::vector<EngineCase> &engine_cases() {
    // clang-format off
    static const std::vector<EngineCase> rows = {
        {tc_kiv_qos_egr_deallocate_fp_q, "tc_kiv_qos_egr_deallocate_fp_q", 10, 12, 0,
         RecordBuilder(12).u32_at(4, 1).u32_at(8, 1), 0, "PRM_ERROR_NONE",
         "Success in deallocating default queue\\n", "Failure in deallocating default queue rc: "},
        {tc_kiv_qos_egr_conf_port_shaper, "tc_kiv_qos_egr_conf_port_shaper", 4, 448, 124,
         Bytes(448), 0, "PRM_ERROR_NONE",
         "Success in removal of port shaper\\n", "Failure in removal of port shaper rc: "},
        {tc_kiv_qos_egr_remove_port_shaper, "tc_kiv_qos_egr_remove_port_shaper", 5, 88, 124,
         RecordBuilder(88).u32_at(28, 4), 0, "PRM_ERROR_NONE",
         "Success in config of port shaper\\n", "Failure in config of port shaper rc: "},
        {tc_kiv_qos_egr_get_tm_info, "tc_kiv_qos_egr_get_tm_info", 9, 0, 4184,
         Bytes(), 0, "PRM_ERROR_NONE",
         "Success in getting tm info\\n", "Failure in getting tm info rc: "},
        {tc_kiv_qos_egr_def_case, "tc_kiv_qos_egr_def_case", 21, 0, 0,
         Bytes(), 22, "EINVAL",
         "Success in default case\\n", "Failure in default case rc: "},
    };
    // clang-format on
    return rows;
}

TEST_F(QueueTest, EngineCasesTellWhetherTheCodeIsTheOneExpected) {
    for (const EngineCase &c : engine_cases()) {
        for (uint32_t answer : {0u, 22u, kFailure}) {
            SCOPED_TRACE(c.name);
            standin::reset();
            standin::on("wyk_hal_wrapper_engine_op").block(1, c.request_size).block(2, c.response_size);
            standin::on("wyk_hal_wrapper_engine_op").returns(answer);
            EXPECT_EQ(run(c.function), answer == c.expected ? 1 : 0);
            EXPECT_THAT(outline_without_lines(),
                        ElementsAreArray(
                            engine(c.type) +
                            line(answer == c.expected ? c.success : c.failure + hex_text(answer) + "\\n") +
                            Lines{check_text(answer, c.expected, c.expected_name, "prm_kiv_qos", c.name)}));
            const standin::Event call = standin::calls().at(0);
            EXPECT_EQ(call.arguments.at(0).number, c.type);
            EXPECT_EQ(call.arguments.at(1).bytes, c.request);
            EXPECT_EQ(call.arguments.at(1).number != 0, c.request_size != 0);
            EXPECT_EQ(call.arguments.at(2).bytes, Bytes(c.response_size));
            EXPECT_EQ(call.arguments.at(2).number != 0, c.response_size != 0);
        }
    }
}

TEST_F(QueueTest, ThePolicerHandleCaseChecksTheStepAndItself) {
    EXPECT_EQ(run(tc_kiv_qos_egr_pol_hdl), 1);
    EXPECT_THAT(
        outline_without_lines(),
        ElementsAre(print_text("Get Result Case: 1\\n"), "call wyk_hal_wrapper_get_result",
                    print_text("Tknbkt: -16 Profile: 65520 Confirm: 0x55 Exceed: 0x66 Violate: 0x77\\n"),
                    none(0, "kiv_queue_get_result_req"), print_text("Success in Sending police hdl req\\n"),
                    none(0, "tc_kiv_qos_egr_pol_hdl")));
    EXPECT_EQ(standin::transcript().at(1), "call wyk_hal_wrapper_get_result(56{0:01 4:80 36:0a}, 268{})");

    fresh();
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(tc_kiv_qos_egr_pol_hdl), 0);
    EXPECT_THAT(outline_without_lines(),
                ElementsAre(print_text("Get Result Case: 1\\n"), "call wyk_hal_wrapper_get_result",
                            none(kFailure, "kiv_queue_get_result_req"),
                            print_text("Failure in Sending police hdl req rc: 0x1234\\n"),
                            none(kFailure, "tc_kiv_qos_egr_pol_hdl")));

    fresh();
    standin::fail_allocation(1);
    EXPECT_EQ(run(tc_kiv_qos_egr_pol_hdl), 0);
    EXPECT_THAT(outline_without_lines(),
                ElementsAre(print_text("Memory allocation failure for request_p!!!\\n"),
                            print_text("Failure in Sending police hdl req rc: 0xc\\n"),
                            none(12, "tc_kiv_qos_egr_pol_hdl")));
}

struct RefusedCase {
    kiv_function_t function;
    const char *name;
    const char *success, *failure;
};

const RefusedCase kRefusedCases[] = {
    {tc_kiv_qos_egr_invalid_mqc_lvl, "tc_kiv_qos_egr_invalid_mqc_lvl",
     "Success in Sending invalid mqc level req\\n", "Failure in Sending invalid mqc level req rc: "},
    {tc_kiv_qos_egr_invalid_np_id, "tc_kiv_qos_egr_invalid_np_id", "Success in Sending invalid np id \\n",
     "Failure in Sending invalid np id rc: "},
    {tc_kiv_qos_egr_queue_ingress_dir, "tc_kiv_qos_egr_queue_ingress_dir",
     "Success in Sending queuing enabled in ingress direction\\n",
     "Failure in Sending queuing enabled in ingress direction rc: "},
    {tc_kiv_qos_egr_invalid_in_mqc_depth, "tc_kiv_qos_egr_invalid_in_mqc_depth",
     "Success in Sending invalid mqc depth ingress dir\\n",
     "Failure in Sending invalid mqc depth ingress dir req rc: "},
    {tc_kiv_qos_egr_invalid_out_mqc_depth, "tc_kiv_qos_egr_invalid_out_mqc_depth",
     "Success in Sending invalid mqc depth egress dir\\n",
     "Failure in Sending invalid mqc depth egress dir req rc: "},
};

// The fields that tell the five requests apart.
void expect_mode(const standin::Event &call, int mode) {
    EXPECT_EQ(call.field<uint32_t>(92), mode == 3 ? 2u : 0u);
    EXPECT_EQ(call.field<uint16_t>(80), mode == 4 ? 1u : 0u);
    EXPECT_EQ(call.field<uint32_t>(64), mode == 5 ? 1u : 0u);
    EXPECT_EQ(call.field<uint32_t>(8), mode >= 6 ? 8u : 0u);
    EXPECT_EQ(call.field<uint32_t>(108), mode == 7 ? 1u : 0u);
}

TEST_F(QueueTest, RefusedConfigurationsAreReadFromTheStatusWordOrTheCode) {
    int mode = 3;
    for (const RefusedCase &c : kRefusedCases) {
        SCOPED_TRACE(c.name);
        const auto told = [&](uint32_t answer) {
            return Lines{"call wyk_hal_wrapper_config_policy_in_tm",
                         print_text(answer == 21 ? c.success : c.failure + hex_text(answer) + "\\n"),
                         check_text(answer, 21, "PRM_INVALID_ARG", "prm_kiv_qos", c.name)};
        };
        for (uint32_t answer : {21u, 0u, 22u}) {
            fresh();
            verdict = answer;
            EXPECT_EQ(run(c.function), answer == 21 ? 1 : 0);
            EXPECT_THAT(outline_without_lines(), ElementsAreArray(told(answer)));
            expect_mode(standin::calls().at(0), mode);
        }
        for (uint32_t answer : {21u, kFailure}) {
            fresh();
            standin::fail_call(1, answer);
            EXPECT_EQ(run(c.function), answer == 21 ? 1 : 0);
            EXPECT_THAT(outline_without_lines(), ElementsAreArray(told(answer)));
            EXPECT_EQ(standin::live_blocks(), 0u);
            EXPECT_EQ(g_tm_config_request, nullptr);
        }
        fresh();
        standin::fail_allocation(2);
        EXPECT_EQ(run(c.function), 0);
        EXPECT_THAT(outline_without_lines(),
                    ElementsAre(print_text("Memory allocation failure for g_tm_config_response!!!\\n"),
                                print_text(c.failure + std::string("0xc\\n")),
                                check_text(12, 21, "PRM_INVALID_ARG", "prm_kiv_qos", c.name)));
        EXPECT_EQ(standin::live_blocks(), 0u);
        ++mode;
    }
}

}  // namespace
