// Egress traffic manager: the steps of the strict-priority queues, one by one and as a chain.
#include "tests/suite/queue/queue_lines.h"

namespace {

using namespace queue_test;

TEST_F(QueueTest, DefaultQueueIsNamedByThePortCountedFromZero) {
    struct {
        uint32_t port, index;
    } const rows[] = {{1, 0}, {81, 80}, {0x105, 4}, {0x100, 0xFFFFFFFF}};
    for (const auto &row : rows) {
        fresh();
        EXPECT_EQ(code([&] { return kiv_queue_allocate_def_q_req(row.port); }), 0u);
        EXPECT_THAT(outline_without_lines(), ElementsAreArray(default_queue()));
        const standin::Event call = standin::calls().at(0);
        EXPECT_EQ(call.arguments.at(0).number, 0u);
        EXPECT_EQ(call.record(),
                  RecordBuilder(12).u32_at(0, row.index).u32_at(4, 1).u32_at(8, 100000000).bytes());
        EXPECT_EQ(call.arguments.at(2).bytes, Bytes(208));
    }
    fresh();
    standin::fail_call(1, kFailure);
    EXPECT_EQ(code([&] { return kiv_queue_allocate_def_q_req(1); }), kFailure);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(default_queue(kFailure)));
}

TEST_F(QueueTest, QueueHandlesAreAskedForPerItem) {
    EXPECT_EQ(code([&] { return kiv_queue_get_result_req(0, 2, 0x151); }), 0u);
    const standin::Event call = standin::calls().at(0);
    EXPECT_EQ(call.record(), RecordBuilder(108)
                                 .u32_at(0, 2)
                                 .u8_at(4, 0x40)
                                 .u16_at(16, 0x51)
                                 .u8_at(56, 0x40)
                                 .u16_at(68, 0x51)
                                 .bytes());
    EXPECT_EQ(call.arguments.at(1).bytes, Bytes(528));
    EXPECT_THAT(outline_without_lines(),
                ElementsAre(print_text("Get Result Case: 0\\n"), "call wyk_hal_wrapper_get_result",
                            print_text("fid0: 0x11 commit_tx 0x22 drop 0x33 \\n"),
                            print_text("fid0: 0x12 commit_tx 0x23 drop 0x34 \\n"),
                            none(0, "kiv_queue_get_result_req")));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QueueTest, PolicerHandlesAreAskedForOnce) {
    code([&] { return kiv_queue_get_result_req(1, 2, 1); });
    EXPECT_EQ(standin::calls().at(0).record(),
              RecordBuilder(108).u32_at(0, 2).u8_at(4, 0x80).u32_at(36, 10).bytes());
    EXPECT_THAT(
        outline_without_lines(),
        ElementsAre(print_text("Get Result Case: 1\\n"), "call wyk_hal_wrapper_get_result",
                    print_text("Tknbkt: -16 Profile: 65520 Confirm: 0x55 Exceed: 0x66 Violate: 0x77\\n"),
                    print_text("Tknbkt: -15 Profile: 65520 Confirm: 0x56 Exceed: 0x67 Violate: 0x78\\n"),
                    none(0, "kiv_queue_get_result_req")));
}

TEST_F(QueueTest, ResultsOfNoItemAndOfAnUnknownKindAreAskedForAndNotTold) {
    for (int which : {0, 1, 2}) {
        fresh();
        EXPECT_EQ(code([&] { return kiv_queue_get_result_req(which, 0, 1); }), 0u);
        EXPECT_EQ(standin::transcript().at(1), "call wyk_hal_wrapper_get_result(4{}, 8{})");
        EXPECT_EQ(standin::log().size(), 3u);
    }
    fresh();
    code([&] { return kiv_queue_get_result_req(2, 1, 1); });
    EXPECT_EQ(standin::transcript().at(1), "call wyk_hal_wrapper_get_result(56{0:01}, 268{})");
    EXPECT_EQ(standin::log().size(), 3u);
}

TEST_F(QueueTest, ResultSizesAre16Bits) {
    standin::on("wyk_hal_wrapper_get_result").does([](standin::Call &) {});
    code([&] { return kiv_queue_get_result_req(0, 1261, 1); });  // 4 + 52 x 1261 = 65536 + 40
    const standin::Event call = standin::calls().at(0);
    EXPECT_EQ(call.record(), RecordBuilder(40).u32_at(0, 1261).bytes());
    EXPECT_EQ(call.arguments.at(1).bytes.size(), (8u + 260 * 1261) % 65536);
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QueueTest, FailedResultsAreCheckedAndNotTold) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(code([&] { return kiv_queue_get_result_req(0, 4, 1); }), kFailure);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(results(kFailure)));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QueueTest, ResultsWithoutMemoryAre12AndNotChecked) {
    for (int nth : {1, 2}) {
        fresh();
        standin::fail_allocation(nth);
        EXPECT_EQ(code([&] { return kiv_queue_get_result_req(0, 4, 1); }), 12u);
        EXPECT_THAT(standin::outline(),
                    ElementsAreArray(line(nth == 1 ? "Memory allocation failure for request_p!!!\\n"
                                                   : "Memory allocation failure for response_p!!!\\n")));
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

// The classes of a request: groups, and the default class's scheduling.
void put_classes(RecordBuilder &record, int mode) {
    for (uint32_t i = 0; i < 8; ++i) {
        const size_t c = 128 + 432 * i, shaper = 152 + 432 * i;
        if (mode > 5) record.u8_at(c + 4, 1);
        record.u16_at(c + 8, 7 - i);
        record.u32_at(c + 12, priority_of(mode, i) * (mode < 3));
        record.u32_at(shaper + 4, (mode < 3 ? 148 : 0) | (i == 7 ? 1 : 0));
        if (i == 7) record.u32_at(shaper + 20, 2);
        record.u32_at(shaper + 60, i == 7 ? 62500 : 1250000);
    }
}

TEST_F(QueueTest, ConfigurationGivesOutPriorities) {
    for (int mode : {0, 1, 2}) {
        SCOPED_TRACE(mode);
        fresh();
        EXPECT_EQ(code([&] { return kiv_queue_config_tm_req(mode, 41); }), 0u);
        RecordBuilder expected(3584);
        expected.u32_at(0, 0x800002).u32_at(4, 4224).u32_at(8, 8).u32_at(100, 41).u32_at(108, 1);
        put_classes(expected, mode);
        const standin::Event call = standin::calls().at(0);
        EXPECT_EQ(call.record(), expected.bytes());
        EXPECT_EQ(call.arguments.at(1).bytes, Bytes(2204));
        EXPECT_EQ(call.arguments.at(2).number, 0u);
        EXPECT_THAT(outline_without_lines(), ElementsAreArray(configuration(mode)));
        for (uint32_t i = 0; i < 8; ++i)
            EXPECT_THAT(g_stats_id[i], ElementsAre(stats_id(i), commit_id(i), drop_id(i), queue_id(i)));
        EXPECT_EQ(standin::live_blocks(), 2u);
        release();
    }
}

TEST_F(QueueTest, ConfigurationsToBeRefusedGiveTheStatusWord) {
    const auto head = [](int mode) {
        RecordBuilder record(3584);
        switch (mode) {
            case 3:
                record.u32_at(92, 2);
                break;
            case 4:
                record.u16_at(80, 1);
                break;
            case 5:
                record.u32_at(64, 1);
                break;
            case 6:
                record.u32_at(8, 8);
                break;
            case 7:
                record.u32_at(8, 8).u32_at(108, 1);
                break;
        }
        put_classes(record, mode);
        return record.bytes();
    };
    for (int mode : {3, 4, 5, 6, 7}) {
        for (uint32_t word : {21u, 0u}) {
            SCOPED_TRACE(mode);
            fresh();
            verdict = word;
            EXPECT_EQ(code([&] { return kiv_queue_config_tm_req(mode, 1); }), word);
            EXPECT_EQ(standin::calls().at(0).record(), head(mode));
            EXPECT_EQ(standin::log().size(), 1u);
            EXPECT_EQ(g_stats_id[0][0], 0u);
            release();
        }
    }
}

TEST_F(QueueTest, AFailedConfigurationGivesItsCode) {
    for (int mode = 0; mode < 8; ++mode) {
        fresh();
        verdict = 21;
        standin::fail_call(1, kFailure);
        EXPECT_EQ(code([&] { return kiv_queue_config_tm_req(mode, 1); }), kFailure);
        EXPECT_THAT(outline_without_lines(), ElementsAre("call wyk_hal_wrapper_config_policy_in_tm"));
        EXPECT_EQ(standin::live_blocks(), 2u);
        release();
    }
}

TEST_F(QueueTest, ConfigurationWithoutMemoryIs12) {
    for (int nth : {1, 2}) {
        fresh();
        standin::fail_allocation(nth);
        EXPECT_EQ(code([&] { return kiv_queue_config_tm_req(0, 1); }), 12u);
        EXPECT_THAT(
            standin::outline(),
            ElementsAreArray(line(nth == 1 ? "Memory allocation failure for g_tm_config_request!!!\\n"
                                           : "Memory allocation failure for g_tm_config_response!!!\\n")));
        EXPECT_EQ(standin::live_blocks(), 0u);
        EXPECT_EQ(g_tm_config_request, nullptr);
        EXPECT_EQ(g_tm_config_response, nullptr);
    }
}

void set_ids() {
    for (uint32_t i = 0; i < 8; ++i) {
        const uint32_t ids[] = {stats_id(i), commit_id(i), drop_id(i), queue_id(i)};
        std::memcpy(g_stats_id[i], ids, sizeof ids);
    }
}

TEST_F(QueueTest, CountersAreReadForThreeIdsOfEachClass) {
    set_ids();
    EXPECT_EQ(code(kiv_queue_get_stats_hal_req), 0u);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(counters()));
    const std::vector<standin::Event> calls = standin::calls();
    ASSERT_EQ(calls.size(), 24u);
    EXPECT_EQ(calls[22].record(), RecordBuilder(8).u32_at(0, 1).u32_at(4, commit_id(7)).bytes());
    for (const standin::Event &call : calls) EXPECT_EQ(call.arguments.at(1).bytes, Bytes(24));
}

TEST_F(QueueTest, TheFirstFailedCounterIsCheckedToldAndEndsTheStep) {
    for (int failing = 0; failing < 24; ++failing) {
        fresh();
        set_ids();
        standin::fail_call(failing + 1, kFailure);
        EXPECT_EQ(code(kiv_queue_get_stats_hal_req), kFailure);
        EXPECT_THAT(outline_without_lines(), ElementsAreArray(counters(failing)));
    }
}

TEST_F(QueueTest, DepthsAreReadForEachQueue) {
    set_ids();
    EXPECT_EQ(code(kiv_queue_get_q_depth_req), 0u);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(depths()));
    EXPECT_EQ(standin::transcript().at(3), "call wyk_hal_wrapper_get_queue_depth(24{20:0104}, 4{})");
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(QueueTest, TheFirstFailedDepthIsToldAndNotChecked) {
    for (uint32_t failing = 0; failing < 8; ++failing) {
        fresh();
        set_ids();
        standin::fail_call(static_cast<int>(failing) + 1, kFailure);
        EXPECT_EQ(code(kiv_queue_get_q_depth_req), kFailure);
        EXPECT_THAT(outline_without_lines(), ElementsAreArray(depths(failing)));
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

TEST_F(QueueTest, DepthsWithoutMemoryAre12AndNotChecked) {
    for (int nth : {1, 2, 3, 16}) {
        fresh();
        set_ids();
        standin::fail_allocation(nth);
        EXPECT_EQ(code(kiv_queue_get_q_depth_req), 12u);
        EXPECT_EQ(standin::outline().back(),
                  print_text(nth % 2 == 1 ? "Memory allocation failure for queue_depth_req!!!\\n"
                                          : "Memory allocation failure for queue_depth!!!\\n"));
        EXPECT_EQ(standin::calls().size(), static_cast<size_t>(nth - 1) / 2);
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

// --- The chain

TEST_F(QueueTest, TheChainPassesEachStepButTheConfiguration) {
    for (int mode : {0, 1, 2}) {
        fresh();
        EXPECT_EQ(code([&] { return tc_kiv_qos_sp_queue_create(mode, 1); }), 0u);
        EXPECT_THAT(outline_without_lines(), ElementsAreArray(chain(mode)));
        release();
    }
}

TEST_F(QueueTest, TheChainEndsAtItsFirstFailedCall) {
    for (int nth = 1; nth <= 35; ++nth) {
        SCOPED_TRACE(nth);
        fresh();
        standin::fail_call(nth, kFailure);
        EXPECT_EQ(code([&] { return tc_kiv_qos_sp_queue_create(0, 1); }), kFailure);
        EXPECT_THAT(outline_without_lines(), ElementsAreArray(failed_chain(nth)));
        release();
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

TEST_F(QueueTest, TheChainWithoutMemoryEndsWith12) {
    const std::string lines[] = {"Failure in Getting Result Request rc: 0xc\\n",
                                 "Failure in Configuring TM Request rc: 0xc\\n",
                                 "Failure in Getting Queue Depth rc: 0xc\\n"};
    for (int nth = 1; nth <= 20; ++nth) {
        SCOPED_TRACE(nth);
        fresh();
        standin::fail_allocation(nth);
        EXPECT_EQ(code([&] { return tc_kiv_qos_sp_queue_create(0, 1); }), 12u);
        EXPECT_EQ(standin::outline().back(), print_text(lines[nth < 3 ? 0 : nth < 5 ? 1 : 2]));
        release();
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

class QueueVerifyTest : public QueueTest {
  protected:
    // The events of a verification of a configured port.
    Lines verify(int mode, uint32_t call_code = 0) {
        code([&] { return kiv_queue_config_tm_req(mode, 1); });
        const size_t before = standin::log().size();
        if (call_code != 0) standin::on("wyk_hal_wrapper_get_config").returns(call_code);
        returned = code([&] { return tc_kiv_qos_sp_queue_verify(300); });
        Lines lines = outline_without_lines();
        lines.erase(lines.begin(), lines.begin() + static_cast<long>(before));
        release();
        return lines;
    }
    uint32_t returned = 0;
};

TEST_F(QueueVerifyTest, LevelsAndTheDefaultClassAreTold) {
    for (int mode : {0, 1, 2}) {
        fresh();
        EXPECT_THAT(verify(mode), ElementsAreArray(verification(mode)));
        EXPECT_EQ(returned, 0u);
    }
    RecordBuilder expected(424);
    expected.u32_at(0, 8);
    for (uint32_t i = 0; i < 8; ++i)
        expected.u8_at(8 + 52 * i, 0x40).u32_at(24 + 52 * i, 300).u32_at(28 + 52 * i, 7 - i);
    const standin::Event call = standin::calls("wyk_hal_wrapper_get_config").back();
    EXPECT_EQ(call.record(), expected.bytes());
    EXPECT_EQ(call.arguments.at(1).bytes, Bytes(4232));
}

TEST_F(QueueVerifyTest, AWrongLevelIsToldAndPasses) {
    for (uint32_t i = 0; i < 7; ++i) {
        fresh();
        wrong_level = i;
        Lines expected = verification(0);
        expected[9 + i] = print_text("Strict Priority (level: " + std::to_string(i + 4) +
                                     ") is not configured for class " + std::to_string(i) + " of qos-group " +
                                     std::to_string(7 - i) + ", pri " + std::to_string(i + 1) + "\\n");
        EXPECT_THAT(verify(0), ElementsAreArray(expected));
        EXPECT_EQ(returned, 0u);
    }
}

TEST_F(QueueVerifyTest, AWrongDefaultClassIsToldAndPasses) {
    struct {
        uint32_t mode;
        uint16_t weight;
    } const rows[] = {{1, 1}, {2, 0}, {2, 2}, {0, 0}};
    for (const auto &row : rows) {
        fresh();
        bandwidth_mode = row.mode;
        weight = row.weight;
        Lines expected = verification(0);
        expected[16] = print_text("BWRR isn't config crrtly on def-class's SP mode " +
                                  std::to_string(row.mode) + " weight " + std::to_string(row.weight) + "\\n");
        EXPECT_THAT(verify(0), ElementsAreArray(expected));
    }
}

TEST_F(QueueVerifyTest, AnUnreadConfigurationIsToldAndPasses) {
    for (uint32_t status : {0u, 2u}) {
        fresh();
        config_status = status;
        EXPECT_THAT(verify(0), ElementsAreArray(failed_verification(0, 0)));
        EXPECT_EQ(returned, 0u);
    }
}

TEST_F(QueueVerifyTest, AFailedCallIsToldAndFails) {
    EXPECT_THAT(verify(0, kFailure), ElementsAreArray(failed_verification(0)));
    EXPECT_EQ(returned, kFailure);
}

TEST_F(QueueVerifyTest, WithoutAConfigurationThereIsNothingToCompare) {
    EXPECT_EQ(code([&] { return tc_kiv_qos_sp_queue_verify(1); }), 12u);
    EXPECT_THAT(standin::log(), IsEmpty());
}

TEST_F(QueueTest, DeletionReleasesEightQueues) {
    EXPECT_EQ(code([&] { return tc_kiv_qos_sp_queue_delete(300); }), 0u);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(deletion()));
    RecordBuilder expected(504);
    expected.u32_at(8, 0x800002).u32_at(12, 4224).u32_at(28, 8);
    for (uint32_t i = 0; i < 8; ++i)
        expected.u8_at(84 + 52 * i, 106)
            .u32_at(88 + 52 * i, 1)
            .u8_at(92 + 52 * i, 1)
            .u32_at(100 + 52 * i, 300);
    EXPECT_EQ(standin::calls().at(0).record(), expected.bytes());
    EXPECT_EQ(standin::calls().at(0).arguments.at(1).shown, "&0");
}

TEST_F(QueueTest, DeletionTellsAFailureAndAZeroStatus) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(code([&] { return tc_kiv_qos_sp_queue_delete(1); }), kFailure);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(deletion(kFailure)));
    fresh();
    release_status = 0;
    EXPECT_EQ(code([&] { return tc_kiv_qos_sp_queue_delete(1); }), 0u);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(deletion(0, 0)));
}

}  // namespace
