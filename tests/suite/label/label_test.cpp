// Label entries, their index reservations and the MPLS statistics pointer: requests, prints and checks.
#include "prm_kiv_label.h"

#include "prm_kiv_stats_alloc_read.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::Bytes;
using standin::outline;
using standin::RecordBuilder;
using standin::run;
using standin::transcript;
using testing::ElementsAre;

constexpr uint32_t kFailure = 0x1234;

std::string check(uint32_t status, const char *function, const char *file = "prm/test/src/prm_kiv_label") {
    return success_check_without_line(status, file, function);
}

// An add of a label with the always set bits of its payload.
RecordBuilder label_add(uint32_t label, uint32_t eos) {
    return RecordBuilder(2124)
        .u32_at(0, 10)
        .u32_at(12, 8)
        .u32_at(20, label)
        .u8_at(24, eos)
        .u32_at(68, 87)
        .u8_at(72 + 1, 0x80)
        .u8_at(72 + 3, eos ? 0x10 : 0);
}

Bytes label_delete(uint32_t label) {
    return RecordBuilder(2124).u32_at(0, 10).u32_at(12, 4).u32_at(20, label);
}

class LabelTest : public SuiteTest {};

// --- Index reservations ---

TEST_F(LabelTest, ReserveTellsTheReservedIndex) {
    EXPECT_EQ(run(tc_mpls_leaf_buddy_reserve), 1);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("print \"Call MPLS_LEAF_BUDDY_RESERVE\\n\"",
                            "call prm_srh_mpls_leaf_buddy_reserve(0, 2352{0:0a 4:01})",
                            check(0, "tc_mpls_leaf_buddy_reserve"),
                            "print \"Call MPLS_LEAF_BUDDY_RESERVE sucessfull: Reserved index 1001\\n\""));
    EXPECT_EQ(standin::allocations(), 0);
}

TEST_F(LabelTest, AFailedReserveStillSaysSuccessful) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(tc_mpls_leaf_buddy_reserve), 0);
    EXPECT_THAT(
        without_line_numbers(outline()),
        ElementsAre("print \"Call MPLS_LEAF_BUDDY_RESERVE\\n\"", "call prm_srh_mpls_leaf_buddy_reserve",
                    check(kFailure, "tc_mpls_leaf_buddy_reserve"),
                    "print \"Call MPLS_LEAF_BUDDY_RESERVE sucessfull: Reserved index 0\\n\""));
}

TEST_F(LabelTest, ReleaseReservesReleasesAndTellsNoIndex) {
    EXPECT_EQ(run(tc_mpls_leaf_buddy_release), 1);
    EXPECT_THAT(
        without_line_numbers(transcript()),
        ElementsAre("print \"Call MPLS_LEAF_BUDDY_RESERVE\\n\"",
                    "call prm_srh_mpls_leaf_buddy_reserve(0, 2352{0:0a 4:01})",
                    check(0, "tc_mpls_leaf_buddy_release"), "print \"Call MPLS_LEAF_BUDDY_RELEASE\\n\"",
                    "call prm_srh_mpls_leaf_buddy_release(0, 36{0:0a 4:e903 8:01})",
                    check(0, "tc_mpls_leaf_buddy_release"),
                    "print \"Call MPLS_LEAF_BUDDY_RELEASE sucessfull\\n\""));
}

TEST_F(LabelTest, ReleaseGoesOnWithIndex0WhenTheReserveFails) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(tc_mpls_leaf_buddy_release), 1);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("print \"Call MPLS_LEAF_BUDDY_RESERVE\\n\"",
                            "call prm_srh_mpls_leaf_buddy_reserve(0, 2352{0:0a 4:01})",
                            check(kFailure, "tc_mpls_leaf_buddy_release"),
                            "print \"Call MPLS_LEAF_BUDDY_RELEASE\\n\"",
                            "call prm_srh_mpls_leaf_buddy_release(0, 36{0:0a 8:01})",
                            check(0, "tc_mpls_leaf_buddy_release"),
                            "print \"Call MPLS_LEAF_BUDDY_RELEASE sucessfull\\n\""));
}

TEST_F(LabelTest, AFailedReleaseShowsInItsCheck) {
    standin::fail_call(2, kFailure);
    EXPECT_EQ(run(tc_mpls_leaf_buddy_release), 0);
    EXPECT_THAT(
        without_line_numbers(outline()),
        ElementsAre("print \"Call MPLS_LEAF_BUDDY_RESERVE\\n\"", "call prm_srh_mpls_leaf_buddy_reserve",
                    check(0, "tc_mpls_leaf_buddy_release"), "print \"Call MPLS_LEAF_BUDDY_RELEASE\\n\"",
                    "call prm_srh_mpls_leaf_buddy_release", check(kFailure, "tc_mpls_leaf_buddy_release"),
                    "print \"Call MPLS_LEAF_BUDDY_RELEASE sucessfull\\n\""));
}

// --- Label cases ---

struct LabelCase {
    kiv_function_t function;
    const char *name;
    const char *operation;
    const char *step;
    Bytes record;
};

const std::vector<LabelCase> &label_cases() {
    static const char kAdd[] = "zor_vop_prm_srh_label_ufib_add", kDel[] = "zor_vop_prm_srh_label_ufib_del";
    static const char kAddStep[] = "kiv_util_vop_prm_srh_mpls_leaf_add",
                      kDelStep[] = "kiv_util_vop_prm_srh_mpls_leaf_del";
    static const std::vector<LabelCase> cases = {
        {tc_prm_mpls_leaf_add, "tc_prm_mpls_leaf_add", kAdd, kAddStep, label_add(24000, 1).u8_at(74, 1)},
        {tc_prm_mpls_leaf_del, "tc_prm_mpls_leaf_del", kDel, kDelStep, label_delete(24000)},
        {tc_prm_mpls_leaf_add_eos0, "tc_prm_mpls_leaf_add_eos0", kAdd, kAddStep,
         label_add(24000, 0).u8_at(74, 1)},
        {tc_prm_mpls_leaf_del_eos0, "tc_prm_mpls_leaf_del_eos0", kDel, kDelStep, label_delete(24000)},
    };
    return cases;
}

TEST_F(LabelTest, PopAndLookupCasesSendTheirRecordCheckAndTell) {
    for (const LabelCase &c : label_cases()) {
        for (const uint32_t status : {0u, kFailure}) {
            SetUp();
            standin::on(c.operation).returns(status);
            EXPECT_EQ(run(c.function), status == 0 ? 1 : 0);
            const std::string rc = status == 0 ? "0x0" : "0x1234";
            EXPECT_THAT(without_line_numbers(outline()),
                        ElementsAre(std::string("call ") + c.operation, check(status, c.name),
                                    std::string("print \"") + c.step + " called rc: " + rc + "\\n\""));
            EXPECT_EQ(standin::calls().at(0).record(), c.record) << c.name;
            EXPECT_EQ(standin::calls().at(0).arguments.at(0).number,
                      reinterpret_cast<uint64_t>(standin::kAsync));
        }
    }
}

TEST_F(LabelTest, BothDeletesSendTheSameBytes) {
    run(tc_prm_mpls_leaf_del);
    run(tc_prm_mpls_leaf_del_eos0);
    EXPECT_EQ(standin::calls().at(0).record(), standin::calls().at(1).record());
}

// --- Steps ---

TEST_F(LabelTest, ThePointerWordMovesFiveBytesWithEndOfStack) {
    kiv_util_vop_prm_srh_mpls_leaf_add(55000, 0, 0, 0, 1, 0x11223344, 0, 0);
    kiv_util_vop_prm_srh_mpls_leaf_add(55000, 1, 0, 0, 1, 0x11223344, 0, 0);
    EXPECT_EQ(standin::calls().at(0).record(),
              label_add(55000, 0).u8_at(72, 0x80).u32_at(72 + 8, 0x11223344).bytes());
    EXPECT_EQ(standin::calls().at(1).record(),
              label_add(55000, 1).u8_at(72, 0x80).u32_at(72 + 13, 0x11223344).bytes());
}

TEST_F(LabelTest, TheRecursiveFormHasAWordOfItsOwn) {
    kiv_util_vop_prm_srh_mpls_leaf_add(5, 1, 0, 1, 0, 0x55, 0x66, 0);
    kiv_util_vop_prm_srh_mpls_leaf_add(5, 1, 0, 1, 1, 0x55, 0x66, 0);
    EXPECT_EQ(standin::calls().at(0).record(),
              label_add(5, 1).u8_at(72, 0x10).u32_at(72 + 52, 0x55).u32_at(72 + 78, 0x66).bytes());
    EXPECT_EQ(standin::calls().at(1).record(), label_add(5, 1)
                                                   .u8_at(72, 0x90)
                                                   .u32_at(72 + 13, 0x55)
                                                   .u32_at(72 + 52, 0x55)
                                                   .u32_at(72 + 78, 0x66)
                                                   .bytes());
}

TEST_F(LabelTest, PopAndLookupSendsNoPointer) {
    kiv_util_vop_prm_srh_mpls_leaf_add(5, 0, 1, 0, 0, 0x55, 0, 0);
    EXPECT_EQ(standin::calls().at(0).record(), label_add(5, 0).u8_at(74, 1).bytes());
}

TEST_F(LabelTest, ModifyLooksAtTheLowByteOfItsFlag) {
    standin::on("zor_vop_prm_srh_label_ufib_mod").returns(kFailure);
    EXPECT_EQ(kiv_util_vop_prm_srh_mpls_leaf_add(5, 1, 0, 0, 1, 7, 8, 0x100), 0u);
    EXPECT_EQ(kiv_util_vop_prm_srh_mpls_leaf_add(5, 1, 0, 0, 1, 7, 8, 0x101), kFailure);
    EXPECT_THAT(outline(),
                ElementsAre("call zor_vop_prm_srh_label_ufib_add", "call zor_vop_prm_srh_label_ufib_mod"));
    EXPECT_EQ(standin::calls().at(0).record(), standin::calls().at(1).record());
}

TEST_F(LabelTest, DeleteStepReturnsTheClientsStatus) {
    standin::on("zor_vop_prm_srh_label_ufib_del").returns(kFailure);
    EXPECT_EQ(kiv_util_vop_prm_srh_mpls_leaf_del(0xFFFFF, 1), kFailure);
    EXPECT_EQ(standin::calls().at(0).record(), label_delete(0xFFFFF));
}

// --- Statistics pointer ---

TEST_F(LabelTest, StatisticsPointerIsOfClass6AndIngress) {
    EXPECT_EQ(run(tc_prm_mpls_stats_alloc), 1);
    EXPECT_THAT(without_line_numbers(transcript()),
                ElementsAre("call prm_stats_cl_alloc(async, 0x10000000, 6, 2, &1, &0)",
                            check(0, "tc_prm_mpls_stats_alloc", "prm/test/src/prm_kiv_stats_alloc_read"),
                            "print \"kiv_util_prm_stats_cl_alloc called rc: 0x0\\n\""));
}

TEST_F(LabelTest, AFailedStatisticsPointerIsCheckedAndTold) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(tc_prm_mpls_stats_alloc), 0);
    EXPECT_THAT(
        without_line_numbers(outline()),
        ElementsAre("call prm_stats_cl_alloc",
                    check(kFailure, "tc_prm_mpls_stats_alloc", "prm/test/src/prm_kiv_stats_alloc_read"),
                    "print \"kiv_util_prm_stats_cl_alloc called rc: 0x1234\\n\""));
}

}  // namespace
