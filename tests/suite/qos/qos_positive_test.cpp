// QoS cases that program a TCAM entry: keys, policies, read-back and clean-up.
#include "tests/suite/qos/qos_lines.h"

namespace {

using namespace qos_test;

struct Positive {
    kiv_function_t function;
    const char *name;
    bool family_check;
    const char *value, *mask, *result;
    const char *request;  // to the traffic manager
    bool policer;
    std::vector<const char *> read_back;  // what the comparison tells
    const char *success, *failure;
};

#define QOS_CASE(name) tc_kiv_qos_##name, "tc_kiv_qos_" #name
#define STATS "44:010a 47:20}"
#define POLICER "36:5a 44:010a 47:20}"
#define CONFORM                                                                                 \
    "Police Conform Mark Opcode1", "Police Conform Mark Value1", "Police Conform Mark Opcode2", \
        "Police Conform Mark Value2"
#define EXCEED                                                                                  \
    "Police Exceed Mark Opcode1", "Police Exceed Marking Value1", "Police Exceed Mark Opcode2", \
        "Police Exceed Marking Value2"

const std::vector<Positive> &positives() {
    static const char counter[] = "560{8:01 464:01}";
    static const char policer[] = "560{8:01 131:8f 464:01 468:50 472:4006}";
    static const char mode1[] = "560{8:01 131:8f 456:01 464:01 468:50 472:4006}";
    static const char pps[] = "560{8:01 131:8f 456:01 464:01 468:64 472:64}";
    // clang-format off
    static const std::vector<Positive> rows = {
        {QOS_CASE(stats_create), false, "92{}", "92{}", "55{" STATS, counter, false, {"Stats ID"},
         "Success in QoS stats create \\n", "Failure in tc_kiv_qos_stats_create. rc = 0x1234\\n"},
        {QOS_CASE(police_create), false, "92{}", "92{}", "55{1:20 7:08 " POLICER, policer, true,
         {"Stats ID", "Token Bucket ID"},
         "Success in QoS Policer create \\n", "Failure in tc_kiv_qos_police_create. rc = 0x1234\\n"},
        {QOS_CASE(police_create_for_pps), false, "92{}", "92{}", "55{1:20 7:08 " POLICER, pps, true,
         {"Stats ID", "Token Bucket ID"},
         "Success in QoS Policer PPS create \\n", "Failure in tc_kiv_qos_police_create_for_pps. rc = 0x1234\\n"},
        {QOS_CASE(tcam_cos_create), false, "92{7:01}", "92{7:07}", "55{1:20 7:18530102 " POLICER, policer, true,
         {"VLAN COS", "Stats ID", "Token Bucket ID", CONFORM},
         "Success in QoS-cos create \\n", "Failure in tc_kiv_qos_tcam_cos_create. rc = 0x1234\\n"},
        {QOS_CASE(tcam_prec_create), false, "92{32:40}", "92{3:03 32:e0}", "55{1:20 7:14530102530304 " POLICER,
         mode1, true, {"TOS EXP", "Stats ID", "Token Bucket ID", CONFORM, EXCEED},
         "Success in QoS-prec create \\n", "Failure in tc_kiv_qos_tcam_cos_create. rc = 0x1234\\n"},
        {QOS_CASE(tcam_protocol_create), true, "92{3:01 27:59}", "92{3:03 27:ff}", "55{1:20 7:18530102 " POLICER,
         policer, true, {"Protocol", "Stats ID", "Token Bucket ID", CONFORM},
         "Success in QoS-protocol create \\n", "Failure in tc_kiv_qos_tcam_proto_create. rc = 0x1234\\n"},
        {QOS_CASE(tcam_exp_create), false, "92{3:02 32:02}", "92{3:03 32:07}", "55{1:20 7:14530102530304 " POLICER,
         mode1, true, {"TOS EXP", "Stats ID", "Token Bucket ID", CONFORM, EXCEED},
         "Success in QoS-exp create \\n", "Failure in tc_kiv_qos_tcam_exp_create. rc = 0x1234\\n"},
        {QOS_CASE(tcam_acl1_create), true, "92{26:80 28:01 40:e803 43:d007 46:01010101 62:02020202}",
         "92{3:03 26:40 28:ff 40:ffff 43:ffff 46:ffffffff 62:ffffffff}", "55{1:10 8:530102 " STATS, counter, false,
         {"SrcIP", "DstIP", "SrcPort", "DstPort", "TCP Flags", "TCP Value", "Stats ID", CONFORM},
         "Success in QOS ACL1 Create \\n", "Failure in tc_kiv_qos_tcam_acl1_create. rc = 0x1234\\n"},
        {QOS_CASE(tcam_acl2_create), true, "92{3:01 26:40 58:03030303 74:04040404}",
         "92{3:03 26:40 58:ffffffff 74:ffffffff}", "55{1:10 8:530304 " STATS, counter, false,
         {"SrcIP", "DstIP", "Fragment Value", "Stats ID", CONFORM},
         "Success in QOS ACL2 Create \\n", "Failure in tc_kiv_qos_tcam_acl2_create. rc = 0x1234\\n"},
    };
    // clang-format on
    return rows;
}

Lines family_check(const Positive &p) {
    if (!p.family_check) return {};
    return {"call platform_get_my_card_type", "call is_veltora_family"};
}

Lines created(const Positive &p) {
    return {"call zor_vop_prm_tcam_vmr_create", print_text(p.success)};
}

Lines read_back(const Positive &p) {
    Lines lines = {"call zor_vop_prm_tcam_vmr_read", none_text(0, "prm_kiv_tcam", "tc_kiv_tcam_verify")};
    for (const char *field : p.read_back)
        lines.push_back(print_text(std::string(field) + " inserted correctly\\n"));
    lines.push_back(check_text(1, 1, "TRUE", "prm_kiv_tcam", "tc_kiv_tcam_validate_vmr"));
    return lines;
}

Lines passed(const Positive &p) {
    return {none(0, p.name)};
}

class QosPositiveTest : public QosTest {};

TEST_F(QosPositiveTest, EveryCaseRunsItsFrame) {
    EXPECT_EQ(positives().size(), 9u);
    for (const Positive &p : positives()) {
        SCOPED_TRACE(p.name);
        fresh();
        EXPECT_EQ(run(p.function), 1);
        EXPECT_THAT(outline_without_lines(),
                    ElementsAreArray(family_check(p) + tm_create() + created(p) + read_back(p) + passed(p) +
                                     tcam_destroy() + tm_destroy()));
        EXPECT_EQ(standin::live_blocks(), 0u);
        EXPECT_EQ(g_tm_config_request, nullptr);
        EXPECT_EQ(g_tm_config_response, nullptr);
    }
}

TEST_F(QosPositiveTest, EveryCaseSendsItsRecords) {
    for (const Positive &p : positives()) {
        SCOPED_TRACE(p.name);
        fresh();
        standin::on("platform_get_my_card_type").block(0, 16);
        run(p.function);
        if (p.family_check) {
            EXPECT_EQ(standin::transcript().at(0), "call platform_get_my_card_type(16{})");
        }
        EXPECT_EQ(standin::calls("wyk_hal_wrapper_config_policy_in_tm").at(0).line_text(),
                  std::string("call wyk_hal_wrapper_config_policy_in_tm(") + p.request + ", 384{}, 1)");
        EXPECT_EQ(
            standin::calls("zor_vop_prm_tcam_vmr_create").at(0).line_text(),
            std::string("call zor_vop_prm_tcam_vmr_create(async, 384{0:06 4:01 312:01 314:01 318:01 320:5c "
                        "322:37}) value ") +
                p.value + " mask " + p.mask + " result " + p.result);
        EXPECT_EQ(
            standin::calls("zor_vop_prm_tcam_vmr_read").at(0).line_text(),
            "call zor_vop_prm_tcam_vmr_read(async, 384{0:06 288:88776655 293:ab3412 318:01 320:5c 322:37}) "
            "value 92{} mask 92{} result 55{}");
        // The create code, not the destroy code.
        EXPECT_EQ(
            standin::calls("zor_vop_prm_tcam_vmr_destroy").at(0).line_text(),
            "call zor_vop_prm_tcam_vmr_destroy(async, 384{0:06 4:01 288:88776655 293:ab3412 312:01 314:01 "
            "318:01 320:5c 322:37}) value 0{} mask 0{} result 0{}");
        EXPECT_EQ(standin::calls("wyk_hal_wrapper_deallocate_nodes").at(0).line_text(),
                  std::string("call wyk_hal_wrapper_deallocate_nodes(") +
                      (p.policer ? "140{28:01 84:aa 108:015a 116:010a}"
                                 : "140{28:01 84:2a 128:01 132:010a 135:20}") +
                      ", &0)");
    }
}

TEST_F(QosPositiveTest, EveryCaseGoesOnAsFarAsItsCallsAllow) {
    for (const Positive &p : positives()) {
        SCOPED_TRACE(p.name);
        const Lines family = family_check(p);
        const int first = static_cast<int>(family.size());
        const Lines whole =
            family + tm_create() + created(p) + read_back(p) + passed(p) + tcam_destroy() + tm_destroy();
        if (p.family_check) {
            EXPECT_THAT(with_failing_call(p.function, 1),
                        ElementsAreArray(whole));  // the type is not looked at
            EXPECT_THAT(with_failing_call(p.function, 2),
                        ElementsAreArray(family + line("This tc is not applicable in Quennick\\n")));
            EXPECT_EQ(standin::live_blocks(), 0u);
        }
        EXPECT_THAT(with_failing_call(p.function, first + 1),
                    ElementsAreArray(family + tm_create(kFailure) + line(kNoPolicy)));
        EXPECT_EQ(standin::live_blocks(), 3u);  // the key buffers and the exchange stay
        EXPECT_NE(g_tm_config_request, nullptr);
        EXPECT_NE(g_tm_config_response, nullptr);

        EXPECT_THAT(with_failing_call(p.function, first + 2),
                    ElementsAreArray(family + tm_create() +
                                     Lines{"call zor_vop_prm_tcam_vmr_create", print_text(p.failure),
                                           none(kFailure, p.name)}));
        EXPECT_EQ(standin::live_blocks(), 0u);
        EXPECT_EQ(g_tm_config_request, nullptr);
        EXPECT_EQ(g_tm_config_response, nullptr);

        EXPECT_THAT(
            with_failing_call(p.function, first + 3),
            ElementsAreArray(family + tm_create() + created(p) + Lines{"call zor_vop_prm_tcam_vmr_read"} +
                             line("tc_kiv_tcam_verify: Failure in getting info from h/w\\n") + passed(p) +
                             tcam_destroy() + tm_destroy()));
        EXPECT_THAT(with_failing_call(p.function, first + 4),
                    ElementsAreArray(family + tm_create() + created(p) + read_back(p) + passed(p) +
                                     tcam_destroy(kFailure) + tm_destroy()));
        EXPECT_THAT(with_failing_call(p.function, first + 5),
                    ElementsAreArray(family + tm_create() + created(p) + read_back(p) + passed(p) +
                                     tcam_destroy() + tm_destroy(kFailure)));
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

TEST_F(QosPositiveTest, EveryCaseWithoutMemory) {
    for (const Positive &p : positives()) {
        SCOPED_TRACE(p.name);
        const Lines family = family_check(p);
        const auto failing = [&](int nth) { return with_failing_allocation(p.function, nth); };
        EXPECT_THAT(failing(1), ElementsAreArray(family + line(kNoMemory)));
        EXPECT_EQ(standin::live_blocks(), 0u);
        EXPECT_THAT(failing(2), ElementsAreArray(family + line(kNoRequest) + line(kNoPolicy)));
        EXPECT_EQ(standin::live_blocks(), 1u);  // the key buffers stay
        EXPECT_THAT(failing(3), ElementsAreArray(family + line(kNoResponse) + line(kNoPolicy)));
        EXPECT_EQ(standin::live_blocks(), 1u);
        const Lines up = family + tm_create() + created(p);
        EXPECT_THAT(failing(4),
                    ElementsAreArray(up + line(kNoMemory) + passed(p) + tcam_destroy() + tm_destroy()));
        EXPECT_THAT(failing(5), ElementsAreArray(up + read_back(p) + passed(p) + tcam_destroy() +
                                                 line("Memory allocation failure for request_p!!!\\n")));
        EXPECT_THAT(failing(6), ElementsAreArray(up + read_back(p) + passed(p) + tcam_destroy() +
                                                 line("Memory allocation failure for response_p!!!\\n")));
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

TEST_F(QosPositiveTest, ACaseReturnsTheResultOfItsLastCheck) {
    const int results[] = {0, 0, 1, 1, 0};
    for (int nth = 1; nth <= 5; ++nth) {
        fresh();
        standin::fail_call(nth, kFailure);
        EXPECT_EQ(run(tc_kiv_qos_police_create), results[nth - 1]) << nth;
    }
    fresh();
    standin::fail_call(4, kFailure);  // the destroy's check is the last one without memory for the release
    standin::fail_allocation(5);
    EXPECT_EQ(run(tc_kiv_qos_police_create), 0);
}

}  // namespace
