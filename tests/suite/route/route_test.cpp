// Route leaves: requests, prints and checks of the cases and steps, on success and with calls failing.
#include "prm_kiv_route.h"

#include "prm_kiv_nr_ldi.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::Bytes;
using standin::RecordBuilder;
using standin::run;
using standin::transcript;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr uint32_t kFailure = 0x1234;
const char kFile[] = "prm/test/src/prm_kiv_route";

std::string success_check(const char *function, int line) {
    return check_line(0, 0, "CERR_SUCCESS", kFile, function, line);
}

// What every IPv4 request of the host route carries: owner, key, lengths and the items of 1024.
RecordBuilder ipv4_request() {
    return RecordBuilder(188)
        .u32_at(0, 10)
        .u32_at(12, 0)
        .u32_at(16, 8)
        .u32_at(20, 0x01010102)
        .u32_at(100, 32)
        .u32_at(104, 4)
        .u32_at(108, 1024)
        .u32_at(112, 4)
        .u32_at(116, 1024)
        .u32_at(120, 55);
}

// Of the IPv6 route, with the items as given.
RecordBuilder ipv6_request(uint32_t vrf, uint32_t item) {
    return RecordBuilder(188)
        .u32_at(0, 10)
        .u32_at(12, vrf)
        .u32_at(16, 16)
        .bytes_at(20, {0x90, 0x02, 0x01, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01})
        .u32_at(100, 128)
        .u32_at(104, 4)
        .u32_at(108, item)
        .u32_at(112, 4)
        .u32_at(116, item)
        .u32_at(120, 55)
        .u8_at(124 + 50, 128);
}

class RouteTest : public SuiteTest {};

TEST_F(RouteTest, ReserveTellsOwnerAndCount) {
    EXPECT_EQ(run(tc_prm_v4_leaf_reserve), 1);
    EXPECT_THAT(transcript(),
                ElementsAre("call zor_vop_prm_srh_ip_leaf_reserve(async, 2352{0:0a 4:01})",
                            success_check("tc_prm_v4_leaf_reserve", 183),
                            "print \"kiv_util_vop_prm_srh_ip_leaf_reserve called rc: 0x0\\n\""));
}

TEST_F(RouteTest, BothReserveCasesSendTheSameRequest) {
    EXPECT_EQ(run(tc_prm_v6_leaf_reserve), 1);
    EXPECT_THAT(transcript(),
                ElementsAre("call zor_vop_prm_srh_ip_leaf_reserve(async, 2352{0:0a 4:01})",
                            success_check("tc_prm_v6_leaf_reserve", 429),
                            "print \"kiv_util_vop_prm_srh_ip_leaf_reserve called rc: 0x0\\n\""));
}

TEST_F(RouteTest, Ipv4AddSendsADirectLeafWithoutPointer) {
    EXPECT_EQ(run(tc_prm_v4_leaf_add), 1);
    ASSERT_EQ(standin::calls().size(), 1u);
    EXPECT_EQ(standin::calls("zor_vop_prm_srh_ipv4_leaf_add").at(0).record(),
              ipv4_request().u8_at(124, 0x01).bytes());
    EXPECT_EQ(standin::calls().at(0).arguments.at(0).number, reinterpret_cast<uint64_t>(standin::kAsync));
    EXPECT_THAT(standin::outline(),
                ElementsAre("call zor_vop_prm_srh_ipv4_leaf_add", success_check("tc_prm_v4_leaf_add", 344),
                            "print \"kiv_util_vop_prm_srh_ipv4_leaf_add called rc: 0x0\\n\""));
}

TEST_F(RouteTest, Ipv4DeleteCarriesItemsOf1024AndNoPayloadFlags) {
    EXPECT_EQ(run(tc_prm_v4_leaf_delete), 1);
    ASSERT_EQ(standin::calls().size(), 1u);
    EXPECT_EQ(standin::calls("zor_vop_prm_srh_ipv4_leaf_del").at(0).record(), ipv4_request().bytes());
    EXPECT_THAT(standin::outline(),
                ElementsAre("call zor_vop_prm_srh_ipv4_leaf_del", success_check("tc_prm_v4_leaf_delete", 364),
                            "print \"kiv_util_vop_prm_srh_ipv4_leaf_delete called rc: 0x0\\n\""));
}

TEST_F(RouteTest, MultipathAddTiesLeafAndEntryByThePointer) {
    EXPECT_EQ(run(tc_prm_v4_leaf_mpath_add), 1);
    EXPECT_EQ(standin::calls("prm_srh_nr_ldi_add").at(0).record(), RecordBuilder(2124)
                                                                       .u32_at(0, 10)
                                                                       .u32_at(12, 4)
                                                                       .u32_at(20, 0xC36900)
                                                                       .u32_at(68, 260)
                                                                       .u32_at(76, 100005)
                                                                       .u32_at(2120, 1)
                                                                       .bytes());
    EXPECT_EQ(standin::calls("zor_vop_prm_srh_ipv4_leaf_add").at(0).record(),
              ipv4_request().u8_at(124, 0x04).u32_at(124 + 8, 0xC36900).bytes());
    EXPECT_THAT(
        standin::outline(),
        ElementsAre("call prm_srh_nr_ldi_add", success_check("tc_prm_v4_leaf_mpath_add", 399),
                    "print \"NR_LDI_ADD API call is sucessfull\\n\"", "call zor_vop_prm_srh_ipv4_leaf_add",
                    success_check("tc_prm_v4_leaf_mpath_add", 417),
                    "print \"kiv_util_vop_prm_srh_ipv4_leaf_add with mpath 200100, NH 100005 rc: 0x0\\n\""));
}

TEST_F(RouteTest, MultipathEntryIsThePlainAddsByteForByte) {
    run(tc_prm_v4_leaf_mpath_add);
    run(tc_kiv_nr_ldi_add);
    const auto entries = standin::calls("prm_srh_nr_ldi_add");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].record(), entries[1].record());
}

TEST_F(RouteTest, MultipathLeafIsDeletedByTheKeyOfTheDirectLeaf) {
    run(tc_prm_v4_leaf_mpath_add);
    run(tc_prm_v4_leaf_delete);
    const Bytes added = standin::calls("zor_vop_prm_srh_ipv4_leaf_add").at(0).record();
    const Bytes deleted = standin::calls("zor_vop_prm_srh_ipv4_leaf_del").at(0).record();
    EXPECT_TRUE(std::equal(added.begin(), added.begin() + 124, deleted.begin()));
}

TEST_F(RouteTest, Ipv6AddCarriesItemsOf0InBothVrfs) {
    EXPECT_EQ(run(tc_prm_v6_leaf_add), 1);
    const auto adds = standin::calls("zor_vop_prm_srh_ipv6_leaf_add");
    ASSERT_EQ(adds.size(), 2u);
    EXPECT_EQ(adds[0].record(), ipv6_request(0, 0).u8_at(124, 0x01).bytes());
    EXPECT_EQ(adds[1].record(), ipv6_request(1, 0).u8_at(124, 0x01).bytes());
    EXPECT_THAT(standin::outline(),
                ElementsAre("call zor_vop_prm_srh_ipv6_leaf_add", success_check("tc_prm_v6_leaf_add", 472),
                            "print \"kiv_util_vop_prm_srh_ipv6_leaf_add for vrf def rc: 0x0\\n\"",
                            "call zor_vop_prm_srh_ipv6_leaf_add", success_check("tc_prm_v6_leaf_add", 489),
                            "print \"kiv_util_vop_prm_srh_ipv6_leaf_add for vrf 1 rc: 0x0\\n\""));
}

TEST_F(RouteTest, Ipv6DeleteCarriesItemsOf1024InBothVrfs) {
    EXPECT_EQ(run(tc_prm_v6_leaf_delete), 1);
    const auto deletes = standin::calls("zor_vop_prm_srh_ipv6_leaf_del");
    ASSERT_EQ(deletes.size(), 2u);
    EXPECT_EQ(deletes[0].record(), ipv6_request(0, 1024).bytes());
    EXPECT_EQ(deletes[1].record(), ipv6_request(1, 1024).bytes());
    EXPECT_THAT(standin::outline(),
                ElementsAre("call zor_vop_prm_srh_ipv6_leaf_del", success_check("tc_prm_v6_leaf_delete", 520),
                            "print \"kiv_util_vop_prm_srh_ipv6_leaf_delete VRF DEF rc: 0x0\\n\"",
                            "call zor_vop_prm_srh_ipv6_leaf_del", success_check("tc_prm_v6_leaf_delete", 535),
                            "print \"kiv_util_vop_prm_srh_ipv6_leaf_delete VRF 1 rc: 0x0\\n\""));
}

// The case goes on after a failed call: only the status in the call's check and, where it shows one, its line
// change.
struct FailureCase {
    kiv_function_t function;
    int calls;
};

TEST_F(RouteTest, EachFailingCallShowsInItsCheckAndLineOnly) {
    const FailureCase cases[] = {{tc_prm_v4_leaf_reserve, 1}, {tc_prm_v4_leaf_add, 1},
                                 {tc_prm_v4_leaf_delete, 1},  {tc_prm_v4_leaf_mpath_add, 2},
                                 {tc_prm_v6_leaf_reserve, 1}, {tc_prm_v6_leaf_add, 2},
                                 {tc_prm_v6_leaf_delete, 2}};
    for (const FailureCase &c : cases) {
        standin::reset();
        run(c.function);
        const std::vector<std::string> success = transcript();
        ASSERT_EQ(standin::calls().size(), static_cast<size_t>(c.calls));
        for (int nth = 1; nth <= c.calls; ++nth) {
            standin::reset();
            standin::fail_call(nth, kFailure);
            // The result is that of the last check.
            EXPECT_EQ(run(c.function), nth == c.calls ? 0 : 1);
            std::vector<std::string> expected = success;
            // Three events a call: call, check, line.
            std::string &check = expected.at(static_cast<size_t>(nth) * 3 - 2);
            check.replace(check.find("0x0"), 3, "0x1234");
            std::string &line = expected.at(static_cast<size_t>(nth) * 3 - 1);
            if (const size_t rc = line.find("rc: 0x0"); rc != std::string::npos)
                line.replace(rc, 7, "rc: 0x1234");
            EXPECT_THAT(transcript(), ElementsAreArray(expected));
        }
    }
}

TEST_F(RouteTest, StepsAllocateNothing) {
    for (kiv_function_t function : {tc_prm_v4_leaf_reserve, tc_prm_v4_leaf_add, tc_prm_v4_leaf_mpath_add,
                                    tc_prm_v6_leaf_add, tc_prm_v6_leaf_delete}) {
        run(function);
        EXPECT_EQ(standin::allocations(), 0);
    }
}

// --- Steps with arguments of their own ---

TEST_F(RouteTest, RecursiveFlagSendsBothWords) {
    EXPECT_EQ(kiv_util_vop_prm_srh_ipv4_leaf_add(10, 0x0A000001, 24, 7, 0, 1, 0, 0x11, 0x22, 99, 0, 0), 0u);
    const auto record = standin::calls("zor_vop_prm_srh_ipv4_leaf_add").at(0).record();
    EXPECT_EQ(record, RecordBuilder(188)
                          .u32_at(0, 10)
                          .u32_at(12, 7)
                          .u32_at(16, 8)
                          .u32_at(20, 0x0A000001)
                          .u16_at(24, 7)
                          .u32_at(100, 24)
                          .u32_at(104, 4)
                          .u32_at(108, 1024)
                          .u32_at(112, 4)
                          .u32_at(116, 1024)
                          .u32_at(120, 55)
                          .u8_at(125, 0x08)
                          .u32_at(132, 0x11)
                          .u32_at(136, 0x22)
                          .bytes());
}

TEST_F(RouteTest, LdiAndRecursiveFlagsTogetherShareThePointer) {
    kiv_util_vop_prm_srh_ipv4_leaf_add(10, 0x01010102, 32, 0, 1, 1, 1, 0x11, 0x22, 0, 0, 0);
    EXPECT_EQ(standin::calls().at(0).record(),
              ipv4_request().u8_at(124, 0x05).u8_at(125, 0x08).u32_at(132, 0x11).u32_at(136, 0x22).bytes());
}

TEST_F(RouteTest, WithoutAFlagNoPointerGoesOut) {
    kiv_util_vop_prm_srh_ipv4_leaf_add(10, 0x01010102, 32, 0, 1, 0, 0, 0x11, 0x22, 0x33, 0, 0);
    EXPECT_EQ(standin::calls().at(0).record(), ipv4_request().u8_at(124, 0x01).bytes());
}

TEST_F(RouteTest, OfTheTagSixBitsGoOutAtBitFour) {
    kiv_util_vop_prm_srh_ipv4_leaf_add(10, 0x01010102, 32, 0, 0, 0, 0, 0, 0, 0, 0xFFFFFFFF, 0);
    EXPECT_EQ(standin::calls().at(0).record(), ipv4_request().u16_at(126, 0x03F0).bytes());
}

TEST_F(RouteTest, ModifyLooksAtTheLowByteOfItsFlag) {
    kiv_util_vop_prm_srh_ipv4_leaf_add(10, 0x01010102, 32, 0, 1, 0, 0, 0, 0, 0, 0, 0x100);
    kiv_util_vop_prm_srh_ipv4_leaf_add(10, 0x01010102, 32, 0, 1, 0, 0, 0, 0, 0, 0, 0x80);
    const zor_ipv6_prefix prefix = {{0x20}, 64, 0, 3};
    kiv_util_vop_prm_srh_ipv6_leaf_add(10, &prefix, 1, 0, 0, 0, 0, 0, 0, 0x100);
    kiv_util_vop_prm_srh_ipv6_leaf_add(10, &prefix, 1, 0, 0, 0, 0, 0, 0, 1);
    EXPECT_THAT(standin::outline(),
                ElementsAre("call zor_vop_prm_srh_ipv4_leaf_add", "call zor_vop_prm_srh_ipv4_leaf_mod",
                            "call zor_vop_prm_srh_ipv6_leaf_add", "call zor_vop_prm_srh_ipv6_leaf_mod"));
    EXPECT_EQ(standin::calls().at(0).record(), standin::calls().at(1).record());
    EXPECT_EQ(standin::calls().at(2).record(), standin::calls().at(3).record());
}

TEST_F(RouteTest, Ipv6StepTakesVrfAndLengthFromThePrefix) {
    const zor_ipv6_prefix prefix = {{0x20, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}, 64, 0, 0x1234};
    kiv_util_vop_prm_srh_ipv6_leaf_add(10, &prefix, 0, 1, 1, 0x11, 0x22, 0, 5, 0);
    EXPECT_EQ(standin::calls().at(0).record(), RecordBuilder(188)
                                                   .u32_at(0, 10)
                                                   .u32_at(12, 0x1234)
                                                   .u32_at(16, 16)
                                                   .u8_at(20, 0x20)
                                                   .u8_at(21, 0x01)
                                                   .u8_at(35, 9)
                                                   .u32_at(100, 64)
                                                   .u32_at(104, 4)
                                                   .u32_at(112, 4)
                                                   .u32_at(120, 55)
                                                   .u8_at(124, 0x04)
                                                   .u8_at(125, 0x08)
                                                   .u16_at(126, 5 << 4)
                                                   .u32_at(132, 0x11)
                                                   .u32_at(136, 0x22)
                                                   .u8_at(174, 64)
                                                   .bytes());
}

TEST_F(RouteTest, StepsReturnTheClientsStatus) {
    const zor_ipv6_prefix prefix = {};
    for (const char *operation :
         {"zor_vop_prm_srh_ip_leaf_reserve", "zor_vop_prm_srh_ipv4_leaf_del", "zor_vop_prm_srh_ipv6_leaf_del",
          "zor_vop_prm_srh_ipv4_leaf_mod", "zor_vop_prm_srh_ipv6_leaf_mod"})
        standin::on(operation).returns(kFailure);
    EXPECT_EQ(kiv_util_vop_prm_srh_ip_leaf_reserve(3, 4), kFailure);
    EXPECT_EQ(kiv_util_vop_prm_srh_ipv4_leaf_delete(10, 1, 32, 0, 77), kFailure);
    EXPECT_EQ(kiv_util_vop_prm_srh_ipv6_leaf_delete(10, &prefix, 77), kFailure);
    EXPECT_EQ(kiv_util_vop_prm_srh_ipv4_leaf_add(10, 1, 32, 0, 0, 0, 0, 0, 0, 0, 0, 1), kFailure);
    EXPECT_EQ(kiv_util_vop_prm_srh_ipv6_leaf_add(10, &prefix, 0, 0, 0, 0, 0, 0, 0, 1), kFailure);
    EXPECT_TRUE(standin::checks().empty());
}

}  // namespace
