// QoS cases: traffic-manager policies, TCAM entries that point at them, and requests that are wrong on
// purpose.
#include "prm_kiv_qos.h"

#include "../tcam_hardware.h"

namespace {

using standin::Bytes;
using standin::RecordBuilder;
using standin::run;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

constexpr uint64_t kVmrId = 0x1234AB0055667788;
constexpr uint32_t kPolicerId = 0x5A, kStatsId = 0x20000A01;  // the flag of the statistics id is set
constexpr uint16_t kProfile = 0x8001;
constexpr uint32_t kFailure = 0x1234;
constexpr uint32_t kInvalidArg = 0x457C2A00, kInvalidMsg = 0x457C2C00;

const char *const kNoMemory =
    "Error!!! Memory Allocation Failure under tc_kiv_tcam_allocate_and_offset_vmr \\n";
const char *const kNoRequest = "Memory allocation failure for g_tm_config_request!!!\\n";
const char *const kNoResponse = "Memory allocation failure for g_tm_config_response!!!\\n";
const char *const kNoPolicy = "Failed in creating stats/policers";

Lines operator+(Lines a, const Lines &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Lines line(const std::string &text) {
    return {print_text(text)};
}

std::string none(uint32_t code, const std::string &function) {
    return none_text(code, "prm_kiv_qos", function);
}

Lines tm_create(uint32_t code = 0) {
    if (code != 0) return {"call wyk_hal_wrapper_config_policy_in_tm", none(code, "tc_kiv_qos_tm_create")};
    return {"call wyk_hal_wrapper_config_policy_in_tm", print_text("stats id : 0x20000a01\\n"),
            print_text("police id : 0x5a 8001\\n"), none(0, "tc_kiv_qos_tm_create")};
}
Lines tm_destroy(uint32_t code = 0) {
    return {
        "call wyk_hal_wrapper_deallocate_nodes",
        print_text(code == 0 ? "Success in Deleting Stats/Policers \\n"
                             : "Failure in Deleting Stats/Policers rc: " + hex_text(code) + " Status: 1\\n"),
        none(code, "tc_kiv_qos_tm_destroy")};
}
Lines tcam_destroy(uint32_t code = 0) {
    return {"call zor_vop_prm_tcam_vmr_destroy",
            print_text(code == 0 ? "Success in QoS TCAM Destroy \\n"
                                 : "Failure in tc_kiv_qos_tcam_destroy. rc = " + hex_text(code) + "\\n"),
            none(code, "tc_kiv_qos_tcam_destroy")};
}

class QosTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        fresh();
    }

    // A stand-in that hands out a policy and a TCAM, releases nodes and reads back what was created.
    void fresh() {
        standin::reset();
        g_tm_config_request = nullptr;
        g_tm_config_response = nullptr;
        hardware = TcamHardware();
        hardware.install(kVmrId);
        standin::on("wyk_hal_wrapper_config_policy_in_tm").does([](standin::Call &call) {
            if (call.answer != 0) return;
            for (size_t i = 0; i < call.arguments.at(2); ++i) {
                call.put<uint32_t>(1, 124 + 260 * i + 156, kPolicerId + static_cast<uint32_t>(i));
                call.put<uint32_t>(1, 124 + 260 * i + 160, kStatsId + static_cast<uint32_t>(i));
                call.put<uint16_t>(1, 124 + 260 * i + 176, kProfile);
            }
        });
        standin::on("wyk_hal_wrapper_deallocate_nodes").does([](standin::Call &call) {
            *call.pointer<uint32_t>(1) = 1;
        });
    }

    Lines with_failing_call(kiv_function_t function, int nth) {
        fresh();
        standin::fail_call(nth, kFailure);
        run(function);
        return outline_without_lines();
    }
    Lines with_failing_allocation(kiv_function_t function, int nth) {
        fresh();
        standin::fail_allocation(nth);
        run(function);
        return outline_without_lines();
    }

    TcamHardware hardware;
};

// --- Traffic manager

class QosTmTest : public QosTest {
  protected:
    wyk_hal_ids *create(u32 n, u16 kind = 0, u32 mode = 0, u32 first = 0, u32 second = 0) {
        wyk_hal_ids *entry = nullptr;
        run([&] {
            entry = tc_kiv_qos_tm_create(n, kind, mode, first, second);
            return 0;
        });
        return entry;
    }
    void release() {
        run([&] {
            prm_kiv_qos_release_tm_config();
            return 0;
        });
    }
};

TEST_F(QosTmTest, EveryPolicyOfARequestHasTheSameValues) {
    wyk_hal_ids *const last = create(2, 0x8F00, 1, 80, 1600);
    const standin::Event call = standin::calls().at(0);
    EXPECT_EQ(call.record(), RecordBuilder(992)
                                 .u32_at(8, 2)
                                 .u16_at(130, 0x8F00)
                                 .u32_at(456, 1)
                                 .u32_at(464, 1)
                                 .u32_at(468, 80)
                                 .u32_at(472, 1600)
                                 .u16_at(562, 0x8F00)
                                 .u32_at(888, 1)
                                 .u32_at(896, 1)
                                 .u32_at(900, 80)
                                 .u32_at(904, 1600)
                                 .bytes());
    EXPECT_EQ(call.arguments.at(1).bytes, Bytes(644));
    EXPECT_EQ(call.arguments.at(2).number, 2u);
    EXPECT_EQ(reinterpret_cast<uint8_t *>(last), reinterpret_cast<uint8_t *>(g_tm_config_response) + 384);
    EXPECT_THAT(
        outline_without_lines(),
        ElementsAre("call wyk_hal_wrapper_config_policy_in_tm", print_text("stats id : 0x20000a01\\n"),
                    print_text("police id : 0x5a 8001\\n"), print_text("stats id : 0x20000a02\\n"),
                    print_text("police id : 0x5b 8001\\n"), none(0, "tc_kiv_qos_tm_create")));
    release();
    EXPECT_EQ(standin::live_blocks(), 0u);
    EXPECT_EQ(g_tm_config_request, nullptr);
    EXPECT_EQ(g_tm_config_response, nullptr);
}

TEST_F(QosTmTest, NoPolicyIsSentAndGivesNull) {
    EXPECT_EQ(create(0), nullptr);
    EXPECT_EQ(standin::transcript().at(0), "call wyk_hal_wrapper_config_policy_in_tm(128{}, 124{}, 0)");
    EXPECT_THAT(outline_without_lines(),
                ElementsAre("call wyk_hal_wrapper_config_policy_in_tm", none(0, "tc_kiv_qos_tm_create")));
    release();
}

TEST_F(QosTmTest, SizesAre16BitsAndPoliciesStayWithinTheBlock) {
    standin::on("wyk_hal_wrapper_config_policy_in_tm").does([](standin::Call &) {});
    wyk_hal_ids *const last = create(152, 0x8F00);  // 128 + 432 x 152 = 65536 + 256
    const standin::Event call = standin::calls().at(0);
    EXPECT_EQ(call.record(), RecordBuilder(256).u32_at(8, 152).bytes());
    EXPECT_EQ(call.arguments.at(1).bytes.size(), 124u + 260 * 152);
    EXPECT_EQ(call.arguments.at(2).number, 152u);
    EXPECT_EQ(reinterpret_cast<uint8_t *>(last),
              reinterpret_cast<uint8_t *>(g_tm_config_response) + 124 + 260 * 151);
    release();
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QosTmTest, ARefusedExchangeStaysInTheGlobals) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(create(1), nullptr);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(tm_create(kFailure)));
    EXPECT_EQ(standin::live_blocks(), 2u);
    EXPECT_NE(g_tm_config_request, nullptr);
    EXPECT_NE(g_tm_config_response, nullptr);
    release();
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QosTmTest, CreateWithoutMemoryIsToldAndNotChecked) {
    standin::fail_allocation(1);
    EXPECT_EQ(create(1), nullptr);
    EXPECT_THAT(standin::outline(), ElementsAreArray(line(kNoRequest)));
    EXPECT_EQ(g_tm_config_request, nullptr);

    fresh();
    standin::fail_allocation(2);
    EXPECT_EQ(create(1), nullptr);
    EXPECT_THAT(standin::outline(), ElementsAreArray(line(kNoResponse)));
    EXPECT_EQ(standin::live_blocks(), 0u);
    release();  // nothing is released twice
}

wyk_hal_ids ids() {
    wyk_hal_ids entry = {};
    entry.policer_id = kPolicerId;
    entry.stats_id = kStatsId;
    return entry;
}

void destroy(u32 n, int policer) {
    wyk_hal_ids entry = ids();
    run([&] {
        tc_kiv_qos_tm_destroy(n, &entry, policer);
        return 0;
    });
}

TEST_F(QosTmTest, NodesAreReleasedAsPolicers) {
    destroy(2, 1);
    EXPECT_EQ(standin::calls().at(0).record(), RecordBuilder(192)
                                                   .u32_at(28, 2)
                                                   .u8_at(84, 0xAA)
                                                   .u32_at(108, 0x5A01)
                                                   .u32_at(116, 0xA01)
                                                   .u8_at(136, 0xAA)
                                                   .u32_at(160, 0x5A01)
                                                   .u32_at(168, 0xA01)
                                                   .bytes());
    EXPECT_EQ(standin::calls().at(0).arguments.at(1).shown, "&0");
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(tm_destroy()));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QosTmTest, NodesAreReleasedAsCounters) {
    destroy(2, 0);
    EXPECT_EQ(standin::calls().at(0).record(), RecordBuilder(192)
                                                   .u32_at(28, 2)
                                                   .u8_at(84, 42)
                                                   .u8_at(128, 1)
                                                   .u32_at(132, kStatsId)
                                                   .u8_at(136, 42)
                                                   .u8_at(180, 1)
                                                   .u32_at(184, kStatsId)
                                                   .bytes());
}

TEST_F(QosTmTest, ReleaseSizesAre16Bits) {
    destroy(1260, 1);  // 88 + 52 x 1260 = 65536 + 72: room for the head alone
    EXPECT_EQ(standin::calls().at(0).record(), RecordBuilder(84).u32_at(28, 1260).bytes());
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QosTmTest, AZeroStatusWordIsToldAndPasses) {
    standin::on("wyk_hal_wrapper_deallocate_nodes").does([](standin::Call &) {});
    destroy(1, 1);
    EXPECT_THAT(outline_without_lines(),
                ElementsAre("call wyk_hal_wrapper_deallocate_nodes",
                            print_text("Failure in Deleting Stats/Policers rc: 0x0 Status: 0\\n"),
                            none(0, "tc_kiv_qos_tm_destroy")));
}

TEST_F(QosTmTest, AFailedReleaseIsToldAndFails) {
    standin::fail_call(1, kFailure);
    destroy(1, 1);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(tm_destroy(kFailure)));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QosTmTest, ReleaseWithoutMemoryIsToldAndNotChecked) {
    standin::fail_allocation(1);
    destroy(1, 1);
    EXPECT_THAT(standin::outline(), ElementsAreArray(line("Memory allocation failure for request_p!!!\\n")));
    fresh();
    standin::fail_allocation(2);
    destroy(1, 1);
    EXPECT_THAT(standin::outline(), ElementsAreArray(line("Memory allocation failure for response_p!!!\\n")));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

// --- Positive cases

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

// --- Negative cases

struct Negative {
    kiv_function_t function;
    const char *operation;
    const char *record;  // null: a null request
    uint32_t expected;
    const char *success, *failure, *check;
    bool buffers;
};

const char kNullFailure[] =
    "Failure in tc_kiv_qos_tcam_null_prm_info_ptr.                     rc = ";  // 21 blanks
const char kFeaFailure[] = "Failure in tc_kiv_qos_tcam_invalid_fea_id. rc = ";
const char kVmrFailure[] = "Failure in tc_kiv_qos_tcam_invalid_vmr_id. rc = ";
const char kNullCheck[] = "tc_kiv_qos_tcam_null_prm_info_ptr";
const char kFeaCheck[] = "tc_kiv_qos_tcam_invalid_fea_id";
const char kVmrCheck[] = "tc_kiv_qos_tcam_invalid_vmr_id";
const char kFea[] = "Success while sending invalid feature id \\n";

// clang-format off
const Negative kNegatives[] = {
    {tc_kiv_qos_tcam_create_null_info_ptr, "create", nullptr, kInvalidArg,
     "Success while sending NULL prm_info ptr \\n", kNullFailure, kNullCheck, false},
    {tc_kiv_qos_tcam_destroy_null_info_ptr, "destroy", nullptr, kInvalidArg,
     "Success while sending NULL prm_info ptr \\n", kNullFailure, kNullCheck, false},
    {tc_kiv_qos_tcam_create_invalid_fea_id, "create", "0:07 4:01 292:07 312:01 314:01 318:01 320:5c 322:37", kInvalidArg,
     kFea, kFeaFailure, kFeaCheck, true},
    {tc_kiv_qos_tcam_destroy_invalid_vmr_id, "destroy", "0:06 4:01 264:02 312:01 314:01 318:01 320:5c 322:37", kInvalidArg,
     "Success while sending invalid vmr id \\n", kVmrFailure, kVmrCheck, true},
    {tc_kiv_qos_tcam_create_null_vmr_ptr, "create", "0:06 4:01 312:01 314:01 320:5c 322:37", kInvalidArg,
     "Success while sending NULL value, mask, result ptr \\n",
     "Failure in tc_kiv_qos_tcam_create_null_vmr_ptr. rc = ", "tc_kiv_qos_tcam_create_null_vmr_ptr", false},
    {tc_kiv_qos_tcam_create_invalid_port_num, "create", "0:06 4:01 312:01 315:01 318:01 320:5c 322:37", kInvalidArg,
     "Success while sending invalid port numbers as 100 \\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_port_num. rc = ", "tc_kiv_qos_tcam_create_invalid_port_num", true},
    {tc_kiv_qos_tcam_create_invalid_value_mask_key_sz, "create", "0:06 4:01 312:01 314:01 322:37", kInvalidArg,
     "Success while sending invalid val, mask key size as 0\\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_value_mask_key_sz. rc = ",
     "tc_kiv_qos_tcam_create_invalid_value_mask_key_sz", true},
    {tc_kiv_qos_tcam_create_invalid_result_key_sz, "create", "0:06 4:01 312:01 314:01 320:5c", kInvalidArg,
     "Success while sending invalid result key size as 0 \\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_result_key_sz. rc = ",
     "tc_kiv_qos_tcam_create_invalid_result_key_sz", true},
    {tc_kiv_qos_tcam_create_invalid_nr_entries, "create", "0:06 4:01 312:01 314:01 320:5c 322:37", kInvalidArg,
     "Success while sending invalid number of ace entries as 0 \\n",
     "Failure in  tc_kiv_qos_tcam_create_invalid_nr_entries. rc = ",
     "tc_kiv_qos_tcam_create_invalid_nr_entries", true},
    {tc_kiv_qos_tcam_create_invalid_opcode, "create", "0:06 4:01 264:64 312:01 314:01 318:01 320:5c 322:37", kInvalidMsg,
     "Success while sending invalid operation code \\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_opcode. rc = ", "tc_kiv_qos_tcam_create_invalid_opcode", true},
};
// clang-format on

class QosNegativeTest : public QosTest {};

TEST_F(QosNegativeTest, EveryCaseSendsItsRecordAndTellsWhetherTheCodeIsTheOneExpected) {
    for (const Negative &n : kNegatives) {
        for (uint32_t code : {kInvalidArg, kInvalidMsg, 0u, kFailure}) {
            SCOPED_TRACE(std::string(n.check) + " answered " + hex_text(code));
            fresh();
            standin::fail_call(1, code);
            EXPECT_EQ(run(n.function), code == n.expected ? 1 : 0);
            EXPECT_THAT(
                outline_without_lines(),
                ElementsAre(
                    std::string("call zor_vop_prm_tcam_vmr_") + n.operation,
                    print_text(code == n.expected ? n.success : n.failure + hex_text(code) + "\\n"),
                    check_text(code, n.expected,
                               n.expected == kInvalidMsg ? "PRM_ERROR_INVALID_MSG" : "PRM_ERROR_INVALID_ARG",
                               "prm_kiv_qos", n.check)));
            EXPECT_EQ(standin::live_blocks(), 0u);

            const standin::Event call = standin::calls().at(0);
            if (n.record == nullptr) {
                EXPECT_EQ(call.line_text(),
                          std::string("call zor_vop_prm_tcam_vmr_") + n.operation + "(async, 0)");
                continue;
            }
            EXPECT_EQ(call.arguments.at(1).shown, std::string("384{") + n.record + "}");
            EXPECT_EQ(call.field<uint64_t>(352) != 0, n.buffers);
        }
    }
}

TEST_F(QosNegativeTest, WithoutMemoryACaseEndsWithTheMessageAlone) {
    for (const Negative &n : kNegatives) {
        if (!n.buffers) continue;
        EXPECT_THAT(with_failing_allocation(n.function, 1), ElementsAreArray(line(kNoMemory))) << n.check;
    }
}

TEST_F(QosNegativeTest, FamiliesTellAnOperationTheyDoNotHave) {
    struct Family {
        std::function<int(u32)> function;
        std::vector<uint32_t> unsupported;
        const char *failure, *check;
    };
    const Family families[] = {
        {tc_kiv_qos_tcam_null_prm_info_ptr, {1, 3, 4, 100}, kNullFailure, kNullCheck},
        {[](u32 opcode) { return tc_kiv_qos_tcam_invalid_fea_id(opcode, 5); },
         {1, 3, 4, 100},
         kFeaFailure,
         kFeaCheck},
        {tc_kiv_qos_tcam_invalid_vmr_id, {0, 1, 3, 4, 100}, kVmrFailure, kVmrCheck},
    };
    for (const Family &family : families) {
        for (uint32_t opcode : family.unsupported) {
            fresh();
            EXPECT_EQ(run([&] { return family.function(opcode); }), 0);
            EXPECT_THAT(outline_without_lines(),
                        ElementsAre(print_text("Error!!! Invalid opcode \\n"),
                                    print_text(family.failure + std::string("0x0\\n")),
                                    check_text(0, kInvalidArg, "PRM_ERROR_INVALID_ARG", "prm_kiv_qos",
                                               family.check)));
            EXPECT_EQ(standin::live_blocks(), 0u);
        }
    }
}

// The destroy case of the feature family: the TCAM's create, the spoilt destroy, the plain destroy.
class QosDestroyInvalidFeatureTest : public QosTest {
  protected:
    static constexpr kiv_function_t kCase = tc_kiv_qos_tcam_destroy_invalid_fea_id;

    static Lines judged(uint32_t code) {
        return {"call zor_vop_prm_tcam_vmr_destroy",
                print_text(code == kInvalidArg ? kFea : kFeaFailure + hex_text(code) + "\\n"),
                check_text(code, kInvalidArg, "PRM_ERROR_INVALID_ARG", "prm_kiv_qos", kFeaCheck)};
    }
    const Lines create_call = {"call zor_vop_prm_tcam_vmr_create"};
};

TEST_F(QosDestroyInvalidFeatureTest, SpoilsTheHandleAndThenDestroysThePlainOne) {
    standin::on("zor_vop_prm_tcam_vmr_destroy").returns_on(1, kInvalidArg);
    EXPECT_EQ(run(kCase), 1);
    EXPECT_THAT(outline_without_lines(),
                ElementsAreArray(tm_create() + create_call + judged(kInvalidArg) + tcam_destroy()));
    EXPECT_EQ(standin::calls().at(0).line_text(),
              "call wyk_hal_wrapper_config_policy_in_tm(560{8:01 464:01}, 384{}, 1)");
    EXPECT_EQ(standin::calls().at(1).line_text(),
              "call zor_vop_prm_tcam_vmr_create(async, 384{0:06 4:01 312:01 314:01 318:01 320:5c 322:37}) "
              "value 92{} mask 92{} result 55{44:010a 47:20}");
    EXPECT_EQ(standin::calls().at(2).line_text(),
              "call zor_vop_prm_tcam_vmr_destroy(async, 384{0:07 4:01 264:02 288:8877665507ab 312:01 314:01 "
              "318:01 320:5c 322:37}) value 92{} mask 92{} result 55{}");
    EXPECT_EQ(standin::calls().at(3).line_text(),
              "call zor_vop_prm_tcam_vmr_destroy(async, 384{0:06 4:01 288:88776655 293:ab3412 312:01 314:01 "
              "318:01 320:5c 322:37}) value 0{} mask 0{} result 0{}");
    EXPECT_EQ(standin::live_bytes(), 239u);  // the create's key buffers stay
    EXPECT_EQ(g_tm_config_request, nullptr);
    EXPECT_EQ(g_tm_config_response, nullptr);
}

TEST_F(QosDestroyInvalidFeatureTest, GoesOnAsFarAsItsCallsAllow) {
    EXPECT_THAT(with_failing_call(kCase, 1), ElementsAreArray(tm_create(kFailure) + line(kNoPolicy)));
    EXPECT_EQ(standin::live_blocks(), 3u);
    EXPECT_THAT(with_failing_call(kCase, 2), ElementsAreArray(tm_create() + create_call));
    EXPECT_EQ(standin::live_bytes(), 239u);
    EXPECT_EQ(g_tm_config_request, nullptr);
    EXPECT_THAT(with_failing_call(kCase, 3),
                ElementsAreArray(tm_create() + create_call + judged(kFailure) + tcam_destroy()));
    EXPECT_THAT(with_failing_call(kCase, 4),
                ElementsAreArray(tm_create() + create_call + judged(0) + tcam_destroy(kFailure)));
}

TEST_F(QosDestroyInvalidFeatureTest, WithoutMemory) {
    EXPECT_THAT(with_failing_allocation(kCase, 1), ElementsAreArray(line(kNoMemory)));
    EXPECT_THAT(with_failing_allocation(kCase, 2), ElementsAreArray(line(kNoRequest) + line(kNoPolicy)));
    EXPECT_THAT(with_failing_allocation(kCase, 3), ElementsAreArray(line(kNoResponse) + line(kNoPolicy)));
    EXPECT_EQ(standin::live_bytes(), 239u);
    EXPECT_THAT(with_failing_allocation(kCase, 4),
                ElementsAreArray(tm_create() + create_call + line(kNoMemory) + tcam_destroy()));
}

}  // namespace
