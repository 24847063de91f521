// QoS, traffic manager: policies and the release of their nodes.
#include "tests/suite/qos/qos_lines.h"

namespace {

using namespace qos_test;

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

}  // namespace
